// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Screens.h"

#include <utility>

/// Screens that a test sets.
class RecordingScreens final : public platform::Screens
{
public:
    QSize desktopSize() override
    {
        QRect desktop;
        for (const platform::Screen &screen : screens) {
            desktop |= screen.place;
        }
        return desktop.size();
    }
    QList<platform::Screen> all() override { return screens; }
    void watch(std::function<void()> listener) override { changed = std::move(listener); }

    QList<platform::Screen> screens;
    /// Empty while nobody watches.
    std::function<void()> changed;
};
