// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/protocol/Flooder.h"

#include "support/protocol/Handheld.h"

using namespace std::chrono_literals;

namespace {

/// Handed to the system at once, so that the flood is not held up by system calls.
constexpr qsizetype BlockSize = 256 * 1024;

} // namespace

Flooder::Flooder(quint16 port, const QByteArray &token)
    : worker(
          [this, port, bytes = token.repeated(BlockSize / token.size() + 1)] { run(port, bytes); })
{
}

qint64 Flooder::stop()
{
    isOver = true;
    if (worker.joinable()) {
        worker.join();
    }
    return sent;
}

void Flooder::run(quint16 port, const QByteArray &bytes)
{
    Handheld handheld(port);
    while (!isOver && isAccepted) {
        isAccepted = handheld.send(bytes);
        sent += bytes.size();
        while (handheld.hasUnreadAnswer() && handheld.throwUnreadAway()) {
        }
    }
}
