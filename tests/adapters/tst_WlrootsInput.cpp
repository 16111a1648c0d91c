// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Keys and the pointer on a compositor with virtual devices.

#include "adapters/WlrootsScene.h"
#include "platform/linux/input/VirtualKeyboard.h"
#include "platform/linux/input/XkbHandles.h"
#include "support/process/ChildProcess.h"

#include <cstdlib>

#include <linux/input-event-codes.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon-keysyms.h>

using namespace platform;
using namespace std::chrono_literals;

namespace {

constexpr std::uint32_t Shift = 0b1;
constexpr std::uint32_t Control = 0b100;

QByteArray keymapOf(const char *layout)
{
    const XkbContext context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    const xkb_rule_names names = {"evdev", "pc105", layout, "", ""};
    const XkbKeymap keymap(
        xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
    char *text = xkb_keymap_get_as_string(keymap.get(), XKB_KEYMAP_FORMAT_TEXT_V1);
    const QByteArray copy = text;
    std::free(text);
    return copy;
}

/// Another keyboard of the seat.
class UserKeyboard
{
public:
    explicit UserKeyboard(const QByteArray &keymap)
    {
        connection.answers(GenerousLimit);
        seat.reset(connection.bind<wl_seat>(wl_seat_interface, 1));
        manager.reset(connection.bind<zwp_virtual_keyboard_manager_v1>(
            zwp_virtual_keyboard_manager_v1_interface, 1));
        keyboard.emplace(
            zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(manager.get(), seat.get()),
            outbox);
        keyboard->setKeymap(keymap);
        outbox.flush();
        connection.answers(GenerousLimit);
    }

    void tap(std::uint8_t keycode)
    {
        keyboard->setState(0, 0);
        keyboard->setKey(keycode, true);
        keyboard->setKey(keycode, false);
        outbox.flush();
    }

private:
    WaylandConnection connection;
    WaylandOutbox outbox{connection};
    WaylandHandle<wl_seat, wl_seat_destroy> seat;
    WaylandHandle<zwp_virtual_keyboard_manager_v1, zwp_virtual_keyboard_manager_v1_destroy> manager;
    std::optional<VirtualKeyboard> keyboard;
};

using KeyEvent = WaylandWindow::KeyEvent;
using Turn = WaylandWindow::Turn;

constexpr std::uint32_t Wheel = 0;
constexpr std::uint32_t Continuous = 2;

} // namespace

class tst_WlrootsInput : public QObject
{
    Q_OBJECT

private slots:
    void theFirstKeyArrives();
    void aKeyHasTheWantedModifiersOnly();
    void aHeldModifierCountsOnlyWhereItIsWanted();
    void tokensAndSessionsHaveTheSameKeyboard();
    void aCharacterThatTheLayoutLacksIsAKeyToo();
    void aKeyOfTheSecondLayoutIsFound();
    void theSeatsKeymapIsTaken();
    void movesGoByFractions();
    void movesGoToAPlace();
    void theLocationIsThatOfThePointer();
    void allButtonsArrive();
    void theWheelTurnsByNotchesAndByLess();
    void atTheEndNothingIsDown();
    void afterADeathNothingIsDown();
    void nothingIsLostWhileTheCompositorIsHalted();
    void theCompositorMayComeBack();
};

void tst_WlrootsInput::theFirstKeyArrives()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    QVERIFY(scene.tap({.character = U'a'}));
    QTRY_COMPARE(scene.window->typed(), u"a"_s);
}

void tst_WlrootsInput::aKeyHasTheWantedModifiersOnly()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    QVERIFY(scene.tap({.character = U'c'}, {.hasControl = true, .hasShift = true}));
    QTRY_COMPARE(scene.window->keys().size(), 6U);
    const std::vector<KeyEvent> expected = {
        {37, true, XKB_KEY_Control_L, 0},
        {50, true, XKB_KEY_Shift_L, Control},
        {54, true, XKB_KEY_C, Control | Shift},
        {54, false, XKB_KEY_C, Control | Shift},
        {50, false, XKB_KEY_Shift_L, Control | Shift},
        {37, false, XKB_KEY_Control_L, Control | Shift},
    };
    QCOMPARE(scene.window->keys(), expected);
    QVERIFY(scene.tap({.character = U'c'}));
    QTRY_COMPARE(scene.window->keys().back(), (KeyEvent{54, false, XKB_KEY_c, 0}));
}

void tst_WlrootsInput::aHeldModifierCountsOnlyWhereItIsWanted()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    scene.input().press({.name = NamedKey::Shift}, {}, nullptr, [](bool) {});
    QVERIFY(scene.tap({.character = U'a'}));
    QVERIFY(scene.tap({.name = NamedKey::ArrowRight}, {.hasShift = true}));
    scene.input().release({.name = NamedKey::Shift});
    QVERIFY(scene.tap({.character = U'b'}));
    QTRY_COMPARE(scene.window->keys().size(), 8U);
    const std::vector<KeyEvent> expected = {
        {50, true, XKB_KEY_Shift_L, 0},     {38, true, XKB_KEY_a, 0},
        {38, false, XKB_KEY_a, 0},          {114, true, XKB_KEY_Right, Shift},
        {114, false, XKB_KEY_Right, Shift}, {50, false, XKB_KEY_Shift_L, Shift},
        {56, true, XKB_KEY_b, 0},           {56, false, XKB_KEY_b, 0},
    };
    QCOMPARE(scene.window->keys(), expected);
}

