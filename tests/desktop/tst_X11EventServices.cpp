// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "X11Scene.h"
#include "support/KeyboardDrawing.h"
#include "support/LayoutSigns.h"

#include <QAbstractEventDispatcher>
#include <QElapsedTimer>
#include <QSignalSpy>

#include <thread>

#include "platform/linux/XcbHandles.h"

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
class X11EventServicesTest : public QObject
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
    std::unique_ptr<X11Scene> m_scene;
};

void X11EventServicesTest::init()
{
    m_scene = std::make_unique<X11Scene>();
    QVERIFY(m_scene->isReady());
    QVERIFY(m_scene->setLayout({"-layout", "us"}));
}

void X11EventServicesTest::cleanup()
{
    m_scene->services.reset();
    m_scene->watcher.sync();
    if (m_scene->watcher.isConnected())
        QVERIFY(m_scene->isNothingDown());
    m_scene.reset();
}

void X11EventServicesTest::everyKeyOfALayoutGivesItsSign_data()
{
    QTest::addColumn<QString>("layout");
    for (const char *layout : {"us", "fr", "de", "ru"})
        QTest::newRow(layout) << layout;
}

void X11EventServicesTest::everyKeyOfALayoutGivesItsSign()
{
    QFETCH(QString, layout);
    const auto drawing = KeyboardDrawing::keys();
    QVERIFY(m_scene->setLayout({"-layout", layout}));
    for (const auto &[row, isBorne] : LayoutSigns::rowsOf(layout)) {
        if (row.name == QLatin1StringView("CapsLock"))
            continue; // Has a test of its own.
        QVERIFY2(drawing.contains(row.name), row.name.data());
        const KeyboardDrawing::Key drawn = drawing.value(row.name);
        m_scene->tap(row.name.data());
        const std::size_t expected = 2;
        QVERIFY2(waitUntil([&] {
                     const auto &keys = m_scene->watcher.keys();
                     return keys.size() >= expected && m_scene->watcher.keysDown().empty();
                 }),
                 row.name.data());
        m_scene->watcher.sync();
        const auto keys = m_scene->watcher.keys();
        const auto pressed = std::find_if(keys.rbegin(), keys.rend(),
                                          [](const KeyInput &key) { return key.isDown; });
        QVERIFY2((pressed->keysym == drawn.keysym) == isBorne, row.name.data());
        QVERIFY2(isBorne || pressed->keycode == drawn.position, row.name.data());
        QVERIFY2((pressed->modifiers & ~(Shift | Mod5)) == 0, row.name.data());
        m_scene->watcher.clear();
    }
}

void X11EventServicesTest::capsLockCanBeSwitchedOnAndOff()
{
    for (const int expected : {Lock, 0, Lock, 0}) {
        m_scene->tap("CapsLock");
        QTRY_COMPARE(m_scene->modifiers(), expected);
        m_scene->letServicesLearn();
    }
}

void X11EventServicesTest::codesWithoutMeaningPostNothing()
{
    for (const char *name : {"Fn", "UArrow"})
        m_scene->tap(name, Flag::Command);
    m_scene->tap("A");
    QVERIFY(m_scene->waitForTaps(1));
    QCOMPARE(m_scene->watcher.raw().size(), std::size_t{2});
}

void X11EventServicesTest::theLayoutInEffectCounts()
{
    QVERIFY(m_scene->setLayout({"-layout", "us,ru", "-option", "grp:menu_toggle"}));
    m_scene->tap(";");
    QVERIFY(m_scene->waitForTaps(1));
    QCOMPARE(m_scene->presses().back().keysym, quint32{XKB_KEY_semicolon});
    QCOMPARE(m_scene->presses().back().modifiers, 0);

    m_scene->user.tap(Menu);
    m_scene->letServicesLearn();
    m_scene->tap(";");
    m_scene->tap("A");
    QVERIFY(m_scene->waitForTaps(3));
    const auto presses = m_scene->presses();
    QCOMPARE(presses[1].keysym, quint32{XKB_KEY_semicolon});
    QCOMPARE(presses[1].modifiers, Shift);
    QCOMPARE(presses[1].group, 1);
    QCOMPARE(presses[2].keysym, quint32{XKB_KEY_Cyrillic_ef});

    m_scene->user.tap(Menu);
    m_scene->letServicesLearn();
    m_scene->tap("A");
    QVERIFY(m_scene->waitForTaps(4));
    QCOMPARE(m_scene->presses().back().text, QStringLiteral("a"));
}

