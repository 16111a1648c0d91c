// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/SessionStart.h"

#include <optional>

namespace platform {

/// The system's own register of programs that start at logon (macOS 13 and later), which the user
/// sees in the settings under Login Items.
///
/// If the user has switched the program off there, it stays off: only the user can switch it on
/// again.
class AppService final : public SessionStart
{
public:
    /// False before macOS 13; nothing else of this class may be used then.
    static bool isAvailable();

    void setEnabled(bool enable, const QString &applicationPath) override;
};

} // namespace platform
