// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/TrayMenu.h"

#include "support/x11/Pictures.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int HalfRowHeight = 8;

/// A point of the icon away from where the pointer is, since two clicks at the same point soon one
/// after the other are a double click, which opens no menu.
QPoint clickablePoint(const QRect &icon, const QPoint &pointer)
{
    const int aside = icon.width() / 4;
    const bool isPointerAtRight = pointer.x() >= icon.center().x();
    return icon.center() + QPoint(isPointerAtRight ? -aside : aside, 0);
}

} // namespace

TrayMenu::TrayMenu(const DesktopSession &session, const ServerProcess &server)
    : desktop(session)
    , process(server)
{
}

std::optional<SeenWindow> TrayMenu::window() const
{
    return desktop.view().menu(process.processId());
}

bool TrayMenu::open() const
{
    std::optional<QRect> icon;
    waitUntil([&] {
        icon = desktop.view().trayIcon(process.processId());
        return icon.has_value();
    });
    if (!icon) {
        return false;
    }
    const QPoint point = clickablePoint(*icon, desktop.view().pointer());
    if (!desktop.user().click(point, DesktopUser::Button::Right)) {
        return false;
    }
    return waitUntil([this] {
        const auto menu = window();
        return menu && Pictures::textLines(desktop.view().picture(menu->place)).size() == ItemCount;
    });
}

std::optional<QPoint> TrayMenu::middleOf(Item item) const
{
    const auto menu = window();
    if (!menu) {
        return std::nullopt;
    }
    const QList<int> lines = Pictures::textLines(desktop.view().settledPicture(menu->place));
    if (lines.size() != ItemCount) {
        return std::nullopt;
    }
    return QPoint(menu->place.center().x(), menu->place.top() + lines[static_cast<int>(item)]);
}

bool TrayMenu::click(Item item) const
{
    const auto middle = middleOf(item);
    return middle && desktop.user().click(*middle) &&
           waitUntil([this] { return !window().has_value(); });
}

bool TrayMenu::leave() const
{
    return desktop.user().tapKey(u"Escape"_s) &&
           waitUntil([this] { return !window().has_value(); });
}

QImage TrayMenu::row(Item item) const
{
    const auto middle = middleOf(item);
    const auto menu = window();
    if (!middle || !menu) {
        return {};
    }
    return desktop.view().picture(QRect(menu->place.left(), middle->y() - HalfRowHeight,
                                        menu->place.width(), 2 * HalfRowHeight));
}
