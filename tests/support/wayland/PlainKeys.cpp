// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/PlainKeys.h"

#include "support/Waiting.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <array>

namespace {

const QString Marker = u"F11"_s;

bool isModifierKey(quint32 symbol)
{
    return symbol >= XKB_KEY_Shift_L && symbol <= XKB_KEY_Hyper_R;
}

QString nameOf(quint32 symbol)
{
    std::array<char, 64> name{};
    xkb_keysym_get_name(symbol, name.data(), name.size());
    return QString::fromLatin1(name.data());
}

QString describe(const WaylandWindow::KeyEvent &key)
{
    const std::array<std::pair<quint32, const char *>, 4> masks{
        {{1U << 0, "Shift"}, {1U << 2, "Control"}, {1U << 3, "Alt"}, {1U << 6, "Super"}}};
    QStringList held;
    for (const auto &[mask, name] : masks) {
        if ((key.modifiers & mask) != 0) {
            held.append(QLatin1String(name));
        }
    }
    const QString suffix = held.isEmpty() ? QString() : u" ("_s + held.join(u' ') + u')';
    return (key.isDown ? u'+' : u'-') + nameOf(key.keysym) + suffix;
}

} // namespace

bool PlainKeys::waitForMarker(Handheld &handheld, const WaylandWindow &window)
{
    const auto isMarker = [](const auto &key) { return key.keysym == XKB_KEY_F11 && !key.isDown; };
    return handheld.send(keyCommand(Marker)) &&
           waitUntil([&] { return std::ranges::any_of(window.keys(), isMarker); });
}

QStringList PlainKeys::of(const WaylandWindow &window)
{
    QStringList described;
    for (const auto &key : window.keys()) {
        if (key.keysym != XKB_KEY_F11 && !isModifierKey(key.keysym)) {
            described.append(describe(key));
        }
    }
    return described;
}

QStringList PlainKeys::ofToken(Handheld &handheld, WaylandWindow &window, const QByteArray &token)
{
    window.clear();
    if (!handheld.sendAndSettle(token) || !waitForMarker(handheld, window)) {
        return {u"no marker"_s};
    }
    return of(window);
}
