// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/x11/PhysicalKeyboard.h"

#include "platform/linux/x11/XInputDevices.h"
#include "support/x11/XcbClient.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

struct PhysicalKeyboard::Private
{
    XcbConnection connection;
    std::uint8_t firstDeviceEvent = 0;
    std::uint8_t device = 0;

    void fake(std::uint8_t deviceEvent, int keycode) const
    {
        const auto type = static_cast<std::uint8_t>(firstDeviceEvent + deviceEvent);
        const auto cookie =
            xcb_test_fake_input_checked(connection.get(), type, static_cast<std::uint8_t>(keycode),
                                        XCB_CURRENT_TIME, XCB_NONE, 0, 0, device);
        xcbOwned(xcb_request_check(connection.get(), cookie));
    }
};

PhysicalKeyboard::PhysicalKeyboard(const QString &display) : d(std::make_unique<Private>())
{
    d->connection = XcbClient::connectTo(display);
    xcb_connection_t *connection = d->connection.get();
    const auto *extension = xcb_get_extension_data(connection, &xcb_input_id);
    const auto device = platform::inputDeviceNumber(connection, "Xvfb keyboard");
    if (!extension || !device) {
        return;
    }
    d->firstDeviceEvent = extension->first_event;
    d->device = static_cast<std::uint8_t>(*device);
}

PhysicalKeyboard::~PhysicalKeyboard() = default;

bool PhysicalKeyboard::isConnected() const
{
    return d->device != 0 && XcbClient::isConnected(d->connection);
}

void PhysicalKeyboard::press(int keycode)
{
    d->fake(XCB_INPUT_DEVICE_KEY_PRESS, keycode);
}

void PhysicalKeyboard::release(int keycode)
{
    d->fake(XCB_INPUT_DEVICE_KEY_RELEASE, keycode);
}

void PhysicalKeyboard::tap(int keycode)
{
    press(keycode);
    release(keycode);
}
