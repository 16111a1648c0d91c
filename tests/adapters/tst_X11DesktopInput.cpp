// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "adapters/X11Scene.h"
#include "platform/linux/input/NamedKeySymbols.h"

#include <QElapsedTimer>

#include <limits>
#include <optional>

using namespace Qt::StringLiterals;

using namespace platform;

namespace {

constexpr int Shift = XCB_MOD_MASK_SHIFT;
constexpr int Lock = XCB_MOD_MASK_LOCK;
constexpr int Control = XCB_MOD_MASK_CONTROL;
constexpr int Mod1 = XCB_MOD_MASK_1;
constexpr int Mod4 = XCB_MOD_MASK_4;
constexpr int Mod5 = XCB_MOD_MASK_5;

// Positions of keys.
constexpr int ControlLeft = 37;
constexpr int ShiftLeft = 50;
constexpr int KeyC = 54;
constexpr int CapsLock = 66;

Key named(NamedKey name)
{
    return {.name = name};
}

Key of(char32_t character)
{
    return {.character = character};
}

} // namespace

Q_DECLARE_METATYPE(platform::KeyModifiers)

/// Presses keys and moves the pointer on a real display and looks at what another client gets.
class tst_X11DesktopInput : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void everythingButFineScrollingIsPossible();
    void everyNamedKeyArrivesAsItsKeysym();
    void aKeyThatDoesNotExistIsRefused();
    void modifiersAreThoseThatAreNamed_data();
    void modifiersAreThoseThatAreNamed();
    void aCharacterHasItsOwnModifiers();
    void shortcutsOfLayoutsWithoutLatinLettersGoByPosition();
    void aHeldModifierStaysDown();
    void whatTheUserHoldsIsReleased();
    void capsLockDoesNotCountAndComesBack();
    void aMissingCharacterIsPressedAndReleased();
    void aMissingCharacterHasModifiersToo();
    void aMissingCharacterIsHeldUntilItsRelease();
    void aReleaseOvertakesNoPress();
    void nothingIsPressedForAContextThatIsGone();
    void theTokensFindTheirKeysBesideBorrowedOnes();
    void destructionReleasesWhatIsDown();

    void movesAreExact();
    void fractionsAreCarriedOver();
    void movesGoOnAfterAnAnswerThatIsReadWithOneOfThem();
    void movesGoFarAndNowhere();
    void aPlaceIsGoneTo();
    void buttonsHaveTheirMeaning_data();
    void buttonsHaveTheirMeaning();
    void theWheelTurnsByNotches();
    void aHaltedServerIsNotFlooded();

private:
    DesktopInput &input() const { return scene->services->input(); }
    bool press(const Key &key, const KeyModifiers &modifiers = {});
    bool tap(const Key &key, const KeyModifiers &modifiers = {});
    KeyInput lastPress() { return scene->presses().back(); }
    std::vector<int> buttons();

    std::unique_ptr<X11Scene> scene;
};

void tst_X11DesktopInput::init()
{
    scene = std::make_unique<X11Scene>();
    QVERIFY(scene->isReady());
    QVERIFY(scene->setLayout({u"-layout"_s, u"us"_s}));
}

void tst_X11DesktopInput::cleanup()
{
    scene->services.reset();
    scene->user.release(ShiftLeft);
    scene->watcher.sync();
    QVERIFY(scene->isNothingDown());
    scene.reset();
}

bool tst_X11DesktopInput::press(const Key &key, const KeyModifiers &modifiers)
{
    QObject context;
    std::optional<bool> result;
    input().press(key, modifiers, &context, [&](bool isDone) { result = isDone; });
    return waitUntil([&] { return result.has_value(); }) && *result;
}

/// Returns when the watcher has got the press.
bool tst_X11DesktopInput::tap(const Key &key, const KeyModifiers &modifiers)
{
    const auto count = scene->presses().size();
    const bool isPressed = press(key, modifiers);
    input().release(key);
    return isPressed && waitUntil([&] { return scene->presses().size() > count; });
}

/// Presses are positive.
std::vector<int> tst_X11DesktopInput::buttons()
{
    std::vector<int> numbers;
    for (const ButtonInput &button : scene->watcher.buttons()) {
        numbers.push_back(button.isDown ? button.button : -button.button);
    }
    return numbers;
}

void tst_X11DesktopInput::everythingButFineScrollingIsPossible()
{
    QCOMPARE(input().abilities(), (DesktopInput::Abilities{.keys = true,
                                                           .text = true,
                                                           .anyText = true,
                                                           .pointer = true,
                                                           .scroll = true,
                                                           .fineScroll = false,
                                                           .drag = true}));
}

