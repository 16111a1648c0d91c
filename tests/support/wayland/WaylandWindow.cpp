// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/WaylandWindow.h"

#include <algorithm>
#include <utility>

#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xdg-shell-client.h>
#include <xkbcommon/xkbcommon-keysyms.h>

namespace {

template <typename T>
T *bound(wl_registry *registry, std::uint32_t name, const wl_interface &wanted,
         std::uint32_t version)
{
    return static_cast<T *>(wl_registry_bind(registry, name, &wanted, version));
}

} // namespace

struct WaylandWindow::Wire
{
    wl_display *display = nullptr;
    wl_registry *registry = nullptr;
    wl_compositor *compositor = nullptr;
    wl_shm *memory = nullptr;
    wl_seat *seat = nullptr;
    wl_keyboard *keyboard = nullptr;
    wl_pointer *pointer = nullptr;
    xdg_wm_base *shell = nullptr;
    wl_surface *surface = nullptr;
    xdg_surface *window = nullptr;
    xdg_toplevel *toplevel = nullptr;
    std::vector<wl_proxy *> buffers;
};

/// What libwayland calls.
struct WaylandWindow::Listeners
{
    static WaylandWindow &self(void *data) { return *static_cast<WaylandWindow *>(data); }

    static constexpr xdg_wm_base_listener shell = {
        .ping = [](void * /*data*/, xdg_wm_base *base,
                   std::uint32_t serial) { xdg_wm_base_pong(base, serial); },
    };

    static constexpr xdg_surface_listener window = {
        .configure =
            [](void *data, xdg_surface *window, std::uint32_t serial) {
                xdg_surface_ack_configure(window, serial);
                self(data).attach();
            },
    };

    static constexpr xdg_toplevel_listener toplevel = {
        .configure =
            [](void *data, xdg_toplevel * /*toplevel*/, int width, int height,
               wl_array * /*states*/) {
                if (width > 0 && height > 0) {
                    self(data).extent = {width, height};
                    self(data).isConfigured = true;
                }
            },
        .close = [](void * /*data*/, xdg_toplevel * /*toplevel*/) {},
        .configure_bounds = [](void * /*data*/, xdg_toplevel * /*toplevel*/, int /*width*/,
                               int /*height*/) {},
        .wm_capabilities = [](void * /*data*/, xdg_toplevel * /*toplevel*/,
                              wl_array * /*capabilities*/) {},
    };

    static constexpr wl_keyboard_listener keyboard = {
        .keymap = [](void *data, wl_keyboard * /*keyboard*/, std::uint32_t /*format*/, int file,
                     std::uint32_t length) { self(data).takeKeymap(file, length); },
        .enter = [](void *data, wl_keyboard * /*keyboard*/, std::uint32_t /*serial*/,
                    wl_surface * /*surface*/, wl_array * /*keys*/) { self(data).isFocused = true; },
        .leave =
            [](void *data, wl_keyboard * /*keyboard*/, std::uint32_t /*serial*/,
               wl_surface * /*surface*/) {
                self(data).isFocused = false;
                self(data).downKeys.clear();
            },
        .key = [](void *data, wl_keyboard * /*keyboard*/, std::uint32_t /*serial*/,
                  std::uint32_t /*time*/, std::uint32_t key,
                  std::uint32_t isDown) { self(data).takeKey(key, isDown != 0); },
        .modifiers =
            [](void *data, wl_keyboard * /*keyboard*/, std::uint32_t /*serial*/,
               std::uint32_t depressed, std::uint32_t latched, std::uint32_t locked,
               std::uint32_t group) {
                if (self(data).state) {
                    xkb_state_update_mask(self(data).state.get(), depressed, latched, locked, 0, 0,
                                          group);
                }
            },
        .repeat_info = [](void * /*data*/, wl_keyboard * /*keyboard*/, std::int32_t /*rate*/,
                          std::int32_t /*delay*/) {},
    };

    static void addTurn(void *data, std::uint32_t axis, double value, int notches)
    {
        auto &pending = self(data).pendingWheel;
        const bool isVertical = axis == WL_POINTER_AXIS_VERTICAL_SCROLL;
        auto turn = std::find_if(pending.begin(), pending.end(),
                                 [&](const Turn &each) { return each.isVertical == isVertical; });
        if (turn == pending.end()) {
            turn = pending.insert(pending.end(), Turn{isVertical, 0, 0, 0});
        }
        turn->value += value;
        turn->notches += notches;
    }

    static std::uint32_t &pendingSource()
    {
        static std::uint32_t source = 0;
        return source;
    }

