// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <chrono>
#include <functional>

/// Programs that own a name on the session bus and can be started and raised through it (Desktop
/// Entry Specification 1.5, "D-Bus Activation"). Without a session bus nothing runs and nothing
/// starts.
namespace platform::DBusActivation {

/// Whether the program with that bus name runs. Asks the bus itself, which answers at once; no
/// answer within half a second counts as no.
bool isRunning(const QString &busName);

/// Raises the running program, or starts it, and waits until it says that it has done so, but no
/// longer than the limit.
void activate(const QString &busName, std::chrono::milliseconds limit);

/// Starts the program without waiting. `otherwise` is called when the bus cannot start it, from the
/// event loop or before this call returns.
void start(const QString &busName, std::function<void()> otherwise);

} // namespace platform::DBusActivation
