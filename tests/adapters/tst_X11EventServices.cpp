// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "adapters/X11Scene.h"
#include "support/x11/KeyboardDrawing.h"
#include "support/x11/LayoutSigns.h"
#include "support/x11/XcbClient.h"

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <QSignalSpy>

#include <thread>

using namespace Qt::StringLiterals;

using namespace platform;
using Kind = RawInput::Kind;

namespace {

constexpr int Shift = XCB_MOD_MASK_SHIFT;
constexpr int Lock = XCB_MOD_MASK_LOCK;
constexpr int Control = XCB_MOD_MASK_CONTROL;
constexpr int Mod1 = XCB_MOD_MASK_1;
constexpr int Mod2 = XCB_MOD_MASK_2;
constexpr int Mod5 = XCB_MOD_MASK_5;

// Positions of the keys that the user presses.
constexpr int ControlLeft = 37;
constexpr int ShiftLeft = 50;
constexpr int ShiftRight = 62;
constexpr int CapsLock = 66;
constexpr int NumLock = 77;
constexpr int AltGr = 108;
constexpr int Menu = 135;
constexpr int LetterA = 38;

} // namespace

/// Types on a real display and looks at what another client gets.
class tst_X11EventServices : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void everyKeyOfALayoutGivesItsSign_data();
    void everyKeyOfALayoutGivesItsSign();
    void capsLockCanBeSwitchedOnAndOff();
    void codesWithoutMeaningPostNothing();
    void theLayoutInEffectCounts();
    void theLayoutOfTheFakedKeyboardCounts();
    void aChangedLayoutIsFollowed();
    void aSingleChangedKeyIsFollowed();
    void aKeyThatIsDownGoesUpAfterALayoutChange();

    void flagsAreTheModifiersInEffect_data();
    void flagsAreTheModifiersInEffect();
    void modifiersArePressedInOrderAndReleasedInReverse();
    void aHeldShiftIsReleasedAndNotPressedAgain();
    void bothHeldShiftKeysAreReleased();
    void aHeldShiftThatIsWantedStaysHeld();
    void aHeldAltGrDoesNotChangeTheSign();
    void capsLockDoesNotCountAndComesBack();
    void locksFromBeforeTheStartDoNotCountEither();
    void aLockedShiftDoesNotCountAndComesBack();
    void aLatchDoesNotCount();
    void numLockIsLeftAlone();
    void shortcutsInARowDoNotSeeEachOthersModifiers();
    void aHeldControlDoesNotReachKeysInARow();
    void overlappingKeysLeaveNothingDown();

    void aKeyIsPostedWithoutWaitingForTheServer();
    void aServerThatAnotherClientHoldsTakesKeys();
    void aPressLeavesTogetherWithItsRelease();
    void aPressAloneLeavesFromTheEventLoop();
    void aReleaseWithoutAPressReleases();
    void aSecondPressIsAPressAgain();
    void destructionReleasesWhatIsDown();
    void destructionWaitsForASlowServer();
    void aBrokenConnectionIsLeftInPeace();

private:
    std::unique_ptr<X11Scene> scene;
};

void tst_X11EventServices::init()
{
    scene = std::make_unique<X11Scene>();
    QVERIFY(scene->isReady());
    QVERIFY(scene->setLayout({u"-layout"_s, u"us"_s}));
}

void tst_X11EventServices::cleanup()
{
    scene->services.reset();
    scene->watcher.sync();
    if (scene->watcher.isConnected()) {
        QVERIFY(scene->isNothingDown());
    }
    scene.reset();
}

void tst_X11EventServices::everyKeyOfALayoutGivesItsSign_data()
{
    QTest::addColumn<QString>("layout");
    for (const char *layout : {"us", "fr", "de", "ru"}) {
        QTest::newRow(layout) << layout;
    }
}

void tst_X11EventServices::everyKeyOfALayoutGivesItsSign()
{
    QFETCH(QString, layout);
    const auto drawing = KeyboardDrawing::keys();
    QVERIFY(scene->setLayout({u"-layout"_s, layout}));
    for (const auto &[row, isBorne] : LayoutSigns::rowsOf(layout)) {
        if (row.name == "CapsLock"_L1) {
            continue; // It is tested separately.
        }
        QVERIFY2(drawing.contains(row.name), row.name.data());
        const KeyboardDrawing::Key drawn = drawing.value(row.name);
        scene->tap(row.name.data());
        const std::size_t expected = 2;
        QVERIFY2(waitUntil([&] {
                     const auto &keys = scene->watcher.keys();
                     return keys.size() >= expected && scene->watcher.keysDown().empty();
                 }),
                 row.name.data());
        scene->watcher.sync();
        const auto keys = scene->watcher.keys();
        const auto pressed = std::find_if(keys.rbegin(), keys.rend(),
                                          [](const KeyInput &key) { return key.isDown; });
        QVERIFY2((pressed->keysym == drawn.keysym) == isBorne, row.name.data());
        QVERIFY2(isBorne || pressed->keycode == drawn.position, row.name.data());
        QVERIFY2((pressed->modifiers & ~(Shift | Mod5)) == 0, row.name.data());
        scene->watcher.clear();
    }
}