void X11EventServicesTest::theLayoutOfTheFakedKeyboardCounts()
{
    const auto faked = m_scene->watcher.deviceNumber("Virtual core XTEST keyboard");
    QVERIFY(faked);
    QVERIFY(m_scene->setLayout({"-device", QString::number(*faked), "-layout", "fr"}));
    // The user's own keyboard has the other layout, and the core keyboard follows whoever types.
    for (int round = 0; round < 3; ++round) {
        m_scene->user.tap(LetterA);
        QVERIFY(m_scene->waitForTaps(1));
        m_scene->tap("Q");
        QVERIFY(m_scene->waitForTaps(2));
        QCOMPARE(m_scene->watcher.typedText(), QStringLiteral("aq"));
        QCOMPARE(m_scene->presses().back().keycode, LetterA);
        m_scene->watcher.clear();
    }
}

void X11EventServicesTest::aChangedLayoutIsFollowed()
{
    for (const char *layout : {"fr", "de", "us", "fr"}) {
        QVERIFY(m_scene->setLayout({"-layout", layout}));
        for (const char *name : {"A", "Y", "Z", "=", "1"})
            m_scene->tap(name);
        QVERIFY(m_scene->waitForTaps(5));
        QCOMPARE(m_scene->watcher.typedText(), QStringLiteral("ayz=1"));
    }
}

void X11EventServicesTest::aSingleChangedKeyIsFollowed()
{
    QVERIFY(m_scene->server.run("xmodmap", {"-e", "keycode 38 = b B", "-e", "keycode 56 = a A"}));
    m_scene->letServicesLearn();
    m_scene->watcher.clear();
    m_scene->tap("A");
    QVERIFY(m_scene->waitForTaps(1));
    QCOMPARE(m_scene->watcher.typedText(), QStringLiteral("a"));
    QCOMPARE(m_scene->presses().back().keycode, 56);
}

void X11EventServicesTest::aKeyThatIsDownGoesUpAfterALayoutChange()
{
    m_scene->press("A");
    QTRY_VERIFY(m_scene->isDown(LetterA));
    QVERIFY(m_scene->setLayout({"-layout", "fr"}));
    QVERIFY(m_scene->isDown(LetterA));
    m_scene->release("A");
    QTRY_VERIFY(m_scene->isNothingDown());
}

void X11EventServicesTest::flagsAreTheModifiersInEffect_data()
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

void X11EventServicesTest::flagsAreTheModifiersInEffect()
{
    QFETCH(quint64, flags);
    m_scene->tap("K", flags);
    QVERIFY(m_scene->waitForTaps(1));
    QTEST(m_scene->presses().back().modifiers, "modifiers");
    QCOMPARE(m_scene->modifiers(), 0);
}

void X11EventServicesTest::modifiersArePressedInOrderAndReleasedInReverse()
{
    m_scene->tap("K", Flag::Shift | Flag::Alternate | Flag::Command);
    QVERIFY(m_scene->waitForTaps(1));
    std::vector<int> keycodes;
    for (const RawInput &input : m_scene->watcher.raw())
        keycodes.push_back(input.kind == Kind::KeyPress ? input.detail : -input.detail);
    QCOMPARE(keycodes, (std::vector{37, 64, 50, 45, -45, -50, -64, -37}));
}

void X11EventServicesTest::aHeldShiftIsReleasedAndNotPressedAgain()
{
    m_scene->user.press(ShiftLeft);
    m_scene->letServicesLearn();
    m_scene->tap("A");
    QVERIFY(waitUntil([&] { return m_scene->presses().size() == 1; }));
    QTRY_VERIFY(m_scene->isNothingDown());
    QCOMPARE(m_scene->presses().back().keysym, quint32{XKB_KEY_a});
    QCOMPARE(m_scene->presses().back().modifiers, 0);
    QCOMPARE(m_scene->rawPresses(ShiftLeft), 1);

    m_scene->user.release(ShiftLeft);
    QVERIFY(m_scene->isNothingDown());
}

