// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/SettingsFile.h"

#include <QSettings>

namespace platform {

// The system stores them, and no program locks them.
bool storeSettings(const std::vector<Setting> &values)
{
    QSettings settings;
    for (const auto &[key, value] : values) {
        settings.setValue(key, value);
    }
    settings.sync();
    return settings.status() == QSettings::NoError;
}

} // namespace platform
