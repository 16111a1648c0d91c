// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QHash>
#include <QHostAddress>

#include <algorithm>
#include <memory>

namespace quillmote {

/// Which computers have how many connections, so that nobody can push others out by coming often.
class Computers
{
public:
    /// Each connection holds one.
    using Share = std::shared_ptr<const QByteArray>;

    Share shareOf(const QHostAddress &address);

    /// Where there is no room for one more: the oldest one of the computer that has most. They are
    /// in the order in which they came, and there is at least one.
    template <typename Iterator, typename ShareOf>
    static Iterator whoGivesWay(Iterator begin, Iterator end, ShareOf shareOf)
    {
        return std::max_element(begin, end, [&](const auto &left, const auto &right) {
            return shareOf(left).use_count() < shareOf(right).use_count();
        });
    }

private:
    QHash<QByteArray, std::weak_ptr<const QByteArray>> known;
};

} // namespace quillmote
