// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>

namespace platform {

/// Ends an object of the compositor by the function that its protocol has for that.
template <auto end> struct WaylandEnd
{
    template <typename T> void operator()(T *ended) const { end(ended); }
};

/// Owns an object of a Wayland connection. It must not outlive the connection: destroy it when that
/// says lost().
template <typename T, auto end> using WaylandHandle = std::unique_ptr<T, WaylandEnd<end>>;

} // namespace platform
