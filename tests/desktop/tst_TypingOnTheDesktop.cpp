// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/ServerScene.h"
#include "support/x11/InputWatcher.h"
#include "support/x11/KeyboardDrawing.h"

#include <QTest>

#include <xcb/xproto.h>
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <array>

using namespace Qt::StringLiterals;

namespace {

/// Typed after the keys under test: once it has arrived, so has everything before it.
const QString Marker = u"F11"_s;
constexpr quint32 MarkerSymbol = XKB_KEY_F11;

/// A place over the watcher's window, where clicks disturb nothing else.
constexpr QPoint Rest(40, 30);

const QString FunctionKey = u"fncCommand"_s;
const QString ParametersKey = u"cmdParameters"_s;

/// Marks the text so that no character in it, such as a semicolon, ends the entry.
QString guarded(const QString &text)
{
    return u"[[[IGNORE]]]"_s + text + u"[[[ENDIGNORE]]]"_s;
}

QByteArray keyboard(const QString &shortcut)
{
    return commandText(u"KEYBOARD_CMD"_s, {{FunctionKey, guarded(shortcut)}});
}

QByteArray mouse(const QString &code)
{
    return commandText(u"MOUSE_CMD"_s, {{FunctionKey, code}});
}

QByteArray mouse(const QString &code, const QStringList &parameters)
{
    return commandText(u"MOUSE_CMD"_s, {{FunctionKey, code}, {ParametersKey, parameters}});
}

bool isModifierKey(quint32 symbol)
{
    return symbol >= XKB_KEY_Shift_L && symbol <= XKB_KEY_Hyper_R;
}

QString nameOf(quint32 symbol)
{
    std::array<char, 64> name{};
    xkb_keysym_get_name(symbol, name.data(), name.size());
    return QString::fromLatin1(name.data());
}

/// "+Q (Shift Control)" is a press of Q while the two are held, "-Q" a release.
QString describe(const KeyInput &key)
{
    const std::array<std::pair<int, const char *>, 4> masks{{{XCB_MOD_MASK_SHIFT, "Shift"},
                                                             {XCB_MOD_MASK_CONTROL, "Control"},
                                                             {XCB_MOD_MASK_1, "Alt"},
                                                             {XCB_MOD_MASK_4, "Super"}}};
    QStringList held;
    for (const auto &[mask, name] : masks) {
        if ((key.modifiers & mask) != 0) {
            held.append(QLatin1String(name));
        }
    }
    const QString suffix = held.isEmpty() ? QString() : u" ("_s + held.join(u' ') + u')';
    return (key.isDown ? u'+' : u'-') + nameOf(key.keysym) + suffix;
}

QString describe(const RawInput &input)
{
    switch (input.kind) {
    case RawInput::Kind::ButtonPress:
        return u"press %1"_s.arg(input.detail);
    case RawInput::Kind::ButtonRelease:
        return u"release %1"_s.arg(input.detail);
    case RawInput::Kind::Motion:
        return u"move"_s;
    case RawInput::Kind::KeyPress:
    case RawInput::Kind::KeyRelease:
        break;
    }
    return u"key"_s;
}

} // namespace

/// Exactly what a handheld asks for arrives at another program of the desktop.
class tst_TypingOnTheDesktop : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void namesTypeTheirKeys();
    void functionKeysThatTheLayoutLacksArePressedByPosition();
    void shortcutHoldsItsModifiers_data();
    void shortcutHoldsItsModifiers();
    void shortcutIsPressedAndReleasedInOrder();
    void namesThatCannotBeTypedTypeNothing();
    void clicksPressTheirButton_data();
    void clicksPressTheirButton();
    void otherMouseCodesDoNothing();
    void pointerMovesByTheOffset_data();
    void pointerMovesByTheOffset();
    void pointerStaysOnTheScreen();
    void moveReusesEarlierParameters();
    void wrongNumberOfOffsetsDoesNothing();
    void applicationCommandDoesNothing();
    void refusedDeviceStillTypes();
    void keyTheUserHoldsDoesNotSpoilWhatIsTyped();

private:
    bool carryOut(const QByteArray &token);
    QStringList keysOf(const QByteArray &token);
    QStringList plainKeysOf(const QByteArray &token);
    QStringList mouseInputOf(const QByteArray &token);
    bool waitForMarker();
    QStringList mouseInputSoFar();

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<InputWatcher> watcher;
};