void tst_X11EventServices::capsLockCanBeSwitchedOnAndOff()
{
    for (const int expected : {Lock, 0, Lock, 0}) {
        scene->tap("CapsLock");
        QTRY_COMPARE(scene->modifiers(), expected);
        scene->letServicesLearn();
    }
}

void tst_X11EventServices::codesWithoutMeaningPostNothing()
{
    for (const char *name : {"Fn", "UArrow"}) {
        scene->tap(name, Flag::Command);
    }
    scene->tap("A");
    QVERIFY(scene->waitForTaps(1));
    QCOMPARE(scene->watcher.raw().size(), std::size_t{2});
}

void tst_X11EventServices::theLayoutInEffectCounts()
{
    QVERIFY(scene->setLayout({u"-layout"_s, u"us,ru"_s, u"-option"_s, u"grp:menu_toggle"_s}));
    scene->tap(";");
    QVERIFY(scene->waitForTaps(1));
    QCOMPARE(scene->presses().back().keysym, quint32{XKB_KEY_semicolon});
    QCOMPARE(scene->presses().back().modifiers, 0);

    scene->user.tap(Menu);
    scene->letServicesLearn();
    scene->tap(";");
    scene->tap("A");
    QVERIFY(scene->waitForTaps(3));
    const auto presses = scene->presses();
    QCOMPARE(presses[1].keysym, quint32{XKB_KEY_semicolon});
    QCOMPARE(presses[1].modifiers, Shift);
    QCOMPARE(presses[1].group, 1);
    QCOMPARE(presses[2].keysym, quint32{XKB_KEY_Cyrillic_ef});

    scene->user.tap(Menu);
    scene->letServicesLearn();
    scene->tap("A");
    QVERIFY(scene->waitForTaps(4));
    QCOMPARE(scene->presses().back().text, u"a"_s);
}

void tst_X11EventServices::theLayoutOfTheFakedKeyboardCounts()
{
    const auto faked = scene->watcher.deviceNumber(u"Virtual core XTEST keyboard"_s);
    QVERIFY(faked);
    QVERIFY(scene->setLayout({u"-device"_s, QString::number(*faked), u"-layout"_s, u"fr"_s}));
    // The user's own keyboard has the other layout, and the core keyboard follows the device that
    // types.
    for (int round = 0; round < 3; ++round) {
        scene->user.tap(LetterA);
        QVERIFY(scene->waitForTaps(1));
        scene->tap("Q");
        QVERIFY(scene->waitForTaps(2));
        QCOMPARE(scene->watcher.typedText(), u"aq"_s);
        QCOMPARE(scene->presses().back().keycode, LetterA);
        scene->watcher.clear();
    }
}

void tst_X11EventServices::aChangedLayoutIsFollowed()
{
    for (const char *layout : {"fr", "de", "us", "fr"}) {
        QVERIFY(scene->setLayout({u"-layout"_s, QLatin1StringView(layout)}));
        for (const char *name : {"A", "Y", "Z", "=", "1"}) {
            scene->tap(name);
        }
        QVERIFY(scene->waitForTaps(5));
        QCOMPARE(scene->watcher.typedText(), u"ayz=1"_s);
    }
}

void tst_X11EventServices::aSingleChangedKeyIsFollowed()
{
    QVERIFY(scene->server.run(u"xmodmap"_s,
                              {u"-e"_s, u"keycode 38 = b B"_s, u"-e"_s, u"keycode 56 = a A"_s}));
    scene->letServicesLearn();
    scene->watcher.clear();
    scene->tap("A");
    QVERIFY(scene->waitForTaps(1));
    QCOMPARE(scene->watcher.typedText(), u"a"_s);
    QCOMPARE(scene->presses().back().keycode, 56);
}

void tst_X11EventServices::aKeyThatIsDownGoesUpAfterALayoutChange()
{
    scene->press("A");
    QTRY_VERIFY(scene->isDown(LetterA));
    QVERIFY(scene->setLayout({u"-layout"_s, u"fr"_s}));
    QVERIFY(scene->isDown(LetterA));
    scene->release("A");
    QTRY_VERIFY(scene->isNothingDown());
}

