// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "adapters/X11Scene.h"
#include "platform/linux/input/ServerGrab.h"
#include "platform/linux/input/XkbHandles.h"
#include "platform/linux/x11/XInputDevices.h"
#include "support/process/ChildProcess.h"
#include "support/x11/ReadingProgram.h"
#include "support/x11/XcbClient.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTimer>

#include <atomic>
#include <optional>
#include <span>
#include <stop_token>
#include <thread>
#include <vector>

#include <sys/ioctl.h>
#include <xkbcommon/xkbcommon-x11.h>

#include "platform/linux/x11/XcbXkb.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

using namespace platform;

namespace {

// Positions of the keys that the user presses.
constexpr int ControlLeft = 37;
constexpr int ShiftLeft = 50;
constexpr int CapsLock = 66;
constexpr int NumLock = 77;

/// A key without keysyms in every layout of the tests.
constexpr int SpareKey = 248;

QString fromCodePoint(char32_t codePoint)
{
    return QString::fromUcs4(&codePoint, 1);
}

bool isCharacter(char32_t codePoint)
{
    const bool isControl = codePoint < 0x20 || (codePoint >= 0x7f && codePoint <= 0x9f);
    const bool isSurrogate = codePoint >= 0xd800 && codePoint <= 0xdfff;
    const bool isNone =
        (codePoint & 0xfffe) == 0xfffe || (codePoint >= 0xfdd0 && codePoint <= 0xfdef);
    return !isControl && !isSurrogate && !isNone;
}

/// What people type, and after that something of all planes.
QString randomText(int characters, int others)
{
    QRandomGenerator &random = *QRandomGenerator::global();
    QStringList text;
    for (int count = 0; count < characters; ++count) {
        text += fromCodePoint(static_cast<char32_t>(random.bounded(0x20, 0x7f)));
    }
    while (others > 0) {
        const auto limit = std::array{0x250, 0x500, 0x10000, 0x110000}.at(
            static_cast<std::size_t>(random.bounded(4)));
        const auto codePoint = static_cast<char32_t>(random.bounded(limit));
        if (isCharacter(codePoint)) {
            text.insert(random.bounded(static_cast<int>(text.size() + 1)),
                        fromCodePoint(codePoint));
            --others;
        }
    }
    return text.join(QString());
}

/// Of few different characters, so that all of them can be typed in any layout.
QString wordsOf(const QString &alphabet, int length)
{
    QString text;
    for (int count = 0; count < length; ++count) {
        text += alphabet.at(QRandomGenerator::global()->bounded(static_cast<int>(alphabet.size())));
    }
    return text;
}

/// How often the key map has changed for programs that do not use the keyboard extension, since
/// the last call.
int mapChanges(const XcbConnection &program)
{
    xcbOwned(xcb_get_input_focus_reply(program.get(), xcb_get_input_focus(program.get()), nullptr));
    int changes = 0;
    while (const auto event = xcbOwned(xcb_poll_for_event(program.get()))) {
        changes += (event->response_type & 0x7f) == XCB_MAPPING_NOTIFY ? 1 : 0;
    }
    return changes;
}

/// Characters that follow one another.
QString distinct(char16_t first, int count)
{
    QString text;
    for (int number = 0; number < count; ++number) {
        text += QChar(static_cast<char16_t>(first + number));
    }
    return text;
}

/// A program that switches the layout all the time.
class GroupSwitcher
{
public:
    explicit GroupSwitcher(const QString &display) : connection(XcbClient::connectTo(display))
    {
        xkb_x11_setup_xkb_extension(
            connection.get(), XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
            XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, nullptr, nullptr);
        thread = std::jthread([this](const std::stop_token &end) { run(end); });
    }

    int switches() const { return count; }

private:
    void run(const std::stop_token &end)
    {
        while (!end.stop_requested()) {
            const auto group = static_cast<std::uint8_t>(++count % 2);
            const auto cookie = xcb_xkb_latch_lock_state_checked(
                connection.get(), XCB_XKB_ID_USE_CORE_KBD, 0, 0, true, group, 0, false, 0);
            xcbOwned(xcb_request_check(connection.get(), cookie));
            std::this_thread::sleep_for(std::chrono::microseconds(700));
        }
    }