void tst_TypingOnTheDesktop::initTestCase()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    QVERIFY(scene->start());
    watcher = std::make_unique<InputWatcher>(scene->session().display());
    QVERIFY(watcher->isConnected());
}

void tst_TypingOnTheDesktop::init()
{
    watcher->takeFocus();
    QVERIFY(scene->user().moveTo(Rest));
    QVERIFY(waitUntil([this] { return watcher->pointerPosition() == Rest; }));
    watcher->clear();
}

/// No key stays down, whatever was typed.
void tst_TypingOnTheDesktop::cleanup()
{
    QCOMPARE(watcher->keysDown(), std::vector<int>());
    QCOMPARE(watcher->pointerMask(), 0);
}

void tst_TypingOnTheDesktop::cleanupTestCase()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
}

/// Sends the token on a connection of its own and waits until the server is done with it.
bool tst_TypingOnTheDesktop::carryOut(const QByteArray &token)
{
    Handheld handheld(scene->port());
    return handheld.sendAndSettle(token);
}

bool tst_TypingOnTheDesktop::waitForMarker()
{
    if (!carryOut(keyboard(Marker))) {
        return false;
    }
    return waitUntil([this] {
        const std::vector<KeyInput> &keys = watcher->keys();
        return !keys.empty() && keys.back().keysym == MarkerSymbol && !keys.back().isDown;
    });
}

/// The key events that the token caused.
QStringList tst_TypingOnTheDesktop::keysOf(const QByteArray &token)
{
    watcher->clear();
    if (!carryOut(token) || !waitForMarker()) {
        return {u"no marker"_s};
    }
    QStringList described;
    for (const KeyInput &key : watcher->keys()) {
        if (key.keysym != MarkerSymbol) {
            described.append(describe(key));
        }
    }
    return described;
}

/// Those of keys that are no modifiers.
QStringList tst_TypingOnTheDesktop::plainKeysOf(const QByteArray &token)
{
    watcher->clear();
    if (!carryOut(token) || !waitForMarker()) {
        return {u"no marker"_s};
    }
    QStringList described;
    for (const KeyInput &key : watcher->keys()) {
        if (key.keysym != MarkerSymbol && !isModifierKey(key.keysym)) {
            described.append(describe(key));
        }
    }
    return described;
}

QStringList tst_TypingOnTheDesktop::mouseInputSoFar()
{
    QStringList described;
    for (const RawInput &input : watcher->raw()) {
        if (input.kind != RawInput::Kind::KeyPress && input.kind != RawInput::Kind::KeyRelease) {
            described.append(describe(input));
        }
    }
    return described;
}

QStringList tst_TypingOnTheDesktop::mouseInputOf(const QByteArray &token)
{
    watcher->clear();
    if (!carryOut(token) || !waitForMarker()) {
        return {u"no marker"_s};
    }
    return mouseInputSoFar();
}

/// One name of each kind; that each name has its key is shown at the display by
/// tst_X11EventServices.
void tst_TypingOnTheDesktop::namesTypeTheirKeys()
{
    const auto drawing = KeyboardDrawing::keys();
    for (const QString &name : {u"A"_s, u"q"_s, u"7"_s, u"["_s, u";"_s, u"F12"_s}) {
        QVERIFY(drawing.contains(name.toUpper()));
        const QString key = nameOf(drawing.value(name.toUpper()).keysym);
        QCOMPARE(keysOf(keyboard(name)), (QStringList{u'+' + key, u'-' + key}));
    }
}

void tst_TypingOnTheDesktop::functionKeysThatTheLayoutLacksArePressedByPosition()
{
    constexpr int CodeOfF13 = 191; // The kernel's KEY_F13 (183) and the 8 that X11 adds.
    for (int number = 13; number <= 20; ++number) {
        watcher->clear();
        QVERIFY(carryOut(keyboard(u"F%1"_s.arg(number))));
        QVERIFY(waitForMarker());
        QCOMPARE(watcher->keys().size(), size_t(4));
        QCOMPARE(watcher->keys()[0].keycode, CodeOfF13 + number - 13);
        QCOMPARE(watcher->keys()[1].keycode, CodeOfF13 + number - 13);
    }
}

