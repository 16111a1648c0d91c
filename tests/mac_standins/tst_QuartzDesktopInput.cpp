// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "StandIn.h"
#include "interaction/KeyTable.h"
#include "platform/DesktopInput.h"
#include "platform/EventServices.h"
#include "platform/mac/VirtualKeys.h"
#include "support/MessageRecorder.h"
#include "support/Waiting.h"

#include <QTest>

using namespace Qt::StringLiterals;

using namespace platform;
using standin::calls;
using standin::world;

Q_DECLARE_METATYPE(platform::Key)
Q_DECLARE_METATYPE(platform::NamedKey)
Q_DECLARE_METATYPE(platform::KeyModifiers)
Q_DECLARE_METATYPE(platform::PointerButton)

class tst_QuartzDesktopInput : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void everythingCanBeDone();
    void aKeyIsPostedByItsCode_data();
    void aKeyIsPostedByItsCode();
    void aKeyForMediaIsPostedByItsNumber_data();
    void aKeyForMediaIsPostedByItsNumber();
    void keysThatAMacLacksAreNotPressed_data();
    void keysThatAMacLacksAreNotPressed();
    void charactersHaveTheCodesOfAUSKeyboard();
    void aReleaseNeedsItsPress();
    void theEndReleasesWhatIsDown();
    void textIsPostedCharacterByCharacter();
    void aLongTextIsTypedInSteps();
    void textsAreTypedOneAfterTheOther();
    void aTextEndsWithItsContext();
    void movesCarryFractionsOver();
    void aMoveDragsWhileAButtonIsDown_data();
    void aMoveDragsWhileAButtonIsDown();
    void aPlaceIsPostedAsItIs();
    void buttonsHaveTheirEvents_data();
    void buttonsHaveTheirEvents();
    void clicksAreCounted();
    void theWheelTurnsByPoints_data();
    void theWheelTurnsByPoints();
    void lessThanAPointIsCarriedOver();
    void theFirstInputWithoutPermissionWarnsTheUser();
    void aWindowServerThatMakesNoEventsIsTolerated();

private:
    DesktopInput &input() { return services->input(); }
    bool press(const Key &key, const KeyModifiers &modifiers = {})
    {
        bool isDone = false;
        input().press(key, modifiers, this, [&](bool done) { isDone = done; });
        return isDone;
    }
    /// What was posted, each as after "tap 1 flags 0x".
    static QStringList keysPosted() { return posted(u"CGEventPost tap 1 flags 0x"_s); }
    static QStringList mousePosted() { return posted(u"CGEventPost tap 0 flags 0xdead "_s); }
    static QStringList mediaPosted() { return posted(u"CGEventPost tap 0 flags 0x"_s); }
    static QStringList posted(const QString &prefix)
    {
        QStringList list = standin::callsNamed(prefix);
        for (QString &call : list) {
            call = call.sliced(prefix.size());
        }
        return list;
    }

    std::unique_ptr<EventServices> services;
};

void tst_QuartzDesktopInput::init()
{
    standin::reset();
    services = makeEventServices();
    calls().clear();
}

void tst_QuartzDesktopInput::cleanup()
{
    services.reset();
    QCOMPARE(standin::liveObjects(), 0);
}

void tst_QuartzDesktopInput::everythingCanBeDone()
{
    QCOMPARE(input().abilities(),
             (DesktopInput::Abilities{true, true, true, true, true, true, true}));
}

