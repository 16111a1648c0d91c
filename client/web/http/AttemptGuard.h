// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHash>
#include <QHostAddress>

#include <chrono>

namespace quillmote {

/// Slows down who offers wrong secrets, and shuts them out when they go on. An IPv6 address counts
/// as its network of 64 bits, since one computer has all of it. The caller passes the current time.
class AttemptGuard
{
public:
    using Clock = std::chrono::steady_clock;

    /// Wrong secrets within this time count together.
    static constexpr std::chrono::minutes memory{10};
    /// So many are answered at once.
    static constexpr int freeAttempts = 5;
    /// With so many the address is shut out.
    static constexpr int mostAttempts = 10;
    static constexpr std::chrono::minutes shutOutTime{10};
    /// Addresses that are remembered. Beyond it, the one that was wrong longest ago is forgotten.
    static constexpr qsizetype mostAddresses = 1024;

    /// How much longer the address is shut out, rounded up; 0 if it may try.
    std::chrono::seconds shutOut(const QHostAddress &address, Clock::time_point now) const;

    /// Counts a wrong secret. Returns for how long to hold back the answer to it: 0 at first, then
    /// 1 s, 2 s, 4 s and so on.
    std::chrono::milliseconds addWrong(const QHostAddress &address, Clock::time_point now);

private:
    struct Attempts
    {
        int count = 0;
        Clock::time_point first;
        Clock::time_point last;
    };

    void makeRoom(Clock::time_point now);

    QHash<QByteArray, Attempts> wrong;
};

} // namespace quillmote
