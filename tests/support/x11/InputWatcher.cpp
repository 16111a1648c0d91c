// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/x11/InputWatcher.h"

#include "platform/linux/input/XkbHandles.h"
#include "platform/linux/x11/XInputDevices.h"
#include "support/x11/XcbClient.h"

#include <array>

#include <xcb/xinput.h>
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-x11.h>

#include "platform/linux/x11/XcbXkb.h"

namespace {

std::optional<RawInput::Kind> rawKindOf(int eventType)
{
    switch (eventType) {
    case XCB_INPUT_RAW_KEY_PRESS:
        return RawInput::Kind::KeyPress;
    case XCB_INPUT_RAW_KEY_RELEASE:
        return RawInput::Kind::KeyRelease;
    case XCB_INPUT_RAW_BUTTON_PRESS:
        return RawInput::Kind::ButtonPress;
    case XCB_INPUT_RAW_BUTTON_RELEASE:
        return RawInput::Kind::ButtonRelease;
    case XCB_INPUT_RAW_MOTION:
        return RawInput::Kind::Motion;
    default:
        return std::nullopt;
    }
}

QString textOf(xkb_state *state, xkb_keycode_t keycode)
{
    std::array<char, 32> text{};
    xkb_state_key_get_utf8(state, keycode, text.data(), text.size());
    return QString::fromUtf8(text.data());
}

} // namespace

struct InputWatcher::Private
{
    XcbConnection connection;
    xcb_screen_t *screen = nullptr;
    xcb_window_t window = XCB_NONE;
    quint8 xkbEvent = 0;
    int coreKeyboard = 0;
    XkbContext context{xkb_context_new(XKB_CONTEXT_NO_FLAGS)};
    XkbState keyboard; ///< Made afresh whenever the core keyboard's map changes.
    std::vector<RawInput> raw;
    std::vector<KeyInput> keys;
    std::vector<ButtonInput> buttons;

    void watchDevices();
    void watchKeyboardMap();
    void makeWindow(const QRect &geometry);
    void loadKeyboardMap();

    void takeIn();
    void takeIn(xcb_generic_event_t *event);
    void takeInXkb(const xcb_generic_event_t *event);
    void takeInRaw(const xcb_ge_generic_event_t *event);
    void takeInKey(const xcb_key_press_event_t *event, bool isDown);
    void takeInButton(const xcb_button_press_event_t *event, bool isDown);
    XcbOwned<xcb_query_pointer_reply_t> queryPointer() const;
};

