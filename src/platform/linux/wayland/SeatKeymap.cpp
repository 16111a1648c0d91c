// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/wayland/SeatKeymap.h"

#include "platform/linux/wayland/KeymapFile.h"

#include <unistd.h>

namespace platform {

namespace {

/// The first one whose keyboards can be given back, and the last one whose events are known here.
constexpr std::uint32_t oldestSeat = WL_KEYBOARD_RELEASE_SINCE_VERSION;
constexpr std::uint32_t newestSeat = 7;

} // namespace

/// What libwayland calls.
struct SeatKeymap::Listeners
{
    static constexpr wl_seat_listener seat = {
        .capabilities =
            [](void *data, wl_seat * /*seat*/, std::uint32_t capabilities) {
                static_cast<SeatKeymap *>(data)->takeCapabilities(capabilities);
            },
        .name = [](void * /*data*/, wl_seat * /*seat*/, const char * /*name*/) {},
    };

    static constexpr wl_keyboard_listener keyboard = {
        .keymap =
            [](void *data, wl_keyboard * /*keyboard*/, std::uint32_t format, int file,
               std::uint32_t size) {
                if (format != WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1) {
                    close(file);
                } else if (const auto text = KeymapFile::read(file, size)) {
                    emit static_cast<SeatKeymap *>(data)->keymapUsed(*text);
                }
            },
        // No window of this connection ever has the focus.
        .enter = [](void * /*data*/, wl_keyboard * /*keyboard*/, std::uint32_t /*serial*/,
                    wl_surface * /*surface*/, wl_array * /*keys*/) {},
        .leave = [](void * /*data*/, wl_keyboard * /*keyboard*/, std::uint32_t /*serial*/,
                    wl_surface * /*surface*/) {},
        .key = [](void * /*data*/, wl_keyboard * /*keyboard*/, std::uint32_t /*serial*/,
                  std::uint32_t /*time*/, std::uint32_t /*key*/, std::uint32_t /*state*/) {},
        .modifiers = [](void * /*data*/, wl_keyboard * /*keyboard*/, std::uint32_t /*serial*/,
                        std::uint32_t /*depressed*/, std::uint32_t /*latched*/,
                        std::uint32_t /*locked*/, std::uint32_t /*group*/) {},
        .repeat_info = [](void * /*data*/, wl_keyboard * /*keyboard*/, std::int32_t /*rate*/,
                          std::int32_t /*delay*/) {},
    };
};

SeatKeymap::SeatKeymap(WaylandConnection &openConnection) : connection(openConnection) {}

SeatKeymap::~SeatKeymap() = default;

bool SeatKeymap::begin()
{
    const auto *announced = connection.global(wl_seat_interface);
    if (announced == nullptr || announced->version < oldestSeat) {
        return false;
    }
    global = announced->name;
    seat.reset(connection.bind<wl_seat>(*announced, wl_seat_interface, newestSeat));
    wl_seat_add_listener(seat.get(), &Listeners::seat, this);
    connection.flush();
    return true;
}

void SeatKeymap::end()
{
    keyboard.reset();
    seat.reset();
}

void SeatKeymap::takeCapabilities(std::uint32_t capabilities)
{
    const bool hasKeyboard = (capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0;
    if (!hasKeyboard) {
        keyboard.reset();
    } else if (!keyboard) {
        keyboard.reset(wl_seat_get_keyboard(seat.get()));
        wl_keyboard_add_listener(keyboard.get(), &Listeners::keyboard, this);
    }
    connection.flush();
}

} // namespace platform
