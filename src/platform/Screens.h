// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QSize>

#include <memory>

namespace platform {

/// The screens of the running session, used on the thread of the event loop only.
class Screens
{
public:
    virtual ~Screens() = default;

    /// The current size of the desktop over all its screens, in the unit of the pointer's moves
    /// (EventServices), whatever scale the toolkit draws at. (0, 0) without a screen.
    virtual QSize desktopSize() = 0;
};

/// The screens of the running session; never null.
std::unique_ptr<Screens> makeScreens();

} // namespace platform
