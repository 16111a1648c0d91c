// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/x11/X11Display.h"

#include "platform/linux/x11/X11Atoms.h"

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

/// Before version 23.1 Xwayland has no extension to be known by, only the names of its outputs.
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

X11Display::X11Display(const char *name) : xcb(xcb_connect(name, &screen)) {}

bool X11Display::isOpen() const
{
    return !xcb_connection_has_error(connection());
}

bool X11Display::isXwayland() const
{
    return isOpen() &&
           (hasExtension(connection(), "XWAYLAND") || hasXwaylandOutput(connection(), root()));
}

bool X11Display::canFakeInput() const
{
    return isOpen() && hasExtension(connection(), &xcb_test_id) &&
           hasExtension(connection(), &xcb_xkb_id);
}

void ignoreServerGrabs(xcb_connection_t *connection)
{
    // A request of an extension that is not there would end the connection.
    if (hasExtension(connection, &xcb_test_id)) {
        constexpr uint8_t impervious = 1;
        xcb_test_grab_control(connection, impervious);
    }
}

xcb_window_t X11Display::root() const
{
    return defaultScreen(connection(), screen)->root;
}

} // namespace platform
