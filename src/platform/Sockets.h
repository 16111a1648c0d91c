// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QtGlobal>

namespace platform {

/// Makes a dead peer noticed: keepalive after 15 s of silence, every 5 s, lost after 3 probes.
/// Small answers leave at once (no Nagle delay).
void tuneAcceptedSocket(qintptr descriptor);

/// How many more descriptors this process may open, given one that it has just been handed: the
/// system always hands out the lowest free number.
int descriptorsLeftAfter(qintptr descriptor);

/// Takes at most `size` bytes that have arrived at the socket; never waits. Empty when nothing has,
/// and at the end or an error of the connection, which the socket goes on showing.
QByteArray takeArrived(qintptr descriptor, qsizetype size);

/// Keeps every descriptor that is open now, but the three standard streams, from the programs that
/// this process starts.
void closeDescriptorsOnExec();

} // namespace platform
