// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/InputWatcher.h"
#include "support/ServerScene.h"

#include <QTest>

#include <xcb/xproto.h>
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <array>

namespace {

/// Typed after what is tested, so that everything before it has arrived when it has.
const QString Marker = QStringLiteral("F11");
constexpr quint32 MarkerSymbol = XKB_KEY_F11;

/// A place over the watcher's window, where clicks disturb nothing else.
constexpr QPoint Rest(40, 30);

const QString FunctionKey = QStringLiteral("fncCommand");
const QString ParametersKey = QStringLiteral("cmdParameters");

/// What has one sign only in this text, such as the semicolon, which otherwise ends an entry.
QString guarded(const QString &text)
{
    return QStringLiteral("[[[IGNORE]]]") + text + QStringLiteral("[[[ENDIGNORE]]]");
}

QByteArray keyboard(const QString &shortcut)
{
    return commandText("KEYBOARD_CMD", {{FunctionKey, guarded(shortcut)}});
}

QByteArray mouse(const QString &code)
{
    return commandText("MOUSE_CMD", {{FunctionKey, code}});
}

QByteArray mouse(const QString &code, const QStringList &parameters)
{
    return commandText("MOUSE_CMD", {{FunctionKey, code}, {ParametersKey, parameters}});
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
    for (const auto &[mask, name] : masks)
        if ((key.modifiers & mask) != 0)
            held.append(QLatin1String(name));
    const QString suffix = held.isEmpty() ? QString() : " (" + held.join(' ') + ')';
    return (key.isDown ? '+' : '-') + nameOf(key.keysym) + suffix;
}

QString describe(const RawInput &input)
{
    switch (input.kind) {
    case RawInput::Kind::ButtonPress:
        return QStringLiteral("press %1").arg(input.detail);
    case RawInput::Kind::ButtonRelease:
        return QStringLiteral("release %1").arg(input.detail);
    case RawInput::Kind::Motion:
        return QStringLiteral("move");
    case RawInput::Kind::KeyPress:
    case RawInput::Kind::KeyRelease:
        break;
    }
    return QStringLiteral("key");
}

} // namespace

/// What a handheld asks for arrives at another program of the desktop: that and nothing else.
class tst_TypingOnTheDesktop : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void everyTypableNameTypesItsKey();
    void functionKeysThatTheLayoutLacksArePressedByPosition();
    void shortcutHoldsItsModifiers_data();
    void shortcutHoldsItsModifiers();
    void shortcutIsPressedAndReleasedInOrder();
    void namesThatCannotBeTypedTypeNothing();
    void clicksPressTheirButton_data();
    void clicksPressTheirButton();
    void otherMouseCodesDoNothing();
    void missingMouseCodeClicksLeft();
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

    std::unique_ptr<ServerScene> m_scene;
    std::unique_ptr<InputWatcher> m_watcher;
};

void tst_TypingOnTheDesktop::initTestCase()
{
    m_scene = std::make_unique<ServerScene>();
    QCOMPARE(m_scene->session().problem(), QByteArray());
    QVERIFY(m_scene->start());
    m_watcher = std::make_unique<InputWatcher>(m_scene->session().display());
    QVERIFY(m_watcher->isConnected());
}

void tst_TypingOnTheDesktop::init()
{
    m_watcher->takeFocus();
    QVERIFY(m_scene->user().moveTo(Rest));
    QVERIFY(waitUntil([this] { return m_watcher->pointerPosition() == Rest; }));
    m_watcher->clear();
}

/// Nothing stays down, whatever was typed.
void tst_TypingOnTheDesktop::cleanup()
{
    QCOMPARE(m_watcher->keysDown(), std::vector<int>());
    QCOMPARE(m_watcher->pointerMask(), 0);
}

void tst_TypingOnTheDesktop::cleanupTestCase()
{
    QCOMPARE(m_scene->problemAtEnd(), QByteArray());
}

/// Sends the token on a connection of its own and waits until the server is done with it.
bool tst_TypingOnTheDesktop::carryOut(const QByteArray &token)
{
    Handheld handheld(m_scene->port());
    return handheld.sendAndSettle(token);
}

bool tst_TypingOnTheDesktop::waitForMarker()
{
    if (!carryOut(keyboard(Marker)))
        return false;
    return waitUntil([this] {
        const std::vector<KeyInput> &keys = m_watcher->keys();
        return !keys.empty() && keys.back().keysym == MarkerSymbol && !keys.back().isDown;
    });
}