void tst_X11EventServices::flagsAreTheModifiersInEffect_data()
{
    QTest::addColumn<quint64>("flags");
    QTest::addColumn<int>("modifiers");
    QTest::newRow("none") << quint64{0} << 0;
    QTest::newRow("shift") << quint64{Flag::Shift} << Shift;
    QTest::newRow("control") << quint64{Flag::Control} << Control;
    QTest::newRow("alternate") << quint64{Flag::Alternate} << Mod1;
    QTest::newRow("command is Control") << quint64{Flag::Command} << Control;
    QTest::newRow("command and control") << (Flag::Command | Flag::Control) << Control;
    QTest::newRow("all") << (Flag::Command | Flag::Control | Flag::Alternate | Flag::Shift)
                         << (Control | Mod1 | Shift);
    QTest::newRow("bits of no modifier") << quint64{0x10000 | 0x800000 | 0x100} << 0;
}

void tst_X11EventServices::flagsAreTheModifiersInEffect()
{
    QFETCH(quint64, flags);
    scene->tap("K", flags);
    QVERIFY(scene->waitForTaps(1));
    QTEST(scene->presses().back().modifiers, "modifiers");
    QCOMPARE(scene->modifiers(), 0);
}

void tst_X11EventServices::modifiersArePressedInOrderAndReleasedInReverse()
{
    scene->tap("K", Flag::Shift | Flag::Alternate | Flag::Command);
    QVERIFY(scene->waitForTaps(1));
    std::vector<int> keycodes;
    for (const RawInput &input : scene->watcher.raw()) {
        keycodes.push_back(input.kind == Kind::KeyPress ? input.detail : -input.detail);
    }
    QCOMPARE(keycodes, (std::vector{37, 64, 50, 45, -45, -50, -64, -37}));
}

void tst_X11EventServices::aHeldShiftIsReleasedAndNotPressedAgain()
{
    scene->user.press(ShiftLeft);
    scene->letServicesLearn();
    scene->tap("A");
    QVERIFY(waitUntil([&] { return scene->presses().size() == 1; }));
    QTRY_VERIFY(scene->isNothingDown());
    QCOMPARE(scene->presses().back().keysym, quint32{XKB_KEY_a});
    QCOMPARE(scene->presses().back().modifiers, 0);
    QCOMPARE(scene->rawPresses(ShiftLeft), 1);

    scene->user.release(ShiftLeft);
    QVERIFY(scene->isNothingDown());
}

void tst_X11EventServices::bothHeldShiftKeysAreReleased()
{
    scene->user.press(ShiftLeft);
    scene->user.press(ShiftRight);
    scene->letServicesLearn();
    scene->tap("A");
    QVERIFY(waitUntil([&] { return scene->presses().size() == 1; }));
    QCOMPARE(scene->presses().back().text, u"a"_s);
    QTRY_VERIFY(scene->isNothingDown());
    scene->user.release(ShiftLeft);
    scene->user.release(ShiftRight);
}

void tst_X11EventServices::aHeldShiftThatIsWantedStaysHeld()
{
    scene->user.press(ShiftLeft);
    scene->letServicesLearn();
    scene->tap("A", Flag::Shift);
    QVERIFY(waitUntil([&] { return scene->presses().size() == 1; }));
    QCOMPARE(scene->presses().back().modifiers, Shift);
    scene->watcher.sync();
    QVERIFY(scene->isDown(ShiftLeft));
    QCOMPARE(scene->rawPresses(ShiftLeft), 1);
    scene->user.release(ShiftLeft);
}

void tst_X11EventServices::aHeldAltGrDoesNotChangeTheSign()
{
    QVERIFY(scene->setLayout({u"-layout"_s, u"de"_s}));
    scene->user.press(AltGr);
    scene->letServicesLearn();
    scene->tap("Q");
    scene->tap("\\");
    scene->tap("Q");
    QVERIFY(waitUntil([&] { return scene->presses().size() == 3; }));
    QCOMPARE(scene->watcher.typedText(), u"q\\q"_s);
    QTRY_VERIFY(scene->isNothingDown());
    scene->user.release(AltGr);
}

