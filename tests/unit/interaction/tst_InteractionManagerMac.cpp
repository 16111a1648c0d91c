// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "interaction/InteractionManagerMac.h"

#include "doubles/RecordingEventServices.h"
#include "interaction/KeyTable.h"
#include "support/MessageRecorder.h"

#include <QRegularExpression>
#include <QTest>

#include <limits>
#include <memory>

using namespace Qt::StringLiterals;

using platform::EventTap;
using platform::KeyboardEvent;
using platform::MouseButton;
using platform::MouseEventType;
using platform::SourceState;

namespace {

const QString notTyped = u"\"Problem executing the shortcut: \" "_s;

bool isKeyNotAvailable(const QString &message)
{
    static const QRegularExpression form(u"^KeyCode not vailable for  0x[0-9a-f]+ $"_s);
    return form.match(message).hasMatch();
}

/// Overrides modifiers and typing, to show which operations call the virtual ones.
class ChangedManager : public InteractionManagerMac
{
public:
    using InteractionManagerMac::InteractionManagerMac;

    quint64 getModifier(QString token) override
    {
        asked.append(u"getModifier "_s + token);
        return 0x1;
    }
    void extractKeyCodeAndModifiers(QString shortcut) override
    {
        asked.append(u"extract "_s + shortcut);
        InteractionManagerMac::extractKeyCodeAndModifiers(shortcut);
    }
    void generateKeyEvent(bool keyDown) override
    {
        asked.append(keyDown ? u"down"_s : u"up"_s);
        InteractionManagerMac::generateKeyEvent(keyDown);
    }

    QStringList asked;
};

} // namespace

class tst_InteractionManagerMac : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void modifiersAreKnownByTheirExactNames_data();
    void modifiersAreKnownByTheirExactNames();

    void shortcutsAreTyped_data();
    void shortcutsAreTyped();
    void everyKeyOfTheTableIsTypedIfItsNameHasNoSmallLetter_data();
    void everyKeyOfTheTableIsTypedIfItsNameHasNoSmallLetter();
    void keysThatAreNotThereAreReported_data();
    void keysThatAreNotThereAreReported();
    void modifiersAloneAreReportedButNotTyped_data();
    void modifiersAloneAreReportedButNotTyped();
    void aParseAloneTypesNothing();
    void aParseAloneOfAnUnknownKeyReportsOnlyThat();
    void theKeyOfTheLastParseCanBeRepeated();
    void aFailedParseLeavesNothingToRepeat();
    void flagsOfAnEarlierShortcutAreForgotten();
    void generatingBeforeAnyParseIsReported();
    void tappingGoesThroughTheVirtualOperations();

    void movingPostsTheSumOfPositionAndOffset_data();
    void movingPostsTheSumOfPositionAndOffset();
    void clickingPostsPressAndRelease_data();
    void clickingPostsPressAndRelease();
    void everyClickAsksForThePositionAnew();
    void inputOfThePointerSaysNothing();

private:
    EventRecord record;
    std::unique_ptr<InteractionManagerMac> manager;
};

void tst_InteractionManagerMac::init()
{
    record = EventRecord();
    manager =
        std::make_unique<InteractionManagerMac>(std::make_unique<RecordingEventServices>(record));
}

void tst_InteractionManagerMac::modifiersAreKnownByTheirExactNames_data()
{
    QTest::addColumn<quint64>("flag");

    QTest::newRow("Cmd") << quint64(0x100000);
    QTest::newRow("Alt") << quint64(0x80000);
    QTest::newRow("Ctrl") << quint64(0x40000);
    QTest::newRow("Shift") << quint64(0x20000);
    for (const char *token : {"cmd", "CMD", "alt", "ctrl", "shift", "SHIFT", "RCtrl", "RAlt",
                              "RShift", "CapsLock", "Fn", "A", "", " ", "Cmd ", "Cmd+Alt"}) {
        QTest::addRow("'%s'", token) << quint64(0);
    }
}

void tst_InteractionManagerMac::modifiersAreKnownByTheirExactNames()
{
    QFETCH(quint64, flag);
    const QString token = QString::fromLatin1(QTest::currentDataTag()).remove(u'\'');
    QCOMPARE(manager->getModifier(token), flag);
    QCOMPARE(manager->isModifier(token), flag != 0);
}

