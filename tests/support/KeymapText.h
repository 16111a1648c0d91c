// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/input/XkbHandles.h"

#include <QByteArray>

#include <cstdlib>
#include <memory>

/// The key map of a layout, as compositors send it.
inline QByteArray keymapOf(const char *layout)
{
    const xkb_rule_names names{"evdev", "pc105", layout, "", ""};
    const XkbContext context(xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES));
    const XkbKeymap keymap(
        xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
    const std::unique_ptr<char, decltype(&std::free)> text(
        xkb_keymap_get_as_string(keymap.get(), XKB_KEYMAP_FORMAT_TEXT_V1), &std::free);
    return text.get();
}