    XcbConnection connection;
    std::atomic<int> count = 0;
    std::jthread thread; ///< Ends before what it uses.
};

/// A program that asks the X server something all the time.
class ServerClient
{
public:
    explicit ServerClient(const QString &display) : connection(XcbClient::connectTo(display))
    {
        thread = std::jthread([this](const std::stop_token &end) { run(end); });
    }

    int answers() const { return count; }
    /// Those that took very long.
    int lateAnswers() const { return lateCount; }

private:
    void run(const std::stop_token &end)
    {
        constexpr auto late = 150ms;
        while (!end.stop_requested()) {
            const auto asked = std::chrono::steady_clock::now();
            const auto cookie = xcb_get_input_focus(connection.get());
            xcbOwned(xcb_get_input_focus_reply(connection.get(), cookie, nullptr));
            lateCount += std::chrono::steady_clock::now() - asked > late ? 1 : 0;
            ++count;
            std::this_thread::sleep_for(1ms);
        }
    }

    XcbConnection connection;
    std::atomic<int> count = 0;
    std::atomic<int> lateCount = 0;
    std::jthread thread; ///< Ends before what it uses.
};

/// Threads that never rest, one for each core and one more.
std::vector<std::jthread> busyCores()
{
    std::vector<std::jthread> threads;
    for (unsigned int core = 0; core <= std::thread::hardware_concurrency(); ++core) {
        threads.emplace_back([](const std::stop_token &end) {
            while (!end.stop_requested()) {
            }
        });
    }
    return threads;
}

std::vector<int> openDescriptors()
{
    std::vector<int> files;
    for (const QString &name : QDir(u"/proc/self/fd"_s).entryList(QDir::Files | QDir::System)) {
        files.push_back(name.toInt());
    }
    return files;
}

int unreadBytes(std::span<const int> files)
{
    int sum = 0;
    for (const int file : files) {
        int bytes = 0;
        ioctl(file, FIONREAD, &bytes);
        sum += bytes;
    }
    return sum;
}

} // namespace

/// Types texts into a program that runs by itself.
class tst_X11Typing : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void textsArrive_data();
    void textsArrive();
    void aWindowManagerIsNotDisturbed();
    void manyCharactersAreOneChangeOfTheKeyMap();
    void whatTheUserHoldsDoesNotCount_data();
    void whatTheUserHoldsDoesNotCount();
    void aLayoutThatIsSwitchedAllTheTimeIsFollowed_data();
    void aLayoutThatIsSwitchedAllTheTimeIsFollowed();
    void aLayoutThatIsReplacedHalfwayIsFollowed();
    void controlsAreLeftOut();
    void textsAreTypedOneAfterTheOther();
    void keysAreNotHeldUpByALongText();
    void aTextEndsWithItsContext();
    void aProgramThatAnswersIsNeverFarBehind();
    void aProgramThatAnswersIsAwaited();
    void aProgramThatLearnsTheKeyMapApartIsAwaited();
    void otherProgramsAreNotHeldUp();
    void nothingThatTheServerTellsStaysUnread();
    void anotherProgramIsNotHeldUpByOneThatIsBusy();

    void theKeyMapIsGivenBackAtTheEnd();
    void eachKeyboardKeepsItsOwnKeys();
    void theKeyMapIsGivenBackAfterAWhile();
    void theKeyMapIsGivenBackAfterAKill();
    void nothingStaysDownAfterAKill();
    void aSpareKeyOfAnotherProgramIsLeftToIt_data();
    void aSpareKeyOfAnotherProgramIsLeftToIt();
    void bindingsSurviveNoLayout();
    void aSecondAdapterLeavesTheKeysOfTheFirst();

    void aProgramThatHoldsTheServerIsAwaited();
    void aHaltedServerIsAwaited();
    void theEndOfTheServerIsAFailure();
    void theEndOfTheServicesIsAFailure();