void tst_QuartzDesktopInput::aKeyIsPostedByItsCode_data()
{
    QTest::addColumn<Key>("key");
    QTest::addColumn<KeyModifiers>("modifiers");
    QTest::addColumn<QString>("down");
    QTest::addColumn<QString>("up");
    const auto row = [](const char *name, const Key &key, const KeyModifiers &modifiers,
                        const QString &down, const QString &up) {
        QTest::newRow(name) << key << modifiers << down << up;
    };
    KeyModifiers shift;
    shift.hasShift = true;
    KeyModifiers control;
    control.hasControl = true;
    control.hasMeta = true;
    control.hasAltGraph = true;
    row("Enter", {NamedKey::Enter, 0}, {}, u"0 key 36 down"_s, u"0 key 36 up"_s);
    row("F20", {NamedKey::F20, 0}, shift, u"20000 key 90 down"_s, u"20000 key 90 up"_s);
    row("several modifiers", {NamedKey::ArrowLeft, 0}, control, u"1c0000 key 123 down"_s,
        u"1c0000 key 123 up"_s);
    row("Shift itself", {NamedKey::Shift, 0}, {}, u"20000 key 56 down"_s, u"0 key 56 up"_s);
    row("Shift with Shift", {NamedKey::Shift, 0}, shift, u"20000 key 56 down"_s, u"0 key 56 up"_s);
    row("letter", {NamedKey::None, U'q'}, {}, u"0 key 12 down text q"_s, u"0 key 12 up text q"_s);
    row("capital letter", {NamedKey::None, U'Q'}, shift, u"20000 key 12 down text Q"_s,
        u"20000 key 12 up text Q"_s);
    row("euro", {NamedKey::None, U'\u20ac'}, {}, u"0 key 0 down text \u20ac"_s,
        u"0 key 0 up text \u20ac"_s);
    row("beyond the basic plane", {NamedKey::None, U'\U0001f600'}, {},
        u"0 key 0 down text \U0001f600"_s, u"0 key 0 up text \U0001f600"_s);
    row("blank", {NamedKey::None, U' '}, {}, u"0 key 49 down text  "_s, u"0 key 49 up text  "_s);
}

void tst_QuartzDesktopInput::aKeyIsPostedByItsCode()
{
    QFETCH(Key, key);
    QFETCH(KeyModifiers, modifiers);
    QFETCH(QString, down);
    QFETCH(QString, up);
    QVERIFY(press(key, modifiers));
    QCOMPARE(keysPosted(), QStringList(down));
    input().release(key);
    QCOMPARE(keysPosted(), QStringList({down, up}));
}

void tst_QuartzDesktopInput::aKeyForMediaIsPostedByItsNumber_data()
{
    QTest::addColumn<NamedKey>("name");
    QTest::addColumn<QString>("number");
    QTest::newRow("AudioVolumeUp") << NamedKey::AudioVolumeUp << u"0"_s;
    QTest::newRow("AudioVolumeDown") << NamedKey::AudioVolumeDown << u"1"_s;
    QTest::newRow("AudioVolumeMute") << NamedKey::AudioVolumeMute << u"7"_s;
    QTest::newRow("BrightnessUp") << NamedKey::BrightnessUp << u"2"_s;
    QTest::newRow("BrightnessDown") << NamedKey::BrightnessDown << u"3"_s;
    QTest::newRow("Eject") << NamedKey::Eject << u"e"_s;
    QTest::newRow("MediaPlayPause") << NamedKey::MediaPlayPause << u"10"_s;
    QTest::newRow("MediaTrackNext") << NamedKey::MediaTrackNext << u"11"_s;
    QTest::newRow("MediaTrackPrevious") << NamedKey::MediaTrackPrevious << u"12"_s;
    QTest::newRow("MediaFastForward") << NamedKey::MediaFastForward << u"13"_s;
    QTest::newRow("MediaRewind") << NamedKey::MediaRewind << u"14"_s;
}

/// The number and then 0a (down) or 0b (up) in the upper bytes of the first datum.
void tst_QuartzDesktopInput::aKeyForMediaIsPostedByItsNumber()
{
    QFETCH(NamedKey, name);
    QFETCH(QString, number);
    KeyModifiers modifiers;
    modifiers.hasShift = true;
    modifiers.hasAlt = true;
    const QString data = number == u"0"_s ? QString() : number + u'0';
    const QString down = u" type 14 subtype 8 data 0x%1a00 -1"_s.arg(data);
    const QString up = u" type 14 subtype 8 data 0x%1b00 -1"_s.arg(data);
    QVERIFY(press({name, 0}));
    QCOMPARE(mediaPosted(), QStringList(u"a00"_s + down));
    input().release({name, 0});
    QCOMPARE(mediaPosted(), QStringList({u"a00"_s + down, u"b00"_s + up}));
    calls().clear();
    QVERIFY(press({name, 0}, modifiers));
    services.reset(); // The end releases it.
    QCOMPARE(mediaPosted(), QStringList({u"a0a00"_s + down, u"a0b00"_s + up}));
    QCOMPARE(keysPosted(), QStringList());
}

