// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QtGlobal>

namespace platform {

/// Detects a dead peer: keepalive probes after 15 s of silence, every 5 s; after 3 of them the
/// connection is lost. Small answers are sent at once (no Nagle delay).
void tuneAcceptedSocket(qintptr descriptor);

/// How many more descriptors this process may open, if the given one is its newest: the system
/// always assigns the lowest free number.
int descriptorsLeftAfter(qintptr descriptor);

/// Takes at most `size` bytes that have arrived at the socket; never waits. Empty when nothing has
/// arrived, and at the end or an error of the connection, which the socket still reports later.
QByteArray takeArrived(qintptr descriptor, qsizetype size);

/// Keeps the programs that this process starts from inheriting any descriptor that is open now,
/// except the three standard streams.
void closeDescriptorsOnExec();

} // namespace platform
