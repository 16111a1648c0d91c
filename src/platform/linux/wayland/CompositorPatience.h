// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <chrono>
#include <memory>

namespace platform {

class WaylandConnection;

/// How long the start of the program may be held up by its compositor, over all connections and
/// questions. Copies share what is left of it.
class CompositorPatience
{
public:
    explicit CompositorPatience(std::chrono::milliseconds most);

    /// Waits until the compositor has answered everything that was asked before on that connection,
    /// but not longer than there is patience left; whether it has.
    bool answers(WaylandConnection &connection);

private:
    std::shared_ptr<std::chrono::milliseconds> left;
};

} // namespace platform
