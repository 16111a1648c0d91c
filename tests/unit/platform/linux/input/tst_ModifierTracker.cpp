// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/ModifierTracker.h"

#include <QTest>

using namespace platform;

namespace {

constexpr ModifierMask Shift = 0x01;
constexpr ModifierMask Lock = 0x02;
constexpr ModifierMask Control = 0x04;

} // namespace

class tst_ModifierTracker : public QObject
{
    Q_OBJECT

private slots:
    void startsWithNothing() { QCOMPARE(ModifierTracker().state(), ModifierState{}); }
    void tellsWhatWasReported();
    void knowsWhatWeSentBeforeTheReportOfIt();
    void aReportFromBeforeOurReleaseDoesNotBringOurModifierBack();
    void aModifierThatTheUserPressedAfterwardsStays();
    void aReportFromBetweenTakesInOnlyWhatCameLater();
    void locksGoAndComeBack();
    void sequencesMayStartAgain();
};

void tst_ModifierTracker::tellsWhatWasReported()
{
    ModifierTracker tracker;
    tracker.report({Shift, Control, Lock, 1}, 7);
    QCOMPARE(tracker.state(), (ModifierState{Shift, Control, Lock, 1}));
}

void tst_ModifierTracker::knowsWhatWeSentBeforeTheReportOfIt()
{
    ModifierTracker tracker;
    tracker.press(Control, 1);
    QCOMPARE(tracker.state().base, Control);
    tracker.release(Control, 2);
    QCOMPARE(tracker.state().base, ModifierMask{0});
}

void tst_ModifierTracker::aReportFromBeforeOurReleaseDoesNotBringOurModifierBack()
{
    ModifierTracker tracker;
    tracker.press(Control, 1);
    tracker.release(Control, 3);
    tracker.report({.base = Control}, 1);
    QCOMPARE(tracker.state().base, ModifierMask{0});
    tracker.report({}, 3);
    QCOMPARE(tracker.state().base, ModifierMask{0});
}

void tst_ModifierTracker::aModifierThatTheUserPressedAfterwardsStays()
{
    ModifierTracker tracker;
    tracker.press(Control, 1);
    tracker.release(Control, 3);
    tracker.report({}, 3);
    tracker.report({.base = Control}, 3);
    QCOMPARE(tracker.state().base, Control);
}

void tst_ModifierTracker::aReportFromBetweenTakesInOnlyWhatCameLater()
{
    ModifierTracker tracker;
    tracker.release(Shift, 1);
    tracker.press(Control, 2);
    tracker.release(Control, 4);
    // The user has pressed Shift again after we released it.
    tracker.report({.base = static_cast<ModifierMask>(Shift | Control)}, 2);
    QCOMPARE(tracker.state().base, Shift);
}

void tst_ModifierTracker::locksGoAndComeBack()
{
    ModifierTracker tracker;
    tracker.report({.latched = Shift, .locked = Lock}, 1);
    tracker.unlock(Lock | Shift, 2);
    QCOMPARE(tracker.state(), ModifierState{});
    tracker.lock(Lock, 5);
    tracker.report({}, 2);
    QCOMPARE(tracker.state(), ModifierState{.locked = Lock});
}

void tst_ModifierTracker::sequencesMayStartAgain()
{
    ModifierTracker tracker;
    tracker.press(Control, 0xffffffff);
    tracker.release(Control, 1);
    tracker.report({.base = Control}, 0xffffffff);
    QCOMPARE(tracker.state().base, ModifierMask{0});
    tracker.report({.base = Control}, 1);
    QCOMPARE(tracker.state().base, Control);
}

QTEST_GUILESS_MAIN(tst_ModifierTracker)
#include "tst_ModifierTracker.moc"