void X11EventServicesTest::bothHeldShiftKeysAreReleased()
{
    m_scene->user.press(ShiftLeft);
    m_scene->user.press(ShiftRight);
    m_scene->letServicesLearn();
    m_scene->tap("A");
    QVERIFY(waitUntil([&] { return m_scene->presses().size() == 1; }));
    QCOMPARE(m_scene->presses().back().text, QStringLiteral("a"));
    QTRY_VERIFY(m_scene->isNothingDown());
    m_scene->user.release(ShiftLeft);
    m_scene->user.release(ShiftRight);
}

void X11EventServicesTest::aHeldShiftThatIsWantedStaysHeld()
{
    m_scene->user.press(ShiftLeft);
    m_scene->letServicesLearn();
    m_scene->tap("A", Flag::Shift);
    QVERIFY(waitUntil([&] { return m_scene->presses().size() == 1; }));
    QCOMPARE(m_scene->presses().back().modifiers, Shift);
    m_scene->watcher.sync();
    QVERIFY(m_scene->isDown(ShiftLeft));
    QCOMPARE(m_scene->rawPresses(ShiftLeft), 1);
    m_scene->user.release(ShiftLeft);
}

void X11EventServicesTest::aHeldAltGrDoesNotChangeTheSign()
{
    QVERIFY(m_scene->setLayout({"-layout", "de"}));
    m_scene->user.press(AltGr);
    m_scene->letServicesLearn();
    m_scene->tap("Q");
    m_scene->tap("\\");
    m_scene->tap("Q");
    QVERIFY(waitUntil([&] { return m_scene->presses().size() == 3; }));
    QCOMPARE(m_scene->watcher.typedText(), QStringLiteral("q\\q"));
    QTRY_VERIFY(m_scene->isNothingDown());
    m_scene->user.release(AltGr);
}

void X11EventServicesTest::capsLockDoesNotCountAndComesBack()
{
    m_scene->user.tap(CapsLock);
    m_scene->letServicesLearn();
    m_scene->tap("A");
    m_scene->tap("A", Flag::Shift);
    m_scene->tap("C", Flag::Command);
    QVERIFY(waitUntil([&] { return m_scene->presses().size() == 3; }));
    QTRY_COMPARE(m_scene->modifiers(), Lock);
    const auto presses = m_scene->presses();
    QCOMPARE(presses[0].keysym, quint32{XKB_KEY_a});
    QCOMPARE(presses[0].modifiers, 0);
    QCOMPARE(presses[1].keysym, quint32{XKB_KEY_A});
    QCOMPARE(presses[1].modifiers, Shift);
    QCOMPARE(presses[2].modifiers, Control);

    m_scene->press("A");
    QTRY_COMPARE(m_scene->modifiers(), 0);
    m_scene->services.reset();
    QTRY_COMPARE(m_scene->modifiers(), Lock);
}

void X11EventServicesTest::locksFromBeforeTheStartDoNotCountEither()
{
    m_scene->user.tap(CapsLock);
    m_scene->services = m_scene->makeServices();
    m_scene->tap("A");
    QVERIFY(waitUntil([&] { return m_scene->presses().size() == 1; }));
    QCOMPARE(m_scene->watcher.typedText(), QStringLiteral("a"));
    QTRY_COMPARE(m_scene->modifiers(), Lock);
}

void X11EventServicesTest::aLockedShiftDoesNotCountAndComesBack()
{
    QVERIFY(m_scene->setLayout({"-layout", "us", "-option", "caps:shiftlock"}));
    m_scene->user.tap(CapsLock);
    QCOMPARE(m_scene->modifiers(), Shift);
    m_scene->letServicesLearn();
    m_scene->tap("1");
    m_scene->tap("A", Flag::Shift);
    QVERIFY(waitUntil([&] { return m_scene->presses().size() == 2; }));
    QTRY_COMPARE(m_scene->modifiers(), Shift);
    QCOMPARE(m_scene->watcher.typedText(), QStringLiteral("1A"));
    QCOMPARE(m_scene->presses()[0].modifiers, 0);
    QCOMPARE(m_scene->presses()[1].modifiers, Shift);
}

