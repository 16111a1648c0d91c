// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/Request.h"

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

QString moveCode()
{
    return u"4"_s;
}

Request silent(const QString &command, const QString &function)
{
    Request request;
    request.command = command;
    request.function = function;
    request.isAnswered = false;
    return request;
}

Request answered(const QString &command)
{
    Request request;
    request.command = command;
    return request;
}

Request repeatable(const QString &command)
{
    Request request = answered(command);
    request.isRepeatable = true;
    return request;
}

} // namespace

Request Request::serverInfo()
{
    return repeatable(u"SERVER_INFO"_s);
}

Request Request::pair(const QString &deviceIdentifier, const QString &deviceName)
{
    Request request = answered(u"SERVER_PAIR"_s);
    request.parameters = QStringList{deviceIdentifier, deviceName};
    request.asksUser = true;
    return request;
}

Request Request::openUrl(const QString &url)
{
    Request request = answered(u"URL_OPEN"_s);
    request.function = url;
    return request;
}

Request Request::copy(const QString &text)
{
    Request request = repeatable(u"TEXT_TRANSFER_AND_OPEN"_s);
    request.function = text;
    return request;
}

Request Request::paste()
{
    return repeatable(u"SERVER_CLIPBOARD_REQUEST"_s);
}

Request Request::key(const QString &shortcut)
{
    return silent(u"KEYBOARD_CMD"_s, shortcut);
}

Request Request::click(Button button)
{
    return silent(u"MOUSE_CMD"_s, QString::number(static_cast<int>(button)));
}

Request Request::move(int dx, int dy)
{
    Request request = silent(u"MOUSE_CMD"_s, moveCode());
    request.parameters = QStringList{QString::number(dx), QString::number(dy)};
    return request;
}

Request Request::sendFile(const QString &name, quint64 announcedSize)
{
    Request request = answered(u"FILE_TRANSFER_AND_OPEN"_s);
    request.parameters = QStringList{name, QString::number(announcedSize)};
    return request;
}

} // namespace quillmote
