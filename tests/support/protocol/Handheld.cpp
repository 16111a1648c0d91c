// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/protocol/Handheld.h"

#include "support/process/ProcessTables.h"

#include <arpa/inet.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

using namespace Qt::StringLiterals;

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

/// How long the first answer of the received bytes is; 0 while it is not whole. A transfer of a few
/// bytes is answered twice, and both answers may come at once.
qsizetype firstAnswerSize(const QByteArray &received)
{
    const qsizetype boundary = received.indexOf(";}{");
    if (boundary >= 0) {
        return boundary + 2;
    }
    return received.endsWith(";}") || received == "{}" ? received.size() : 0;
}

sockaddr_in loopback(quint16 port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

quint16 ownPortOf(int socket)
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(socket, reinterpret_cast<sockaddr *>(&address), &length);
    return ntohs(address.sin_port);
}

} // namespace

Handheld::Handheld(quint16 port) : serverPort(port)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port);
    if (::connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        ::close(socket);
        return;
    }
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    descriptor = socket;
    ownPort = ownPortOf(socket);
}

Handheld::~Handheld()
{
    leave();
}

bool Handheld::waitFor(short pollEvents, steady_clock::time_point end) const
{
    while (true) {
        const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now()).count();
        pollfd waiting{descriptor, pollEvents, 0};
        const int ready = ::poll(&waiting, 1, static_cast<int>(std::max<qint64>(left, 0)));
        if (ready >= 0 || errno != EINTR) {
            return ready > 0;
        }
    }
}

bool Handheld::send(const QByteArray &bytes, milliseconds limit)
{
    const auto end = steady_clock::now() + limit;
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        const auto count =
            ::send(descriptor, bytes.constData() + sent, static_cast<size_t>(bytes.size() - sent),
                   MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0) {
            sent += count;
        } else if (errno != EAGAIN || !waitFor(POLLOUT, end)) {
            return false;
        }
    }
    return true;
}

bool Handheld::receiveMore(steady_clock::time_point end)
{
    if (descriptor < 0 || !waitFor(POLLIN, end)) {
        return false;
    }
    std::array<char, 65536> chunk;
    const auto count = ::recv(descriptor, chunk.data(), chunk.size(), 0);
    if (count <= 0) {
        return false;
    }
    unanswered.append(chunk.data(), count);
    return true;
}

std::optional<QVariantMap> Handheld::answer(milliseconds limit)
{
    const auto end = steady_clock::now() + limit;
    while (firstAnswerSize(unanswered) == 0) {
        if (!receiveMore(end)) {
            return std::nullopt;
        }
    }
    const QByteArray first = unanswered.left(firstAnswerSize(unanswered));
    unanswered.remove(0, first.size());
    return readAnswer(first);
}

std::optional<QVariantMap> Handheld::ask(const QByteArray &token, milliseconds limit)
{
    return send(token, limit) ? answer(limit) : std::nullopt;
}

bool Handheld::isServed(milliseconds limit)
{
    const auto reply = ask(serverInfo(), limit);
    return reply && reply->value(u"serverResponse"_s) == u"OK"_s;
}

bool Handheld::waitUntilRead(milliseconds limit)
{
    const auto end = steady_clock::now() + limit;
    while (true) {
        int onTheWay = 0;
        ::ioctl(descriptor, SIOCOUTQ, &onTheWay);
        const auto unread = ProcessTables::unreadBytes(serverPort, ownPort);
        if (onTheWay == 0 && unread == 0) {
            return true;
        }
        // A connection that was reset is gone from the kernel at once.
        if (!unread || steady_clock::now() > end) {
            return false;
        }
        ::usleep(1000);
    }
}

qint64 Handheld::unreadAtServer() const
{
    return ProcessTables::unreadBytes(serverPort, ownPort).value_or(0);
}

bool Handheld::sendAndSettle(const QByteArray &bytes)
{
    if (!send(bytes) || !waitUntilRead()) {
        return false;
    }
    Handheld other(serverPort);
    return other.isConnected() && other.ask(serverInfo()).has_value();
}

bool Handheld::hasUnreadAnswer()
{
    return !unanswered.isEmpty() || waitFor(POLLIN, steady_clock::now());
}

bool Handheld::throwUnreadAway()
{
    const bool isOpen = !waitFor(POLLIN, steady_clock::now()) || receiveMore(steady_clock::now());
    unanswered.clear();
    return isOpen;
}

bool Handheld::waitUntilClosed(milliseconds limit)
{
    const auto end = steady_clock::now() + limit;
    while (receiveMore(end)) {
    }
    return steady_clock::now() < end;
}

void Handheld::leave()
{
    if (descriptor >= 0) {
        ::close(std::exchange(descriptor, -1));
    }
}

void Handheld::reset()
{
    // With a linger time of 0, close() drops the connection by a reset (tcp(7)).
    const linger atOnce{1, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    leave();
}
