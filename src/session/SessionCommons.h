// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "loop/Turns.h"
#include "platform/Clipboard.h"
#include "platform/DesktopInput.h"
#include "platform/Screens.h"
#include "session/Session.h"
#include "session/SessionClipboard.h"
#include "session/SessionFiles.h"
#include "session/SessionServices.h"
#include "session/SharedAmount.h"
#include "session/SharedHolds.h"
#include "session/SharedWatch.h"

#include <functional>
#include <utility>

/// What all sessions share. It must outlive them.
struct SessionCommons
{
    explicit SessionCommons(SessionServices sessionServices) : services(std::move(sessionServices))
    {
    }

    SessionServices services;
    Turns turns;
    SharedAmount texts{SessionClipboard::textsOfAllSessions};
    SharedAmount unsent{Session::unsentOfAllSessions};
    SharedAmount transfers{SessionFiles::transfersOfAllSessions};
    SharedHolds<platform::Key> keys;
    SharedHolds<platform::PointerButton> buttons;
    SharedWatch clipboardChanges{
        [this](std::function<void()> changed) { services.clipboard.watch(std::move(changed)); }};
    SharedWatch screenChanges{
        [this](std::function<void()> changed) { services.screens.watch(std::move(changed)); }};
};