// ---- Keys ---------------------------------------------------------------------------------------

void tst_InteractionManagerMac::shortcutsAreTyped_data()
{
    QTest::addColumn<QString>("shortcut");
    QTest::addColumn<quint16>("code");
    QTest::addColumn<quint64>("flags");

    const auto row = [](const char *shortcut, quint16 code, quint64 flags) {
        QTest::newRow(shortcut) << QString::fromLatin1(shortcut) << code << flags;
    };
    row("Cmd+Q", 12, 0x100000);
    row("Shift+Alt+a", 0, 0xA0000);
    row("A+B", 11, 0);
    row("F5", 96, 0);
    row("cmd+q", 12, 0);
    row("[", 30, 0);
    row("]", 33, 0);
    row("a", 0, 0);
    row("f12", 111, 0);
    row("Q+Cmd", 12, 0x100000);
    row("Cmd+Q+Shift", 12, 0x120000);
    row("Cmd+Cmd+Q", 12, 0x100000);
    row("Cmd+Alt+Ctrl+Shift+Z", 6, 0x1E0000);
    row("Tab+A", 0, 0);
    row("Cmd+ ", 49, 0x100000);
    row(" ", 49, 0);
    row("+A", 0, 0);
    row("++Cmd++A", 0, 0x100000);
}

void tst_InteractionManagerMac::shortcutsAreTyped()
{
    const MessageRecorder messages;
    QFETCH(QString, shortcut);
    QFETCH(quint16, code);
    QFETCH(quint64, flags);
    manager->keyboardTapKeyEvent(shortcut);
    const std::vector<KeyboardEvent> expected = {{code, true, flags, EventTap::Session},
                                                 {code, false, flags, EventTap::Session}};
    QVERIFY(record.keyboardEvents() == expected);
    QCOMPARE(record.calls.size(), 2U);
    QCOMPARE(messages.all(), QStringList());
}

void tst_InteractionManagerMac::everyKeyOfTheTableIsTypedIfItsNameHasNoSmallLetter_data()
{
    QTest::addColumn<QString>("name");
    for (const KeyTable::Row &row : KeyTable::rows()) {
        QTest::newRow(row.name.data()) << QString(row.name);
    }
}

void tst_InteractionManagerMac::everyKeyOfTheTableIsTypedIfItsNameHasNoSmallLetter()
{
    const MessageRecorder messages;
    QFETCH(QString, name);
    manager->keyboardTapKeyEvent(name);
    const bool isTyped = name == name.toUpper();
    QCOMPARE(record.calls.size(), isTyped ? 2U : 0U);
    QCOMPARE(messages.warnings().isEmpty(), isTyped);
    if (isTyped) {
        QCOMPARE(record.keyboardEvents().front().code, *KeyTable::codeOf(name));
    }
}

