// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/ConnectionResources.h"

#include <memory>
#include <utility>

namespace {

/// Texts that are freed at once: about a millisecond of work.
constexpr qsizetype disposalEffort = 20'000;

/// False once the map is empty.
bool disposeSome(TokenMap &map)
{
    qsizetype count = 0;
    for (auto entry = map.begin(); entry != map.end() && count < disposalEffort;) {
        count += 1 + entry->toStringList().size();
        entry = map.erase(entry);
    }
    return !map.isEmpty();
}

} // namespace

void ConnectionResources::dispose(TokenMap map)
{
    const auto rest = std::make_shared<TokenMap>(std::move(map));
    disposalTurns.enter(&disposalTurns, [rest] { return disposeSome(*rest); });
}
