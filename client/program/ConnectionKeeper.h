// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

/// Keeps a connection open for some seconds after its program has exited.
///
/// A server shows a balloon when a client disconnects. It would cover the balloon about the
/// client's request. So a child process holds the connection a little longer. It is independent of
/// the caller: it has its own session, none of the caller's files open, / as its folder, and exits
/// by itself. Neither the caller's shell nor a reader of the program's output waits for it.
///
/// Each user has at most one such process. The next program ends it before it does anything that
/// the server shows. The process holds a lock on a file in the runtime directory, and the holder of
/// that lock is the only process that is ever ended. Without a runtime directory no connection is
/// kept.
namespace quillmote::ConnectionKeeper {

/// Ends the process of an earlier run, if there is one, and waits up to 0.2 s until it is gone.
void endEarlier();

/// Starts a process that keeps the connection with that descriptor. Failures are ignored.
void keep(qintptr connection);

} // namespace quillmote::ConnectionKeeper