/// The key events that the token caused.
QStringList tst_TypingOnTheDesktop::keysOf(const QByteArray &token)
{
    m_watcher->clear();
    if (!carryOut(token) || !waitForMarker())
        return {QStringLiteral("no marker")};
    QStringList described;
    for (const KeyInput &key : m_watcher->keys())
        if (key.keysym != MarkerSymbol)
            described.append(describe(key));
    return described;
}

/// Those of keys that are no modifiers.
QStringList tst_TypingOnTheDesktop::plainKeysOf(const QByteArray &token)
{
    m_watcher->clear();
    if (!carryOut(token) || !waitForMarker())
        return {QStringLiteral("no marker")};
    QStringList described;
    for (const KeyInput &key : m_watcher->keys())
        if (key.keysym != MarkerSymbol && !isModifierKey(key.keysym))
            described.append(describe(key));
    return described;
}

QStringList tst_TypingOnTheDesktop::mouseInputSoFar()
{
    QStringList described;
    for (const RawInput &input : m_watcher->raw())
        if (input.kind != RawInput::Kind::KeyPress && input.kind != RawInput::Kind::KeyRelease)
            described.append(describe(input));
    return described;
}

QStringList tst_TypingOnTheDesktop::mouseInputOf(const QByteArray &token)
{
    m_watcher->clear();
    if (!carryOut(token) || !waitForMarker())
        return {QStringLiteral("no marker")};
    return mouseInputSoFar();
}

void tst_TypingOnTheDesktop::everyTypableNameTypesItsKey()
{
    std::vector<std::pair<QString, quint32>> names{
        // Wanted: the two square brackets are exchanged.
        {"[", XKB_KEY_bracketright}, {"]", XKB_KEY_bracketleft}, {"=", XKB_KEY_equal},
        {"-", XKB_KEY_minus},        {"'", XKB_KEY_apostrophe},  {";", XKB_KEY_semicolon},
        {"\\", XKB_KEY_backslash},   {",", XKB_KEY_comma},       {"/", XKB_KEY_slash},
    };
    for (char letter = 'A'; letter <= 'Z'; ++letter)
        names.emplace_back(QChar(letter), quint32(letter - 'A' + XKB_KEY_a));
    for (char letter = 'a'; letter <= 'z'; ++letter)
        names.emplace_back(QChar(letter), quint32(letter - 'a' + XKB_KEY_a));
    for (char digit = '0'; digit <= '9'; ++digit)
        names.emplace_back(QChar(digit), quint32(digit - '0' + XKB_KEY_0));
    for (int number = 1; number <= 12; ++number)
        if (QStringLiteral("F%1").arg(number) != Marker)
            names.emplace_back(QStringLiteral("F%1").arg(number), quint32(XKB_KEY_F1 + number - 1));
    for (const auto &[name, symbol] : names) {
        const QStringList expected{'+' + nameOf(symbol), '-' + nameOf(symbol)};
        QCOMPARE(keysOf(keyboard(name)), expected);
    }
}

void tst_TypingOnTheDesktop::functionKeysThatTheLayoutLacksArePressedByPosition()
{
    constexpr int CodeOfF13 = 191; // The kernel's KEY_F13 (183) and the 8 that X11 adds.
    for (int number = 13; number <= 20; ++number) {
        m_watcher->clear();
        QVERIFY(carryOut(keyboard(QStringLiteral("F%1").arg(number))));
        QVERIFY(waitForMarker());
        QCOMPARE(m_watcher->keys().size(), size_t(4));
        QCOMPARE(m_watcher->keys()[0].keycode, CodeOfF13 + number - 13);
        QCOMPARE(m_watcher->keys()[1].keycode, CodeOfF13 + number - 13);
    }
}

void tst_TypingOnTheDesktop::shortcutHoldsItsModifiers_data()
{
    QTest::addColumn<QString>("shortcut");
    QTest::addColumn<QStringList>("keys");
    const auto row = [](const char *shortcut, const QString &key) {
        QTest::newRow(shortcut) << QString(shortcut) << QStringList{'+' + key, '-' + key};
    };
    row("Cmd+Q", "q (Control)");
    row("Ctrl+Q", "q (Control)");
    row("Cmd+Ctrl+Q", "q (Control)");
    row("Alt+F9", "F9 (Alt)");
    row("Shift+A", "A (Shift)");
    row("Shift+1", "exclam (Shift)");
    row("Shift+Alt+a", "A (Shift Alt)");
    row("Cmd+Alt+Shift+Z", "Z (Shift Control Alt)");
    row("A+B", "b");
    row("A+Cmd+B+Shift", "B (Shift Control)");
    row("cmd+q", "q");
    row("Shift+ +Cmd", "space (Shift Control)");
}