void tst_X11EventServices::capsLockDoesNotCountAndComesBack()
{
    scene->user.tap(CapsLock);
    scene->letServicesLearn();
    scene->tap("A");
    scene->tap("A", Flag::Shift);
    scene->tap("C", Flag::Command);
    QVERIFY(waitUntil([&] { return scene->presses().size() == 3; }));
    QTRY_COMPARE(scene->modifiers(), Lock);
    const auto presses = scene->presses();
    QCOMPARE(presses[0].keysym, quint32{XKB_KEY_a});
    QCOMPARE(presses[0].modifiers, 0);
    QCOMPARE(presses[1].keysym, quint32{XKB_KEY_A});
    QCOMPARE(presses[1].modifiers, Shift);
    QCOMPARE(presses[2].modifiers, Control);

    scene->press("A");
    QTRY_COMPARE(scene->modifiers(), 0);
    scene->services.reset();
    QTRY_COMPARE(scene->modifiers(), Lock);
}

void tst_X11EventServices::locksFromBeforeTheStartDoNotCountEither()
{
    scene->user.tap(CapsLock);
    scene->services = scene->makeServices();
    scene->tap("A");
    QVERIFY(waitUntil([&] { return scene->presses().size() == 1; }));
    QCOMPARE(scene->watcher.typedText(), u"a"_s);
    QTRY_COMPARE(scene->modifiers(), Lock);
}

void tst_X11EventServices::aLockedShiftDoesNotCountAndComesBack()
{
    QVERIFY(scene->setLayout({u"-layout"_s, u"us"_s, u"-option"_s, u"caps:shiftlock"_s}));
    scene->user.tap(CapsLock);
    QCOMPARE(scene->modifiers(), Shift);
    scene->letServicesLearn();
    scene->tap("1");
    scene->tap("A", Flag::Shift);
    QVERIFY(waitUntil([&] { return scene->presses().size() == 2; }));
    QTRY_COMPARE(scene->modifiers(), Shift);
    QCOMPARE(scene->watcher.typedText(), u"1A"_s);
    QCOMPARE(scene->presses()[0].modifiers, 0);
    QCOMPARE(scene->presses()[1].modifiers, Shift);
}

void tst_X11EventServices::aLatchDoesNotCount()
{
    QVERIFY(scene->setLayout({u"-layout"_s, u"de"_s, u"-option"_s, u"lv3:caps_switch_latch"_s}));
    scene->user.press(AltGr);
    scene->user.tap(CapsLock);
    scene->user.release(AltGr);
    QCOMPARE(scene->modifiers(), Mod5);
    scene->letServicesLearn();
    scene->watcher.clear();
    scene->tap("Q");
    QVERIFY(scene->waitForTaps(1));
    QCOMPARE(scene->watcher.typedText(), u"q"_s);
    QCOMPARE(scene->modifiers(), 0);
}

void tst_X11EventServices::numLockIsLeftAlone()
{
    scene->user.tap(NumLock);
    scene->letServicesLearn();
    scene->watcher.clear();
    scene->tap("A");
    QVERIFY(scene->waitForTaps(1));
    QCOMPARE(scene->presses().back().modifiers, Mod2);
    QCOMPARE(scene->modifiers(), Mod2);
    QCOMPARE(scene->watcher.raw().size(), std::size_t{2});
}

void tst_X11EventServices::shortcutsInARowDoNotSeeEachOthersModifiers()
{
    // While the server is halted no report comes between them.
    scene->haltServer();
    scene->tap("C", Flag::Command);
    scene->tap("X");
    scene->tap("V", Flag::Command);
    scene->tap("Y", Flag::Shift);
    scene->tap("Z", Flag::Command | Flag::Shift);
    scene->server.resume();
    QVERIFY(scene->waitForTaps(5));
    std::vector<int> modifiers;
    for (const KeyInput &key : scene->presses()) {
        modifiers.push_back(key.modifiers);
    }
    QCOMPARE(modifiers, (std::vector{Control, 0, Control, Shift, Control | Shift}));

    // Again, while the reports about all of this are still unread.
    scene->tap("C", Flag::Command);
    scene->tap("X");
    QVERIFY(scene->waitForTaps(7));
    QCOMPARE(scene->presses()[5].modifiers, Control);
    QCOMPARE(scene->presses()[6].modifiers, 0);
    QCOMPARE(scene->rawPresses(ControlLeft), 4);
}

void tst_X11EventServices::aHeldControlDoesNotReachKeysInARow()
{
    scene->user.press(ControlLeft);
    scene->letServicesLearn();
    scene->haltServer();
    scene->tap("X");
    scene->tap("C", Flag::Command);
    scene->tap("X");
    scene->server.resume();
    QVERIFY(waitUntil([&] { return scene->presses().size() == 3; }));
    const auto presses = scene->presses();
    QCOMPARE(presses[0].modifiers, 0);
    QCOMPARE(presses[1].modifiers, Control);
    QCOMPARE(presses[2].modifiers, 0);
    QTRY_VERIFY(scene->isNothingDown());
    scene->user.release(ControlLeft);
}

