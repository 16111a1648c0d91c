// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/wayland/CompositorPatience.h"

#include "platform/linux/wayland/WaylandConnection.h"

#include <algorithm>

using namespace std::chrono_literals;

namespace platform {

CompositorPatience::CompositorPatience(std::chrono::milliseconds most)
    : left(std::make_shared<std::chrono::milliseconds>(most))
{
}

bool CompositorPatience::answers(WaylandConnection &connection)
{
    const auto start = std::chrono::steady_clock::now();
    const bool hasAnswered = connection.answers(*left);
    const auto waited = std::chrono::steady_clock::now() - start;
    *left = std::max(0ms, *left - std::chrono::duration_cast<std::chrono::milliseconds>(waited));
    return hasAnswered;
}

} // namespace platform