void tst_TypingOnTheDesktop::shortcutHoldsItsModifiers()
{
    QFETCH(QString, shortcut);
    QFETCH(QStringList, keys);
    QCOMPARE(plainKeysOf(keyboard(shortcut)), keys);
}

void tst_TypingOnTheDesktop::shortcutIsPressedAndReleasedInOrder()
{
    QCOMPARE(keysOf(keyboard("Cmd+Q")),
             (QStringList{"+Control_L", "+q (Control)", "-q (Control)", "-Control_L (Control)"}));
    QCOMPARE(keysOf(keyboard("A")), (QStringList{"+a", "-a"}));
    QCOMPARE(keysOf(keyboard("F5")), (QStringList{"+F5", "-F5"}));
}

void tst_TypingOnTheDesktop::namesThatCannotBeTypedTypeNothing()
{
    for (const char *name : {"Ret",  "Tab",    "Esc", "Del",   "Home",      "UArrow",      "VolUp",
                             "Help", "RShift", "Cmd", "Shift", "Cmd+Shift", "Cmd+",        "+",
                             "++",   "",       ".",   "AB",    "F21",       "Cmd+Nonsense"})
        QCOMPARE(keysOf(keyboard(name)), QStringList());
}

void tst_TypingOnTheDesktop::clicksPressTheirButton_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<int>("button");
    QTest::newRow("left") << "0" << 1;
    QTest::newRow("right") << "1" << 3;
    QTest::newRow("centre") << "2" << 2;
    QTest::newRow("second name of left") << "3" << 1;
    QTest::newRow("not a number") << "abc" << 1;
    QTest::newRow("empty") << "" << 1;
    QTest::newRow("out of range") << "99999999999" << 1;
    QTest::newRow("hexadecimal is no number") << "0x1" << 1;
}

void tst_TypingOnTheDesktop::clicksPressTheirButton()
{
    QFETCH(QString, code);
    QFETCH(int, button);
    const QStringList expected{QStringLiteral("press %1").arg(button),
                               QStringLiteral("release %1").arg(button)};
    QStringList clicks = mouseInputOf(mouse(code));
    clicks.removeAll(QStringLiteral("move"));
    QCOMPARE(clicks, expected);
    QCOMPARE(m_watcher->pointerPosition(), Rest);
    QCOMPARE(m_watcher->buttons().size(), size_t(2));
    for (const ButtonInput &input : m_watcher->buttons())
        QCOMPARE(input.position, Rest);
}

void tst_TypingOnTheDesktop::otherMouseCodesDoNothing()
{
    for (const char *code : {"5", "-1", "99", "6", "-4", "1000"})
        QCOMPARE(mouseInputOf(mouse(code)), QStringList());
    QCOMPARE(m_watcher->pointerPosition(), Rest);
}

void tst_TypingOnTheDesktop::missingMouseCodeClicksLeft()
{
    QStringList clicks = mouseInputOf(commandText("MOUSE_CMD"));
    clicks.removeAll(QStringLiteral("move"));
    QCOMPARE(clicks, (QStringList{"press 1", "release 1"}));
}

void tst_TypingOnTheDesktop::pointerMovesByTheOffset_data()
{
    QTest::addColumn<QStringList>("offset");
    QTest::addColumn<QPoint>("expected");
    QTest::newRow("right and up") << QStringList{"10", "-5"} << QPoint(10, -5);
    QTest::newRow("left and down") << QStringList{"-20", "300"} << QPoint(-20, 300);
    QTest::newRow("not at all") << QStringList{"0", "0"} << QPoint(0, 0);
    QTest::newRow("not a number") << QStringList{"x", "7"} << QPoint(0, 7);
    QTest::newRow("both empty") << QStringList{"", ""} << QPoint(0, 0);
}

void tst_TypingOnTheDesktop::pointerMovesByTheOffset()
{
    QFETCH(QStringList, offset);
    QFETCH(QPoint, expected);
    QStringList input = mouseInputOf(mouse("4", offset));
    input.removeAll(QStringLiteral("move"));
    QCOMPARE(input, QStringList());
    QCOMPARE(m_watcher->pointerPosition(), Rest + expected);
}

