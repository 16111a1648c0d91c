// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

namespace platform {

/// The display as the command line chooses it; empty where it says nothing. It takes precedence
/// over the environment.
struct DisplayChoice
{
    QByteArray plugin; ///< The toolkit's plugin for displays, such as "xcb" or "offscreen".
    QByteArray name;   ///< The display's name, such as ":0".

    bool operator==(const DisplayChoice &) const = default;
};

/// Why no display can be opened, and what to do: one sentence for the user. Empty when a display
/// can be opened, or when the chosen plugin needs none.
QString displayProblem(const DisplayChoice &choice);

/// Makes all adapters and all programs that are started use the chosen display; otherwise only the
/// toolkit would, which reads the command line. To be called before the application object is made.
void adoptDisplay(const DisplayChoice &choice);

} // namespace platform