void tst_TypingOnTheDesktop::shortcutHoldsItsModifiers_data()
{
    QTest::addColumn<QString>("shortcut");
    QTest::addColumn<QStringList>("keys");
    const auto row = [](const char *shortcut, const QString &key) {
        QTest::newRow(shortcut) << QString::fromLatin1(shortcut)
                                << QStringList{u'+' + key, u'-' + key};
    };
    row("Cmd+Q", u"q (Control)"_s);
    row("Ctrl+Q", u"q (Control)"_s);
    row("Alt+F9", u"F9 (Alt)"_s);
    row("Shift+A", u"A (Shift)"_s);
    row("Shift+1", u"exclam (Shift)"_s);
    row("Cmd+Alt+Shift+Z", u"Z (Shift Control Alt)"_s);
    row("A+Cmd+B+Shift", u"B (Shift Control)"_s);
    row("Shift+ +Cmd", u"space (Shift Control)"_s);
}

void tst_TypingOnTheDesktop::shortcutHoldsItsModifiers()
{
    QFETCH(QString, shortcut);
    QFETCH(QStringList, keys);
    QCOMPARE(plainKeysOf(keyboard(shortcut)), keys);
}

void tst_TypingOnTheDesktop::shortcutIsPressedAndReleasedInOrder()
{
    QCOMPARE(keysOf(keyboard(u"Cmd+Q"_s)),
             (QStringList{u"+Control_L"_s, u"+q (Control)"_s, u"-q (Control)"_s,
                          u"-Control_L (Control)"_s}));
    QCOMPARE(keysOf(keyboard(u"A"_s)), (QStringList{u"+a"_s, u"-a"_s}));
    QCOMPARE(keysOf(keyboard(u"F5"_s)), (QStringList{u"+F5"_s, u"-F5"_s}));
}

void tst_TypingOnTheDesktop::namesThatCannotBeTypedTypeNothing()
{
    for (const char *name : {"Ret", "Cmd+Shift", "Cmd+", "", ".", "Cmd+Nonsense"}) {
        QCOMPARE(keysOf(keyboard(QLatin1StringView(name))), QStringList());
    }
}

void tst_TypingOnTheDesktop::clicksPressTheirButton_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<int>("button");
    QTest::newRow("left") << "0" << 1;
    QTest::newRow("right") << "1" << 3;
    QTest::newRow("centre") << "2" << 2;
    QTest::newRow("not a number") << "abc" << 1;
}

void tst_TypingOnTheDesktop::clicksPressTheirButton()
{
    QFETCH(QString, code);
    QFETCH(int, button);
    const QStringList expected{u"press %1"_s.arg(button), u"release %1"_s.arg(button)};
    QStringList clicks = mouseInputOf(mouse(code));
    clicks.removeAll(u"move"_s);
    QCOMPARE(clicks, expected);
    QCOMPARE(watcher->pointerPosition(), Rest);
    QCOMPARE(watcher->buttons().size(), size_t(2));
    for (const ButtonInput &input : watcher->buttons()) {
        QCOMPARE(input.position, Rest);
    }
}

void tst_TypingOnTheDesktop::otherMouseCodesDoNothing()
{
    QCOMPARE(mouseInputOf(mouse(u"5"_s)), QStringList());
    QCOMPARE(watcher->pointerPosition(), Rest);
}

void tst_TypingOnTheDesktop::pointerMovesByTheOffset_data()
{
    QTest::addColumn<QStringList>("offset");
    QTest::addColumn<QPoint>("expected");
    QTest::newRow("right and up") << QStringList{u"10"_s, u"-5"_s} << QPoint(10, -5);
    QTest::newRow("left and down") << QStringList{u"-20"_s, u"300"_s} << QPoint(-20, 300);
    QTest::newRow("not a number") << QStringList{u"x"_s, u"7"_s} << QPoint(0, 7);
}

void tst_TypingOnTheDesktop::pointerMovesByTheOffset()
{
    QFETCH(QStringList, offset);
    QFETCH(QPoint, expected);
    QStringList input = mouseInputOf(mouse(u"4"_s, offset));
    input.removeAll(u"move"_s);
    QCOMPARE(input, QStringList());
    QCOMPARE(watcher->pointerPosition(), Rest + expected);
}