void tst_X11DesktopInput::everyNamedKeyArrivesAsItsKeysym()
{
    for (int number = 1; number <= int(NamedKey::BrowserStop); ++number) {
        const Key key = named(static_cast<NamedKey>(number));
        const auto keysyms = keysymsOf(key);
        if (keysyms.empty()) {
            continue;
        }
        scene->watcher.clear();
        QVERIFY2(press(key), QByteArray::number(number).constData());
        QVERIFY(waitUntil([&] { return !scene->watcher.keys().empty(); }));
        const auto keysym = scene->watcher.keys().front().keysym;
        QVERIFY2(std::ranges::find(keysyms, keysym) != keysyms.end(),
                 QByteArray::number(number).constData());
        input().release(key);
        QTRY_VERIFY(scene->isNothingDown());
        scene->letServicesLearn();
    }
}

void tst_X11DesktopInput::aKeyThatDoesNotExistIsRefused()
{
    QVERIFY(!press(named(NamedKey::Print)));
    QVERIFY(!press(of(U'\u0007')));
    QVERIFY(!press({}));
    scene->watcher.sync();
    QVERIFY(scene->watcher.raw().empty());
}

void tst_X11DesktopInput::modifiersAreThoseThatAreNamed_data()
{
    QTest::addColumn<KeyModifiers>("modifiers");
    QTest::addColumn<int>("mask");
    QTest::newRow("none") << KeyModifiers{} << 0;
    QTest::newRow("Control") << KeyModifiers{.hasControl = true} << Control;
    QTest::newRow("Shift") << KeyModifiers{.hasShift = true} << Shift;
    QTest::newRow("Alt") << KeyModifiers{.hasAlt = true} << Mod1;
    QTest::newRow("Meta") << KeyModifiers{.hasMeta = true} << Mod4;
    QTest::newRow("AltGraph") << KeyModifiers{.hasAltGraph = true} << Mod5;
    QTest::newRow("all") << KeyModifiers{true, true, true, true, true}
                         << (Control | Shift | Mod1 | Mod4 | Mod5);
}

void tst_X11DesktopInput::modifiersAreThoseThatAreNamed()
{
    QFETCH(KeyModifiers, modifiers);
    QVERIFY(scene->setLayout({u"-layout"_s, u"de"_s}));
    for (const Key &key : {of(U'k'), named(NamedKey::ArrowLeft), named(NamedKey::F5)}) {
        QVERIFY(tap(key, modifiers));
        QTEST(lastPress().modifiers, "mask");
    }
    QTRY_VERIFY(scene->watcher.isNothingHeld());
}

void tst_X11DesktopInput::aCharacterHasItsOwnModifiers()
{
    QVERIFY(scene->setLayout({u"-layout"_s, u"de"_s}));
    for (const char32_t character : {U'a', U'A', U'@', U'ß', U'€', U' '}) {
        scene->watcher.clear();
        QVERIFY(tap(of(character)));
        QCOMPARE(scene->watcher.typedText(), QString::fromUcs4(&character, 1));
    }
    QVERIFY(tap(of(U'@'), {.hasControl = true}));
    QCOMPARE(lastPress().modifiers, Control | Mod5);
}

void tst_X11DesktopInput::shortcutsOfLayoutsWithoutLatinLettersGoByPosition()
{
    QVERIFY(scene->setLayout({u"-layout"_s, u"ru"_s}));
    QVERIFY(tap(of(U'c'), {.hasControl = true}));
    QCOMPARE(lastPress().keycode, KeyC);
    QCOMPARE(lastPress().modifiers, Control);
    QVERIFY(tap(of(U'C'), {.hasControl = true}));
    QCOMPARE(lastPress().keycode, KeyC);
    QCOMPARE(lastPress().modifiers, Control | Shift);
    QVERIFY(tap(of(U'ы'), {.hasControl = true}));
    QCOMPARE(lastPress().keysym, quint32{XKB_KEY_Cyrillic_yeru});

    scene->watcher.clear();
    QVERIFY(tap(of(U'c'))); // Not a shortcut.
    QCOMPARE(scene->watcher.typedText(), u"c"_s);
}

void tst_X11DesktopInput::aHeldModifierStaysDown()
{
    const KeyModifiers control{.hasControl = true};
    QVERIFY(press(named(NamedKey::Control)));
    QVERIFY(tap(of(U'a'), control));
    QCOMPARE(lastPress().modifiers, Control);
    QCOMPARE(scene->rawPresses(ControlLeft), 1);
    input().press(PointerButton::Left);
    input().release(PointerButton::Left);
    scene->watcher.sync();
    QVERIFY(scene->isDown(ControlLeft));
    input().release(named(NamedKey::Control));
    QTRY_VERIFY(scene->isNothingDown());
}

