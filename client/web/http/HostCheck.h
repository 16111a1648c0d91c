// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QSet>
#include <QStringList>

namespace quillmote {

/// The two ends of a connection.
struct WebPassage
{
    QHostAddress local;
    QHostAddress peer;

    /// Whether it begins and ends on this computer, on its loopback.
    bool isLoopback() const { return local.isLoopback() && peer.isLoopback(); }
};

/// Says whether a request means this computer. A page of somebody else can make a browser send
/// requests here under a name of its own (DNS rebinding), but not under an address or under a name
/// that only this network knows.
class HostCheck
{
public:
    HostCheck() = default;
    /// The names count besides the address of each connection. A name that begins with "*." stands
    /// for one label there, as in certificates.
    HostCheck(const QStringList &names, quint16 port, bool isSecure);

    /// Whether the value of a field Host names the local end of the connection.
    bool isOurs(const QByteArray &host, const WebPassage &passage) const;

    /// What a browser sends as the origin of a page from there.
    QByteArray originOf(const QByteArray &host) const;
    /// The WebSockets of that host, as a source of a Content-Security-Policy.
    QByteArray socketSourceOf(const QByteArray &host) const;

    /// The name of this computer, and what it is called by multicast DNS.
    static QStringList namesOf(const QString &machine);

private:
    bool isOurName(const QByteArray &name, const WebPassage &passage) const;

    QSet<QByteArray> ownNames; // in lowercase
    quint16 ownPort = 0;
    bool secure = false;
};

} // namespace quillmote