private:
    DesktopInput &input() const { return scene->services->input(); }
    bool type(const QString &text);
    bool hasArrived(const ReadingProgram &program, const QString &text);
    QByteArray keyMap() const;
    QByteArray keyMapOf(const QString &keyboard) const;

    std::unique_ptr<X11Scene> scene;
};

void tst_X11Typing::init()
{
    scene = std::make_unique<X11Scene>();
    QVERIFY(scene->isReady());
    QVERIFY(scene->setLayout({u"-layout"_s, u"us"_s}));
}

void tst_X11Typing::cleanup()
{
    scene->services.reset();
    if (scene->watcher.isConnected()) {
        scene->user.release(ShiftLeft);
        scene->user.release(ControlLeft);
        QTRY_VERIFY(scene->isNothingDown());
    }
    scene.reset();
}

/// False if it was not typed, or not in time.
bool tst_X11Typing::type(const QString &text)
{
    QObject context;
    std::optional<bool> result;
    input().type(text, &context, [&](bool isDone) { result = isDone; });
    return waitUntil([&] { return result.has_value(); }, 3 * GenerousLimit) && *result;
}

bool tst_X11Typing::hasArrived(const ReadingProgram &program, const QString &text)
{
    waitUntil([&] { return program.text().size() >= text.size(); });
    const QString typed = program.text();
    const auto [wrong, expected] = std::ranges::mismatch(typed, text);
    if (wrong != typed.end() || expected != text.end()) {
        qWarning() << "differs at" << wrong - typed.begin() << "of" << text.size() << typed.size()
                   << typed.mid(wrong - typed.begin(), 20) << text.mid(wrong - typed.begin(), 20);
    }
    return typed == text;
}

/// The key maps of all keyboards of the display as text.
QByteArray tst_X11Typing::keyMap() const
{
    const XcbConnection connection = XcbClient::connectTo(scene->server.display());
    xkb_x11_setup_xkb_extension(connection.get(), XKB_X11_MIN_MAJOR_XKB_VERSION,
                                XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                nullptr, nullptr, nullptr, nullptr);
    QByteArray maps = keyMapOf(QString());
    for (const std::uint16_t keyboard : keyboardNumbers(connection.get())) {
        maps += keyMapOf(QString::number(keyboard));
    }
    QByteArray core;
    const auto cookie = xcb_get_keyboard_mapping(connection.get(), 8, 248);
    const auto reply = xcbOwned(xcb_get_keyboard_mapping_reply(connection.get(), cookie, nullptr));
    for (int index = 0; reply && index < xcb_get_keyboard_mapping_keysyms_length(reply.get());
         ++index) {
        core += QByteArray::number(xcb_get_keyboard_mapping_keysyms(reply.get())[index]) + ' ';
    }
    return maps + core;
}

/// Of the keyboard with that number; without one, of the core keyboard.
QByteArray tst_X11Typing::keyMapOf(const QString &keyboard) const
{
    QStringList arguments{u"-w0"_s, scene->server.display(), u"-"_s};
    if (!keyboard.isEmpty()) {
        arguments = QStringList{u"-i"_s, keyboard} + arguments;
    }
    ChildProcess dump;
    dump.start(u"xkbcomp"_s, arguments);
    dump.waitForFinished();
    return dump.readAllStandardOutput();
}

void tst_X11Typing::textsArrive_data()
{
    QTest::addColumn<QString>("layout");
    QTest::addColumn<bool>("answersPings");
    QTest::addColumn<int>("pause");
    for (const char *layout : {"us", "de", "fr", "ru", "us,ru", "de(neo)"}) {
        QTest::addRow("%s, answers", layout) << layout << true << 0;
    }
    for (const char *layout : {"us", "ru"}) {
        QTest::addRow("%s, answers late", layout) << layout << true << 120;
        QTest::addRow("%s, reads", layout) << layout << false << 0;
        QTest::addRow("%s, reads late", layout) << layout << false << 400;
    }
}

