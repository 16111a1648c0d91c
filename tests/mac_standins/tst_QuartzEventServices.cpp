// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "StandIn.h"
#include "interaction/InteractionManagerMac.h"
#include "platform/EventServices.h"
#include "support/MessageRecorder.h"

#include <QTest>

using namespace Qt::StringLiterals;

using namespace platform;
using standin::calls;
using standin::world;

class tst_QuartzEventServices : public QObject
{
    Q_OBJECT

private slots:
    void init() { standin::reset(); }
    void cleanup() { QCOMPARE(standin::liveObjects(), 0); }

    void thePermissionIsAskedForOnceAtTheStart();
    void theFirstEventWithoutPermissionWarnsTheUserOnce_data();
    void theFirstEventWithoutPermissionWarnsTheUserOnce();
    void aPermissionGivenMeanwhileIsNotAskedForAgain();
    void thePointersPlaceIsReadFromAnEmptyEvent();
    void aShortcutPostsTwoEventsWithTheSameFlagsToTheSessionTap();
    void aKeyWithoutModifiersClearsTheFlagsOfItsEvent();
    void aMoveHasNoSourceAndIsNotKeptOnTheScreen_data();
    void aMoveHasNoSourceAndIsNotKeptOnTheScreen();
    void aClickIsPressAndReleaseFromOneHidSource_data();
    void aClickIsPressAndReleaseFromOneHidSource();
    void noMouseEventsMakeNoCall();
    void aWindowServerThatMakesNoEventsIsTolerated();

private:
    /// The services, without the calls of their construction.
    static std::unique_ptr<EventServices> started()
    {
        auto services = makeEventServices();
        calls().clear();
        return services;
    }
};

void tst_QuartzEventServices::thePermissionIsAskedForOnceAtTheStart()
{
    const auto services = makeEventServices();
    services->postKeyboard({12, true, 0, EventTap::Session});
    services->postKeyboard({12, false, 0, EventTap::Session});
    QCOMPARE(standin::callsNamed(u"AX"_s), QStringList(u"AXIsProcessTrustedWithOptions prompt"_s));
}

void tst_QuartzEventServices::theFirstEventWithoutPermissionWarnsTheUserOnce_data()
{
    QTest::addColumn<bool>("isKey");
    QTest::newRow("key") << true;
    QTest::newRow("pointer") << false;
}

void tst_QuartzEventServices::theFirstEventWithoutPermissionWarnsTheUserOnce()
{
    QFETCH(bool, isKey);
    world().isTrusted = false;
    const MessageRecorder messages;
    InteractionManagerMac manager;
    // The tray that shows it comes later.
    QCOMPARE(messages.all(), QStringList());
    for (int round = 0; round < 2; ++round) {
        if (isKey) {
            manager.keyboardTapKeyEvent(u"A"_s);
        } else {
            manager.moveMouseWithOffset(1, 1);
        }
        QCOMPARE(messages.all().size(), 1);
    }
    QVERIFY2(messages.warnings().first().contains(u"Accessibility"_s),
             qPrintable(messages.warnings().first()));
}

void tst_QuartzEventServices::aPermissionGivenMeanwhileIsNotAskedForAgain()
{
    world().isTrusted = false;
    const MessageRecorder messages;
    InteractionManagerMac manager;
    world().isTrusted = true;
    manager.keyboardTapKeyEvent(u"A"_s);
    QCOMPARE(messages.all(), QStringList());
    QCOMPARE(standin::callsNamed(u"AX"_s),
             QStringList({u"AXIsProcessTrustedWithOptions prompt"_s, u"AXIsProcessTrusted"_s}));
}

void tst_QuartzEventServices::thePointersPlaceIsReadFromAnEmptyEvent()
{
    const auto services = started();
    world().pointerX = -12.5;
    world().pointerY = 700;
    QCOMPARE(services->pointerLocation(), (Location{-12.5, 700}));
    QCOMPARE(calls(), QStringList({u"CGEventCreate no source empty"_s, u"CGEventGetLocation"_s,
                                   u"CFRelease event"_s}));
}

void tst_QuartzEventServices::aShortcutPostsTwoEventsWithTheSameFlagsToTheSessionTap()
{
    InteractionManagerMac manager(started());
    manager.keyboardTapKeyEvent(u"Cmd+Shift+Q"_s);
    QCOMPARE(calls(),
             QStringList({u"CGEventCreateKeyboardEvent no source key 12 down"_s,
                          u"CGEventSetFlags 0x120000"_s,
                          u"CGEventPost tap 1 flags 0x120000 key 12 down"_s, u"CFRelease event"_s,
                          u"CGEventCreateKeyboardEvent no source key 12 up"_s,
                          u"CGEventSetFlags 0x120000"_s,
                          u"CGEventPost tap 1 flags 0x120000 key 12 up"_s, u"CFRelease event"_s}));
}

