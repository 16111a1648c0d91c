// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "interaction/KeyTable.h"
#include "platform/linux/input/X11EventServices.h"
#include "support/Waiting.h"
#include "support/x11/InputWatcher.h"
#include "support/x11/PhysicalKeyboard.h"
#include "support/x11/XServer.h"

#include <algorithm>
#include <memory>

#include <xcb/xproto.h>
#include <xkbcommon/xkbcommon-keysyms.h>

using namespace Qt::StringLiterals;

/// An X display with a user at its keyboard, a client that watches, and the services under test.
struct X11Scene
{
    XServer server{QSize(800, 600)};
    InputWatcher watcher{server.display(), QRect(0, 0, 800, 600)};
    PhysicalKeyboard user{server.display()};
    std::unique_ptr<platform::X11EventServices> services;

    X11Scene()
    {
        if (isReady()) {
            services = makeServices();
        }
    }

    bool isReady() const
    {
        return server.isRunning() && watcher.isConnected() && user.isConnected();
    }

    std::unique_ptr<platform::X11EventServices>
    makeServices(const platform::TypingTimes &times = {}) const
    {
        return std::make_unique<platform::X11EventServices>(
            platform::X11Connection(server.display().toLatin1().constData()), times);
    }

    /// Gives all keyboards a layout, such as {"-layout", "de"}, and lets the services know.
    bool setLayout(const QStringList &arguments)
    {
        const bool isSet = server.run(u"setxkbmap"_s, arguments);
        letServicesLearn();
        watcher.clear();
        return isSet;
    }

    /// Returns once the services have received every report that the server has sent so far: they
    /// wait for an answer, which comes after the reports.
    void letServicesLearn() { services->pointerLocation(); }

    /// Halts the server once the services have read their key map; from here on they would hang if
    /// they waited for an answer. The user types in between, which changes the map of the core
    /// keyboard; that is no reason for the services to read anything.
    void haltServer()
    {
        constexpr int scrollLock = 78; // A key that no test holds.
        tap("F5");
        user.tap(scrollLock);
        letServicesLearn();
        watcher.clear();
        server.halt();
    }

    // Posts by the names of the key table.
    void press(const char *name, platform::EventFlags flags = 0) { post(name, true, flags); }
    void release(const char *name, platform::EventFlags flags = 0) { post(name, false, flags); }
    void tap(const char *name, platform::EventFlags flags = 0)
    {
        press(name, flags);
        release(name, flags);
    }

    /// Runs the event loop until that many keys have been released in the watcher's window; keys
    /// that only set modifiers are not counted.
    bool waitForTaps(std::size_t count)
    {
        const auto isDone = [&] { return presses().size() >= count && isAllUp(); };
        return waitUntil(isDone);
    }

    /// Key presses that reached the watcher's window, without those of modifier keys.
    std::vector<KeyInput> presses()
    {
        std::vector<KeyInput> found;
        for (const KeyInput &key : watcher.keys()) {
            if (key.isDown && !isModifier(key.keysym)) {
                found.push_back(key);
            }
        }
        return found;
    }

    /// How often a device has pressed a key.
    std::ptrdiff_t rawPresses(int keycode)
    {
        return std::ranges::count_if(watcher.raw(), [&](const RawInput &input) {
            return input.kind == RawInput::Kind::KeyPress && input.detail == keycode;
        });
    }

    bool isDown(int keycode) { return std::ranges::count(watcher.keysDown(), keycode) > 0; }

    /// Modifiers that are held or locked now.
    int modifiers() { return watcher.pointerMask() & 0xff; }

    bool isNothingDown() { return watcher.isNothingDown(); }

private:
    static bool isModifier(quint32 keysym)
    {
        return (keysym >= XKB_KEY_Shift_L && keysym <= XKB_KEY_Hyper_R) ||
               keysym == XKB_KEY_ISO_Level3_Shift || keysym == XKB_KEY_Num_Lock ||
               keysym == XKB_KEY_ISO_Next_Group;
    }

    bool isAllUp()
    {
        const auto &keys = watcher.keys();
        return 2 * std::ranges::count_if(keys, &KeyInput::isDown) == std::ssize(keys);
    }

    void post(const char *name, bool isDown, platform::EventFlags flags)
    {
        const auto code = KeyTable::codeOf(QString::fromLatin1(name)).value();
        services->postKeyboard({code, isDown, flags, platform::EventTap::Session});
    }
};