void tst_X11Typing::textsArrive()
{
    QFETCH(QString, layout);
    QFETCH(bool, answersPings);
    QFETCH(int, pause);
    QVERIFY(scene->setLayout({u"-layout"_s, layout}));
    ReadingProgram program(scene->server.display(),
                           {answersPings, std::chrono::milliseconds(pause)});
    // Without answers it takes a second to use the spare keys again.
    const QString text = randomText(100, answersPings && pause == 0 ? 100 : 20) + u"\n\t.\n"_s;
    QVERIFY(type(text));
    QVERIFY(hasArrived(program, text));
    QCOMPARE(program.answers() > 0, answersPings);
}

/// Window managers see the answers, too.
void tst_X11Typing::aWindowManagerIsNotDisturbed()
{
    ChildProcess manager;
    manager.setProcessEnvironment(scene->server.environment());
    manager.start(u"openbox"_s, {u"--sm-disable"_s});
    QVERIFY(manager.waitForStarted());
    const XcbConnection connection = XcbClient::connectTo(scene->server.display());
    QVERIFY(waitUntil([&] { return XcbClient::selectionOwner(connection, "WM_S0") != 0; }));
    ReadingProgram program(scene->server.display(), {.isManaged = true});
    const QString text = randomText(200, 100);
    QVERIFY(type(text));
    QVERIFY(hasArrived(program, text));
    QVERIFY(program.answers() > 2);
    QCOMPARE(manager.state(), QProcess::Running);
    manager.terminate();
    QVERIFY(manager.waitForFinished());
}

/// Each one makes programs read the key map anew, and window managers grab their keys again.
void tst_X11Typing::manyCharactersAreOneChangeOfTheKeyMap()
{
    ReadingProgram program(scene->server.display(), {});
    QVERIFY(type(u"a"_s));
    const XcbConnection other = XcbClient::connectTo(scene->server.display());
    const QString text = u"ÀÉΩЖ你好€"_s;
    QVERIFY(type(text));
    QVERIFY(hasArrived(program, u'a' + text));
    QCOMPARE(mapChanges(other), 1);
    scene->services.reset();
    QCOMPARE(mapChanges(other), 1);
}

void tst_X11Typing::whatTheUserHoldsDoesNotCount_data()
{
    QTest::addColumn<int>("held");
    QTest::addColumn<int>("locked");
    QTest::newRow("Shift") << ShiftLeft << 0;
    QTest::newRow("Control") << ControlLeft << 0;
    QTest::newRow("Caps Lock") << 0 << CapsLock;
    QTest::newRow("Num Lock") << 0 << NumLock;
    QTest::newRow("Shift and Caps Lock") << ShiftLeft << CapsLock;
}

void tst_X11Typing::whatTheUserHoldsDoesNotCount()
{
    QFETCH(int, held);
    QFETCH(int, locked);
    QVERIFY(scene->setLayout({u"-layout"_s, u"de"_s}));
    ReadingProgram program(scene->server.display(), {});
    if (locked) {
        scene->user.tap(locked);
    }
    const int locks = scene->modifiers();
    if (held) {
        scene->user.press(held);
    }
    const QString text = randomText(300, 30);
    QVERIFY(type(text));
    QVERIFY(hasArrived(program, text));
    QCOMPARE(scene->modifiers(), locks);
}

void tst_X11Typing::aLayoutThatIsSwitchedAllTheTimeIsFollowed_data()
{
    QTest::addColumn<QString>("layouts");
    QTest::addColumn<QString>("alphabet");
    QTest::newRow("us,ru") << u"us,ru"_s << u"abcdABфываФЫ"_s;
    QTest::newRow("de,fr") << u"de,fr"_s << u"qwazymAZ"_s;
}

