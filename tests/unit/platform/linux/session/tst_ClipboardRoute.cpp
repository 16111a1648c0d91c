// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/ClipboardRoute.h"

#include <QTest>

using platform::ClipboardOffer;
using platform::ClipboardRoute;
using platform::clipboardRouteOf;

Q_DECLARE_METATYPE(ClipboardOffer)

class tst_ClipboardRoute : public QObject
{
    Q_OBJECT

private slots:
    void theRouteFollowsFromTheOffer_data();
    void theRouteFollowsFromTheOffer();
};

void tst_ClipboardRoute::theRouteFollowsFromTheOffer_data()
{
    QTest::addColumn<ClipboardOffer>("offer");
    QTest::addColumn<ClipboardRoute>("route");
    const auto row = [](const char *title, const ClipboardOffer &offer, ClipboardRoute route) {
        QTest::newRow(title) << offer << route;
    };
    row("X11", {.isToolkitOnX11 = true}, ClipboardRoute::X11);
    row("sway", {.hasWayland = true, .hasDataControl = true}, ClipboardRoute::DataControl);
    row("sway, windows on its Xwayland",
        {.hasWayland = true, .hasDataControl = true, .isToolkitOnX11 = true},
        ClipboardRoute::DataControl);
    row("Plasma", {.hasWayland = true, .hasDataControl = true, .isInputByPortal = true},
        ClipboardRoute::DataControl);
    row("GNOME", {.hasWayland = true, .isInputByPortal = true}, ClipboardRoute::Portal);
    row("GNOME, windows on its Xwayland",
        {.hasWayland = true, .isInputByPortal = true, .isToolkitOnX11 = true},
        ClipboardRoute::Portal);
    row("compositor that offers nothing", {.hasWayland = true}, ClipboardRoute::NoneInWayland);
    row("the same, windows on its Xwayland", {.hasWayland = true, .isToolkitOnX11 = true},
        ClipboardRoute::NoneInWayland);
    row("nothing", {}, ClipboardRoute::Toolkit);
}

void tst_ClipboardRoute::theRouteFollowsFromTheOffer()
{
    QFETCH(ClipboardOffer, offer);
    QFETCH(ClipboardRoute, route);
    QCOMPARE(clipboardRouteOf(offer), route);
}

QTEST_APPLESS_MAIN(tst_ClipboardRoute)
#include "tst_ClipboardRoute.moc"
