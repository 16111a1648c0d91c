// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/x11/X11Server.h"

#include "platform/linux/x11/X11Connection.h"

#include <algorithm>
#include <span>
#include <string_view>

#include <xcb/randr.h>
#include <xcb/xtest.h>

#include "platform/linux/x11/XcbXkb.h"

namespace platform {

namespace {

bool hasExtension(xcb_connection_t *connection, std::string_view name)
{
    const auto cookie =
        xcb_query_extension(connection, static_cast<std::uint16_t>(name.size()), name.data());
    const auto reply = xcbOwned(xcb_query_extension_reply(connection, cookie, nullptr));
    return reply && reply->present;
}

bool hasExtension(xcb_connection_t *connection, xcb_extension_t *extension)
{
    const auto *data = xcb_get_extension_data(connection, extension);
    return data && data->present;
}

bool isNamedAfterXwayland(xcb_connection_t *connection, xcb_randr_output_t output)
{
    const auto cookie = xcb_randr_get_output_info(connection, output, XCB_CURRENT_TIME);
    const auto info = xcbOwned(xcb_randr_get_output_info_reply(connection, cookie, nullptr));
    if (!info) {
        return false;
    }
    const std::string_view name(
        reinterpret_cast<const char *>(xcb_randr_get_output_info_name(info.get())),
        static_cast<std::size_t>(xcb_randr_get_output_info_name_length(info.get())));
    return name.starts_with("XWAYLAND");
}

/// Before version 23.1 Xwayland has no extension of its own; only the names of its outputs show it.
bool hasXwaylandOutput(xcb_connection_t *connection, xcb_window_t root)
{
    if (!hasExtension(connection, &xcb_randr_id)) {
        return false;
    }
    const auto version = xcb_randr_query_version(connection, 1, 3);
    xcbOwned(xcb_randr_query_version_reply(connection, version, nullptr));
    const auto cookie = xcb_randr_get_screen_resources_current(connection, root);
    const auto resources =
        xcbOwned(xcb_randr_get_screen_resources_current_reply(connection, cookie, nullptr));
    if (!resources) {
        return false;
    }
    const std::span outputs(
        xcb_randr_get_screen_resources_current_outputs(resources.get()),
        static_cast<std::size_t>(
            xcb_randr_get_screen_resources_current_outputs_length(resources.get())));
    return std::ranges::any_of(outputs, [&](xcb_randr_output_t output) {
        return isNamedAfterXwayland(connection, output);
    });
}

} // namespace

bool isXwayland(const X11Connection &connection)
{
    return connection.isOpen() && (hasExtension(connection.get(), "XWAYLAND") ||
                                   hasXwaylandOutput(connection.get(), connection.root()));
}

bool canFakeInput(const X11Connection &connection)
{
    return connection.isOpen() && hasExtension(connection.get(), &xcb_test_id) &&
           hasExtension(connection.get(), &xcb_xkb_id);
}

void ignoreServerGrabs(const X11Connection &connection)
{
    // A request of an extension that the server lacks would end the connection.
    if (hasExtension(connection.get(), &xcb_test_id)) {
        constexpr std::uint8_t impervious = 1;
        xcb_test_grab_control(connection.get(), impervious);
    }
}

} // namespace platform
