// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QPoint>
#include <QRect>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

/// A press, release or motion as a device made it, whatever window has the focus.
struct RawInput
{
    enum class Kind { KeyPress, KeyRelease, ButtonPress, ButtonRelease, Motion };

    Kind kind = Kind::Motion;
    int detail = 0;                             ///< Key code or button; 0 for a motion.
    int device = 0;                             ///< The device that made it, by its XInput number.
    quint32 serverTime = 0;                     ///< The X server's clock in milliseconds.
    std::chrono::steady_clock::time_point seen; ///< When this client read it.
};

/// A key event of the watcher's window, with what a program makes of it.
struct KeyInput
{
    bool isDown = false;
    int keycode = 0;
    quint32 keysym = 0; ///< XKB_KEY_..., with the modifiers of the event.
    QString text;       ///< What the key types: "a", "A", a control character, or nothing.
    int modifiers = 0;  ///< XCB_MOD_MASK_... that were in effect just before the event.
    int group = 0;      ///< The layout in effect, from 0.
    quint32 serverTime = 0;
};

/// A button event of the watcher's window; the button is the logical one (1 is the main button).
struct ButtonInput
{
    bool isDown = false;
    int button = 0;
    QPoint position; ///< On the root window.
    quint32 serverTime = 0;
};

/// A plain client of an X display that writes down what reaches it: raw input of all devices, and
/// the key and button events of its own focused window.
///
/// Reading is not waiting: every question takes in what has arrived by then, so ask in a QTRY_
/// macro, or after sync().
class InputWatcher
{
public:
    /// Connects to the display (such as ":7"), maps a window there and takes the focus. The window
    /// is not managed by the window manager.
    explicit InputWatcher(const QString &display, const QRect &window = {0, 0, 64, 64});
    ~InputWatcher();
    InputWatcher(const InputWatcher &) = delete;
    InputWatcher &operator=(const InputWatcher &) = delete;

    bool isConnected() const;

    /// Takes the keyboard focus (again).
    void takeFocus();

    /// Everything since the start or the last clear().
    const std::vector<RawInput> &raw();
    const std::vector<KeyInput> &keys();
    const std::vector<ButtonInput> &buttons();
    /// The texts of all key presses in one.
    QString typedText();

    /// Forgets everything up to now, what is still on its way from the server included.
    void clear();
    /// Returns when everything that the server has done by now has been taken in.
    void sync();

    /// Where the pointer is.
    QPoint pointerPosition();
    /// Modifiers and pressed buttons as XCB_KEY_BUT_MASK_...; 0 when nothing is held or locked.
    int pointerMask();
    /// Codes of all keys that are down.
    std::vector<int> keysDown();

    /// Whether no key and no button is down, whoever pressed it.
    bool isNothingDown();
    /// Whether, besides, no modifier is in effect, such as a lock.
    bool isNothingHeld();

    /// XInput number of the device with that name, such as "Virtual core XTEST keyboard".
    std::optional<int> deviceNumber(const QString &name);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
