// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/OwnKeymap.h"

namespace platform {

namespace {

struct Span
{
    int start = -1;
    int end = -1;
};

/// Where the name is, without its quotes; at -1 if there is none.
Span nameIn(const QByteArray &keymap)
{
    const auto section = keymap.indexOf("xkb_keycodes");
    const auto body = keymap.indexOf('{', section);
    const auto open = keymap.indexOf('"', section);
    const auto close = keymap.indexOf('"', open + 1);
    const bool isThere = section >= 0 && open >= 0 && close > open && close < body;
    return isThere ? Span{static_cast<int>(open) + 1, static_cast<int>(close)} : Span{};
}

} // namespace

QByteArray OwnKeymap::named(const QByteArray &keymap)
{
    const Span place = nameIn(keymap);
    if (place.start < 0) {
        return keymap;
    }
    return keymap.left(place.start) + name + keymap.mid(place.end);
}

bool OwnKeymap::isNamed(const QByteArray &keymap)
{
    const Span place = nameIn(keymap);
    return place.start >= 0 && keymap.mid(place.start, place.end - place.start) == name;
}

} // namespace platform