void tst_WlrootsInput::tokensAndSessionsHaveTheSameKeyboard()
{
    const WlrootsScene scene("de");
    QVERIFY(scene.isReady());
    constexpr KeyCode equals = 24;
    scene.services->postKeyboard({equals, true, 0, EventTap::Session});
    QTRY_COMPARE(scene.window->typed(), u"="_s);
    QCOMPARE(scene.window->keys().back(), (KeyEvent{19, true, XKB_KEY_equal, Shift}));
    QVERIFY(scene.tap({.character = U'0'}));
    scene.services->postKeyboard({equals, false, 0, EventTap::Session});
    QTRY_VERIFY(scene.window->keysDown().isEmpty());
    QTRY_COMPARE(scene.window->typed(), u"=0"_s);
}

void tst_WlrootsInput::aCharacterThatTheLayoutLacksIsAKeyToo()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    bool isPressed = false;
    scene.input().press({.character = U'あ'}, {}, nullptr,
                        [&](bool isDone) { isPressed = isDone; });
    QVERIFY(isPressed);
    QTRY_COMPARE(scene.window->typed(), u"あ"_s);
    QCOMPARE(scene.window->keysDown().size(), 1);
    QVERIFY(scene.tap({.character = U'a'}));
    QTRY_COMPARE(scene.window->typed(), u"あa"_s);
    scene.input().release({.character = U'あ'});
    QTRY_VERIFY(scene.window->keysDown().isEmpty());
}

void tst_WlrootsInput::aKeyOfTheSecondLayoutIsFound()
{
    const WlrootsScene scene("ru,us");
    QVERIFY(scene.isReady());
    QVERIFY(scene.tap({.character = U'c'}, {.hasControl = true}));
    QTRY_COMPARE(scene.window->keys().size(), 4U);
    QCOMPARE(scene.window->keys().at(1), (KeyEvent{54, true, XKB_KEY_c, Control}));
    QVERIFY(scene.tap({.character = U'ф'}));
    QTRY_COMPARE(scene.window->typed(), u"ф"_s);
}

void tst_WlrootsInput::theSeatsKeymapIsTaken()
{
    const WlrootsScene scene("us");
    QVERIFY(scene.isReady());
    QVERIFY(scene.type(u"漢"_s));
    UserKeyboard user(keymapOf("de"));
    constexpr std::uint8_t f5 = 71;
    user.tap(f5);
    QTRY_COMPARE(scene.window->keys().back(), (KeyEvent{f5, false, XKB_KEY_F5, 0}));
    QVERIFY(scene.tap({.character = U'z'}));
    QTRY_COMPARE(scene.window->keys().back(), (KeyEvent{29, false, XKB_KEY_z, 0}));
    // Our own key maps are not the seat's.
    QVERIFY(scene.type(u"漢zß"_s));
    QVERIFY(scene.tap({.character = U'z'}));
    QTRY_COMPARE(scene.window->typed(), u"漢z漢zßz"_s);
    QCOMPARE(scene.window->keys().back(), (KeyEvent{29, false, XKB_KEY_z, 0}));
}

void tst_WlrootsInput::movesGoByFractions()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    scene.input().moveTo({100, 100});
    QTRY_COMPARE(scene.window->pointer(), QPointF(100, 100));
    for (int step = 0; step < 10; ++step) {
        scene.input().moveBy(0.25, -1.5);
    }
    QTRY_COMPARE(scene.window->pointer(), QPointF(102.5, 85));
    for (int step = 0; step < 1000; ++step) {
        scene.input().moveBy(0.001, 0);
    }
    QTRY_VERIFY(std::abs(scene.window->pointer().x() - 103.5) < 0.01);
}

void tst_WlrootsInput::movesGoToAPlace()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    for (const QPoint place : {QPoint(0, 0), QPoint(1279, 719), QPoint(333, 77)}) {
        scene.input().moveTo({double(place.x()), double(place.y())});
        QTRY_COMPARE(scene.window->pointer(), QPointF(place));
    }
}

void tst_WlrootsInput::theLocationIsThatOfThePointer()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    // Where the pointer is before, nobody tells.
    QCOMPARE(scene.services->pointerLocation(), (Location{640, 360}));
    scene.input().moveTo({640, 360});
    const auto moveBy = [&](double dx, double dy) {
        const Location from = scene.services->pointerLocation();
        const MouseEvent move{.position = {from.x + dx, from.y + dy}};
        scene.services->postMouse({}, {&move, 1}, EventTap::Hid);
    };
    for (const QPointF move : {QPointF(5, 7), QPointF(-3000, 5), QPointF(20, -9000),
                               QPointF(90'000, 90'000), QPointF(-1, -1)}) {
        moveBy(move.x(), move.y());
        const Location location = scene.services->pointerLocation();
        QTRY_COMPARE(scene.window->pointer(), QPointF(location.x, location.y));
    }
    QCOMPARE(scene.services->pointerLocation(), (Location{1278, 718}));
}

