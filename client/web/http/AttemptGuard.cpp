// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/AttemptGuard.h"

#include "web/http/PlainAddress.h"

#include <algorithm>

namespace quillmote {

using namespace std::chrono_literals;

std::chrono::seconds AttemptGuard::shutOut(const QHostAddress &address, Clock::time_point now) const
{
    const auto found = wrong.constFind(computerOf(address));
    if (found == wrong.constEnd() || found->count < mostAttempts) {
        return 0s;
    }
    return std::max(std::chrono::ceil<std::chrono::seconds>(found->last + shutOutTime - now), 0s);
}

std::chrono::milliseconds AttemptGuard::addWrong(const QHostAddress &address, Clock::time_point now)
{
    makeRoom(now);
    Attempts &attempts = wrong[computerOf(address)];
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

} // namespace quillmote
