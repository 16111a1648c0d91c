// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/web/RawPeer.h"

#include <QtEndian>

#include <array>
#include <cerrno>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

sockaddr_in placeOf(const char *address, quint16 port)
{
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(port);
    inet_pton(AF_INET, address, &place.sin_addr);
    return place;
}

template <typename Number> QByteArray inNetworkOrder(Number number)
{
    QByteArray bytes(sizeof number, '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

} // namespace

RawPeer::RawPeer(quint16 port, const char *from, int receiveBuffer)
    : descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
    if (receiveBuffer > 0) {
        ::setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    }
    const int isOn = 1;
    ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &isOn, sizeof isOn);
    const sockaddr_in own = placeOf(from, 0);
    const sockaddr_in there = placeOf("127.0.0.1", port);
    const bool isBound =
        ::bind(descriptor, reinterpret_cast<const sockaddr *>(&own), sizeof own) == 0;
    const bool isUnderWay =
        isBound &&
        (::connect(descriptor, reinterpret_cast<const sockaddr *>(&there), sizeof there) == 0 ||
         errno == EINPROGRESS);
    int error = 0;
    socklen_t size = sizeof error;
    if (!isUnderWay || !waitFor(POLLOUT, GenerousLimit) ||
        ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0) {
        close();
    }
}

RawPeer::~RawPeer()
{
    close();
}

void RawPeer::close()
{
    if (descriptor >= 0) {
        ::close(std::exchange(descriptor, -1));
    }
}

bool RawPeer::waitFor(short events, milliseconds limit) const
{
    pollfd watched{descriptor, events, 0};
    return ::poll(&watched, 1, static_cast<int>(limit.count())) == 1;
}

qsizetype RawPeer::sendSome(QByteArrayView bytes)
{
    const ssize_t sent =
        ::send(descriptor, bytes.data(), static_cast<size_t>(bytes.size()), MSG_NOSIGNAL);
    if (sent < 0 && errno != EAGAIN && errno != EINTR) {
        close();
    }
    return sent < 0 ? 0 : sent;
}

bool RawPeer::send(QByteArrayView bytes, milliseconds limit)
{
    const auto end = steady_clock::now() + limit;
    while (isConnected() && !bytes.isEmpty()) {
        bytes = bytes.sliced(sendSome(bytes));
        const auto left = std::chrono::duration_cast<milliseconds>(end - steady_clock::now());
        if (!bytes.isEmpty() && (left.count() <= 0 || !isConnected() || !waitFor(POLLOUT, left))) {
            return false;
        }
    }
    return isConnected();
}

QByteArray RawPeer::receive()
{
    QByteArray all;
    std::array<char, 16 * 1024> part;
    while (isConnected()) {
        const ssize_t size = ::recv(descriptor, part.data(), part.size(), 0);
        if (size > 0) {
            all.append(part.data(), size);
        } else if (size < 0 && errno == EAGAIN) {
            break;
        } else if (size == 0 || errno != EINTR) {
            close();
        }
    }
    return all;
}

QByteArray RawPeer::nextFrame(milliseconds limit)
{
    const auto end = steady_clock::now() + limit;
    while (steady_clock::now() < end) {
        unread += receive();
        // Frames of a server have no mask; none that is waited for has more than 64 KiB.
        const bool isShort = unread.size() >= 2 && unread[1] < 126;
        const qsizetype head = isShort ? 2 : 4;
        if (unread.size() >= head) {
            const qsizetype size =
                isShort ? unread[1] : qFromBigEndian<quint16>(unread.constData() + 2);
            if (unread.size() >= head + size) {
                const bool isBinary = (unread[0] & 0x0f) == Binary;
                const QByteArray payload = unread.mid(head, size);
                unread.remove(0, head + size);
                return isBinary ? payload : QByteArray();
            }
        }
        if (!isConnected()) {
            break;
        }
        waitFor(POLLIN, milliseconds(100));
    }
    return {};
}

bool RawPeer::hasEnded()
{
    receive();
    return !isConnected();
}

QByteArray RawPeer::upgradeOf(quint16 port)
{
    const QByteArray place = "127.0.0.1:" + QByteArray::number(port);
    return "GET /socket HTTP/1.1\r\nHost: " + place + "\r\nOrigin: http://" + place +
           "\r\nConnection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
           "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";
}

bool RawPeer::finishUpgrade(const QByteArray &rest)
{
    if (!send(rest)) {
        return false;
    }
    const auto end = steady_clock::now() + GenerousLimit;
    while (isConnected() && !unread.contains("\r\n\r\n") && steady_clock::now() < end) {
        waitFor(POLLIN, milliseconds(100));
        unread += receive();
    }
    const bool isUpgraded = unread.startsWith("HTTP/1.1 101");
    unread.remove(0, unread.indexOf("\r\n\r\n") + 4);
    return isUpgraded;
}

QByteArray RawPeer::frame(Opcode opcode, const QByteArray &payload, End end, qint64 announced)
{
    const qint64 size = announced < 0 ? payload.size() : announced;
    QByteArray bytes;
    bytes.append(static_cast<char>((end == Whole ? 0x80 : 0) | opcode));
    if (size < 126) {
        bytes.append(static_cast<char>(0x80 | size));
    } else if (size < 65'536) {
        bytes.append(static_cast<char>(0x80 | 126));
        bytes.append(inNetworkOrder(static_cast<quint16>(size)));
    } else {
        bytes.append(static_cast<char>(0x80 | 127));
        bytes.append(inNetworkOrder(static_cast<quint64>(size)));
    }
    // The mask of zeros changes nothing.
    return bytes + QByteArray(4, '\0') + payload;
}
