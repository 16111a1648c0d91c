// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

/// An amount of something that all sessions share, up to a limit.
class SharedAmount
{
public:
    /// What one of them has of it; returned on destruction. Must not outlive the whole.
    class Share
    {
    public:
        explicit Share(SharedAmount &shared) : whole(shared) {}
        ~Share();
        Share(const Share &) = delete;
        Share &operator=(const Share &) = delete;

        /// Holds that much from now on; false if the whole does not suffice, and then the share
        /// keeps its size.
        bool resize(qint64 amount);

    private:
        SharedAmount &whole;
        qint64 held = 0;
    };

    explicit SharedAmount(qint64 most) : limit(most) {}
    SharedAmount(const SharedAmount &) = delete;
    SharedAmount &operator=(const SharedAmount &) = delete;

    qint64 total() const { return used; }

private:
    qint64 limit;
    qint64 used = 0;
};