    static constexpr wl_pointer_listener pointer = {
        .enter =
            [](void *data, wl_pointer * /*pointer*/, std::uint32_t /*serial*/,
               wl_surface * /*surface*/, wl_fixed_t x, wl_fixed_t y) {
                self(data).place = {wl_fixed_to_double(x), wl_fixed_to_double(y)};
            },
        .leave = [](void * /*data*/, wl_pointer * /*pointer*/, std::uint32_t /*serial*/,
                    wl_surface * /*surface*/) {},
        .motion =
            [](void *data, wl_pointer * /*pointer*/, std::uint32_t /*time*/, wl_fixed_t x,
               wl_fixed_t y) {
                self(data).place = {wl_fixed_to_double(x), wl_fixed_to_double(y)};
            },
        .button =
            [](void *data, wl_pointer * /*pointer*/, std::uint32_t /*serial*/,
               std::uint32_t /*time*/, std::uint32_t button, std::uint32_t isDown) {
                if (isDown != 0) {
                    self(data).pressedButtons.push_back(button);
                    self(data).downButtons.insert(button);
                } else {
                    self(data).downButtons.remove(button);
                }
            },
        .axis = [](void *data, wl_pointer * /*pointer*/, std::uint32_t /*time*/, std::uint32_t axis,
                   wl_fixed_t value) { addTurn(data, axis, wl_fixed_to_double(value), 0); },
        .frame =
            [](void *data, wl_pointer * /*pointer*/) {
                ++self(data).frameCount;
                for (Turn &turn : self(data).pendingWheel) {
                    turn.source = pendingSource();
                    self(data).wheel.push_back(turn);
                }
                self(data).pendingWheel.clear();
            },
        .axis_source = [](void * /*data*/, wl_pointer * /*pointer*/,
                          std::uint32_t source) { pendingSource() = source; },
        .axis_stop = [](void * /*data*/, wl_pointer * /*pointer*/, std::uint32_t /*time*/,
                        std::uint32_t /*axis*/) {},
        .axis_discrete = [](void *data, wl_pointer * /*pointer*/, std::uint32_t axis,
                            std::int32_t notches) { addTurn(data, axis, 0, notches); },
        .axis_value120 = [](void * /*data*/, wl_pointer * /*pointer*/, std::uint32_t /*axis*/,
                            std::int32_t /*value*/) {},
    };