void tst_TypingOnTheDesktop::pointerStaysOnTheScreen()
{
    mouseInputOf(mouse("4", {"-5000", "-5000"}));
    QCOMPARE(m_watcher->pointerPosition(), QPoint(0, 0));
    mouseInputOf(mouse("4", {"2147483647", "2147483647"}));
    QCOMPARE(m_watcher->pointerPosition(), QPoint(1023, 767));
    mouseInputOf(mouse("4", {"-2147483648", "-2147483648"}));
    QCOMPARE(m_watcher->pointerPosition(), QPoint(0, 0));
}

void tst_TypingOnTheDesktop::moveReusesEarlierParameters()
{
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.sendAndSettle(mouse("4", {"11", "12"})));
    QVERIFY(handheld.sendAndSettle(mouse("4")));
    QVERIFY(handheld.sendAndSettle(commandText("MOUSE_CMD")));
    QVERIFY(waitForMarker());
    QCOMPARE(m_watcher->pointerPosition(), Rest + 3 * QPoint(11, 12));
}

void tst_TypingOnTheDesktop::wrongNumberOfOffsetsDoesNothing()
{
    for (const QStringList &offset :
         {QStringList{"10"}, QStringList{"10", "-5", "0"}, QStringList()})
        QCOMPARE(mouseInputOf(mouse("4", offset)), QStringList());
    QCOMPARE(mouseInputOf(mouse("4")), QStringList());
    QCOMPARE(m_watcher->pointerPosition(), Rest);
}

void tst_TypingOnTheDesktop::applicationCommandDoesNothing()
{
    Handheld handheld(m_scene->port());
    m_watcher->clear();
    QVERIFY(handheld.sendAndSettle(commandText(
        "APPLICATION_CMD", {{FunctionKey, "Q"}, {ParametersKey, QStringList{"Finder", "1"}}})));
    QVERIFY(waitForMarker());
    QCOMPARE(m_watcher->keys().size(), size_t(2));
    QCOMPARE(mouseInputSoFar(), QStringList());
    QVERIFY(!handheld.hasUnreadAnswer());
}

void tst_TypingOnTheDesktop::refusedDeviceStillTypes()
{
    QCOMPARE(m_scene->problemAtEnd(), QByteArray());
    m_scene->storeSetting(QStringLiteral("pairNeedsApproval"), true);
    QVERIFY(m_scene->start());
    QVERIFY(m_scene->menu().choose(TrayMenu::Item::Preferences));
    const auto preferences = m_scene->waitForDialog(QStringLiteral("Config Dialog"));
    QVERIFY(preferences && m_scene->clickButton(*preferences, 0));
    QVERIFY(m_scene->waitUntilGone(*preferences));

    Handheld handheld(m_scene->port());
    QVERIFY(
        handheld.send(commandText("SERVER_PAIR", {{ParametersKey, QStringList{"id", "Refused"}}})));
    QVERIFY(m_scene->waitForDialog(QStringLiteral("VornaServer")));
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
    const auto answer = handheld.answer();
    QVERIFY(answer);
    QCOMPARE(answer->value(QStringLiteral("serverResponse")).toString(), QStringLiteral("ERROR"));

    m_watcher->takeFocus();
    QVERIFY(m_scene->user().moveTo(Rest));
    m_watcher->clear();
    QVERIFY(handheld.sendAndSettle(keyboard("Cmd+Q")));
    QVERIFY(handheld.sendAndSettle(mouse("1")));
    QVERIFY(waitForMarker());
    QVERIFY(m_watcher->typedText().startsWith(QChar('Q' - '@')));
    QVERIFY(mouseInputSoFar().contains(QStringLiteral("press 3")));
}

void tst_TypingOnTheDesktop::keyTheUserHoldsDoesNotSpoilWhatIsTyped()
{
    QVERIFY(m_scene->user().holdKey(QStringLiteral("shift")));
    const QStringList keys = plainKeysOf(keyboard("A"));
    QVERIFY(m_scene->user().releaseKey(QStringLiteral("shift")));
    QCOMPARE(keys, (QStringList{"+a", "-a"}));
}

QTEST_GUILESS_MAIN(tst_TypingOnTheDesktop)
#include "tst_TypingOnTheDesktop.moc"
