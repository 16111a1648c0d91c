// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/WlrootsEventServices.h"
#include "support/Waiting.h"
#include "support/wayland/SwaySession.h"
#include "support/wayland/WaylandWindow.h"

#include <memory>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

/// A Wayland desktop with a window that has the focus, and the services under test.
struct WlrootsScene
{
    SwaySession session;
    std::unique_ptr<platform::WlrootsEventServices> services;
    std::unique_ptr<WaylandWindow> window;

    /// `layouts` is what the system's keyboards have, such as "us,ru".
    explicit WlrootsScene(const QByteArray &layouts = "us")
    {
        qputenv("XKB_DEFAULT_LAYOUT", layouts);
        if (session.problem().isEmpty()) {
            for (const auto *name : {"XDG_RUNTIME_DIR", "WAYLAND_DISPLAY"}) {
                qputenv(name, session.environment().value(QLatin1String(name)).toUtf8());
            }
            begin();
        }
    }

    /// Starts the services, and then a program that they type into.
    void begin()
    {
        services = std::make_unique<platform::WlrootsEventServices>(
            platform::CompositorPatience(GenerousLimit));
        window = std::make_unique<WaylandWindow>(session.display());
    }

    bool isReady() const
    {
        return services && waitUntil([this] { return window->isShown() && window->hasFocus(); });
    }

    std::unique_ptr<platform::EventServices> takeServices() { return std::move(services); }

    bool isNothingDown() const
    {
        window->catchUp();
        return window->keysDown().isEmpty() && window->buttonsDown().isEmpty();
    }

    platform::DesktopInput &input() const { return services->input(); }

    /// Types the text and waits until it is done; false if it is not.
    bool type(const QString &text) const
    {
        std::optional<bool> done;
        input().type(text, nullptr, [&](bool isDone) { done = isDone; });
        return waitUntil([&] { return done.has_value(); }, std::chrono::minutes(2)) && *done;
    }

    /// Presses and releases a key; false if there is none.
    bool tap(const platform::Key &key, const platform::KeyModifiers &modifiers = {}) const
    {
        bool isPressed = false;
        input().press(key, modifiers, nullptr, [&](bool isDone) { isPressed = isDone; });
        input().release(key);
        return isPressed;
    }
};