    static constexpr wl_seat_listener seat = {
        .capabilities =
            [](void *data, wl_seat *seat, std::uint32_t capabilities) {
                Wire &parts = *self(data).wire;
                // The last pointer of the seat has gone, and with it what it held.
                if ((capabilities & WL_SEAT_CAPABILITY_POINTER) == 0 && parts.pointer) {
                    wl_pointer_destroy(std::exchange(parts.pointer, nullptr));
                    self(data).downButtons.clear();
                }
                if ((capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0 && !parts.keyboard) {
                    parts.keyboard = wl_seat_get_keyboard(seat);
                    wl_keyboard_add_listener(parts.keyboard, &keyboard, data);
                }
                if ((capabilities & WL_SEAT_CAPABILITY_POINTER) != 0 && !parts.pointer) {
                    parts.pointer = wl_seat_get_pointer(seat);
                    wl_pointer_add_listener(parts.pointer, &pointer, data);
                }
            },
        .name = [](void * /*data*/, wl_seat * /*seat*/, const char * /*name*/) {},
    };

    static constexpr wl_registry_listener registry = {
        .global =
            [](void *data, wl_registry *registry, std::uint32_t name, const char *interface,
               std::uint32_t /*version*/) {
                Wire &parts = *self(data).wire;
                const QByteArray kind = interface;
                if (kind == wl_compositor_interface.name) {
                    parts.compositor =
                        bound<wl_compositor>(registry, name, wl_compositor_interface, 4);
                } else if (kind == wl_shm_interface.name) {
                    parts.memory = bound<wl_shm>(registry, name, wl_shm_interface, 1);
                } else if (kind == wl_seat_interface.name) {
                    parts.seat = bound<wl_seat>(registry, name, wl_seat_interface, 7);
                    wl_seat_add_listener(parts.seat, &seat, data);
                } else if (kind == xdg_wm_base_interface.name) {
                    parts.shell = bound<xdg_wm_base>(registry, name, xdg_wm_base_interface, 1);
                    xdg_wm_base_add_listener(parts.shell, &shell, data);
                }
            },
        .global_remove = [](void * /*data*/, wl_registry * /*registry*/, std::uint32_t /*name*/) {},
    };
};

WaylandWindow::WaylandWindow(const QString &display, bool isFullScreen)
    : wire(std::make_unique<Wire>())
    , context(xkb_context_new(XKB_CONTEXT_NO_FLAGS))
{
    wire->display = wl_display_connect(display.toUtf8().constData());
    if (wire->display == nullptr) {
        isOver = true;
        return;
    }
    wire->registry = wl_display_get_registry(wire->display);
    wl_registry_add_listener(wire->registry, &Listeners::registry, this);
    wl_display_roundtrip(wire->display);
    wire->surface = wl_compositor_create_surface(wire->compositor);
    wire->window = xdg_wm_base_get_xdg_surface(wire->shell, wire->surface);
    xdg_surface_add_listener(wire->window, &Listeners::window, this);
    wire->toplevel = xdg_surface_get_toplevel(wire->window);
    xdg_toplevel_add_listener(wire->toplevel, &Listeners::toplevel, this);
    if (isFullScreen) {
        xdg_toplevel_set_fullscreen(wire->toplevel, nullptr);
    }
    wl_surface_commit(wire->surface);
    notifier =
        std::make_unique<QSocketNotifier>(wl_display_get_fd(wire->display), QSocketNotifier::Read);
    connect(notifier.get(), &QSocketNotifier::activated, this, &WaylandWindow::read);
    wl_display_flush(wire->display);
}

WaylandWindow::~WaylandWindow()
{
    notifier.reset();
    if (wire->display == nullptr) {
        return;
    }
    for (wl_proxy *buffer : wire->buffers) {
        wl_proxy_destroy(buffer);
    }
    const auto end = [](auto *object) {
        if (object != nullptr) {
            wl_proxy_destroy(reinterpret_cast<wl_proxy *>(object));
        }
    };
    end(wire->toplevel);
    end(wire->window);
    end(wire->surface);
    end(wire->keyboard);
    end(wire->pointer);
    end(wire->seat);
    end(wire->shell);
    end(wire->memory);
    end(wire->compositor);
    end(wire->registry);
    wl_display_disconnect(wire->display);
}

void WaylandWindow::clear()
{
    text.clear();
    keyEvents.clear();
    keymapCount = 0;
    pressedButtons.clear();
    wheel.clear();
    frameCount = 0;
}

void WaylandWindow::catchUp()
{
    isOver = isOver || wl_display_roundtrip(wire->display) < 0;
}

bool WaylandWindow::waitForEvents(std::chrono::milliseconds limit)
{
    wl_display_flush(wire->display);
    pollfd waiting{wl_display_get_fd(wire->display), POLLIN, 0};
    if (poll(&waiting, 1, static_cast<int>(limit.count())) != 1) {
        return false;
    }
    read();
    return !isOver;
}

void WaylandWindow::stall()
{
    notifier->setEnabled(false);
}

void WaylandWindow::resume()
{
    if (!isOver) {
        notifier->setEnabled(true);
    }
}

void WaylandWindow::read()
{
    if (wl_display_dispatch(wire->display) < 0) {
        isOver = true;
        notifier->setEnabled(false);
        return;
    }
    wl_display_flush(wire->display);
}

/// Shows a window of that size, filled with nothing in particular.
void WaylandWindow::attach()
{
    const int stride = extent.width() * 4;
    const int length = stride * extent.height();
    const int file = memfd_create("window", MFD_CLOEXEC);
    if (length <= 0 || file < 0 || ftruncate(file, length) != 0) {
        return;
    }
    wl_shm_pool *pool = wl_shm_create_pool(wire->memory, file, length);
    wl_buffer *buffer = wl_shm_pool_create_buffer(pool, 0, extent.width(), extent.height(), stride,
                                                  WL_SHM_FORMAT_XRGB8888);
    wl_shm_pool_destroy(pool);
    close(file);
    wire->buffers.push_back(reinterpret_cast<wl_proxy *>(buffer));
    wl_surface_attach(wire->surface, buffer, 0, 0);
    wl_surface_commit(wire->surface);
}

void WaylandWindow::takeKeymap(int file, std::uint32_t length)
{
    ++keymapCount;
    void *mapped = mmap(nullptr, length, PROT_READ, MAP_PRIVATE, file, 0);
    close(file);
    if (mapped == MAP_FAILED) {
        return;
    }
    keymap.reset(xkb_keymap_new_from_string(context.get(), static_cast<const char *>(mapped),
                                            XKB_KEYMAP_FORMAT_TEXT_V1,
                                            XKB_KEYMAP_COMPILE_NO_FLAGS));
    munmap(mapped, length);
    state.reset(keymap ? xkb_state_new(keymap.get()) : nullptr);
}

void WaylandWindow::takeKey(std::uint32_t key, bool isDown)
{
    if (!state) {
        return;
    }
    const std::uint32_t keycode = key + 8;
    const auto modifiers = xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_EFFECTIVE);
    const auto keysym = xkb_state_key_get_one_sym(state.get(), keycode);
    keyEvents.push_back({keycode, isDown, keysym, modifiers});
    if (!isDown) {
        downKeys.remove(keycode);
        return;
    }
    downKeys.insert(keycode);
    constexpr std::uint32_t ofShortcuts = 0b100 | 0b1000 | 0b1000000; // Control, Mod1, Mod4.
    const char32_t character = xkb_keysym_to_utf32(keysym);
    if (character == U'\r') {
        text += u'\n';
    } else if (character && (modifiers & ofShortcuts) == 0) {
        text += QString::fromUcs4(&character, 1);
    }
}
