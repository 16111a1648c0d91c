// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Key.h"

#include <QString>

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

/// The keysyms by which layouts and programs know a key; the best comes first. None if X11 has no
/// such key, or if the character cannot be typed.
std::vector<std::uint32_t> keysymsOf(const Key &key);
std::vector<std::uint32_t> keysymsOf(NamedKey name);
/// The keysym of a character; a line feed is Enter, a tab is Tab. 0 if it has none, as controls
/// do.
std::uint32_t keysymOf(char32_t character);
/// The characters of a text that have a keysym.
std::u32string printable(const QString &text);

/// Whether the key changes what other keys do. Such a key cannot be borrowed.
bool isModifier(NamedKey name);

} // namespace platform
