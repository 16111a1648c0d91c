// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QVariant>

#include <utility>
#include <vector>

namespace platform {

using Setting = std::pair<QString, QVariant>;

/// Writes these values to the application's settings and does not change any others. If the
/// settings are a file, a failure at any moment leaves either the old or the new one. If another
/// program seems to be writing it, waits two seconds at most. Returns whether the values were
/// written.
bool storeSettings(const std::vector<Setting> &values);

} // namespace platform