void tst_X11DesktopInput::whatTheUserHoldsIsReleased()
{
    scene->user.press(ShiftLeft);
    scene->letServicesLearn();
    QVERIFY(tap(of(U'a')));
    QCOMPARE(lastPress().modifiers, 0);
    QTRY_VERIFY(scene->isNothingDown());
    QCOMPARE(scene->rawPresses(ShiftLeft), 1);
}

void tst_X11DesktopInput::capsLockDoesNotCountAndComesBack()
{
    scene->user.tap(CapsLock);
    scene->letServicesLearn();
    scene->watcher.clear();
    QVERIFY(tap(of(U'a')));
    QVERIFY(tap(of(U'é')));
    QCOMPARE(scene->watcher.typedText(), u"aé"_s);
    QTRY_COMPARE(scene->modifiers(), Lock);
    QVERIFY(press(named(NamedKey::CapsLock)));
    input().release(named(NamedKey::CapsLock));
    QTRY_COMPARE(scene->modifiers(), 0);
}

void tst_X11DesktopInput::aMissingCharacterIsPressedAndReleased()
{
    for (const char32_t character : {U'€', U'é', U'É', U'你', U'😀'}) {
        scene->watcher.clear();
        QVERIFY(tap(of(character)));
        QCOMPARE(scene->watcher.typedText(), QString::fromUcs4(&character, 1));
    }
}

void tst_X11DesktopInput::aMissingCharacterHasModifiersToo()
{
    QVERIFY(tap(of(U'é'), {.hasControl = true, .hasAlt = true}));
    QCOMPARE(lastPress().keysym, quint32{XKB_KEY_eacute});
    QCOMPARE(lastPress().modifiers, Control | Mod1);
    QTRY_VERIFY(scene->watcher.isNothingHeld());
}

void tst_X11DesktopInput::aMissingCharacterIsHeldUntilItsRelease()
{
    QVERIFY(press(of(U'€')));
    QTRY_COMPARE(scene->watcher.typedText(), u"€"_s);
    const int keycode = lastPress().keycode;
    // Whatever else is typed, the held key is not bound anew.
    QObject context;
    bool isDone = false;
    input().type(u"ăčďěłňőřšťůžßøæœþðđħ"_s, &context, [&](bool) { isDone = true; });
    QVERIFY(waitUntil([&] { return isDone; }));
    QVERIFY(scene->isDown(keycode));
    QCOMPARE(scene->rawPresses(keycode), 1);
    input().release(of(U'€'));
    QTRY_VERIFY(scene->isNothingDown());
}

/// It comes before the key could be pressed, and the key is pressed nevertheless.
void tst_X11DesktopInput::aReleaseOvertakesNoPress()
{
    QObject context;
    int done = 0;
    for (int count = 0; count < 3; ++count) {
        input().press(of(U'€'), {}, &context, [&](bool isDone) { done += isDone ? 1 : 0; });
        input().release(of(U'€'));
    }
    QVERIFY(waitUntil([&] { return done == 3; }));
    QTRY_COMPARE(scene->watcher.typedText(), u"€€€"_s);
    QTRY_VERIFY(scene->isNothingDown());
}

void tst_X11DesktopInput::nothingIsPressedForAContextThatIsGone()
{
    auto context = std::make_unique<QObject>();
    bool isCalled = false;
    input().press(of(U'€'), {}, context.get(), [&](bool) { isCalled = true; });
    context.reset();
    QVERIFY(tap(of(U'é')));
    QCOMPARE(scene->watcher.typedText(), u"é"_s);
    QVERIFY(!isCalled);
}

void tst_X11DesktopInput::theTokensFindTheirKeysBesideBorrowedOnes()
{
    QVERIFY(scene->setLayout({u"-layout"_s, u"ru"_s}));
    QVERIFY(tap(of(U'c')));
    QVERIFY(lastPress().keycode != KeyC);
    // The key map is read again, with the borrowed key in it.
    QVERIFY(scene->server.run(u"xmodmap"_s, {u"-e"_s, u"keycode 191 = F13"_s}));
    scene->letServicesLearn();
    scene->watcher.clear();
    scene->tap("C", Flag::Command);
    QVERIFY(scene->waitForTaps(1));
    QCOMPARE(lastPress().keycode, KeyC);
}

void tst_X11DesktopInput::destructionReleasesWhatIsDown()
{
    QVERIFY(press(of(U'€')));
    QVERIFY(press(of(U'a'), {.hasControl = true, .hasAlt = true}));
    input().press(PointerButton::Forward);
    QTRY_COMPARE(scene->watcher.keysDown().size(), std::size_t{4});
    scene->services.reset();
    QVERIFY(scene->watcher.isNothingHeld());
}

