// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/ServerChoice.h"

#include <algorithm>

namespace quillmote {
namespace {

QList<ServerAddress> named(const QString &name, const QList<ServerAddress> &seen,
                           Qt::CaseSensitivity sensitivity)
{
    QList<ServerAddress> matches;
    std::copy_if(
        seen.begin(), seen.end(), std::back_inserter(matches),
        [&](const ServerAddress &server) { return server.name.compare(name, sensitivity) == 0; });
    return matches;
}

/// Chooses among the servers that match.
ServerChoice choiceOf(const QList<ServerAddress> &candidates, SearchState state)
{
    if (candidates.isEmpty() || state == SearchState::Running) {
        return {};
    }
    return candidates.size() == 1 ? ServerChoice{ServerChoice::Kind::Clear, candidates[0], {}}
                                  : ServerChoice{ServerChoice::Kind::Several, {}, candidates};
}

ServerChoice chosenByName(const QString &name, const QList<ServerAddress> &seen, SearchState state)
{
    const auto exact = named(name, seen, Qt::CaseSensitive);
    return exact.isEmpty() ? choiceOf(named(name, seen, Qt::CaseInsensitive), state)
                           : ServerChoice{ServerChoice::Kind::Clear, exact[0], {}};
}

ServerChoice chosenWithoutName(const QString &lastUsed, const QList<ServerAddress> &seen,
                               SearchState state)
{
    const auto last = named(lastUsed, seen, Qt::CaseSensitive);
    if (!last.isEmpty()) {
        return {ServerChoice::Kind::Clear, last[0], {}};
    }
    const bool mayLastUsedCome = !lastUsed.isEmpty() && state != SearchState::Over;
    return mayLastUsedCome ? ServerChoice() : choiceOf(seen, state);
}

} // namespace

ServerChoice chooseServer(const WantedServer &wanted, const QList<ServerAddress> &seen,
                          SearchState state)
{
    ServerChoice choice = wanted.name.isEmpty() ? chosenWithoutName(wanted.lastUsed, seen, state)
                                                : chosenByName(wanted.name, seen, state);
    if (choice.kind == ServerChoice::Kind::Undecided && state == SearchState::Over) {
        return {ServerChoice::Kind::None, {}, seen};
    }
    return choice;
}

} // namespace quillmote
