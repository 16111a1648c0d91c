// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// True when received bytes may be appended at the path: it lies below the directory once made
/// absolute and clean, and what stands there, if anything, is a file. Names are compared, not
/// links: what the user linked into the directory is inside it.
bool isAllowedDownloadPath(const QString &path, const QString &directory);
