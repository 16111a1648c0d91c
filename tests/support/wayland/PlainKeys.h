// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/protocol/Handheld.h"
#include "support/wayland/WaylandWindow.h"

#include <QStringList>

/// The keys of a window in words, for tests that compare them.
namespace PlainKeys {

/// Presses F11 from the handheld and waits until the window has it: then it has everything before
/// that, too.
bool waitForMarker(Handheld &handheld, const WaylandWindow &window);

/// The events of keys that are neither modifiers nor the marker: "+q (Shift Control)" is a press of
/// Q while the two are held, "-q" a release.
QStringList of(const WaylandWindow &window);

/// What that token of the handheld makes the window get from now on.
QStringList ofToken(Handheld &handheld, WaylandWindow &window, const QByteArray &token);

} // namespace PlainKeys