void X11EventServicesTest::aLatchDoesNotCount()
{
    QVERIFY(m_scene->setLayout({"-layout", "de", "-option", "lv3:caps_switch_latch"}));
    m_scene->user.press(AltGr);
    m_scene->user.tap(CapsLock);
    m_scene->user.release(AltGr);
    QCOMPARE(m_scene->modifiers(), Mod5);
    m_scene->letServicesLearn();
    m_scene->watcher.clear();
    m_scene->tap("Q");
    QVERIFY(m_scene->waitForTaps(1));
    QCOMPARE(m_scene->watcher.typedText(), QStringLiteral("q"));
    QCOMPARE(m_scene->modifiers(), 0);
}

void X11EventServicesTest::numLockIsLeftAlone()
{
    m_scene->user.tap(NumLock);
    m_scene->letServicesLearn();
    m_scene->watcher.clear();
    m_scene->tap("A");
    QVERIFY(m_scene->waitForTaps(1));
    QCOMPARE(m_scene->presses().back().modifiers, Mod2);
    QCOMPARE(m_scene->modifiers(), Mod2);
    QCOMPARE(m_scene->watcher.raw().size(), std::size_t{2});
}

void X11EventServicesTest::shortcutsInARowDoNotSeeEachOthersModifiers()
{
    // While the server is halted no report comes between them.
    m_scene->haltServer();
    m_scene->tap("C", Flag::Command);
    m_scene->tap("X");
    m_scene->tap("V", Flag::Command);
    m_scene->tap("Y", Flag::Shift);
    m_scene->tap("Z", Flag::Command | Flag::Shift);
    m_scene->server.resume();
    QVERIFY(m_scene->waitForTaps(5));
    std::vector<int> modifiers;
    for (const KeyInput &key : m_scene->presses())
        modifiers.push_back(key.modifiers);
    QCOMPARE(modifiers, (std::vector{Control, 0, Control, Shift, Control | Shift}));

    // Once more, with the reports of all that still unread.
    m_scene->tap("C", Flag::Command);
    m_scene->tap("X");
    QVERIFY(m_scene->waitForTaps(7));
    QCOMPARE(m_scene->presses()[5].modifiers, Control);
    QCOMPARE(m_scene->presses()[6].modifiers, 0);
    QCOMPARE(m_scene->rawPresses(ControlLeft), 4);
}

void X11EventServicesTest::aHeldControlDoesNotReachKeysInARow()
{
    m_scene->user.press(ControlLeft);
    m_scene->letServicesLearn();
    m_scene->haltServer();
    m_scene->tap("X");
    m_scene->tap("C", Flag::Command);
    m_scene->tap("X");
    m_scene->server.resume();
    QVERIFY(waitUntil([&] { return m_scene->presses().size() == 3; }));
    const auto presses = m_scene->presses();
    QCOMPARE(presses[0].modifiers, 0);
    QCOMPARE(presses[1].modifiers, Control);
    QCOMPARE(presses[2].modifiers, 0);
    QTRY_VERIFY(m_scene->isNothingDown());
    m_scene->user.release(ControlLeft);
}

void X11EventServicesTest::overlappingKeysLeaveNothingDown()
{
    m_scene->user.tap(CapsLock);
    m_scene->letServicesLearn();
    m_scene->press("A", Flag::Command);
    m_scene->press("B", Flag::Alternate | Flag::Shift);
    m_scene->press("Shift");
    m_scene->release("A", Flag::Command);
    m_scene->release("Shift");
    m_scene->release("B", Flag::Alternate | Flag::Shift);
    QTRY_VERIFY(m_scene->presses().size() == 2 && m_scene->isNothingDown());
    QCOMPARE(m_scene->modifiers(), Lock);
    QCOMPARE(m_scene->presses()[0].modifiers, Control);
    QCOMPARE(m_scene->presses()[1].modifiers, Mod1 | Shift);
}

