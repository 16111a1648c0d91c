// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <optional>

/// The keys that a server can type, and how to name them to it.
namespace quillmote::KeyNames {

/// The shortcut as the server takes it; none when it would not type anything.
///
/// Keys: letters, digits, the signs = - [ ] ' ; \ , / and F1 to F20, and "Space"; before the key
/// any of "Cmd+", "Alt+", "Ctrl+", "Shift+".
std::optional<QString> forServer(const QString &shortcut);

/// The shortcut that types a character on a keyboard of the United States' layout.
std::optional<QString> forCharacter(QChar character);

/// The shortcut that types a character on every layout that has it: servers find letters, digits
/// and their signs in the layout in use, but know nothing of characters that take Shift elsewhere.
std::optional<QString> forCharacterOfAnyLayout(QChar character);

} // namespace quillmote::KeyNames
