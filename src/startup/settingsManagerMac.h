// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/LoginItems.h"
#include "platform/SessionStart.h"
#include "startup/settingsManager.h"

#include <memory>

/// Keeps this program in the user's list of login items, or out of it.
///
/// By design: an entry counts as ours when its path contains the name of our bundle anywhere, in
/// any letter case; only the first such entry counts. On hosts that no longer read that list, their
/// current mechanism is set as well.
class settingsManagerMac final : public settingsManager
{
public:
    explicit settingsManagerMac(
        std::unique_ptr<platform::LoginItems> loginItems = platform::makeLoginItems(),
        std::unique_ptr<platform::SessionStart> start = platform::makeSessionStart());

    /// Writes nothing if the list is already as requested.
    void startAtLogon(bool enable) override;

private:
    void updateList(bool enable, const QString &path);

    std::unique_ptr<platform::LoginItems> items;
    std::unique_ptr<platform::SessionStart> sessionStart;
};
