// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/protocol/Tokens.h"

using namespace Qt::StringLiterals;

namespace {

QString valueText(const QVariant &value)
{
    if (value.typeId() != QMetaType::QStringList) {
        return QLatin1Char('"') + value.toString() + QLatin1Char('"');
    }
    QStringList items;
    for (const QString &item : value.toStringList()) {
        items.append(QLatin1Char('"') + item + QLatin1Char('"'));
    }
    return "( "_L1 + items.join(", "_L1) + " )"_L1;
}

} // namespace

QByteArray tokenText(const std::vector<TokenEntry> &entries)
{
    QString text = u"{\n"_s;
    for (const auto &[key, value] : entries) {
        text += u"    "_s + key + " = "_L1 + valueText(value) + ";\n"_L1;
    }
    return (text + "}"_L1).toLatin1();
}

QByteArray commandText(const QString &command, const std::vector<TokenEntry> &entries)
{
    std::vector<TokenEntry> all{{u"cmdType"_s, command}};
    all.insert(all.end(), entries.begin(), entries.end());
    return tokenText(all);
}

QByteArray serverInfo()
{
    return commandText(u"SERVER_INFO"_s);
}

QByteArray keyCommand(const QString &shortcut)
{
    return commandText(u"KEYBOARD_CMD"_s, {{u"fncCommand"_s, shortcut}});
}

QByteArray pointerCommand(const QString &code, const QStringList &parameters)
{
    std::vector<TokenEntry> entries{{u"fncCommand"_s, code}};
    if (!parameters.isEmpty()) {
        entries.emplace_back(u"cmdParameters"_s, parameters);
    }
    return commandText(u"MOUSE_CMD"_s, entries);
}

QByteArray textTransfer(const QString &text)
{
    return commandText(u"TEXT_TRANSFER_AND_OPEN"_s, {{u"fncCommand"_s, text}});
}

QByteArray pairing(const QString &device, const QString &name)
{
    return commandText(u"SERVER_PAIR"_s, {{u"cmdParameters"_s, QStringList{device, name}}});
}

QByteArray clipboardRequest(const std::vector<TokenEntry> &entries)
{
    return commandText(u"SERVER_CLIPBOARD_REQUEST"_s, entries);
}

QByteArray fileRequest(const QString &name, const QString &size)
{
    return commandText(u"FILE_TRANSFER_AND_OPEN"_s,
                       {{u"cmdParameters"_s, QStringList{name, size}}});
}

QByteArray fileRequest(const QString &name, qint64 size)
{
    return fileRequest(name, QString::number(size));
}

QByteArray exactRequest(const QString &name, qint64 contentSize)
{
    QByteArray request = fileRequest(name, contentSize);
    // The length of the request depends on the size that it announces.
    for (int round = 0; round < 3; ++round) {
        request = fileRequest(name, request.size() + contentSize - 1);
    }
    return request;
}
