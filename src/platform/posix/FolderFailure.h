// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

namespace platform {

/// A sentence for the user about the failure that errno tells, of something in that directory.
QString folderFailure(const QString &directory);

} // namespace platform
