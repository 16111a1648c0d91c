// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/UserKeyboard.h"

#include "platform/linux/input/XkbHandles.h"
#include "platform/linux/wayland/WaylandHandles.h"

#include <QElapsedTimer>
#include <QTemporaryFile>

#include <cstdlib>
#include <cstring>

#include <virtual-keyboard-unstable-v1-client.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

using namespace platform;

namespace {

constexpr int XkbOffset = 8; ///< From the kernel's numbers to those of XKB.

struct Globals
{
    wl_seat *seat = nullptr;
    zwp_virtual_keyboard_manager_v1 *keyboards = nullptr;
};

void take(void *data, wl_registry *registry, uint32_t name, const char *interface,
          uint32_t /*version*/)
{
    auto &globals = *static_cast<Globals *>(data);
    if (std::strcmp(interface, wl_seat_interface.name) == 0) {
        globals.seat =
            static_cast<wl_seat *>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    } else if (std::strcmp(interface, zwp_virtual_keyboard_manager_v1_interface.name) == 0) {
        globals.keyboards = static_cast<zwp_virtual_keyboard_manager_v1 *>(
            wl_registry_bind(registry, name, &zwp_virtual_keyboard_manager_v1_interface, 1));
    }
}

constexpr wl_registry_listener Listener{
    .global = take,
    .global_remove = [](void * /*data*/, wl_registry * /*registry*/, uint32_t /*name*/) {},
};

} // namespace

struct UserKeyboard::Private
{
    // What is made of the connection goes before it.
    WaylandHandle<wl_display, wl_display_disconnect> display;
    WaylandHandle<wl_registry, wl_registry_destroy> registry;
    Globals globals;
    WaylandHandle<zwp_virtual_keyboard_v1, zwp_virtual_keyboard_v1_destroy> keyboard;
    std::unique_ptr<xkb_state, decltype(&xkb_state_unref)> state{nullptr, xkb_state_unref};
    QElapsedTimer clock;

    bool settle() const { return display && wl_display_roundtrip(display.get()) >= 0; }

    void sendKeymap(const char *text) const
    {
        QTemporaryFile file;
        const auto size = static_cast<qint64>(std::strlen(text)) + 1;
        if (file.open() && file.write(text, size) == size && file.flush()) {
            zwp_virtual_keyboard_v1_keymap(keyboard.get(), WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1,
                                           file.handle(), static_cast<uint32_t>(size));
        }
    }

    void sendModifiers() const
    {
        const auto part = [this](xkb_state_component component) {
            return xkb_state_serialize_mods(state.get(), component);
        };
        zwp_virtual_keyboard_v1_modifiers(
            keyboard.get(), part(XKB_STATE_MODS_DEPRESSED), part(XKB_STATE_MODS_LATCHED),
            part(XKB_STATE_MODS_LOCKED),
            xkb_state_serialize_layout(state.get(), XKB_STATE_LAYOUT_EFFECTIVE));
    }

    void post(Key key, bool isDown) const
    {
        const auto code = static_cast<uint32_t>(key);
        zwp_virtual_keyboard_v1_key(keyboard.get(), static_cast<uint32_t>(clock.elapsed()), code,
                                    isDown ? WL_KEYBOARD_KEY_STATE_PRESSED
                                           : WL_KEYBOARD_KEY_STATE_RELEASED);
        xkb_state_update_key(state.get(), code + XkbOffset, isDown ? XKB_KEY_DOWN : XKB_KEY_UP);
        sendModifiers();
        settle();
    }
};

UserKeyboard::UserKeyboard(const SwaySession &session) : d(std::make_unique<Private>())
{
    d->clock.start();
    const QString path = session.runtimeDirectory() + u'/' + session.display();
    d->display.reset(wl_display_connect(QFile::encodeName(path).constData()));
    if (!d->display) {
        return;
    }
    d->registry.reset(wl_display_get_registry(d->display.get()));
    wl_registry_add_listener(d->registry.get(), &Listener, &d->globals);
    d->settle();
    if (d->globals.seat != nullptr && d->globals.keyboards != nullptr) {
        d->keyboard.reset(zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(
            d->globals.keyboards, d->globals.seat));
    }
    if (d->keyboard) {
        useLayout(u"us"_s);
    }
}

UserKeyboard::~UserKeyboard()
{
    d->keyboard.reset();
    d->settle();
    if (d->globals.keyboards != nullptr) {
        zwp_virtual_keyboard_manager_v1_destroy(d->globals.keyboards);
    }
    if (d->globals.seat != nullptr) {
        wl_seat_destroy(d->globals.seat);
    }
}

bool UserKeyboard::isConnected() const
{
    return d->keyboard && d->settle();
}

bool UserKeyboard::useLayout(const QString &layouts)
{
    const QByteArray names = layouts.toUtf8();
    const xkb_rule_names rules{nullptr, "pc105", names.constData(), nullptr, ""};
    const XkbContext context(xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES));
    const XkbKeymap keymap(
        xkb_keymap_new_from_names(context.get(), &rules, XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (!keymap || !d->keyboard) {
        return false;
    }
    const std::unique_ptr<char, decltype(&std::free)> text(
        xkb_keymap_get_as_string(keymap.get(), XKB_KEYMAP_FORMAT_TEXT_V1), std::free);
    d->sendKeymap(text.get());
    d->state.reset(xkb_state_new(keymap.get()));
    d->sendModifiers();
    tap(Key::LeftShift);
    return isConnected();
}

void UserKeyboard::switchToLayout(int number)
{
    xkb_state_update_mask(d->state.get(), 0, 0, 0, 0, 0, static_cast<uint32_t>(number));
    d->sendModifiers();
    d->settle();
}

void UserKeyboard::press(Key key)
{
    d->post(key, true);
}

void UserKeyboard::release(Key key)
{
    d->post(key, false);
}

void UserKeyboard::tap(Key key)
{
    press(key);
    release(key);
}