void tst_X11Typing::aLayoutThatIsSwitchedAllTheTimeIsFollowed()
{
    QFETCH(QString, layouts);
    QFETCH(QString, alphabet);
    QVERIFY(scene->setLayout({u"-layout"_s, layouts}));
    ReadingProgram program(scene->server.display(), {});
    const GroupSwitcher switcher(scene->server.display());
    const QString text = wordsOf(alphabet, 10'000);
    QVERIFY(type(text));
    QVERIFY(hasArrived(program, text));
    // It can switch only between the turns, of which there are at least forty.
    QVERIFY2(switcher.switches() > 20, QByteArray::number(switcher.switches()).constData());
}

void tst_X11Typing::aLayoutThatIsReplacedHalfwayIsFollowed()
{
    ReadingProgram program(scene->server.display(), {});
    const QString text = wordsOf(u"qwazyxYZ;-=1!'[]"_s, 20'000);
    ChildProcess change;
    change.setProcessEnvironment(scene->server.environment());
    bool isChanged = false;
    const auto changeHalfway = [&] {
        if (!isChanged && program.text().size() > 2'000) {
            isChanged = true;
            change.start(u"setxkbmap"_s, {u"-layout"_s, u"de"_s});
        }
    };
    QTimer timer;
    timer.callOnTimeout(changeHalfway);
    timer.start(1ms);
    QVERIFY(type(text));
    QVERIFY(hasArrived(program, text));
    QVERIFY(isChanged);
    QVERIFY(waitUntil([&] { return change.state() == QProcess::NotRunning; }));
    QCOMPARE(change.exitCode(), 0);
}

void tst_X11Typing::controlsAreLeftOut()
{
    ReadingProgram program(scene->server.display(), {});
    QVERIFY(type(u"a\u0001b\u007fc\u0085d\ne\tf"_s));
    QVERIFY(hasArrived(program, u"abcd\ne\tf"_s));
}

void tst_X11Typing::textsAreTypedOneAfterTheOther()
{
    ReadingProgram program(scene->server.display(), {});
    QObject context;
    QString expected;
    std::vector<int> done;
    for (int number = 0; number < 20; ++number) {
        const QString text = randomText(50, 3);
        expected += text;
        input().type(text, &context, [&done, number](bool) { done.push_back(number); });
    }
    QVERIFY(type(u"."_s));
    QVERIFY(hasArrived(program, expected + u'.'));
    QCOMPARE(done.size(), std::size_t{20});
    QVERIFY(std::ranges::is_sorted(done));
}

void tst_X11Typing::keysAreNotHeldUpByALongText()
{
    ReadingProgram program(scene->server.display(), {});
    QObject context;
    input().type(QString(50'000, u'a'), &context, [](bool) {});
    QVERIFY(waitUntil([&] { return !program.text().isEmpty(); }));
    input().press({.character = U'b'}, {}, nullptr, [](bool) {});
    input().release({.character = U'b'});
    input().press({.character = U'€'}, {}, nullptr, [](bool) {});
    input().release({.character = U'€'});
    QVERIFY(waitUntil([&] { return program.text().contains(u'b'); }, GenerousLimit, 1ms));
    QVERIFY(waitUntil([&] { return program.text().contains(u'€'); }, GenerousLimit, 1ms));
    QVERIFY(program.text().size() < 40'000);
}

void tst_X11Typing::aTextEndsWithItsContext()
{
    ReadingProgram program(scene->server.display(), {});
    auto context = std::make_unique<QObject>();
    bool isCalled = false;
    input().type(QString(50'000, u'a'), context.get(), [&](bool) { isCalled = true; });
    QVERIFY(waitUntil([&] { return !program.text().isEmpty(); }, GenerousLimit, 1ms));
    context.reset();
    QVERIFY(type(u"."_s));
    QVERIFY(waitUntil([&] { return program.text().contains(u'.'); }));
    QVERIFY(program.text().size() < 40'000);
    QVERIFY(program.text().endsWith(u"aa."_s));
    QVERIFY(!isCalled);
}

void tst_X11Typing::aProgramThatAnswersIsNeverFarBehind()
{
    ReadingProgram program(scene->server.display(), {true, 50ms});
    QObject context;
    const QString text(2'500, u'a');
    bool isDone = false;
    input().type(text, &context, [&](bool) { isDone = true; });
    QVERIFY(waitUntil([&] { return isDone; }, GenerousLimit, 1ms));
    QVERIFY2(program.text().size() >= 2'000, QByteArray::number(program.text().size()).constData());
    QVERIFY(hasArrived(program, text));
}

/// Whoever changes a spare key too early makes other characters of those that are not yet read.
void tst_X11Typing::aProgramThatAnswersIsAwaited()
{
    constexpr auto silence = 500ms;
    scene->services = scene->makeServices({.silence = silence});
    ReadingProgram program(scene->server.display(), {});
    const QString text = distinct(u'一', 60);
    QVERIFY(type(u"a"_s));
    QVERIFY(waitUntil([&] { return program.answers() > 0; }));
    program.beBusy(4 * silence);
    QVERIFY(type(text));
    QVERIFY(hasArrived(program, u'a' + text));
}

/// As those of Chromium do: GTK has a connection of its own there.
void tst_X11Typing::aProgramThatLearnsTheKeyMapApartIsAwaited()
{
    ReadingProgram program(scene->server.display(), {.pause = 20ms, .hasMapConnection = true});
    const QString text = distinct(u'一', 200);
    QVERIFY(type(text));
    QVERIFY(hasArrived(program, text));
}

/// Each turn keeps others off the server, so it must not take long. On a busy machine the server
/// often has requests of ours in its hands when it is grabbed.
void tst_X11Typing::otherProgramsAreNotHeldUp()
{
    const auto others = busyCores();
    ReadingProgram program(scene->server.display(), {});
    const ServerClient other(scene->server.display());
    const QString text = QString(30'000, u'a');
    QVERIFY(type(text));
    QVERIFY(hasArrived(program, text));
    QVERIFY(other.answers() > 100);
    // A busy machine may stop anyone now and then.
    QVERIFY2(other.lateAnswers() < 4, QByteArray::number(other.lateAnswers()).constData());
}

/// It tells every connection of each change of the key map, and keeps for it what is not read.
void tst_X11Typing::nothingThatTheServerTellsStaysUnread()
{
    scene->services.reset();
    const auto before = openDescriptors();
    ServerGrab grab(scene->server.display().toLatin1().constData());
    auto opened = openDescriptors();
    std::erase_if(opened, [&](int file) { return std::ranges::count(before, file) > 0; });
    QCOMPARE(opened.size(), std::size_t{2});
    QVERIFY(scene->server.run(u"setxkbmap"_s, {u"-layout"_s, u"fr"_s}));
    QVERIFY(waitUntil([&] { return unreadBytes(opened) > 0; }));
    bool isFree = false;
    grab.askWhetherFree([&] { isFree = true; });
    QVERIFY(waitUntil([&] { return isFree; }));
    QCOMPARE(unreadBytes(opened), 0);
}

void tst_X11Typing::anotherProgramIsNotHeldUpByOneThatIsBusy()
{
    ReadingProgram busy(scene->server.display(), {});
    QVERIFY(type(u"a"_s));
    QVERIFY(waitUntil([&] { return busy.answers() > 0; }));
    busy.beBusy(60s);
    QObject context;
    std::optional<bool> result;
    const QString text = QString(2'000, u'a');
    input().type(text, &context, [&](bool isDone) { result = isDone; });
    QVERIFY(!waitUntil([&] { return result.has_value(); }, 1s));
    ReadingProgram other(scene->server.display(), {});
    QVERIFY(waitUntil([&] { return result.has_value(); }));
    QVERIFY(*result);
    QVERIFY(waitUntil([&] { return other.text().size() > 1'000; }));
}

void tst_X11Typing::theKeyMapIsGivenBackAtTheEnd()
{
    ReadingProgram program(scene->server.display(), {});
    const QByteArray before = keyMap();
    QVERIFY(before.size() > 1000);
    QVERIFY(type(u"a€你好"_s));
    QVERIFY(keyMap() != before);
    scene->services.reset();
    QCOMPARE(keyMap(), before);
    QVERIFY(hasArrived(program, u"a€你好"_s));
}

void tst_X11Typing::eachKeyboardKeepsItsOwnKeys()
{
    const XcbConnection connection = XcbClient::connectTo(scene->server.display());
    const auto keyboards = keyboardNumbers(connection.get());
    QVERIFY(keyboards.size() > 1);
    QStringList layouts{u"de"_s, u"fr"_s, u"ru"_s};
    for (const std::uint16_t keyboard : keyboards) {
        layouts.append(layouts.takeFirst());
        QVERIFY(scene->server.run(u"setxkbmap"_s, {u"-device"_s, QString::number(keyboard),
                                                   u"-layout"_s, layouts.constLast()}));
    }
    ReadingProgram program(scene->server.display(), {});
    scene->letServicesLearn();
    QVERIFY(type(u"a"_s)); // The core keyboard takes the map of the keyboard that was used last.
    const QByteArray before = keyMap();
    QVERIFY(type(u"ΩЖ你好"_s));
    QVERIFY(hasArrived(program, u"aΩЖ你好"_s));
    QVERIFY(keyMap() != before);
    scene->services.reset();
    QCOMPARE(keyMap(), before);
}

void tst_X11Typing::theKeyMapIsGivenBackAfterAWhile()
{
    ReadingProgram program(scene->server.display(), {});
    scene->services = scene->makeServices({.idle = 500ms});
    QVERIFY(type(u"a"_s));
    const QByteArray before = keyMap();
    const XcbConnection other = XcbClient::connectTo(scene->server.display());
    QVERIFY(type(u"€"_s));
    int changes = 0;
    QVERIFY(waitUntil([&] { return (changes += mapChanges(other)) == 2; }));
    QCOMPARE(keyMap(), before);
    QVERIFY(type(u"€b"_s));
    QVERIFY(hasArrived(program, u"a€€b"_s));
}

void tst_X11Typing::theKeyMapIsGivenBackAfterAKill()
{
    scene->services.reset();
    ReadingProgram program(scene->server.display(), {});
    const QByteArray before = keyMap();
    for (int round = 0; round < 3; ++round) {
        ChildProcess typist;
        typist.setProcessEnvironment(scene->server.environment());
        typist.start(QStringLiteral(TYPING_PROGRAM), {randomText(10, 100)});
        QVERIFY(waitUntil([&] { return program.text().size() > 300; }, GenerousLimit, 1ms));
        typist.kill();
        QVERIFY(typist.waitForFinished());
        QVERIFY(keyMap() != before);
        scene->services = scene->makeServices();
        QCOMPARE(keyMap(), before);
        scene->services.reset();
        program.clear();
    }
}

void tst_X11Typing::nothingStaysDownAfterAKill()
{
    scene->services.reset();
    ReadingProgram program(scene->server.display(), {});
    for (int round = 0; round < 8; ++round) {
        ChildProcess typist;
        typist.setProcessEnvironment(scene->server.environment());
        typist.start(QStringLiteral(TYPING_PROGRAM), {u"aAbBcC@#€$ÀÉ"_s});
        QVERIFY(
            waitUntil([&] { return program.text().size() > 100 + 7 * round; }, GenerousLimit, 1ms));
        typist.kill();
        QVERIFY(typist.waitForFinished());
        QTRY_VERIFY(scene->watcher.isNothingHeld());
        program.clear();
    }
}

void tst_X11Typing::aSpareKeyOfAnotherProgramIsLeftToIt_data()
{
    QTest::addColumn<bool>("isMoreTyped");
    QTest::newRow("more is typed") << true;
    QTest::newRow("nothing more is typed") << false;
}

void tst_X11Typing::aSpareKeyOfAnotherProgramIsLeftToIt()
{
    QFETCH(bool, isMoreTyped);
    const auto change = [&](const char *keysym) {
        return scene->server.run(
            u"xmodmap"_s, {u"-e"_s, u"keycode %1 = %2"_s.arg(SpareKey).arg(QLatin1String(keysym))});
    };
    ReadingProgram program(scene->server.display(), {});
    const QString text = randomText(20, 100);
    QVERIFY(type(text));
    QVERIFY(hasArrived(program, text));
    QVERIFY(change("F24"));
    if (isMoreTyped) {
        program.clear();
        QVERIFY(type(text));
        QVERIFY(hasArrived(program, text));
    }
    scene->services.reset();
    QVERIFY(keyMap().contains(QByteArray::number(XKB_KEY_F24)));
    QVERIFY(change(""));
}

void tst_X11Typing::bindingsSurviveNoLayout()
{
    ReadingProgram program(scene->server.display(), {});
    QVERIFY(type(u"€你"_s));
    QVERIFY(hasArrived(program, u"€你"_s));
    QVERIFY(scene->server.run(u"setxkbmap"_s, {u"-layout"_s, u"fr"_s}));
    const QByteArray before = keyMap();
    QVERIFY(type(u"你a€"_s));
    QVERIFY(hasArrived(program, u"€你你a€"_s));
    scene->services.reset();
    QCOMPARE(keyMap(), before);
}

void tst_X11Typing::aSecondAdapterLeavesTheKeysOfTheFirst()
{
    ReadingProgram program(scene->server.display(), {});
    QVERIFY(type(u"你"_s));
    const QByteArray bound = keyMap();
    auto other = scene->makeServices();
    QCOMPARE(keyMap(), bound);
    other.reset();
    QCOMPARE(keyMap(), bound);
}

void tst_X11Typing::aProgramThatHoldsTheServerIsAwaited()
{
    ReadingProgram program(scene->server.display(), {});
    const XcbConnection holder = XcbClient::connectTo(scene->server.display());
    const auto cookie = xcb_grab_server_checked(holder.get());
    QVERIFY(!xcbOwned(xcb_request_check(holder.get(), cookie)));

    QObject context;
    bool isDone = false;
    QElapsedTimer timer;
    timer.start();
    input().type(u"text €"_s, &context, [&](bool) { isDone = true; });
    // Others are served meanwhile.
    for (int count = 0; count < 50; ++count) {
        input().moveBy(1, 0);
        QTest::qWait(10);
    }
    QVERIFY(timer.elapsed() < 5'000);
    QVERIFY(!isDone);
    QVERIFY(program.text().isEmpty());
    QCOMPARE(scene->services->pointerLocation(), (Location{450, 300}));

    xcb_ungrab_server(holder.get());
    xcb_flush(holder.get());
    QVERIFY(waitUntil([&] { return isDone; }));
    QVERIFY(hasArrived(program, u"text €"_s));
}

void tst_X11Typing::aHaltedServerIsAwaited()
{
    ReadingProgram program(scene->server.display(), {});
    QVERIFY(type(u"a"_s));
    scene->server.halt();
    QObject context;
    bool isDone = false;
    QElapsedTimer timer;
    timer.start();
    input().type(u"bc"_s, &context, [&](bool) { isDone = true; });
    QTest::qWait(500);
    QVERIFY(timer.elapsed() < 1'500);
    QVERIFY(!isDone);
    scene->server.resume();
    QVERIFY(waitUntil([&] { return isDone; }));
    QVERIFY(hasArrived(program, u"abc"_s));
}

void tst_X11Typing::theEndOfTheServerIsAFailure()
{
    std::optional<bool> result;
    QObject context;
    input().type(QString(100'000, u'a'), &context, [&](bool isDone) { result = isDone; });
    QTRY_VERIFY(!scene->watcher.keys().empty());
    scene->server.end();
    QVERIFY(waitUntil([&] { return result.has_value(); }));
    QVERIFY(!*result);
    QVERIFY(!type(u"a"_s));
}

void tst_X11Typing::theEndOfTheServicesIsAFailure()
{
    std::vector<bool> results;
    QObject context;
    const auto note = [&](bool isDone) { results.push_back(isDone); };
    input().type(QString(100'000, u'a'), &context, note);
    input().press({.character = U'€'}, {}, &context, note);
    scene->services.reset();
    QCOMPARE(results, (std::vector{false, false}));
}

QTEST_GUILESS_MAIN(tst_X11Typing)
#include "tst_X11Typing.moc"
