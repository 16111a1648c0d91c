// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <memory>

namespace platform {

/// Starts this program with the user's session on hosts that no longer read their list of login
/// items.
class SessionStart
{
public:
    virtual ~SessionStart() = default;

    /// Starts the program at `applicationPath` with the session, or no longer. Changes nothing that
    /// is already as requested, and nothing that the user has switched off in the host's own
    /// settings. A failure is reported to the user by a warning message.
    virtual void setEnabled(bool enable, const QString &applicationPath) = 0;
};

/// Never null. Does nothing on hosts that read the list of login items.
std::unique_ptr<SessionStart> makeSessionStart();

} // namespace platform
