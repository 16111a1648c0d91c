// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/SessionStart.h"

namespace platform {

// Sessions read the autostart folder, and that is the list of login items here.
std::unique_ptr<SessionStart> makeSessionStart()
{
    struct TheListCounts : SessionStart
    {
        void setEnabled(bool /*enable*/, const QString & /*applicationPath*/) override {}
    };
    return std::make_unique<TheListCounts>();
}

} // namespace platform
