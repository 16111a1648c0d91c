// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/applications/XdgDirectories.h"

#include <QString>

namespace platform {

/// The file of the desktop entry that opens files of the MIME type: the user's, the administrator's
/// or the distribution's choice, else the most preferred program that can (Association between MIME
/// types and applications 1.0.1). Empty when there is none. Entries that cannot be started are
/// passed over.
QString defaultApplication(const QString &mimeType, const XdgDirectories &directories);

} // namespace platform
