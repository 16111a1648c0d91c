// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"
#include "platform/Key.h"

#include <optional>

namespace platform {

/// The code of the key on a Mac's keyboard; none if there is no such key, or if it is one of those
/// for media, which have numbers of their own.
std::optional<KeyCode> virtualKeyCode(NamedKey key);

/// The number of a key for media, sound or brightness; none for other keys.
std::optional<int> mediaKeyNumber(NamedKey key);

/// The code of the key that has the character on a US keyboard, for programs that look at codes.
/// 0, as Apple does it for text, if no key has it.
KeyCode virtualKeyCode(char32_t character);

/// The flag that this modifier key sets; none for other keys.
EventFlags flagOf(NamedKey key);

/// The flags of these modifiers.
EventFlags flagsOf(const KeyModifiers &modifiers);

} // namespace platform
