// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/x11/XInputDevices.h"

#include "platform/linux/x11/XcbHandles.h"

#include <xcb/xinput.h>

namespace platform {

namespace {

/// XInput 2 takes requests only from a client that has named its version.
bool agreeOnVersion(xcb_connection_t *connection)
{
    const auto *extension = xcb_get_extension_data(connection, &xcb_input_id);
    if (!extension || !extension->present) {
        return false;
    }
    const auto cookie = xcb_input_xi_query_version(connection, 2, 2);
    return xcbOwned(xcb_input_xi_query_version_reply(connection, cookie, nullptr)) != nullptr;
}

std::string_view nameOf(const xcb_input_xi_device_info_t *device)
{
    return {xcb_input_xi_device_info_name(device),
            static_cast<std::size_t>(xcb_input_xi_device_info_name_length(device))};
}

} // namespace

std::optional<std::uint16_t> inputDeviceNumber(xcb_connection_t *connection, std::string_view name)
{
    if (!agreeOnVersion(connection)) {
        return std::nullopt;
    }
    const auto cookie = xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL);
    const auto reply = xcbOwned(xcb_input_xi_query_device_reply(connection, cookie, nullptr));
    if (!reply) {
        return std::nullopt;
    }
    for (auto device = xcb_input_xi_query_device_infos_iterator(reply.get()); device.rem > 0;
         xcb_input_xi_device_info_next(&device)) {
        if (nameOf(device.data) == name) {
            return device.data->deviceid;
        }
    }
    return std::nullopt;
}

} // namespace platform
