// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/AttemptGuard.h"

#include "web/http/PlainAddress.h"

#include <algorithm>

namespace quillmote {

using namespace std::chrono_literals;

std::chrono::seconds AttemptGuard::shutOut(const QHostAddress &address, Clock::time_point now) const
{
    const auto found = wrong.constFind(keyOf(address));
    if (found == wrong.constEnd() || found->count < mostAttempts) {
        return 0s;
    }
    return std::max(std::chrono::ceil<std::chrono::seconds>(found->last + shutOutTime - now), 0s);
}

std::chrono::milliseconds AttemptGuard::addWrong(const QHostAddress &address, Clock::time_point now)
{
    makeRoom(now);
    Attempts &attempts = wrong[keyOf(address)];
    // Who was shut out begins anew when that is over.
    const bool isOver = attempts.count >= mostAttempts ? now - attempts.last >= shutOutTime
                                                       : now - attempts.first >= memory;
    if (attempts.count == 0 || isOver) {
        attempts = {0, now, now};
    }
    ++attempts.count;
    attempts.last = now;
    auto pause = 0ms;
    for (int late = freeAttempts; late < std::min(attempts.count, mostAttempts); ++late) {
        pause = pause == 0ms ? 1000ms : 2 * pause;
    }
    return pause;
}

/// Keeps a place free for one more.
void AttemptGuard::makeRoom(Clock::time_point now)
{
    if (wrong.size() < mostAddresses) {
        return;
    }
    wrong.removeIf([now](const QHash<QByteArray, Attempts>::iterator &entry) {
        return now - entry->last >= std::max(memory, shutOutTime);
    });
    while (wrong.size() >= mostAddresses) {
        wrong.erase(std::min_element(
            wrong.cbegin(), wrong.cend(),
            [](const Attempts &one, const Attempts &other) { return one.last < other.last; }));
    }
}

/// An IPv4 address stays as it is, also where it came in by an IPv6 socket.
QByteArray AttemptGuard::keyOf(const QHostAddress &address)
{
    constexpr qsizetype networkSize = 8;
    const QHostAddress plain = plainAddress(address);
    if (plain.protocol() == QAbstractSocket::IPv4Protocol) {
        return QByteArray::number(plain.toIPv4Address());
    }
    const Q_IPV6ADDR bytes = plain.toIPv6Address();
    return QByteArray(reinterpret_cast<const char *>(bytes.c), networkSize).toHex() + ":";
}

} // namespace quillmote
