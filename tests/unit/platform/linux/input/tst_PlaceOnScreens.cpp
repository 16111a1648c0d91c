// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/PlaceOnScreens.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace platform;

Q_DECLARE_METATYPE(Location)

/// On two screens, the right one higher than the left one and next to a screen that is off.
class tst_PlaceOnScreens : public QObject
{
    Q_OBJECT

private slots:
    void thePointerIsKeptOnAScreen_data();
    void thePointerIsKeptOnAScreen();
    void withoutScreensItIsWhereItWasPushed();
    void fromNowhereItComesToTheNearestScreen();
    void oneThatIsOffHoldsNothing();
};

namespace {

QList<Screen> twoScreens()
{
    return {{u"left"_s, {0, 200, 800, 600}, 1},
            {u"off"_s, {1600, 0, 0, 0}, 1},
            {u"right"_s, {800, 0, 800, 800}, 1}};
}

} // namespace

void tst_PlaceOnScreens::thePointerIsKeptOnAScreen_data()
{
    QTest::addColumn<Location>("from");
    QTest::addColumn<Location>("to");
    QTest::addColumn<Location>("onAny");
    QTest::addColumn<Location>("onIts");
    const auto row = [](const char *title, const Location &from, const Location &to,
                        const Location &onAny, const Location &onIts) {
        QTest::newRow(title) << from << to << onAny << onIts;
    };
    const Location onLeft{400, 500};
    const auto same = [&](const char *title, const Location &from, const Location &to,
                          const Location &there) { row(title, from, to, there, there); };
    same("on the same one", onLeft, {1, 200}, {1, 200});
    same("on the other one", onLeft, {1500, 10}, {1500, 10});
    same("between two pixels", onLeft, {799.5, 799.75}, {799.5, 799.75});
    same("over the left edge", onLeft, {-3, 300}, {0, 300});
    same("over the lower edge", onLeft, {400, 800}, {400, 799});
    same("over the right edge of all", {900, 10}, {1600, 20.5}, {1599, 20.5});
    same("over a corner", {900, 10}, {99'999, -5}, {1599, 0});
    // Nearer to the right screen than to its own.
    row("over the upper edge beside the other one", onLeft, {790, 50}, {800, 50}, {790, 200});
    row("over the upper edge far from the other one", onLeft, {100, 50}, {100, 200}, {100, 200});
    row("beside the lower one", {900, 10}, {500, 10}, {500, 200}, {800, 10});
}

void tst_PlaceOnScreens::thePointerIsKeptOnAScreen()
{
    QFETCH(Location, from);
    QFETCH(Location, to);
    QFETCH(Location, onAny);
    QFETCH(Location, onIts);
    QCOMPARE(placeOnScreens(twoScreens(), from, to, ScreenEdge::OfAnyScreen), onAny);
    QCOMPARE(placeOnScreens(twoScreens(), from, to, ScreenEdge::OfItsScreen), onIts);
}

void tst_PlaceOnScreens::withoutScreensItIsWhereItWasPushed()
{
    const Location to{-5, 1e9};
    QCOMPARE(placeOnScreens({}, {1, 2}, to, ScreenEdge::OfAnyScreen), to);
    QCOMPARE(placeOnScreens({}, {1, 2}, to, ScreenEdge::OfItsScreen), to);
}

/// As after a screen was switched off.
void tst_PlaceOnScreens::fromNowhereItComesToTheNearestScreen()
{
    const Location to{5000, 300};
    const Location end{1599, 300};
    QCOMPARE(placeOnScreens(twoScreens(), {5000, 5000}, to, ScreenEdge::OfItsScreen), end);
    QCOMPARE(placeOnScreens(twoScreens(), {5000, 5000}, to, ScreenEdge::OfAnyScreen), end);
}

void tst_PlaceOnScreens::oneThatIsOffHoldsNothing()
{
    const QList<Screen> off{{u"off"_s, {10, 10, 0, 0}, 1}};
    QCOMPARE(placeOnScreens(off, {10, 10}, {20, 20}, ScreenEdge::OfAnyScreen), (Location{20, 20}));
    QCOMPARE(placeOnScreens(off, {10, 10}, {20, 20}, ScreenEdge::OfItsScreen), (Location{20, 20}));
}

QTEST_APPLESS_MAIN(tst_PlaceOnScreens)
#include "tst_PlaceOnScreens.moc"
