// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <functional>

/// Asks the user whether a device of that name may pair. Runs an event loop until the box is gone;
/// `answered` is called once, as soon as the user has chosen, with whether the device is accepted.
///
/// Several boxes may be open, and each may be answered while the event loop of a later one runs.
/// They block no other window, so the tray's menu can be opened meanwhile: a device that asks again
/// and again cannot keep the user from ending the program, which refuses all of them.
void askAboutPairing(const QString &name, const std::function<void(bool)> &answered);
