// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <deque>
#include <functional>
#include <utility>

/// An amount of something that all sessions share, up to a limit.
class SharedAmount
{
public:
    /// What one of them has of it; returned on destruction. Must not outlive the whole.
    class Share
    {
    public:
        /// \param roomAgain see askForRoom(). It may change and destroy shares.
        explicit Share(SharedAmount &shared, std::function<void()> roomAgain = {})
            : whole(shared)
            , wake(std::move(roomAgain))
        {
        }
        ~Share();
        Share(const Share &) = delete;
        Share &operator=(const Share &) = delete;

        /// Holds that much from now on; false if the whole does not suffice, and then the share
        /// keeps its size.
        bool resize(qint64 amount);
        /// Holds that much from now on, even if the whole does not suffice.
        void hold(qint64 amount);
        /// Whether the whole has some left. If not, roomAgain is called once, when it has.
        bool askForRoom();

    private:
        friend class SharedAmount;

        SharedAmount &whole;
        std::function<void()> wake;
        qint64 held = 0;
    };

    explicit SharedAmount(qint64 most) : limit(most) {}
    SharedAmount(const SharedAmount &) = delete;
    SharedAmount &operator=(const SharedAmount &) = delete;

    qint64 total() const { return used; }

private:
    void add(qint64 amount);

    qint64 limit;
    qint64 used = 0;
    std::deque<Share *> waiting; // for room; each is there once
};