void tst_WlrootsInput::allButtonsArrive()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    scene.input().moveTo({50, 50});
    for (const PointerButton button :
         {PointerButton::Left, PointerButton::Middle, PointerButton::Right, PointerButton::Back,
          PointerButton::Forward}) {
        scene.input().press(button);
        scene.input().release(button);
    }
    const std::vector<std::uint32_t> expected = {BTN_LEFT, BTN_MIDDLE, BTN_RIGHT, BTN_SIDE,
                                                 BTN_EXTRA};
    QTRY_COMPARE(scene.window->buttons(), expected);
    QTRY_VERIFY(scene.window->buttonsDown().isEmpty());
}

void tst_WlrootsInput::theWheelTurnsByNotchesAndByLess()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    scene.input().moveTo({50, 50});
    scene.input().scroll(0, 120);
    scene.input().scroll(-240, 0);
    scene.input().scroll(0, 12);
    const std::vector<Turn> expected = {
        {true, 15, 1, Wheel}, {false, -30, -2, Wheel}, {true, 1.5, 0, Continuous}};
    QTRY_COMPARE(scene.window->turns(), expected);
}

void tst_WlrootsInput::atTheEndNothingIsDown()
{
    WlrootsScene scene;
    QVERIFY(scene.isReady());
    scene.input().moveTo({50, 50});
    scene.input().press({.name = NamedKey::F5}, {.hasControl = true}, nullptr, [](bool) {});
    scene.input().press(PointerButton::Left);
    QTRY_COMPARE(scene.window->keysDown().size(), 2);
    QTRY_COMPARE(scene.window->buttonsDown().size(), 1);
    const auto released = scene.window->keys().size();
    scene.services.reset();
    QTRY_VERIFY(scene.window->buttonsDown().isEmpty());
    QTRY_VERIFY(scene.window->keysDown().isEmpty());
    QCOMPARE(scene.window->keys().size(), released + 2);
}

void tst_WlrootsInput::afterADeathNothingIsDown()
{
    WlrootsScene scene;
    QVERIFY(scene.isReady());
    ChildProcess program;
    program.setProcessEnvironment(scene.session.environment());
    program.start(QStringLiteral(HOLDING_PROGRAM), {});
    QTRY_COMPARE_WITH_TIMEOUT(scene.window->keysDown().size(), 2, 20'000);
    QTRY_COMPARE(scene.window->buttonsDown().size(), 1);
    program.kill();
    QVERIFY(program.waitForFinished());
    QTRY_VERIFY(scene.window->keysDown().isEmpty());
    QTRY_VERIFY(scene.window->buttonsDown().isEmpty());
}

void tst_WlrootsInput::nothingIsLostWhileTheCompositorIsHalted()
{
    const WlrootsScene scene;
    QVERIFY(scene.isReady());
    scene.input().moveTo({50, 50});
    QTRY_COMPARE(scene.window->pointer(), QPointF(50, 50));
    scene.session.halt();
    for (int count = 0; count < 300; ++count) {
        scene.input().press({.character = U'a'}, {}, nullptr, [](bool) {});
        scene.input().release({.character = U'a'});
        scene.input().moveBy(1, 0);
        QCoreApplication::processEvents();
    }
    for (int count = 0; count < 100'000; ++count) {
        scene.input().moveBy(0, 0.001);
        scene.input().scroll(0, 1);
    }
    scene.session.resume();
    QTRY_COMPARE(scene.window->typed(), u"a"_s.repeated(300));
    QTRY_VERIFY(std::abs(scene.window->pointer().y() - 150) < 0.1);
    QCOMPARE(scene.window->pointer().x(), 350.);
    QVERIFY(scene.window->keysDown().isEmpty());
}

void tst_WlrootsInput::theCompositorMayComeBack()
{
    WlrootsScene scene;
    QVERIFY(scene.isReady());
    scene.input().press({.name = NamedKey::Shift}, {}, nullptr, [](bool) {});
    scene.input().press(PointerButton::Left);
    scene.session.end();
    scene.window.reset();
    QTRY_VERIFY(!scene.tap({.character = U'a'}));
    scene.input().moveBy(1, 1);
    scene.input().release({.name = NamedKey::Shift});
    scene.input().release(PointerButton::Left);
    QVERIFY(scene.session.restart());
    scene.window = std::make_unique<WaylandWindow>(scene.session.display());
    QVERIFY(scene.isReady());
    QVERIFY(scene.tap({.character = U'b'}));
    QTRY_COMPARE(scene.window->typed(), u"b"_s);
    scene.input().moveTo({70, 80});
    QTRY_COMPARE(scene.window->pointer(), QPointF(70, 80));
}

QTEST_GUILESS_MAIN(tst_WlrootsInput)
#include "tst_WlrootsInput.moc"
