// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"

#include <QString>

#include <optional>
#include <span>

/// The key names that handhelds send, and the key code of each.
namespace KeyTable {

struct Row
{
    QLatin1StringView name; ///< case-sensitive
    platform::KeyCode code;
};

/// All rows; names are unique.
std::span<const Row> rows();

/// The code of the name exactly as written.
std::optional<platform::KeyCode> codeOf(const QString &name);

} // namespace KeyTable
