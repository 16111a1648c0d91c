// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

/// Keeps a connection open for some seconds after its program has exited.
///
/// A server shows a balloon when a client leaves, which would cover at once what it has just shown
/// about the client's request. So a child of the program holds the connection a little longer,
/// apart from the caller: it has a session of its own, no file of the caller's open, / as its
/// folder, and exits by itself. Nobody waits for it: neither the caller's shell nor whoever reads
/// the program's output.
///
/// There is at most one for each user: the next program ends it before it does anything that is
/// shown. A lock on a file in the runtime directory says which process it is, so that no other can
/// be meant. Without a runtime directory connections are not kept.
namespace quillmote::ConnectionKeeper {

/// Ends the keeper of an earlier run, if there is one, and waits a moment until it is gone.
void endEarlier();

/// Starts the keeper of the connection with that descriptor. Nothing happens where that fails.
void keep(qintptr connection);

} // namespace quillmote::ConnectionKeeper
