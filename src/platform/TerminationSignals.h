// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>

namespace platform {

/// While it lives, SIGTERM, SIGINT and SIGHUP end the application's event loop with status 0, so
/// that what is written at the end gets written. At most one may exist.
class TerminationSignals
{
public:
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals &) = delete;
    TerminationSignals &operator=(const TerminationSignals &) = delete;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace platform
