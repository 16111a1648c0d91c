// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/Computers.h"

#include "web/http/PlainAddress.h"

namespace quillmote {
namespace {

/// Beyond it, those that have left are forgotten.
constexpr qsizetype mostKnown = 1024;

} // namespace

Computers::Share Computers::shareOf(const QHostAddress &address)
{
    if (known.size() >= mostKnown) {
        known.removeIf([](const auto &entry) { return entry->expired(); });
    }
    std::weak_ptr<const QByteArray> &computer = known[computerOf(address)];
    Share share = computer.lock();
    if (!share) {
        share = std::make_shared<const QByteArray>();
        computer = share;
    }
    return share;
}

} // namespace quillmote
