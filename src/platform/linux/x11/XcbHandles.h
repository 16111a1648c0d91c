// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

// What libxcb hands out, each with its owner.

struct XcbDisconnect
{
    void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
};
/// Holds a failed connection too; ask xcb_connection_has_error().
using XcbConnection = std::unique_ptr<xcb_connection_t, XcbDisconnect>;

struct XcbFree
{
    void operator()(void *memory) const { std::free(memory); }
};
/// A reply, event or error.
template <typename Type> using XcbOwned = std::unique_ptr<Type, XcbFree>;

/// Takes over what a libxcb call returned: `auto reply = xcbOwned(xcb_..._reply(...))`.
template <typename Type> XcbOwned<Type> xcbOwned(Type *memory)
{
    return XcbOwned<Type>(memory);
}