void tst_QuartzEventServices::aKeyWithoutModifiersClearsTheFlagsOfItsEvent()
{
    started()->postKeyboard({0, true, 0, EventTap::Session});
    QCOMPARE(standin::callsNamed(u"CGEventPost"_s),
             QStringList(u"CGEventPost tap 1 flags 0x0 key 0 down"_s));
}

void tst_QuartzEventServices::aMoveHasNoSourceAndIsNotKeptOnTheScreen_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<QString>("place");
    QTest::newRow("nowhere") << 0 << "10,20";
    QTest::newRow("down and right") << 5 << "15,25";
    QTest::newRow("off the screen") << -5000 << "-4990,-4980";
}

void tst_QuartzEventServices::aMoveHasNoSourceAndIsNotKeptOnTheScreen()
{
    QFETCH(int, offset);
    QFETCH(QString, place);
    InteractionManagerMac manager(started());
    world().pointerX = 10;
    world().pointerY = 20;
    manager.moveMouseWithOffset(offset, offset);
    const QString move = u"type 5 at "_s + place + u" button 0"_s;
    QCOMPARE(calls(),
             QStringList({u"CGEventCreate no source empty"_s, u"CGEventGetLocation"_s,
                          u"CFRelease event"_s, u"CGEventCreateMouseEvent no source "_s + move,
                          u"CGEventPost tap 0 flags 0xdead "_s + move, u"CFRelease event"_s}));
}

void tst_QuartzEventServices::aClickIsPressAndReleaseFromOneHidSource_data()
{
    using Tap = void (InteractionManagerMac::*)();
    QTest::addColumn<Tap>("tap");
    QTest::addColumn<QString>("press");
    QTest::addColumn<QString>("release");
    const auto row = [](const char *name, Tap tap, int press, int release, int button) {
        const QString event = u"type %1 at 3,4 button %2"_s;
        QTest::newRow(name) << tap << event.arg(press).arg(button)
                            << event.arg(release).arg(button);
    };
    row("left", &InteractionManagerMac::leftMouseButtonTapped, 1, 2, 0);
    row("right", &InteractionManagerMac::rightMouseButtonTapped, 3, 4, 1);
    row("centre", &InteractionManagerMac::centerMouseButtonTapped, 25, 26, 2);
}

void tst_QuartzEventServices::aClickIsPressAndReleaseFromOneHidSource()
{
    using Tap = void (InteractionManagerMac::*)();
    QFETCH(Tap, tap);
    QFETCH(QString, press);
    QFETCH(QString, release);
    InteractionManagerMac manager(started());
    world().pointerX = 3;
    world().pointerY = 4;
    (manager.*tap)();
    QCOMPARE(calls(),
             QStringList({u"CGEventCreate no source empty"_s, u"CGEventGetLocation"_s,
                          u"CFRelease event"_s, u"CGEventSourceCreate 1"_s,
                          u"CGEventCreateMouseEvent source 1 "_s + press,
                          u"CGEventPost tap 0 flags 0xdead "_s + press, u"CFRelease event"_s,
                          u"CGEventCreateMouseEvent source 1 "_s + release,
                          u"CGEventPost tap 0 flags 0xdead "_s + release, u"CFRelease event"_s,
                          u"CFRelease source"_s}));
}

void tst_QuartzEventServices::noMouseEventsMakeNoCall()
{
    started()->postMouse(SourceState::HidSystem, {}, EventTap::Hid);
    QCOMPARE(calls(), QStringList());
}

void tst_QuartzEventServices::aWindowServerThatMakesNoEventsIsTolerated()
{
    const auto services = started();
    world().makesEvents = false;
    QCOMPARE(services->pointerLocation(), Location());
    services->postKeyboard({12, true, Flag::Command, EventTap::Session});
    const MouseEvent move;
    services->postMouse(SourceState::HidSystem, {&move, 1}, EventTap::Hid);
    QCOMPARE(standin::callsNamed(u"CGEventPost"_s), QStringList());
}

QTEST_GUILESS_MAIN(tst_QuartzEventServices)
#include "tst_QuartzEventServices.moc"