void tst_QuartzDesktopInput::keysThatAMacLacksAreNotPressed_data()
{
    QTest::addColumn<Key>("key");
    QTest::newRow("PrintScreen") << Key{NamedKey::PrintScreen, 0};
    QTest::newRow("F24") << Key{NamedKey::F24, 0};
    QTest::newRow("MediaPlay") << Key{NamedKey::MediaPlay, 0}; // The key toggles.
    QTest::newRow("MediaStop") << Key{NamedKey::MediaStop, 0};
    QTest::newRow("Insert") << Key{NamedKey::Insert, 0};
}

void tst_QuartzDesktopInput::keysThatAMacLacksAreNotPressed()
{
    QFETCH(Key, key);
    QVERIFY(!press(key));
    input().release(key);
    QCOMPARE(calls(), QStringList());
}

/// By the table that handhelds' shortcuts use.
void tst_QuartzDesktopInput::charactersHaveTheCodesOfAUSKeyboard()
{
    for (const QChar name : u"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"_s) {
        const auto expected = KeyTable::codeOf(QString(name));
        QVERIFY(expected);
        QCOMPARE(virtualKeyCode(char32_t(name.unicode())), *expected);
        QCOMPARE(virtualKeyCode(char32_t(name.toLower().unicode())), *expected);
    }
    QCOMPARE(virtualKeyCode(U'`'), 50);
    QCOMPARE(virtualKeyCode(U'~'), 50);
    QCOMPARE(virtualKeyCode(U'.'), 47);
    QCOMPARE(virtualKeyCode(U'?'), 44);
}

void tst_QuartzDesktopInput::aReleaseNeedsItsPress()
{
    input().release({NamedKey::Enter, 0});
    input().release(PointerButton::Left);
    QCOMPARE(calls(), QStringList());
    press({NamedKey::Enter, 0});
    press({NamedKey::Enter, 0});
    input().release({NamedKey::Enter, 0});
    input().release({NamedKey::Enter, 0});
    QCOMPARE(keysPosted(), QStringList({u"0 key 36 down"_s, u"0 key 36 down"_s, u"0 key 36 up"_s}));
}

void tst_QuartzDesktopInput::theEndReleasesWhatIsDown()
{
    press({NamedKey::Meta, 0});
    press({NamedKey::None, U'x'});
    input().press(PointerButton::Right);
    calls().clear();
    services.reset();
    QCOMPARE(keysPosted(), QStringList({u"0 key 7 up text x"_s, u"0 key 55 up"_s}));
    QCOMPARE(mousePosted(), QStringList(u"type 4 at 0,0 button 1 field 1 = 1"_s));
}

void tst_QuartzDesktopInput::textIsPostedCharacterByCharacter()
{
    bool isDone = false;
    // What is held is not in effect.
    KeyModifiers command;
    command.hasMeta = true;
    press({NamedKey::Meta, 0}, command);
    calls().clear();
    input().type(u"a\n\u20ac\t\U0001f600"_s, this, [&](bool done) { isDone = done; });
    QVERIFY(waitUntil([&] { return isDone; }));
    QCOMPARE(keysPosted(),
             QStringList({u"0 key 0 down text a"_s, u"0 key 0 up text a"_s, u"0 key 36 down"_s,
                          u"0 key 36 up"_s, u"0 key 0 down text \u20ac"_s,
                          u"0 key 0 up text \u20ac"_s, u"0 key 48 down"_s, u"0 key 48 up"_s,
                          u"0 key 0 down text \U0001f600"_s, u"0 key 0 up text \U0001f600"_s}));
}

