// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/InputRoute.h"

#include <QTest>

using platform::InputRoute;
using platform::inputRouteOf;
using platform::SessionOffer;

Q_DECLARE_METATYPE(SessionOffer)

class tst_InputRoute : public QObject
{
    Q_OBJECT

private slots:
    void theRouteFollowsFromTheOffer_data();
    void theRouteFollowsFromTheOffer();
};

void tst_InputRoute::theRouteFollowsFromTheOffer_data()
{
    QTest::addColumn<SessionOffer>("offer");
    QTest::addColumn<InputRoute>("route");
    const auto row = [](const char *title, const SessionOffer &offer, InputRoute route) {
        QTest::newRow(title) << offer << route;
    };
    const SessionOffer x11 = {.hasX11 = true, .canFakeInput = true};
    row("X11", x11, InputRoute::X11);
    row("X11 with a portal", {.hasPortal = true, .hasX11 = true, .canFakeInput = true},
        InputRoute::X11);
    row("X11 without XTEST", {.hasX11 = true}, InputRoute::NoneWithoutXtest);
    row("sway",
        {.hasWayland = true,
         .hasVirtualKeyboard = true,
         .hasVirtualPointer = true,
         .hasX11 = true,
         .isXwayland = true,
         .canFakeInput = true},
        InputRoute::Wlroots);
    row("sway with a portal",
        {.hasWayland = true,
         .hasVirtualKeyboard = true,
         .hasVirtualPointer = true,
         .hasPortal = true},
        InputRoute::Wlroots);
    row("only the keyboard", {.hasWayland = true, .hasVirtualKeyboard = true, .hasPortal = true},
        InputRoute::Portal);
    row("only the keyboard, no portal", {.hasWayland = true, .hasVirtualKeyboard = true},
        InputRoute::NoneInWayland);
    row("GNOME, Plasma",
        {.hasWayland = true,
         .hasPortal = true,
         .hasX11 = true,
         .isXwayland = true,
         .canFakeInput = true},
        InputRoute::Portal);
    row("compositor that offers nothing",
        {.hasWayland = true, .hasX11 = true, .isXwayland = true, .canFakeInput = true},
        InputRoute::NoneInWayland);
    row("compositor beside an X server", {.hasWayland = true, .hasX11 = true, .canFakeInput = true},
        InputRoute::NoneInWayland);
    row("Xwayland whose compositor does not answer",
        {.hasPortal = true, .hasX11 = true, .isXwayland = true, .canFakeInput = true},
        InputRoute::NoneInWayland);
    row("portal alone", {.hasPortal = true}, InputRoute::NoneWithoutDisplay);
    row("nothing", {}, InputRoute::NoneWithoutDisplay);
}

void tst_InputRoute::theRouteFollowsFromTheOffer()
{
    QFETCH(SessionOffer, offer);
    QFETCH(InputRoute, route);
    QCOMPARE(inputRouteOf(offer), route);
}

QTEST_APPLESS_MAIN(tst_InputRoute)
#include "tst_InputRoute.moc"