void InputWatcher::Private::watchDevices()
{
    struct
    {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } selection = {{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                   XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE |
                       XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                       XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE |
                       XCB_INPUT_XI_EVENT_MASK_RAW_MOTION};
    const auto version = xcb_input_xi_query_version(connection.get(), 2, 2);
    xcbOwned(xcb_input_xi_query_version_reply(connection.get(), version, nullptr));
    xcb_input_xi_select_events(connection.get(), screen->root, 1, &selection.head);
}

void InputWatcher::Private::watchKeyboardMap()
{
    xkb_x11_setup_xkb_extension(connection.get(), XKB_X11_MIN_MAJOR_XKB_VERSION,
                                XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                nullptr, nullptr, &xkbEvent, nullptr);
    constexpr auto events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr auto parts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS |
                           XCB_XKB_MAP_PART_MODIFIER_MAP | XCB_XKB_MAP_PART_VIRTUAL_MODS;
    xcb_xkb_select_events(connection.get(), XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts,
                          parts, nullptr);
    coreKeyboard = xkb_x11_get_core_keyboard_device_id(connection.get());
    loadKeyboardMap();
}

void InputWatcher::Private::makeWindow(const QRect &geometry)
{
    window = xcb_generate_id(connection.get());
    const std::array<std::uint32_t, 3> values = {
        screen->white_pixel, 1 /* not the window manager's */,
        XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_BUTTON_PRESS |
            XCB_EVENT_MASK_BUTTON_RELEASE};
    xcb_create_window(
        connection.get(), XCB_COPY_FROM_PARENT, window, screen->root,
        static_cast<std::int16_t>(geometry.x()), static_cast<std::int16_t>(geometry.y()),
        static_cast<std::uint16_t>(geometry.width()), static_cast<std::uint16_t>(geometry.height()),
        0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
        XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
    xcb_map_window(connection.get(), window);
}

void InputWatcher::Private::loadKeyboardMap()
{
    const XkbKeymap map(xkb_x11_keymap_new_from_device(context.get(), connection.get(),
                                                       coreKeyboard, XKB_KEYMAP_COMPILE_NO_FLAGS));
    keyboard.reset(map ? xkb_state_new(map.get()) : nullptr);
}

void InputWatcher::Private::takeIn()
{
    while (const auto event = xcbOwned(xcb_poll_for_event(connection.get()))) {
        takeIn(event.get());
    }
}

void InputWatcher::Private::takeIn(xcb_generic_event_t *event)
{
    const int type = event->response_type & 0x7f;
    if (type == xkbEvent) {
        takeInXkb(event);
    } else if (type == XCB_GE_GENERIC) {
        takeInRaw(reinterpret_cast<const xcb_ge_generic_event_t *>(event));
    } else if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
        takeInKey(reinterpret_cast<const xcb_key_press_event_t *>(event), type == XCB_KEY_PRESS);
    } else if (type == XCB_BUTTON_PRESS || type == XCB_BUTTON_RELEASE) {
        takeInButton(reinterpret_cast<const xcb_button_press_event_t *>(event),
                     type == XCB_BUTTON_PRESS);
    }
}

void InputWatcher::Private::takeInXkb(const xcb_generic_event_t *event)
{
    // Both notices carry the device at the same place.
    const auto *notice = reinterpret_cast<const xcb_xkb_map_notify_event_t *>(event);
    if (notice->deviceID == coreKeyboard) {
        loadKeyboardMap();
    }
}

void InputWatcher::Private::takeInRaw(const xcb_ge_generic_event_t *event)
{
    const auto kind = rawKindOf(event->event_type);
    if (!kind) {
        return;
    }
    const auto *input = reinterpret_cast<const xcb_input_raw_key_press_event_t *>(event);
    raw.push_back({*kind, static_cast<int>(input->detail), input->sourceid, input->time,
                   std::chrono::steady_clock::now()});
}

void InputWatcher::Private::takeInKey(const xcb_key_press_event_t *event, bool isDown)
{
    const int modifiers = event->state & 0xff;
    const int group = (event->state >> 13) & 3;
    KeyInput key{isDown, event->detail, XKB_KEY_NoSymbol, {}, modifiers, group, event->time};
    if (keyboard) {
        xkb_state_update_mask(keyboard.get(), static_cast<xkb_mod_mask_t>(modifiers), 0, 0, 0, 0,
                              static_cast<xkb_layout_index_t>(group));
        key.keysym = xkb_state_key_get_one_sym(keyboard.get(), event->detail);
        key.text = textOf(keyboard.get(), event->detail);
    }
    keys.push_back(key);
}

void InputWatcher::Private::takeInButton(const xcb_button_press_event_t *event, bool isDown)
{
    buttons.push_back({isDown, event->detail, {event->root_x, event->root_y}, event->time});
}

XcbOwned<xcb_query_pointer_reply_t> InputWatcher::Private::queryPointer() const
{
    const auto cookie = xcb_query_pointer(connection.get(), screen->root);
    return xcbOwned(xcb_query_pointer_reply(connection.get(), cookie, nullptr));
}

InputWatcher::InputWatcher(const QString &display, const QRect &window)
    : d(std::make_unique<Private>())
{
    d->connection = XcbClient::connectTo(display);
    d->screen = XcbClient::firstScreen(d->connection);
    if (!d->screen) {
        return;
    }
    // A watcher must see what happens while another client holds the server, too.
    xcb_test_grab_control(d->connection.get(), 1);
    d->watchDevices();
    d->watchKeyboardMap();
    d->makeWindow(window);
    takeFocus();
}

InputWatcher::~InputWatcher() = default;

bool InputWatcher::isConnected() const
{
    return XcbClient::isConnected(d->connection);
}

void InputWatcher::takeFocus()
{
    xcb_set_input_focus(d->connection.get(), XCB_INPUT_FOCUS_POINTER_ROOT, d->window,
                        XCB_CURRENT_TIME);
    sync();
}

const std::vector<RawInput> &InputWatcher::raw()
{
    d->takeIn();
    return d->raw;
}

const std::vector<KeyInput> &InputWatcher::keys()
{
    d->takeIn();
    return d->keys;
}

const std::vector<ButtonInput> &InputWatcher::buttons()
{
    d->takeIn();
    return d->buttons;
}

QString InputWatcher::typedText()
{
    QString text;
    for (const KeyInput &key : keys()) {
        text += key.isDown ? key.text : QString();
    }
    return text;
}

void InputWatcher::clear()
{
    sync();
    d->raw.clear();
    d->keys.clear();
    d->buttons.clear();
}

void InputWatcher::sync()
{
    pointerPosition(); // Events that come before its answer are read together with it.
    d->takeIn();
}

QPoint InputWatcher::pointerPosition()
{
    const auto pointer = d->queryPointer();
    return pointer ? QPoint(pointer->root_x, pointer->root_y) : QPoint();
}

int InputWatcher::pointerMask()
{
    const auto pointer = d->queryPointer();
    return pointer ? pointer->mask : 0;
}

bool InputWatcher::isNothingDown()
{
    constexpr int AllButtons = XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3 |
                               XCB_BUTTON_MASK_4 | XCB_BUTTON_MASK_5;
    return keysDown().empty() && (pointerMask() & AllButtons) == 0;
}

bool InputWatcher::isNothingHeld()
{
    return keysDown().empty() && pointerMask() == 0;
}

std::vector<int> InputWatcher::keysDown()
{
    const auto cookie = xcb_query_keymap(d->connection.get());
    const auto keymap = xcbOwned(xcb_query_keymap_reply(d->connection.get(), cookie, nullptr));
    std::vector<int> down;
    for (int keycode = 0; keymap && keycode < 256; ++keycode) {
        if ((keymap->keys[keycode / 8] >> (keycode % 8)) & 1) {
            down.push_back(keycode);
        }
    }
    return down;
}

std::optional<int> InputWatcher::deviceNumber(const QString &name)
{
    return platform::inputDeviceNumber(d->connection.get(), name.toStdString());
}
