// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/TrayPlacement.h"

#include "doubles/RecordedBalloons.h"
#include "support/Waiting.h"

#include <QElapsedTimer>
#include <QExposeEvent>
#include <QMoveEvent>
#include <QPointer>
#include <QResizeEvent>
#include <QShowEvent>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace std::chrono_literals;

namespace {

const QRect unplaced(0, 0, 22, 22);
const QRect placed(700, 500, 22, 22);
constexpr auto never = 24h;

/// Longer than an icon must stand still before its place counts.
constexpr int aWhile = 200;

} // namespace

class tst_TrayPlacement : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void onlyAnIconAtTheOriginHasItsPlaceOpen_data();
    void onlyAnIconAtTheOriginHasItsPlaceOpen();
    void anEventOfTheIconsWindowSettlesIt_data();
    void anEventOfTheIconsWindowSettlesIt();
    void anEventThatLeavesItAtTheOriginDoesNot();
    void otherEventsAreNotLookedAt();
    void itSettlesOnceTheIconStandsStill();
    void theLimitSettlesItToo();
    void itSettlesOnceAndGoes();
    void itGoesWithTheIcon();

private:
    void move(const QRect &place);

    std::unique_ptr<QSystemTrayIcon> icon;
    std::unique_ptr<QWidget> iconWindow;
};

void tst_TrayPlacement::init()
{
    icon = std::make_unique<QSystemTrayIcon>();
    iconWindow = std::make_unique<QWidget>();
    recordedIconPlace() = unplaced;
}

void tst_TrayPlacement::move(const QRect &place)
{
    recordedIconPlace() = place;
    QMoveEvent event(place.topLeft(), QPoint());
    QCoreApplication::sendEvent(iconWindow.get(), &event);
}

void tst_TrayPlacement::onlyAnIconAtTheOriginHasItsPlaceOpen_data()
{
    QTest::addColumn<QRect>("place");
    QTest::addColumn<bool>("isOpen");
    QTest::newRow("at the origin") << unplaced << true;
    QTest::newRow("in a tray") << placed << false;
    QTest::newRow("at the left edge") << QRect(0, 500, 22, 22) << false;
    QTest::newRow("at the top edge") << QRect(700, 0, 22, 22) << false;
    QTest::newRow("no window") << QRect() << false;
}

void tst_TrayPlacement::onlyAnIconAtTheOriginHasItsPlaceOpen()
{
    QFETCH(QRect, place);
    recordedIconPlace() = place;
    QTEST(TrayPlacement::isOpen(*icon), "isOpen");
}

void tst_TrayPlacement::anEventOfTheIconsWindowSettlesIt_data()
{
    QTest::addColumn<QEvent::Type>("type");
    QTest::newRow("expose") << QEvent::Expose;
    QTest::newRow("move") << QEvent::Move;
    QTest::newRow("resize") << QEvent::Resize;
    QTest::newRow("show") << QEvent::Show;
}

void tst_TrayPlacement::anEventOfTheIconsWindowSettlesIt()
{
    QFETCH(QEvent::Type, type);
    auto *placement = new TrayPlacement(icon.get(), never);
    const QSignalSpy settled(placement, &TrayPlacement::settled);
    recordedIconPlace() = placed;
    QTest::qWait(aWhile);
    // The place is only checked at an event.
    QCOMPARE(settled.count(), 0);
    QEvent event(type);
    placement->eventFilter(iconWindow.get(), &event);
    QVERIFY(waitUntil([&] { return settled.count() == 1; }));
}

void tst_TrayPlacement::anEventThatLeavesItAtTheOriginDoesNot()
{
    const QSignalSpy settled(new TrayPlacement(icon.get(), never), &TrayPlacement::settled);
    move(unplaced);
    QTest::qWait(aWhile);
    QCOMPARE(settled.count(), 0);
    move(placed);
    QVERIFY(waitUntil([&] { return settled.count() == 1; }));
}

void tst_TrayPlacement::otherEventsAreNotLookedAt()
{
    auto *placement = new TrayPlacement(icon.get(), never);
    const QSignalSpy settled(placement, &TrayPlacement::settled);
    recordedIconPlace() = placed;
    QEvent event(QEvent::Paint);
    QVERIFY(!placement->eventFilter(iconWindow.get(), &event));
    QTest::qWait(aWhile);
    QCOMPARE(settled.count(), 0);
}

void tst_TrayPlacement::itSettlesOnceTheIconStandsStill()
{
    const QSignalSpy settled(new TrayPlacement(icon.get(), never), &TrayPlacement::settled);
    for (int i = 0; i < 20; ++i) {
        move(placed.translated(-i, 0));
        QTest::qWait(1);
    }
    QCOMPARE(settled.count(), 0);
    QVERIFY(waitUntil([&] { return settled.count() == 1; }));
}

void tst_TrayPlacement::theLimitSettlesItToo()
{
    QElapsedTimer elapsed;
    elapsed.start();
    const QSignalSpy settled(new TrayPlacement(icon.get(), 300ms), &TrayPlacement::settled);
    QVERIFY(waitUntil([&] { return settled.count() == 1; }));
    QVERIFY(elapsed.elapsed() >= 299);
}

void tst_TrayPlacement::itSettlesOnceAndGoes()
{
    const QPointer<TrayPlacement> placement = new TrayPlacement(icon.get(), 100ms);
    const QSignalSpy settled(placement, &TrayPlacement::settled);
    move(placed);
    QVERIFY(waitUntil([&] { return placement.isNull(); }));
    QTest::qWait(aWhile);
    QCOMPARE(settled.count(), 1);
}

void tst_TrayPlacement::itGoesWithTheIcon()
{
    const QPointer<TrayPlacement> placement = new TrayPlacement(icon.get(), never);
    QCOMPARE(placement->parent(), icon.get());
    icon.reset();
    QVERIFY(placement.isNull());
    move(placed);
}

QTEST_MAIN(tst_TrayPlacement)
#include "tst_TrayPlacement.moc"