void tst_TypingOnTheDesktop::pointerStaysOnTheScreen()
{
    mouseInputOf(mouse(u"4"_s, {u"-5000"_s, u"-5000"_s}));
    QCOMPARE(watcher->pointerPosition(), QPoint(0, 0));
    mouseInputOf(mouse(u"4"_s, {u"2147483647"_s, u"2147483647"_s}));
    QCOMPARE(watcher->pointerPosition(), QPoint(1023, 767));
    mouseInputOf(mouse(u"4"_s, {u"-2147483648"_s, u"-2147483648"_s}));
    QCOMPARE(watcher->pointerPosition(), QPoint(0, 0));
}

void tst_TypingOnTheDesktop::moveReusesEarlierParameters()
{
    Handheld handheld(scene->port());
    QVERIFY(handheld.sendAndSettle(mouse(u"4"_s, {u"11"_s, u"12"_s})));
    QVERIFY(handheld.sendAndSettle(mouse(u"4"_s)));
    QVERIFY(handheld.sendAndSettle(commandText(u"MOUSE_CMD"_s)));
    QVERIFY(waitForMarker());
    QCOMPARE(watcher->pointerPosition(), Rest + 3 * QPoint(11, 12));
}

void tst_TypingOnTheDesktop::wrongNumberOfOffsetsDoesNothing()
{
    QCOMPARE(mouseInputOf(mouse(u"4"_s, {u"10"_s})), QStringList());
    QCOMPARE(watcher->pointerPosition(), Rest);
}

void tst_TypingOnTheDesktop::applicationCommandDoesNothing()
{
    Handheld handheld(scene->port());
    watcher->clear();
    QVERIFY(handheld.sendAndSettle(
        commandText(u"APPLICATION_CMD"_s,
                    {{FunctionKey, u"Q"_s}, {ParametersKey, QStringList{u"Finder"_s, u"1"_s}}})));
    QVERIFY(waitForMarker());
    QCOMPARE(watcher->keys().size(), size_t(2));
    QCOMPARE(mouseInputSoFar(), QStringList());
    QVERIFY(!handheld.hasUnreadAnswer());
}

void tst_TypingOnTheDesktop::refusedDeviceStillTypes()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    scene->storeSetting(u"pairNeedsApproval"_s, true);
    QVERIFY(scene->start());
    QVERIFY(scene->menu().choose(TrayMenu::Item::Preferences));
    const auto preferences = scene->waitForDialog(u"Config Dialog"_s);
    QVERIFY(preferences && scene->clickButton(*preferences, 0));
    QVERIFY(scene->waitUntilGone(*preferences));

    Handheld handheld(scene->port());
    QVERIFY(handheld.send(pairing(u"id"_s, u"Refused"_s)));
    QVERIFY(scene->waitForDialog(u"VornaServer"_s));
    QVERIFY(scene->user().tapKey(u"Escape"_s));
    const auto answer = handheld.answer();
    QVERIFY(answer);
    QCOMPARE(response(answer), u"ERROR"_s);

    watcher->takeFocus();
    QVERIFY(scene->user().moveTo(Rest));
    watcher->clear();
    QVERIFY(handheld.sendAndSettle(keyboard(u"Cmd+Q"_s)));
    QVERIFY(handheld.sendAndSettle(mouse(u"1"_s)));
    QVERIFY(waitForMarker());
    QVERIFY(watcher->typedText().startsWith(QChar('Q' - '@')));
    QVERIFY(mouseInputSoFar().contains(u"press 3"_s));
}

void tst_TypingOnTheDesktop::keyTheUserHoldsDoesNotSpoilWhatIsTyped()
{
    QVERIFY(scene->user().holdKey(u"shift"_s));
    const QStringList keys = plainKeysOf(keyboard(u"A"_s));
    QVERIFY(scene->user().releaseKey(u"shift"_s));
    QCOMPARE(keys, (QStringList{u"+a"_s, u"-a"_s}));
}

QTEST_GUILESS_MAIN(tst_TypingOnTheDesktop)
#include "tst_TypingOnTheDesktop.moc"