void tst_InteractionManagerMac::keysThatAreNotThereAreReported_data()
{
    QTest::addColumn<QString>("shortcut");

    for (const char *shortcut :
         {"Ret", "Tab", "Esc", "Home", "UArrow", "VolUp", "Cmd+Tab", "Cmd+", "Cmd++", "+", "++",
          ".", "A+Tab", "RCtrl", "cmd", "Cmd+Q+.", "Cmd + Q", "AB", "F21"}) {
        QTest::newRow(shortcut) << QString::fromLatin1(shortcut);
    }
    QTest::newRow("empty") << QString();
    QTest::newRow("letter beyond ASCII") << QString(u'\u00e9');
    QTest::newRow("letter that is two in capitals") << QString(u'\u00df');
    QTest::newRow("letter beyond Latin-1") << QString(u'\u2603');
    QTest::newRow("letter beyond Latin-1 that looks like a key") << QString(u'\u0410');
    // Their uppercase letters are S and I.
    QTest::newRow("long s") << QString(u'\u017f');
    QTest::newRow("i without a dot") << QString(u'\u0131');
    QTest::newRow("long") << QString(1'000'000, u'x');
    QTest::newRow("many") << u"x+"_s.repeated(100'000);
}

void tst_InteractionManagerMac::keysThatAreNotThereAreReported()
{
    const MessageRecorder messages;
    QFETCH(QString, shortcut);
    manager->keyboardTapKeyEvent(shortcut);
    QVERIFY(record.calls.empty());
    QCOMPARE(messages.all().size(), 2);
    QCOMPARE(messages.warnings().size(), 2);
    QVERIFY2(isKeyNotAvailable(messages.warnings().at(0)), qPrintable(messages.warnings().at(0)));
    QCOMPARE(messages.warnings().at(1), notTyped);
}

void tst_InteractionManagerMac::modifiersAloneAreReportedButNotTyped_data()
{
    QTest::addColumn<QString>("shortcut");
    for (const char *shortcut :
         {"Cmd", "Alt", "Ctrl", "Shift", "Cmd+Shift", "Cmd+Alt+Ctrl+Shift"}) {
        QTest::newRow(shortcut) << QString::fromLatin1(shortcut);
    }
}

void tst_InteractionManagerMac::modifiersAloneAreReportedButNotTyped()
{
    const MessageRecorder messages;
    QFETCH(QString, shortcut);
    manager->keyboardTapKeyEvent(shortcut);
    QVERIFY(record.calls.empty());
    QCOMPARE(messages.all(), QStringList{u"warning: "_s + notTyped});
}

void tst_InteractionManagerMac::aParseAloneTypesNothing()
{
    const MessageRecorder messages;
    manager->extractKeyCodeAndModifiers(u"Cmd+Q"_s);
    QVERIFY(record.calls.empty());
    QCOMPARE(messages.all(), QStringList());
}

void tst_InteractionManagerMac::aParseAloneOfAnUnknownKeyReportsOnlyThat()
{
    const MessageRecorder messages;
    manager->extractKeyCodeAndModifiers(u"Cmd+Tab"_s);
    QCOMPARE(messages.all().size(), 1);
    QVERIFY(isKeyNotAvailable(messages.warnings().value(0)));
}

void tst_InteractionManagerMac::theKeyOfTheLastParseCanBeRepeated()
{
    manager->extractKeyCodeAndModifiers(u"Cmd+Q"_s);
    manager->generateKeyEvent(false);
    manager->generateKeyEvent(true);
    manager->generateKeyEvent(true);
    const KeyboardEvent down{12, true, 0x100000, EventTap::Session};
    const KeyboardEvent up{12, false, 0x100000, EventTap::Session};
    QVERIFY(record.keyboardEvents() == (std::vector<KeyboardEvent>{up, down, down}));
}

void tst_InteractionManagerMac::aFailedParseLeavesNothingToRepeat()
{
    for (const char *failing : {"Tab", "Cmd", ""}) {
        manager->extractKeyCodeAndModifiers(u"Cmd+Q"_s);
        manager->extractKeyCodeAndModifiers(QLatin1StringView(failing));
        const MessageRecorder messages;
        manager->generateKeyEvent(true);
        QVERIFY(record.calls.empty());
        QCOMPARE(messages.all(), QStringList{u"warning: Problem executing  Key Down "_s});
    }
}

void tst_InteractionManagerMac::flagsOfAnEarlierShortcutAreForgotten()
{
    manager->keyboardTapKeyEvent(u"Cmd+Shift+Q"_s);
    manager->keyboardTapKeyEvent(u"Cmd"_s);
    manager->keyboardTapKeyEvent(u"a"_s);
    QCOMPARE(record.keyboardEvents().size(), 4U);
    QCOMPARE(record.keyboardEvents()[2].flags, quint64(0));
}

void tst_InteractionManagerMac::generatingBeforeAnyParseIsReported()
{
    const MessageRecorder messages;
    manager->generateKeyEvent(false);
    manager->generateKeyEvent(true);
    QVERIFY(record.calls.empty());
    QCOMPARE(messages.all(), QStringList({u"warning: Problem executing  Key Up "_s,
                                          u"warning: Problem executing  Key Down "_s}));
}

void tst_InteractionManagerMac::tappingGoesThroughTheVirtualOperations()
{
    ChangedManager changed(std::make_unique<RecordingEventServices>(record));
    changed.keyboardTapKeyEvent(u"Cmd+A+Shift"_s);
    QCOMPARE(changed.asked, QStringList({u"extract Cmd+A+Shift"_s, u"getModifier Cmd"_s,
                                         u"getModifier Shift"_s, u"down"_s, u"up"_s}));
    QCOMPARE(record.keyboardEvents().size(), 2U);
    QCOMPARE(record.keyboardEvents()[0].flags, quint64(0x1));
}

// ---- The pointer --------------------------------------------------------------------------------

void tst_InteractionManagerMac::movingPostsTheSumOfPositionAndOffset_data()
{
    QTest::addColumn<int>("dx");
    QTest::addColumn<int>("dy");
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");

    QTest::newRow("nowhere") << 0 << 0 << 100.5 << 50.25;
    QTest::newRow("right and up") << 10 << -5 << 110.5 << 45.25;
    QTest::newRow("left and down") << -10 << 5 << 90.5 << 55.25;
    QTest::newRow("far off the screen") << -5000 << -5000 << -4899.5 << -4949.75;
    QTest::newRow("farthest") << std::numeric_limits<int>::max() << std::numeric_limits<int>::min()
                              << 2147483747.5 << -2147483597.75;
}

void tst_InteractionManagerMac::movingPostsTheSumOfPositionAndOffset()
{
    QFETCH(int, dx);
    QFETCH(int, dy);
    QFETCH(double, x);
    QFETCH(double, y);
    record.location = {100.5, 50.25};
    manager->moveMouseWithOffset(dx, dy);

    QCOMPARE(record.calls.size(), 2U);
    QVERIFY(record.calls[0] == EventRecord::Call(EventRecord::LocationQuestion{}));
    const EventRecord::MousePost move = {
        std::nullopt, {{MouseEventType::Moved, {x, y}, MouseButton::Left}}, EventTap::Hid};
    QVERIFY(record.calls[1] == EventRecord::Call(move));
}

void tst_InteractionManagerMac::clickingPostsPressAndRelease_data()
{
    QTest::addColumn<int>("press");
    QTest::addColumn<int>("release");
    QTest::addColumn<int>("button");

    QTest::newRow("left") << 1 << 2 << 0;
    QTest::newRow("right") << 3 << 4 << 1;
    QTest::newRow("center") << 25 << 26 << 2;
}

void tst_InteractionManagerMac::clickingPostsPressAndRelease()
{
    QFETCH(int, press);
    QFETCH(int, release);
    QFETCH(int, button);
    record.location = {7, 8};
    const QByteArray name = QTest::currentDataTag();
    name == "left"    ? manager->leftMouseButtonTapped()
    : name == "right" ? manager->rightMouseButtonTapped()
                      : manager->centerMouseButtonTapped();

    QCOMPARE(record.calls.size(), 2U);
    QVERIFY(record.calls[0] == EventRecord::Call(EventRecord::LocationQuestion{}));
    const EventRecord::MousePost clicks = {SourceState::HidSystem,
                                           {{MouseEventType(press), {7, 8}, MouseButton(button)},
                                            {MouseEventType(release), {7, 8}, MouseButton(button)}},
                                           EventTap::Hid};
    QVERIFY(record.calls[1] == EventRecord::Call(clicks));
}

void tst_InteractionManagerMac::everyClickAsksForThePositionAnew()
{
    manager->leftMouseButtonTapped();
    record.location = {300, 400};
    manager->leftMouseButtonTapped();
    manager->moveMouseWithOffset(1, 1);
    const auto posts = record.mousePosts();
    QCOMPARE(posts.size(), 3U);
    QVERIFY(posts[0].events[0].position == platform::Location());
    QVERIFY((posts[1].events[0].position == platform::Location{300, 400}));
    QVERIFY((posts[2].events[0].position == platform::Location{301, 401}));
}

void tst_InteractionManagerMac::inputOfThePointerSaysNothing()
{
    const MessageRecorder messages;
    manager->leftMouseButtonTapped();
    manager->rightMouseButtonTapped();
    manager->centerMouseButtonTapped();
    manager->moveMouseWithOffset(1, 2);
    QCOMPARE(messages.all(), QStringList());
}

QTEST_GUILESS_MAIN(tst_InteractionManagerMac)
#include "tst_InteractionManagerMac.moc"
