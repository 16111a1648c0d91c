// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/SessionMessage.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace quillmote {

QByteArray SessionMessage::line(qint64 id) const
{
    QJsonObject object = fields;
    object.insert(u"id"_s, id);
    object.insert(u"request"_s, request);
    if (body) {
        object.insert(u"body"_s, static_cast<qint64>(body->size()));
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

SessionMessage SessionMessage::key(const QString &key, const QStringList &modifiers,
                                   const QString &action)
{
    SessionMessage message{u"key"_s, {{u"key"_s, key}}, {}};
    if (!modifiers.isEmpty()) {
        message.fields.insert(u"modifiers"_s, QJsonArray::fromStringList(modifiers));
    }
    if (action != "tap"_L1) {
        message.fields.insert(u"action"_s, action);
    }
    return message;
}

SessionMessage SessionMessage::text(const QString &text)
{
    return {u"text"_s, {{u"text"_s, text}}, {}};
}

SessionMessage SessionMessage::move(double dx, double dy)
{
    return {u"move"_s, {{u"dx"_s, dx}, {u"dy"_s, dy}}, {}};
}

SessionMessage SessionMessage::button(const QString &button, const QString &action)
{
    return {u"button"_s, {{u"button"_s, button}, {u"action"_s, action}}, {}};
}

SessionMessage SessionMessage::scroll(int dx, int dy)
{
    return {u"scroll"_s, {{u"dx"_s, dx}, {u"dy"_s, dy}}, {}};
}

SessionMessage SessionMessage::setClipboard(const QByteArray &piece, bool hasMore)
{
    return {u"clipboard.set"_s, {{u"more"_s, hasMore}}, piece};
}

SessionMessage SessionMessage::getClipboard(qint64 offset)
{
    return {u"clipboard.get"_s, {{u"offset"_s, offset}}, {}};
}

SessionMessage SessionMessage::watchClipboard()
{
    return {u"clipboard.watch"_s, {}, {}};
}

SessionMessage SessionMessage::openAddress(const QString &address)
{
    return {u"open"_s, {{u"address"_s, address}}, {}};
}

SessionMessage SessionMessage::openApplication(const QString &name)
{
    return {u"open"_s, {{u"application"_s, name}}, {}};
}

SessionMessage SessionMessage::applications()
{
    return {u"applications"_s, {}, {}};
}

SessionMessage SessionMessage::beginFile(const QString &name, qint64 size, bool isOpened)
{
    return {u"file.put"_s, {{u"name"_s, name}, {u"size"_s, size}, {u"open"_s, isOpened}}, {}};
}

SessionMessage SessionMessage::filePiece(const QJsonValue &file, const QByteArray &piece)
{
    return {u"file.put"_s, {{u"file"_s, file}}, piece};
}

SessionMessage SessionMessage::cancelFile(const QJsonValue &file)
{
    return {u"file.cancel"_s, {{u"file"_s, file}}, {}};
}

SessionMessage SessionMessage::listFiles(const QString &after)
{
    return {u"file.list"_s, {{u"after"_s, after}}, {}};
}

SessionMessage SessionMessage::getFile(const QString &name, qint64 offset)
{
    return {u"file.get"_s, {{u"name"_s, name}, {u"offset"_s, offset}}, {}};
}

SessionMessage SessionMessage::screens()
{
    return {u"screens"_s, {}, {}};
}

SessionMessage SessionMessage::watchScreens()
{
    return {u"watch"_s, {}, {}};
}

SessionMessage SessionMessage::pair(const QString &name, const QString &device)
{
    SessionMessage message{u"pair"_s, {{u"name"_s, name}, {u"device"_s, device}}, {}};
    message.asksUser = true;
    return message;
}

SessionMessage SessionMessage::listen(const std::optional<QString> &address)
{
    SessionMessage message{u"listen"_s, {}, {}};
    if (address) {
        message.fields.insert(u"address"_s, *address);
    }
    return message;
}

SessionMessage SessionMessage::ping()
{
    return {u"ping"_s, {}, {}};
}

} // namespace quillmote
