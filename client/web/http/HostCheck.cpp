// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/HostCheck.h"

#include "web/http/PlainAddress.h"

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr int httpPort = 80;
constexpr int httpsPort = 443;

/// The value of a field Host in its parts.
struct HostParts
{
    QByteArray name; // in lowercase; an IPv6 address without its brackets
    bool isBracketed = false;
    std::optional<quint16> port;
};

/// Digits only, and no zero in front: one way to write each port.
std::optional<quint16> portFrom(const QByteArray &text)
{
    const bool isNumber =
        !text.isEmpty() && text.size() <= 5 && text[0] != '0' &&
        std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    const int number = isNumber ? text.toInt() : 0;
    return isNumber && number <= 65535 ? std::optional(static_cast<quint16>(number)) : std::nullopt;
}

std::optional<HostParts> partsOf(const QByteArray &host)
{
    HostParts parts;
    parts.isBracketed = host.startsWith('[');
    const qsizetype found = host.indexOf(parts.isBracketed ? ']' : ':');
    if (parts.isBracketed && found < 0) {
        return std::nullopt;
    }
    const qsizetype nameEnd = found < 0 ? host.size() : found;
    const qsizetype bracket = parts.isBracketed ? 1 : 0;
    parts.name = host.first(nameEnd).sliced(bracket).toLower();
    const QByteArray rest = host.sliced(std::min(nameEnd + bracket, host.size()));
    if (rest.isEmpty()) {
        return parts;
    }
    parts.port = portFrom(rest.mid(1));
    return rest.startsWith(':') && parts.port ? std::optional(parts) : std::nullopt;
}

bool isAddress(const HostParts &parts, const QHostAddress &address)
{
    const QHostAddress own = plainAddress(address);
    if (!parts.isBracketed) {
        return own.protocol() == QAbstractSocket::IPv4Protocol &&
               parts.name == own.toString().toLatin1();
    }
    const bool isPlain = std::all_of(parts.name.begin(), parts.name.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || c == ':' || c == '.';
    });
    return isPlain && parts.name.contains(':') &&
           plainAddress(QHostAddress(QString::fromLatin1(parts.name))) == own;
}

} // namespace

HostCheck::HostCheck(const QStringList &names, quint16 port, bool isSecure)
    : ownPort(port)
    , secure(isSecure)
{
    for (const QString &name : names) {
        ownNames += name.toLower().toUtf8();
    }
}

bool HostCheck::isOurs(const QByteArray &host, const WebPassage &passage) const
{
    const auto parts = partsOf(host);
    if (!parts || parts->port.value_or(secure ? httpsPort : httpPort) != ownPort) {
        return false;
    }
    return isAddress(*parts, passage.local) ||
           (!parts->isBracketed && isOurName(parts->name, passage));
}

bool HostCheck::isOurName(const QByteArray &name, const WebPassage &passage) const
{
    if (name == "localhost") {
        return passage.isLoopback();
    }
    const qsizetype dot = name.indexOf('.');
    return ownNames.contains(name) || (dot > 0 && ownNames.contains("*" + name.mid(dot)));
}

QByteArray HostCheck::originOf(const QByteArray &host) const
{
    return (secure ? "https://" : "http://") + host;
}

QByteArray HostCheck::socketSourceOf(const QByteArray &host) const
{
    return (secure ? "wss://" : "ws://") + host;
}

QStringList HostCheck::namesOf(const QString &machine)
{
    const QString label = machine.section(u'.', 0, 0).toLower();
    if (label.isEmpty() || label == "localhost"_L1) {
        return {};
    }
    return {machine.toLower(), label, label + u".local"_s};
}

} // namespace quillmote
