// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The minimum cost of a remote key on a Wayland compositor with virtual keyboards: reads bytes over
// loopback TCP, and for each one presses and releases the key with that number of the kernel's.
// Writes its port to standard output. With an argument it reads from a local socket of that path
// instead, and writes a line when it listens.

#include "FloorSocket.h"

#include <cstdint>
#include <cstdlib>
#include <initializer_list>

#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <virtual-keyboard-unstable-v1-client.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

namespace {

struct Globals
{
    wl_seat *seat = nullptr;
    zwp_virtual_keyboard_manager_v1 *keyboards = nullptr;
};

constexpr wl_registry_listener Listener{
    .global =
        [](void *data, wl_registry *registry, uint32_t name, const char *interface,
           uint32_t /*version*/) {
            auto &globals = *static_cast<Globals *>(data);
            if (std::strcmp(interface, wl_seat_interface.name) == 0) {
                globals.seat =
                    static_cast<wl_seat *>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
            } else if (std::strcmp(interface, zwp_virtual_keyboard_manager_v1_interface.name) ==
                       0) {
                globals.keyboards = static_cast<zwp_virtual_keyboard_manager_v1 *>(wl_registry_bind(
                    registry, name, &zwp_virtual_keyboard_manager_v1_interface, 1));
            }
        },
    .global_remove = [](void * /*data*/, wl_registry * /*registry*/, uint32_t /*name*/) {},
};

/// The layout of the system.
void sendKeymap(zwp_virtual_keyboard_v1 *keyboard)
{
    xkb_context *context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    xkb_keymap *keymap = xkb_keymap_new_from_names(context, nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS);
    char *text = xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
    const size_t size = std::strlen(text) + 1;
    const int file = memfd_create("keymap", MFD_CLOEXEC);
    if (write(file, text, size) == static_cast<ssize_t>(size)) {
        zwp_virtual_keyboard_v1_keymap(keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file,
                                       static_cast<uint32_t>(size));
    }
    close(file);
    std::free(text);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
}

void tap(wl_display *display, zwp_virtual_keyboard_v1 *keyboard, uint8_t key)
{
    for (const auto state : {WL_KEYBOARD_KEY_STATE_PRESSED, WL_KEYBOARD_KEY_STATE_RELEASED}) {
        zwp_virtual_keyboard_v1_key(keyboard, 0, key, state);
    }
    wl_display_flush(display);
}

} // namespace

int main(int argc, char **argv)
{
    wl_display *display = wl_display_connect(nullptr);
    if (display == nullptr) {
        return 1;
    }
    Globals globals;
    wl_registry_add_listener(wl_display_get_registry(display), &Listener, &globals);
    wl_display_roundtrip(display);
    if (globals.seat == nullptr || globals.keyboards == nullptr) {
        return 1;
    }
    zwp_virtual_keyboard_v1 *keyboard =
        zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(globals.keyboards, globals.seat);
    sendKeymap(keyboard);
    wl_display_roundtrip(display);
    const int client = FloorSocket::acceptAt(argc > 1 ? argv[1] : nullptr);
    uint8_t key = 0;
    while (recv(client, &key, 1, 0) == 1) {
        tap(display, keyboard, key);
    }
    zwp_virtual_keyboard_v1_destroy(keyboard);
    wl_display_disconnect(display);
    return 0;
}