void tst_QuartzDesktopInput::aLongTextIsTypedInSteps()
{
    bool isDone = false;
    input().type(QString(100, u'x'), this, [&](bool done) { isDone = done; });
    QVERIFY(!isDone);
    QVERIFY(keysPosted().size() < 100);
    // Keys are not held up.
    press({NamedKey::Escape, 0});
    QVERIFY(keysPosted().contains(u"0 key 53 down"_s));
    QVERIFY(waitUntil([&] { return isDone; }));
    QCOMPARE(keysPosted().size(), 201);
}

void tst_QuartzDesktopInput::textsAreTypedOneAfterTheOther()
{
    QStringList ends;
    input().type(QString(20, u'a'), this, [&](bool) { ends.append(u"a"_s); });
    input().type(u"b"_s, this, [&](bool) { ends.append(u"b"_s); });
    input().type(QString(), this, [&](bool) { ends.append(u"nothing"_s); });
    QVERIFY(waitUntil([&] { return ends.size() == 3; }));
    QCOMPARE(ends, QStringList({u"a"_s, u"b"_s, u"nothing"_s}));
    QCOMPARE(keysPosted().last(), u"0 key 0 up text b"_s);
    QCOMPARE(keysPosted().size(), 42);
}

void tst_QuartzDesktopInput::aTextEndsWithItsContext()
{
    auto context = std::make_unique<QObject>();
    bool isFirstDone = false;
    bool isSecondDone = false;
    input().type(QString(100, u'a'), context.get(), [&](bool) { isFirstDone = true; });
    input().type(u"b"_s, this, [&](bool) { isSecondDone = true; });
    context.reset();
    const qsizetype before = keysPosted().size();
    QVERIFY(waitUntil([&] { return isSecondDone; }));
    QVERIFY(!isFirstDone);
    QCOMPARE(keysPosted().size(), before + 2);
}

void tst_QuartzDesktopInput::movesCarryFractionsOver()
{
    world().pointerX = 10;
    world().pointerY = 20;
    input().moveBy(0.5, -0.75);
    input().moveBy(0.5, -0.75);
    input().moveBy(-1.25, 3);
    QCOMPARE(mousePosted(),
             QStringList({u"type 5 at 10,20 button 0"_s, u"type 5 at 11,19 button 0"_s,
                          u"type 5 at 9,22 button 0"_s}));
}

void tst_QuartzDesktopInput::aMoveDragsWhileAButtonIsDown_data()
{
    QTest::addColumn<PointerButton>("button");
    QTest::addColumn<QString>("event");
    QTest::newRow("left") << PointerButton::Left << u"type 6 at 1,2 button 0"_s;
    QTest::newRow("right") << PointerButton::Right << u"type 7 at 1,2 button 1"_s;
    QTest::newRow("middle") << PointerButton::Middle << u"type 27 at 1,2 button 2"_s;
    QTest::newRow("forward") << PointerButton::Forward << u"type 27 at 1,2 button 4"_s;
}

void tst_QuartzDesktopInput::aMoveDragsWhileAButtonIsDown()
{
    QFETCH(PointerButton, button);
    QFETCH(QString, event);
    input().press(button);
    input().moveBy(1, 2);
    QCOMPARE(mousePosted().last(), event);
    input().moveTo({1, 2});
    QCOMPARE(mousePosted().last(), event);
    input().release(button);
    input().moveBy(1, 2);
    QCOMPARE(mousePosted().last(), u"type 5 at 1,2 button 0"_s);
}

void tst_QuartzDesktopInput::aPlaceIsPostedAsItIs()
{
    input().moveTo({-3.5, 700});
    QCOMPARE(mousePosted(), QStringList(u"type 5 at -3.5,700 button 0"_s));
}

