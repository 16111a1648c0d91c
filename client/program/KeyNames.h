// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <optional>

/// The keys that a server can type, and their names in requests.
namespace quillmote::KeyNames {

/// The shortcut as the server understands it; none if the server would not type anything.
///
/// Keys are letters, digits, the characters = - [ ] ' ; \ , /, F1 to F20, and "Space", with any of
/// "Cmd+", "Alt+", "Ctrl+" and "Shift+" in front.
std::optional<QString> forServer(const QString &shortcut);

/// The shortcut that types a character on a US keyboard layout.
std::optional<QString> forCharacter(QChar character);

/// The shortcut that types a character on every keyboard layout that has it. Servers look up
/// letters, digits and the characters above in the current layout, but do not know which characters
/// it has with Shift.
std::optional<QString> forCharacterOfAnyLayout(QChar character);

} // namespace quillmote::KeyNames
