// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>

namespace platform {

/// While it lives, SIGTERM, SIGINT and SIGHUP end the program in order, so that what is written at
/// the end gets written. It needs no application object and is made before everything else: what
/// comes earlier is the host's affair. At most one may exist.
class TerminationSignals
{
public:
    /// From now on a signal exits the program with status 0, at once: there is nothing to write
    /// yet. Lets the signals through if the program was started with them blocked.
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals &) = delete;
    TerminationSignals &operator=(const TerminationSignals &) = delete;

    /// From now on a signal exits every event loop with status 0, also those that are entered after
    /// it has come: none is lost between two loops. Needs the application object.
    void endEventLoops();

    /// Whether a signal has come since then.
    bool haveCome() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace platform
