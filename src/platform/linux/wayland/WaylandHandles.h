// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>

struct wl_keyboard;
struct wl_seat;
struct zwlr_virtual_pointer_v1;
struct zwp_virtual_keyboard_v1;
struct zxdg_output_manager_v1;

namespace platform {

/// Ends an object of the compositor by the function that its protocol has for that.
template <auto end> struct WaylandEnd
{
    template <typename T> void operator()(T *ended) const { end(ended); }
};

/// Owns an object of a Wayland connection. It must not outlive the connection: destroy it when that
/// says lost().
template <typename T, auto end> using WaylandHandle = std::unique_ptr<T, WaylandEnd<end>>;

/// The same for objects that are members of a class in a header: the functions of the protocols are
/// different ones in each source.
struct WaylandMemberEnd
{
    void operator()(wl_keyboard *ended) const;
    void operator()(wl_seat *ended) const;
    void operator()(zwlr_virtual_pointer_v1 *ended) const;
    void operator()(zwp_virtual_keyboard_v1 *ended) const;
    void operator()(zxdg_output_manager_v1 *ended) const;
};
template <typename T> using WaylandMember = std::unique_ptr<T, WaylandMemberEnd>;

} // namespace platform