void tst_QuartzDesktopInput::buttonsHaveTheirEvents_data()
{
    QTest::addColumn<PointerButton>("button");
    QTest::addColumn<QString>("down");
    QTest::addColumn<QString>("up");
    const auto row = [](const char *name, PointerButton button, int down, int number) {
        const QString event = u"type %1 at 3,4 button %2 field 1 = 1"_s;
        QTest::newRow(name) << button << event.arg(down).arg(number)
                            << event.arg(down + 1).arg(number);
    };
    row("left", PointerButton::Left, 1, 0);
    row("right", PointerButton::Right, 3, 1);
    row("middle", PointerButton::Middle, 25, 2);
    row("back", PointerButton::Back, 25, 3);
    row("forward", PointerButton::Forward, 25, 4);
}

void tst_QuartzDesktopInput::buttonsHaveTheirEvents()
{
    QFETCH(PointerButton, button);
    QFETCH(QString, down);
    QFETCH(QString, up);
    world().pointerX = 3;
    world().pointerY = 4;
    input().press(button);
    input().release(button);
    QCOMPARE(mousePosted(), QStringList({down, up}));
    QCOMPARE(standin::callsNamed(u"CGEventSourceCreate"_s).size(), 2);
}

void tst_QuartzDesktopInput::clicksAreCounted()
{
    const auto click = [this](PointerButton button) {
        input().press(button);
        input().release(button);
        return mousePosted().last().section(u' ', -1).toInt();
    };
    QCOMPARE(click(PointerButton::Left), 1);
    QCOMPARE(click(PointerButton::Left), 2);
    QCOMPARE(click(PointerButton::Left), 3);
    QCOMPARE(click(PointerButton::Right), 1);
    QCOMPARE(click(PointerButton::Left), 1);
    world().pointerX = 100;
    QCOMPARE(click(PointerButton::Left), 1);
    QCOMPARE(click(PointerButton::Left), 2);
}

void tst_QuartzDesktopInput::theWheelTurnsByPoints_data()
{
    QTest::addColumn<int>("dx");
    QTest::addColumn<int>("dy");
    QTest::addColumn<QString>("event");
    QTest::newRow("down") << 0 << 120 << u"unit 0 wheels 2 by -40,0,0"_s;
    QTest::newRow("up") << 0 << -240 << u"unit 0 wheels 2 by 80,0,0"_s;
    QTest::newRow("right") << 120 << 0 << u"unit 0 wheels 2 by 0,-40,0"_s;
    QTest::newRow("fine") << -3 << 6 << u"unit 0 wheels 2 by -2,1,0"_s;
    QTest::newRow("far") << 12'000 << -12'000 << u"unit 0 wheels 2 by 4000,-4000,0"_s;
}

void tst_QuartzDesktopInput::theWheelTurnsByPoints()
{
    QFETCH(int, dx);
    QFETCH(int, dy);
    input().scroll(dx, dy);
    QTEST(mousePosted().join(u'\n'), "event");
}

void tst_QuartzDesktopInput::lessThanAPointIsCarriedOver()
{
    input().scroll(0, 1);
    input().scroll(0, 1);
    QCOMPARE(calls(), QStringList());
    input().scroll(0, 1);
    QCOMPARE(mousePosted(), QStringList(u"unit 0 wheels 2 by -1,0,0"_s));
}

void tst_QuartzDesktopInput::theFirstInputWithoutPermissionWarnsTheUser()
{
    world().isTrusted = false;
    services = makeEventServices();
    const MessageRecorder messages;
    input().scroll(0, 120);
    press({NamedKey::Enter, 0});
    QCOMPARE(messages.warnings().size(), 1);
}

void tst_QuartzDesktopInput::aWindowServerThatMakesNoEventsIsTolerated()
{
    world().makesEvents = false;
    press({NamedKey::None, U'a'});
    press({NamedKey::AudioVolumeUp, 0});
    input().type(u"a"_s, this, [](bool) {});
    input().press(PointerButton::Left);
    input().moveBy(1, 1);
    input().scroll(0, 120);
    services.reset();
    QCOMPARE(standin::callsNamed(u"CGEventPost"_s), QStringList());
}

QTEST_GUILESS_MAIN(tst_QuartzDesktopInput)
#include "tst_QuartzDesktopInput.moc"
