// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Key.h"

#include <QString>

#include <optional>

/// The names of keys in requests.
namespace SessionKeyNames {

/// The key of a name of the W3C's key values, or of a single Unicode character that is no control
/// character; none for other texts.
std::optional<platform::Key> key(const QString &name);

/// The W3C's name; empty for NamedKey::None.
QString name(platform::NamedKey key);

} // namespace SessionKeyNames