void X11EventServicesTest::aKeyIsPostedWithoutWaitingForTheServer()
{
    m_scene->haltServer();
    QElapsedTimer timer;
    timer.start();
    for (int count = 0; count < 10; ++count)
        m_scene->tap("=", Flag::Command | Flag::Shift); // Would hang for ever if it waited.
    QVERIFY(timer.elapsed() < 1000);
    QVERIFY(m_scene->watcher.keys().empty());
    m_scene->server.resume();
    QVERIFY(m_scene->waitForTaps(10));
}

void X11EventServicesTest::aServerThatAnotherClientHoldsTakesKeys()
{
    const XcbConnection holder(
        xcb_connect(m_scene->server.display().toLatin1().constData(), nullptr));
    const auto cookie = xcb_grab_server_checked(holder.get());
    QVERIFY(!xcbOwned(xcb_request_check(holder.get(), cookie)));

    m_scene->tap("A", Flag::Command);
    QVERIFY(m_scene->waitForTaps(1));
    QCOMPARE(m_scene->services->pointerLocation(), (Location{400, 300}));

    xcb_ungrab_server(holder.get());
    xcb_flush(holder.get());
}

void X11EventServicesTest::aPressLeavesTogetherWithItsRelease()
{
    m_scene->press("A", Flag::Command);
    m_scene->watcher.sync(); // No event loop runs meanwhile.
    QVERIFY(m_scene->watcher.raw().empty());
    m_scene->release("A", Flag::Command);
    QVERIFY(m_scene->waitForTaps(1));
}

void X11EventServicesTest::aPressAloneLeavesFromTheEventLoop()
{
    m_scene->press("A");
    QTRY_VERIFY(m_scene->isDown(LetterA));
    m_scene->release("A");
    QTRY_VERIFY(m_scene->isNothingDown());
}

void X11EventServicesTest::aReleaseWithoutAPressReleases()
{
    m_scene->user.press(LetterA);
    m_scene->release("A");
    QTRY_VERIFY(m_scene->isNothingDown());
    m_scene->user.release(LetterA);
}

void X11EventServicesTest::aSecondPressIsAPressAgain()
{
    m_scene->press("A", Flag::Command);
    m_scene->press("A");
    m_scene->release("A");
    QVERIFY(m_scene->waitForTaps(2));
    QVERIFY(m_scene->isNothingDown());
    QCOMPARE(m_scene->presses()[0].modifiers, Control);
    QCOMPARE(m_scene->presses()[1].modifiers, 0);
}

void X11EventServicesTest::destructionReleasesWhatIsDown()
{
    m_scene->press("A", Flag::Command | Flag::Shift);
    m_scene->press("B");
    QTRY_VERIFY(m_scene->isDown(LetterA));
    m_scene->services.reset();
    QTRY_VERIFY(m_scene->isNothingDown());
    QCOMPARE(m_scene->modifiers(), 0);
}

void X11EventServicesTest::destructionWaitsForASlowServer()
{
    m_scene->press("A");
    QTRY_VERIFY(m_scene->isDown(LetterA));
    m_scene->haltServer();
    std::thread server([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        m_scene->server.resume();
    });
    m_scene->services.reset();
    server.join();
    QVERIFY(m_scene->isNothingDown());
}

void X11EventServicesTest::aBrokenConnectionIsLeftInPeace()
{
    m_scene->press("A");
    m_scene->server.end();
    m_scene->tap("A");
    m_scene->services->postMouse({}, std::vector{MouseEvent{}}, EventTap::Hid);
    QCOMPARE(m_scene->services->pointerLocation(), Location{});

    QSignalSpy rounds(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake);
    QTest::qWait(200);
    QVERIFY2(rounds.count() < 100, qPrintable(QString::number(rounds.count())));
    m_scene->tap("A");
}

QTEST_GUILESS_MAIN(X11EventServicesTest)
#include "tst_X11EventServices.moc"
