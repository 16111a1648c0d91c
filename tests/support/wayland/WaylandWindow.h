// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/XkbHandles.h"

#include <QObject>
#include <QPointF>
#include <QSet>
#include <QSize>
#include <QSocketNotifier>
#include <QString>

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

/// A window of a Wayland session, over the whole output if nobody hinders it, that writes down what
/// it gets from the keyboard and the pointer, as any program's toolkit would understand it.
class WaylandWindow : public QObject
{
    Q_OBJECT

public:
    struct KeyEvent
    {
        std::uint32_t keycode = 0; ///< The kernel's plus 8.
        bool isDown = false;
        std::uint32_t keysym = 0;
        std::uint32_t modifiers = 0; ///< In effect, by their number: Shift is bit 0.

        bool operator==(const KeyEvent &) const = default;
    };
    struct Turn
    {
        bool isVertical = false;
        double value = 0;
        int notches = 0;
        std::uint32_t source = 0; ///< WL_POINTER_AXIS_SOURCE_...

        bool operator==(const Turn &) const = default;
    };

    /// \param isFullScreen whether it asks for the whole output; sway gives it without being asked
    explicit WaylandWindow(const QString &display, bool isFullScreen = false);
    ~WaylandWindow() override;

    /// In its place on the screen, and with the focus of a keyboard.
    bool isShown() const { return isConfigured; }
    bool hasFocus() const { return isFocused; }
    /// The compositor has ended the connection.
    bool isCutOff() const { return isOver; }
    QSize size() const { return extent; }

    /// What a text field would have taken: the characters of pressed keys, without shortcuts. Enter
    /// is a line feed.
    const QString &typed() const { return text; }
    const std::vector<KeyEvent> &keys() const { return keyEvents; }
    int keymaps() const { return keymapCount; }
    QSet<std::uint32_t> keysDown() const { return downKeys; }
    QSet<std::uint32_t> buttonsDown() const { return downButtons; }
    const std::vector<std::uint32_t> &buttons() const { return pressedButtons; }
    QPointF pointer() const { return place; }
    const std::vector<Turn> &turns() const { return wheel; }
    /// Groups of pointer events.
    int frames() const { return frameCount; }
    void clear();
    /// Takes in everything that the compositor has sent so far.
    void catchUp();

    /// Takes in what the compositor sends next, without an event loop; false if nothing comes in
    /// time.
    bool waitForEvents(std::chrono::milliseconds limit);

    /// As a busy program: reads nothing until resume().
    void stall();
    void resume();

private:
    struct Wire;
    struct Listeners;

    void read();
    void attach();
    void takeKeymap(int file, std::uint32_t length);
    void takeKey(std::uint32_t key, bool isDown);

    std::unique_ptr<Wire> wire;
    std::unique_ptr<QSocketNotifier> notifier;
    XkbContext context;
    XkbKeymap keymap;
    XkbState state;
    bool isConfigured = false;
    bool isFocused = false;
    bool isOver = false;
    QSize extent{64, 64}; ///< Until the compositor gives another one.
    QString text;
    std::vector<KeyEvent> keyEvents;
    int keymapCount = 0;
    QSet<std::uint32_t> downKeys;
    QSet<std::uint32_t> downButtons;
    std::vector<std::uint32_t> pressedButtons;
    QPointF place;
    std::vector<Turn> wheel;
    std::vector<Turn> pendingWheel; ///< Of the group that is not complete.
    int frameCount = 0;
};
