// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <memory>

namespace platform {

/// How the host starts this program with the user's session where it no longer reads its own list
/// of login items.
class SessionStart
{
public:
    virtual ~SessionStart() = default;

    /// Starts the program at `applicationPath` with the session, or no longer. Changes nothing that
    /// is as asked already, and nothing that the user has switched off in the host's own settings.
    /// A failure is told to the user by a warning message.
    virtual void setEnabled(bool enable, const QString &applicationPath) = 0;
};

/// The host's current means; never null. Where the list of login items counts, it does nothing.
std::unique_ptr<SessionStart> makeSessionStart();

} // namespace platform