void tst_X11EventServices::overlappingKeysLeaveNothingDown()
{
    scene->user.tap(CapsLock);
    scene->letServicesLearn();
    scene->press("A", Flag::Command);
    scene->press("B", Flag::Alternate | Flag::Shift);
    scene->press("Shift");
    scene->release("A", Flag::Command);
    scene->release("Shift");
    scene->release("B", Flag::Alternate | Flag::Shift);
    QTRY_VERIFY(scene->presses().size() == 2 && scene->isNothingDown());
    QCOMPARE(scene->modifiers(), Lock);
    QCOMPARE(scene->presses()[0].modifiers, Control);
    QCOMPARE(scene->presses()[1].modifiers, Mod1 | Shift);
}

void tst_X11EventServices::aKeyIsPostedWithoutWaitingForTheServer()
{
    scene->haltServer();
    QElapsedTimer timer;
    timer.start();
    for (int count = 0; count < 10; ++count) {
        scene->tap("=", Flag::Command | Flag::Shift); // Would hang for ever if it waited.
    }
    QVERIFY(timer.elapsed() < 1000);
    QVERIFY(scene->watcher.keys().empty());
    scene->server.resume();
    QVERIFY(scene->waitForTaps(10));
}

void tst_X11EventServices::aServerThatAnotherClientHoldsTakesKeys()
{
    const XcbConnection holder = XcbClient::connectTo(scene->server.display());
    const auto cookie = xcb_grab_server_checked(holder.get());
    QVERIFY(!xcbOwned(xcb_request_check(holder.get(), cookie)));

    scene->tap("A", Flag::Command);
    QVERIFY(scene->waitForTaps(1));
    QCOMPARE(scene->services->pointerLocation(), (Location{400, 300}));

    xcb_ungrab_server(holder.get());
    xcb_flush(holder.get());
}

void tst_X11EventServices::aPressLeavesTogetherWithItsRelease()
{
    scene->press("A", Flag::Command);
    scene->watcher.sync(); // No event loop runs meanwhile.
    QVERIFY(scene->watcher.raw().empty());
    scene->release("A", Flag::Command);
    QVERIFY(scene->waitForTaps(1));
}

void tst_X11EventServices::aPressAloneLeavesFromTheEventLoop()
{
    scene->press("A");
    QTRY_VERIFY(scene->isDown(LetterA));
    scene->release("A");
    QTRY_VERIFY(scene->isNothingDown());
}

void tst_X11EventServices::aReleaseWithoutAPressReleases()
{
    scene->user.press(LetterA);
    scene->release("A");
    QTRY_VERIFY(scene->isNothingDown());
    scene->user.release(LetterA);
}

void tst_X11EventServices::aSecondPressIsAPressAgain()
{
    scene->press("A", Flag::Command);
    scene->press("A");
    scene->release("A");
    QVERIFY(scene->waitForTaps(2));
    QVERIFY(scene->isNothingDown());
    QCOMPARE(scene->presses()[0].modifiers, Control);
    QCOMPARE(scene->presses()[1].modifiers, 0);
}

void tst_X11EventServices::destructionReleasesWhatIsDown()
{
    scene->press("A", Flag::Command | Flag::Shift);
    scene->press("B");
    QTRY_VERIFY(scene->isDown(LetterA));
    scene->services.reset();
    QTRY_VERIFY(scene->isNothingDown());
    QCOMPARE(scene->modifiers(), 0);
}

void tst_X11EventServices::destructionWaitsForASlowServer()
{
    scene->press("A");
    QTRY_VERIFY(scene->isDown(LetterA));
    scene->haltServer();
    std::thread server([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        scene->server.resume();
    });
    scene->services.reset();
    server.join();
    QVERIFY(scene->isNothingDown());
}

void tst_X11EventServices::aBrokenConnectionIsLeftInPeace()
{
    scene->press("A");
    scene->server.end();
    scene->tap("A");
    scene->services->postMouse({}, std::vector{MouseEvent{}}, EventTap::Hid);
    QCOMPARE(scene->services->pointerLocation(), Location{});

    QSignalSpy rounds(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake);
    QTest::qWait(200);
    QVERIFY2(rounds.count() < 100, qPrintable(QString::number(rounds.count())));
    scene->tap("A");
}

QTEST_GUILESS_MAIN(tst_X11EventServices)
#include "tst_X11EventServices.moc"
