// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "ServerBench.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// One end of a local socket that waits for what it sends and reads, without an event loop.
class SessionPeer
{
public:
    explicit SessionPeer(const QString &path) : descriptor(::socket(AF_UNIX, SOCK_STREAM, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray name = QFile::encodeName(path).left(sizeof address.sun_path - 1);
        std::memcpy(address.sun_path, name.constData(), static_cast<size_t>(name.size()));
        const auto *generic = reinterpret_cast<const sockaddr *>(&address);
        if (::connect(descriptor, generic, sizeof address) != 0) {
            leave();
        }
    }
    ~SessionPeer() { leave(); }
    SessionPeer(SessionPeer &&other) noexcept
        : descriptor(std::exchange(other.descriptor, -1))
        , received(std::move(other.received))
    {
    }
    SessionPeer(const SessionPeer &) = delete;
    SessionPeer &operator=(const SessionPeer &) = delete;
    SessionPeer &operator=(SessionPeer &&) = delete;

    /// A peer of whoever listens there, or soon will. A socket has its file before it listens.
    static SessionPeer soon(const QString &path)
    {
        std::optional<SessionPeer> peer;
        ServerBench::require(waitUntil([&] { return peer.emplace(path).isConnected(); }),
                             "a socket that listens");
        return *std::move(peer);
    }

    /// The server's socket on the desktop of a bench.
    static QString pathOf(const DesktopSession &session)
    {
        return session.path(u"run/vornaserver/"_s + session.display().replace(u':', u'_') +
                            u".socket"_s);
    }

    bool isConnected() const { return descriptor >= 0; }
    int socket() const { return descriptor; }

    bool send(const QByteArray &bytes)
    {
        const char *rest = bytes.constData();
        auto size = static_cast<size_t>(bytes.size());
        while (size > 0) {
            const ssize_t sent = ::send(descriptor, rest, size, MSG_NOSIGNAL);
            if (sent <= 0) {
                return false;
            }
            rest += sent;
            size -= static_cast<size_t>(sent);
        }
        return true;
    }

    /// The next line as an object; empty if none comes in time.
    QJsonObject message(std::chrono::milliseconds limit = std::chrono::minutes(5))
    {
        qsizetype end = received.indexOf('\n');
        while (end < 0) {
            if (!isConnected()) {
                return {}; // Nothing would ever come, and poll() would wait for it.
            }
            pollfd waiting{descriptor, POLLIN, 0};
            char bytes[65536];
            if (::poll(&waiting, 1, static_cast<int>(limit.count())) != 1) {
                return {};
            }
            const ssize_t count = ::recv(descriptor, bytes, sizeof bytes, 0);
            if (count <= 0) {
                return {};
            }
            received.append(bytes, count);
            end = received.indexOf('\n');
        }
        const QByteArray line = received.first(end);
        received.remove(0, end + 1);
        return QJsonDocument::fromJson(line).object();
    }

    /// Drops that many bytes, of the body after a message; false if they do not come in time.
    bool skip(qint64 size, std::chrono::milliseconds limit = std::chrono::minutes(5))
    {
        const qsizetype known = std::min<qsizetype>(size, received.size());
        received.remove(0, known);
        for (qint64 left = size - known; left > 0;) {
            pollfd waiting{descriptor, POLLIN, 0};
            char bytes[65536];
            const auto most = static_cast<size_t>(std::min<qint64>(left, sizeof bytes));
            const ssize_t count = ::poll(&waiting, 1, static_cast<int>(limit.count())) == 1
                                      ? ::recv(descriptor, bytes, most, 0)
                                      : 0;
            if (count <= 0) {
                return false;
            }
            left -= count;
        }
        return true;
    }

    /// Sends a request and waits for its answer.
    QJsonObject ask(QJsonObject request)
    {
        request.insert(u"id"_s, 0);
        const QByteArray line = QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n';
        return send(line) ? message() : QJsonObject();
    }

    void leave()
    {
        if (descriptor >= 0) {
            ::close(std::exchange(descriptor, -1));
        }
    }

private:
    int descriptor;
    QByteArray received;
};
