// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/wayland/WaylandHandles.h"

#include <virtual-keyboard-unstable-v1-client.h>
#include <wayland-client.h>
#include <wlr-virtual-pointer-unstable-v1-client.h>
#include <xdg-output-unstable-v1-client.h>

namespace platform {

void WaylandMemberEnd::operator()(wl_keyboard *ended) const
{
    wl_keyboard_release(ended);
}

void WaylandMemberEnd::operator()(wl_seat *ended) const
{
    wl_seat_destroy(ended);
}

void WaylandMemberEnd::operator()(zwlr_virtual_pointer_v1 *ended) const
{
    zwlr_virtual_pointer_v1_destroy(ended);
}

void WaylandMemberEnd::operator()(zwp_virtual_keyboard_v1 *ended) const
{
    zwp_virtual_keyboard_v1_destroy(ended);
}

void WaylandMemberEnd::operator()(zxdg_output_manager_v1 *ended) const
{
    zxdg_output_manager_v1_destroy(ended);
}

} // namespace platform
