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

/// Calls the action for each device, as far as the server has XInput 2.
template <typename Action> void forEachDevice(xcb_connection_t *connection, Action action)
{
    if (!agreeOnVersion(connection)) {
        return;
    }
    const auto cookie = xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL);
    const auto reply = xcbOwned(xcb_input_xi_query_device_reply(connection, cookie, nullptr));
    if (!reply) {
        return;
    }
    for (auto device = xcb_input_xi_query_device_infos_iterator(reply.get()); device.rem > 0;
         xcb_input_xi_device_info_next(&device)) {
        action(device.data);
    }
}

std::vector<std::uint16_t> numbersOf(xcb_connection_t *connection,
                                     xcb_input_device_type_t deviceType)
{
    std::vector<std::uint16_t> numbers;
    forEachDevice(connection, [&](const xcb_input_xi_device_info_t *device) {
        if (device->type == deviceType) {
            numbers.push_back(device->deviceid);
        }
    });
    return numbers;
}

} // namespace

std::optional<std::uint16_t> inputDeviceNumber(xcb_connection_t *connection, std::string_view name)
{
    std::optional<std::uint16_t> number;
    forEachDevice(connection, [&](const xcb_input_xi_device_info_t *device) {
        if (!number && nameOf(device) == name) {
            number = device->deviceid;
        }
    });
    return number;
}

std::vector<std::uint16_t> keyboardNumbers(xcb_connection_t *connection)
{
    return numbersOf(connection, XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD);
}

std::vector<std::uint16_t> coreKeyboardNumbers(xcb_connection_t *connection)
{
    return numbersOf(connection, XCB_INPUT_DEVICE_TYPE_MASTER_KEYBOARD);
}

} // namespace platform
