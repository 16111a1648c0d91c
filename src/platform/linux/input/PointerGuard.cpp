// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/PointerGuard.h"

#include "platform/linux/wayland/WaylandHandles.h"

#include <algorithm>
#include <csignal>
#include <cstring>

#include <linux/input-event-codes.h>
#include <poll.h>
#include <sys/time.h>
#include <unistd.h>
#include <wayland-client.h>
#include <wlr-virtual-pointer-unstable-v1-client.h>

namespace platform {
namespace {

/// After the server's end nothing keeps this process longer, not even a compositor that hangs.
constexpr int secondsAfterServer = 2;

using Display = WaylandHandle<wl_display, wl_display_disconnect>;
using Registry = WaylandHandle<wl_registry, wl_registry_destroy>;
using Manager =
    WaylandHandle<zwlr_virtual_pointer_manager_v1, zwlr_virtual_pointer_manager_v1_destroy>;
using Pointer = WaylandHandle<zwlr_virtual_pointer_v1, zwlr_virtual_pointer_v1_destroy>;

constexpr wl_registry_listener findManager = {
    .global =
        [](void *data, wl_registry *registry, std::uint32_t name, const char *interface,
           std::uint32_t /*version*/) {
            auto &manager = *static_cast<Manager *>(data);
            if (std::strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name) == 0) {
                manager.reset(static_cast<zwlr_virtual_pointer_manager_v1 *>(wl_registry_bind(
                    registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1)));
            }
        },
    .global_remove = [](void * /*data*/, wl_registry * /*registry*/, std::uint32_t /*name*/) {},
};

void waitForEnd(int pipe, pid_t server)
{
    sigset_t none{};
    sigemptyset(&none);
    while (getppid() == server) {
        pollfd end{pipe, POLLIN, 0};
        if (ppoll(&end, 1, nullptr, &none) > 0) {
            return;
        }
    }
}

void releaseButtons(const HeldInput &held)
{
    const Display display(wl_display_connect(nullptr));
    if (!display) {
        return;
    }
    const Registry registry(wl_display_get_registry(display.get()));
    Manager manager;
    wl_registry_add_listener(registry.get(), &findManager, &manager);
    // By the second answer the compositor has seen the end of the server's connection, too.
    if (wl_display_roundtrip(display.get()) < 0 || !manager ||
        wl_display_roundtrip(display.get()) < 0) {
        return;
    }
    const Pointer pointer(
        zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager.get(), nullptr));
    for (std::uint32_t button = 0; button < held.buttons.size(); ++button) {
        if (held.buttons[button]) {
            zwlr_virtual_pointer_v1_button(pointer.get(), 0, BTN_LEFT + button,
                                           WL_POINTER_BUTTON_STATE_RELEASED);
            zwlr_virtual_pointer_v1_frame(pointer.get());
        }
    }
    wl_display_roundtrip(display.get());
}

} // namespace

void guardButtons(const HeldInput &held, int pipe, pid_t server)
{
    waitForEnd(pipe, server);
    const itimerval once{{0, 0}, {secondsAfterServer, 0}};
    setitimer(ITIMER_REAL, &once, nullptr);
    if (std::ranges::any_of(held.buttons, [](const auto &isHeld) { return isHeld.load(); })) {
        releaseButtons(held);
    }
}

} // namespace platform