void tst_X11DesktopInput::movesAreExact()
{
    QVERIFY(scene->server.run(u"xset"_s, {u"m"_s, u"8"_s, u"1"_s}));
    QPoint expected = scene->watcher.pointerPosition();
    for (const QPoint move : {QPoint(37, 21), QPoint(-3, 1), QPoint(100, -80), QPoint(0, 5)}) {
        input().moveBy(move.x(), move.y());
        expected += move;
        QTRY_COMPARE(scene->watcher.pointerPosition(), expected);
    }
}

void tst_X11DesktopInput::fractionsAreCarriedOver()
{
    const QPoint start = scene->watcher.pointerPosition();
    for (int count = 0; count < 100; ++count) {
        input().moveBy(0.3, -0.75);
    }
    QTRY_COMPARE(scene->watcher.pointerPosition(), start + QPoint(30, -75));
}

/// Whatever is sent takes in what has arrived, and then nothing more arrives that would wake the
/// event loop.
void tst_X11DesktopInput::movesGoOnAfterAnAnswerThatIsReadWithOneOfThem()
{
    const QPoint start = scene->watcher.pointerPosition();
    const auto moveDown = [this](int count) {
        for (; count > 0; --count) {
            input().moveBy(0, 1);
        }
    };
    moveDown(10); // By then the server has been asked how far it is.
    while (scene->watcher.pointerPosition() != start + QPoint(0, 10)) {
        scene->watcher.sync();
    }
    moveDown(90);
    QTRY_COMPARE(scene->watcher.pointerPosition(), start + QPoint(0, 100));
}

void tst_X11DesktopInput::movesGoFarAndNowhere()
{
    input().moveBy(-100'000, 100'000);
    QTRY_COMPARE(scene->watcher.pointerPosition(), QPoint(0, 599));
    input().moveBy(std::numeric_limits<double>::quiet_NaN(), 1e300);
    input().moveBy(2, -1);
    QTRY_COMPARE(scene->watcher.pointerPosition(), QPoint(2, 598));
}

void tst_X11DesktopInput::aPlaceIsGoneTo()
{
    input().moveBy(0.9, 0.9);
    input().moveTo({10, 20});
    QTRY_COMPARE(scene->watcher.pointerPosition(), QPoint(10, 20));
    input().moveBy(0.9, 0.9); // What was left over is forgotten.
    input().moveBy(0.2, 0.2);
    QTRY_COMPARE(scene->watcher.pointerPosition(), QPoint(11, 21));
}

void tst_X11DesktopInput::buttonsHaveTheirMeaning_data()
{
    QTest::addColumn<QString>("mapping");
    QTest::newRow("as delivered") << u"1 2 3 4 5 6 7 8 9 10"_s;
    QTest::newRow("left-handed") << u"3 2 1 4 5 6 7 8 9 10"_s;
}

void tst_X11DesktopInput::buttonsHaveTheirMeaning()
{
    QFETCH(QString, mapping);
    QVERIFY(scene->server.run(u"xmodmap"_s, {u"-e"_s, u"pointer = "_s + mapping}));
    for (const PointerButton button :
         {PointerButton::Left, PointerButton::Middle, PointerButton::Right, PointerButton::Back,
          PointerButton::Forward}) {
        input().press(button);
        input().release(button);
    }
    const std::vector expected{1, -1, 2, -2, 3, -3, 8, -8, 9, -9};
    QTRY_COMPARE(buttons(), expected);
}

void tst_X11DesktopInput::theWheelTurnsByNotches()
{
    input().scroll(0, 240);
    input().scroll(0, -120);
    input().scroll(120, 0);
    input().scroll(-120, 0);
    input().scroll(0, 60);
    input().scroll(0, 59);
    QTRY_COMPARE(buttons(), (std::vector{5, -5, 5, -5, 4, -4, 7, -7, 6, -6}));
    input().scroll(0, 1);
    QTRY_COMPARE(buttons().size(), std::size_t{12});
    QCOMPARE(buttons().back(), -5);
}

void tst_X11DesktopInput::aHaltedServerIsNotFlooded()
{
    const QPoint start = scene->watcher.pointerPosition();
    scene->haltServer();
    QElapsedTimer timer;
    timer.start();
    for (int count = 0; count < 50'000; ++count) {
        input().moveBy(count % 2 == 0 ? 1 : -1, 0);
        input().scroll(0, count % 2 == 0 ? 120 : -120);
    }
    input().moveBy(7, 9);
    QVERIFY2(timer.elapsed() < 10'000, QByteArray::number(timer.elapsed()).constData());
    scene->server.resume();
    QTRY_COMPARE(scene->watcher.pointerPosition(), start + QPoint(7, 9));
}

QTEST_GUILESS_MAIN(tst_X11DesktopInput)
#include "tst_X11DesktopInput.moc"
