// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>

namespace platform {

/// While it lives, SIGTERM, SIGINT and SIGHUP end the program in order, so that everything is
/// written that is written at the end. It needs no application object and is made before everything
/// else; signals that come earlier are left to the host. At most one may exist.
class TerminationSignals
{
public:
    /// From now on a signal exits the program with status 0, at once: there is nothing to write
    /// yet. Unblocks the signals if the program was started with them blocked.
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals &) = delete;
    TerminationSignals &operator=(const TerminationSignals &) = delete;

    /// From now on a signal exits every event loop with status 0, including those that are entered
    /// later, so none is lost between two loops. Needs the application object.
    void endEventLoops();

    /// Whether a signal has come since then.
    bool haveCome() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace platform
