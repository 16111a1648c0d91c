// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QVariant>

#include <utility>
#include <vector>

namespace platform {

using Setting = std::pair<QString, QVariant>;

/// Writes these values to the application's settings and leaves all others there as they are. Where
/// the settings are a file, a failure at any moment leaves the old one or the new one. Another
/// program that seems to write it too is waited for, two seconds at most.
void storeSettings(const std::vector<Setting> &values);

} // namespace platform
