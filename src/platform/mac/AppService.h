// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/SessionStart.h"

#include <optional>

namespace platform {

/// The system's own register of programs that start at logon (macOS 13 and later), as the user sees
/// it in the settings under Login Items.
///
/// What the user has switched off there stays off: turning it on again is the user's.
class AppService final : public SessionStart
{
public:
    /// False on systems before macOS 13; nothing else of this class may be used then.
    static bool isAvailable();

    void setEnabled(bool enable, const QString &applicationPath) override;
};

} // namespace platform
