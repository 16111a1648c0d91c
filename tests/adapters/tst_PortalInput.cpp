// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "adapters/PortalScene.h"
#include "doubles/RecordingClipboard.h"
#include "platform/linux/input/PlaceOnScreens.h"
#include "platform/linux/portal/PortalEventServices.h"
#include "support/KeymapText.h"
#include "support/MessageRecorder.h"
#include "support/Waiting.h"
#include "support/wayland/StandInPrograms.h"

#include <QFile>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <memory>
#include <optional>
#include <vector>

using namespace platform;
using namespace std::chrono_literals;

using Readiness = DesktopInput::Readiness;
using State = RemoteDesktopPortal::State;

namespace {

const QStringList question{u"create"_s, u"select 3 0 -"_s, u"start"_s};

QStringList tapOf(char character)
{
    return {u"keysym %1 1"_s.arg(int{character}), u"keysym %1 0"_s.arg(int{character})};
}

} // namespace

/// Typing and pointing by the RemoteDesktop portal: its real front with a desktop that writes down
/// what it is told, or another front where that is too old.
class tst_PortalInput : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void nothingIsAskedBeforeTheFirstInput();
    void inputBeforeTheConsentIsDropped();
    void theUserIsToldOnceThatTheDesktopAsks();
    void afterARefusalNobodyIsAskedAgain();
    void whatIsNotAllowedCannotBeDone();
    void anyTextCanBeTypedWithAClipboardOnly();
    void aPortalWithoutDevicesIsSaidOnce();
    void aPortalWithoutTheInterfaceIsSaidOnce();
    void withoutAPortalItIsTriedLater();

    void textsArriveInTheirOrder();
    void whatTheLayoutLacksIsReported();
    void whatTheLayoutLacksIsPasted();
    void aTextThatIsNotOnThePrimarySelectionIsPastedByAnotherKey();
    void whatNobodyPastesIsReported();
    void aTextWhoseOwnerGoesGivesTheClipboardBack();
    void aSessionThatEndsGivesTheClipboardBack();
    void charactersHaveTheKeysymOfTheLayout();
    void charactersOutOfTheKeysymsReachHaveAPlace();
    void layoutThatGnomeAddsIsNotTheUsers();
    void shortcutsHoldTheirModifiers();
    void keysWithANameHaveTheirPlaceInEveryLayout_data();
    void keysWithANameHaveTheirPlaceInEveryLayout();
    void modifiersOfOthersAreLifted();
    void keysOfHandheldsArrive();
    void aTextStopsWhenItsOwnerGoes();
    void keysWaitForRoom();
    void aTextWaitsForAProgramThatDoesNotRead();
    void thePointerIsWhereItWasMoved();
    void thePointerStaysOnTheScreens();
    void afterTwoEdgesThePlaceIsRight();
    void buttonsAndTheWheelArrive();
    void aWheelThatCountsPixelsGetsThem();
    void movesAddUpWhileThePortalIsBusy();

    void whatIsDownIsReleasedAtTheEnd();
    void aClosedSessionIsMadeAgainByTheNextInput();
    void aPortalThatDiesIsStartedAgain();
    void aPortalThatDiesWhileItAsksIsStartedAgain();
    void aPortalThatIsMuteHoldsNothingUp();
    void theConsentIsRemembered();
    void aRefusalKeepsTheToken();
    void theTokenIsForTheUserOnly();

private:
    void begin(PortalScene::Role role = PortalScene::Role::Backend);
    void consent();
    void open(PortalScene::Role role = PortalScene::Role::Backend);
    DesktopInput &input() { return services->input(); }
    State state() { return services->session().state(); }
    void tap(const Key &key, const KeyModifiers &modifiers = {});
    std::optional<bool> typed(const QString &text);
    /// Begins to type a text of which the layout lacks something.
    void beginToPaste(QObject *owner);

    QObject context;
    RecordingClipboard clipboard;
    std::optional<bool> pasted;
    PortalPointer::WheelStep wheelStep = PortalPointer::WheelStep::Notch;
    std::unique_ptr<PortalScene> scene;
    std::unique_ptr<PortalEventServices> services;
    std::unique_ptr<MessageRecorder> messages;
};

void tst_PortalInput::init()
{
    messages = std::make_unique<MessageRecorder>();
    clipboard = RecordingClipboard();
    clipboard.canBeLent = false;
    pasted.reset();
    wheelStep = PortalPointer::WheelStep::Notch;
}

void tst_PortalInput::cleanup()
{
    services.reset();
    scene.reset();
    messages.reset();
}

void tst_PortalInput::begin(PortalScene::Role role)
{
    scene = std::make_unique<PortalScene>(role);
    QVERIFY(scene->isReady());
    services = std::make_unique<PortalEventServices>(
        std::make_shared<RemoteDesktopPortal>(scene->connection(),
                                              RestoreToken(scene->tokenFile())),
        std::make_unique<TwoScreens>(), wheelStep, &clipboard);
    services->session().shortestPause = 100ms;
}

void tst_PortalInput::consent()
{
    QCOMPARE(input().makeReady(), Readiness::ConsentPending);
    QVERIFY(scene->waitForLine(u"start"_s));
    QVERIFY(scene->command(u"answer 0"_s));
    QVERIFY(eventually([this] { return state() == State::Open; }));
    scene->forgetRecord();
}

void tst_PortalInput::open(PortalScene::Role role)
{
    begin(role);
    consent();
}

void tst_PortalInput::tap(const Key &key, const KeyModifiers &modifiers)
{
    input().press(key, modifiers, &context, [&](bool isDone) {
        if (isDone) {
            input().release(key);
        }
    });
}

std::optional<bool> tst_PortalInput::typed(const QString &text)
{
    std::optional<bool> result;
    input().type(text, &context, [&](bool isDone) { result = isDone; });
    eventually([&] { return result.has_value(); });
    return result;
}

void tst_PortalInput::nothingIsAskedBeforeTheFirstInput()
{
    begin();
    services->pointerLocation();
    services->postKeyboard({0, false, 0, EventTap::Session});
    input().release(Key{NamedKey::Enter, 0});
    input().release(PointerButton::Left);
    const auto *bus = scene->connection().interface();
    QVERIFY(!bus->isServiceRegistered(u"org.freedesktop.portal.Desktop"_s).value());
    services->postKeyboard({0, true, 0, EventTap::Session});
    QVERIFY(scene->waitFor(question));
}

void tst_PortalInput::inputBeforeTheConsentIsDropped()
{
    begin();
    std::optional<bool> result;
    input().type(u"secret"_s, &context, [&](bool isDone) { result = isDone; });
    QCOMPARE(result, std::optional(false));
    QVERIFY(scene->waitFor(question));
    for (int count = 0; count < 100; ++count) {
        QCOMPARE(input().makeReady(), Readiness::ConsentPending);
        services->postKeyboard({0, true, 0, EventTap::Session});
        services->postKeyboard({0, false, 0, EventTap::Session});
        input().moveBy(5, 5);
        input().press(PointerButton::Left);
        input().scroll(0, 120);
    }
    QVERIFY(scene->command(u"answer 0"_s));
    QVERIFY(eventually([this] { return state() == State::Open; }));
    QCOMPARE(input().makeReady(), Readiness::Ready);
    QCOMPARE(typed(u"x"_s), std::optional(true));
    QVERIFY(scene->waitFor(question + tapOf('x')));
}

void tst_PortalInput::theUserIsToldOnceThatTheDesktopAsks()
{
    begin();
    input().moveBy(1, 1);
    QVERIFY(eventually([this] { return !messages->warnings().isEmpty(); }));
    QVERIFY(scene->command(u"answer 2"_s));
    QVERIFY(eventually([this] { return state() == State::Idle; }));
    QVERIFY(eventually([this] { return input().makeReady() == Readiness::ConsentPending; }));
    QSignalSpy asked(&services->session(), &RemoteDesktopPortal::userIsAsked);
    QVERIFY(asked.wait());
    QCOMPARE(messages->warnings().filter(u"The desktop asks whether"_s).size(), 1);
    QCOMPARE(messages->warnings().filter(u"tries again"_s).size(), 1);
    QCOMPARE(messages->warnings().size(), 2);
}

void tst_PortalInput::afterARefusalNobodyIsAskedAgain()
{
    begin();
    input().moveBy(1, 1);
    QVERIFY(scene->waitFor(question));
    QVERIFY(scene->command(u"answer 1"_s));
    QVERIFY(eventually([this] { return input().makeReady() == Readiness::Refused; }));
    QTest::qWait(300); // Longer than the pause.
    for (int count = 0; count < 3; ++count) {
        tap(Key{NamedKey::Enter, 0});
        QCOMPARE(input().makeReady(), Readiness::Refused);
    }
    QCOMPARE(typed(u"x"_s), std::optional(false));
    QCOMPARE(messages->warnings().filter(u"was refused"_s).size(), 1);
    QCOMPARE(scene->record().count(u"create"_s), 1);
}

void tst_PortalInput::whatIsNotAllowedCannotBeDone()
{
    begin();
    QVERIFY(input().abilities().keys && input().abilities().pointer);
    input().moveBy(1, 1);
    QVERIFY(scene->waitFor(question));
    QVERIFY(scene->command(u"devices 1"_s));
    QVERIFY(scene->command(u"answer 0"_s));
    QVERIFY(eventually([this] { return state() == State::Open; }));
    scene->forgetRecord();
    QVERIFY(input().abilities().text && !input().abilities().pointer);
    input().moveBy(1, 1);
    input().press(PointerButton::Left);
    services->postMouse({}, std::vector{MouseEvent{MouseEventType::LeftDown, {}, {}}},
                        EventTap::Hid);
    QCOMPARE(typed(u"x"_s), std::optional(true));
    QVERIFY(scene->waitFor(tapOf('x')));
}

void tst_PortalInput::anyTextCanBeTypedWithAClipboardOnly()
{
    begin();
    QVERIFY(input().abilities().text && input().abilities().anyText);
    clipboard.canBeRead = false;
    QVERIFY(input().abilities().text && !input().abilities().anyText);
}

void tst_PortalInput::aPortalWithoutDevicesIsSaidOnce()
{
    begin();
    QVERIFY(scene->command(u"devices 4"_s)); // Touch only.
    input().moveBy(1, 1);
    QVERIFY(eventually([this] { return state() == State::Unusable; }));
    input().moveBy(1, 1);
    QCOMPARE(input().abilities(), DesktopInput::Abilities{});
    QCOMPARE(messages->warnings().size(), 1);
    QVERIFY(messages->warnings().constFirst().contains(u"choose an X11"_s));
    QCOMPARE(scene->record(), QStringList());
}

void tst_PortalInput::aPortalWithoutTheInterfaceIsSaidOnce()
{
    begin(PortalScene::Role::None);
    QVERIFY(scene->connection().registerService(u"org.freedesktop.portal.Desktop"_s));
    QObject portal;
    QVERIFY(scene->connection().registerObject(u"/org/freedesktop/portal/desktop"_s, &portal));
    input().moveBy(1, 1);
    QVERIFY(eventually([this] { return state() == State::Unusable; }));
    QCOMPARE(messages->warnings().size(), 1);
}

void tst_PortalInput::withoutAPortalItIsTriedLater()
{
    begin(PortalScene::Role::None);
    services->session().shortestPause = 1s;
    QSignalSpy failed(&services->session(), &RemoteDesktopPortal::failed);
    input().moveBy(1, 1);
    QVERIFY(failed.wait());
    // Not at once, and less and less often.
    QCOMPARE(input().makeReady(), Readiness::Unavailable);
    QVERIFY(eventually([this] { return input().makeReady() == Readiness::ConsentPending; }));
    QVERIFY(failed.wait());
    QTest::qWait(1100);
    QCOMPARE(input().makeReady(), Readiness::Unavailable);
    QCOMPARE(messages->warnings().size(), 1);
}

void tst_PortalInput::textsArriveInTheirOrder()
{
    open();
    QStringList expected;
    QString text;
    for (int count = 0; count < 1000; ++count) {
        text += QChar(u'a' + count % 26);
        expected += tapOf(static_cast<char>('a' + count % 26));
    }
    std::optional<bool> last;
    input().type(text, &context, [](bool) {});
    input().type(u"\n\té€😀"_s, &context, [&](bool isDone) { last = isDone; });
    expected += QStringList{u"keysym 65293 1"_s, u"keysym 65293 0"_s, u"keysym 65289 1"_s,
                            u"keysym 65289 0"_s, u"keysym 233 1"_s,   u"keysym 233 0"_s};
    for (const int keysym : {0x20ac, 0x101f600}) {
        expected.append(u"keysym %1 1"_s.arg(keysym));
        expected.append(u"keysym %1 0"_s.arg(keysym));
    }
    QVERIFY(eventually([&] { return last.has_value(); }));
    QCOMPARE(last, std::optional(true));
    scene->waitFor(expected);
    QCOMPARE(scene->record(), expected);
}

void tst_PortalInput::whatTheLayoutLacksIsReported()
{
    open();
    services->keyboardLayout().useKeymap(keymapOf("us"));
    QCOMPARE(typed(u"aéф\u0001z"_s), std::optional(false));
    QVERIFY(scene->waitFor(tapOf('a') + tapOf('z')));
    std::optional<bool> result;
    const auto note = [&](bool isDone) { result = isDone; };
    input().press(Key{NamedKey::None, U'é'}, {}, &context, note);
    QCOMPARE(result, std::optional(false));
    input().press(Key{NamedKey::Redo, 0}, {}, &context, note);
    QCOMPARE(result, std::optional(true));
    services->keyboardLayout().useKeymap("no key map");
    QCOMPARE(typed(u"é"_s), std::optional(true));
}

void tst_PortalInput::beginToPaste(QObject *owner)
{
    clipboard.canBeLent = true;
    services->keyboardLayout().useKeymap(keymapOf("us"));
    input().type(u"aéф b😀c\nd\té"_s, owner, [this](bool isDone) { pasted = isDone; });
    QVERIFY(eventually([this] { return clipboard.lent == QStringList{u"éф b😀"_s}; }));
    QVERIFY(scene->waitFor(tapOf('a')));
}

/// In its order, in as few pieces as the keys between them allow.
void tst_PortalInput::whatTheLayoutLacksIsPasted()
{
    const QStringList pasteKey{u"keycode 42 1"_s, u"keycode 110 1"_s, u"keycode 110 0"_s,
                               u"keycode 42 0"_s};
    open();
    beginToPaste(&context);
    clipboard.borrower->textLent();
    QVERIFY(scene->waitFor(tapOf('a') + pasteKey));
    clipboard.borrower->textRead();
    QVERIFY(eventually([this] { return clipboard.lent.size() == 2; }));
    QCOMPARE(clipboard.lent.last(), u"é"_s);
    const QStringList enter{u"keysym 65293 1"_s, u"keysym 65293 0"_s};
    const QStringList tabulator{u"keysym 65289 1"_s, u"keysym 65289 0"_s};
    QStringList expected = tapOf('a') + pasteKey + tapOf('c') + enter + tapOf('d') + tabulator;
    QVERIFY(scene->waitFor(expected));
    clipboard.borrower->textLent();
    clipboard.borrower->textRead();
    QVERIFY(eventually([this] { return pasted.has_value(); }));
    QCOMPARE(pasted, std::optional(true));
    expected += pasteKey;
    QVERIFY(scene->waitFor(expected));
    QVERIFY(clipboard.borrower == nullptr);
    // What the layout has needs no clipboard.
    QCOMPARE(typed(u"xyz"_s), std::optional(true));
    QCOMPARE(clipboard.lent.size(), 2);
}

/// Shift and Insert would paste something else into a terminal.
void tst_PortalInput::aTextThatIsNotOnThePrimarySelectionIsPastedByAnotherKey()
{
    clipboard.hasPrimary = false;
    open();
    beginToPaste(&context);
    clipboard.borrower->textLent();
    QVERIFY(scene->waitFor(tapOf('a') + QStringList{u"keycode 29 1"_s, u"keysym 118 1"_s,
                                                    u"keysym 118 0"_s, u"keycode 29 0"_s}));
}

void tst_PortalInput::whatNobodyPastesIsReported()
{
    open();
    beginToPaste(&context);
    clipboard.borrower->loanLost();
    QVERIFY(eventually([this] { return pasted.has_value(); }));
    QCOMPARE(pasted, std::optional(false));
    QCOMPARE(clipboard.lent.size(), 1);
    const QStringList enter{u"keysym 65293 1"_s, u"keysym 65293 0"_s};
    const QStringList tabulator{u"keysym 65289 1"_s, u"keysym 65289 0"_s};
    QVERIFY(scene->waitFor(tapOf('a') + tapOf(' ') + tapOf('b') + tapOf('c') + enter + tapOf('d') +
                           tabulator));
    QVERIFY(clipboard.borrower == nullptr);
}

void tst_PortalInput::aTextWhoseOwnerGoesGivesTheClipboardBack()
{
    open();
    auto owner = std::make_unique<QObject>();
    beginToPaste(owner.get());
    clipboard.borrower->textLent();
    owner.reset();
    clipboard.borrower->textRead();
    QVERIFY(eventually([this] { return clipboard.borrower == nullptr; }));
    QVERIFY(!pasted);
    QCOMPARE(typed(u"z"_s), std::optional(true));
    QVERIFY(eventually([this] { return scene->record().last(2) == tapOf('z'); }));
    QCOMPARE(clipboard.lent.size(), 1);
}

void tst_PortalInput::aSessionThatEndsGivesTheClipboardBack()
{
    open();
    beginToPaste(&context);
    clipboard.borrower->textLent();
    QVERIFY(scene->command(u"close"_s));
    QVERIFY(eventually([this] { return pasted.has_value(); }));
    QCOMPARE(pasted, std::optional(false));
    QVERIFY(clipboard.borrower == nullptr);
}

void tst_PortalInput::charactersHaveTheKeysymOfTheLayout()
{
    open();
    services->keyboardLayout().useKeymap(keymapOf("ru"));
    QCOMPARE(typed(u"ф1"_s), std::optional(true));
    for (const bool isDown : {true, false}) {
        services->postKeyboard({8, isDown, Flag::Command, EventTap::Session}); // C
    }
    QVERIFY(scene->waitFor(
        QStringList{u"keysym 1734 1"_s, u"keysym 1734 0"_s} + tapOf('1') +
        QStringList{u"keycode 29 1"_s, u"keycode 46 1"_s, u"keycode 46 0"_s, u"keycode 29 0"_s}));
}

/// The first key of the German layout that has the degree sign takes Shift and AltGr for it, which
/// no desktop holds for a keysym. U+215B is only on such a level.
void tst_PortalInput::charactersOutOfTheKeysymsReachHaveAPlace()
{
    open();
    services->keyboardLayout().useKeymap(keymapOf("de"));
    QCOMPARE(typed(u"°a⅛"_s), std::optional(true));
    const QStringList degree{u"keycode 42 1"_s, u"keycode 100 1"_s, u"keycode 11 1"_s,
                             u"keycode 11 0"_s, u"keycode 100 0"_s, u"keycode 42 0"_s};
    const QStringList eighth{u"keycode 42 1"_s, u"keycode 100 1"_s, u"keycode 3 1"_s,
                             u"keycode 3 0"_s,  u"keycode 100 0"_s, u"keycode 42 0"_s};
    QVERIFY(scene->waitFor(degree + tapOf('a') + eighth));
    scene->forgetRecord();
    tap(Key{NamedKey::None, U'°'}, {.hasControl = true});
    QVERIFY(
        scene->waitFor(QStringList{u"keycode 29 1"_s} + degree + QStringList{u"keycode 29 0"_s}));
    // Which of two layouts is active, nobody tells.
    services->keyboardLayout().useKeymap(keymapOf("de,fr"));
    QCOMPARE(typed(u"°"_s), std::optional(false));
    QCOMPARE(typed(u"ä"_s), std::optional(true));
}

void tst_PortalInput::layoutThatGnomeAddsIsNotTheUsers()
{
    qputenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
    const auto forget = qScopeGuard([] { qunsetenv("XDG_CURRENT_DESKTOP"); });
    open();
    services->keyboardLayout().useKeymap(keymapOf("de,us"));
    QCOMPARE(typed(u"°⅛"_s), std::optional(true));
    services->keyboardLayout().useKeymap(keymapOf("ru,us"));
    QCOMPARE(typed(u"ф"_s), std::optional(true));
    QCOMPARE(typed(u"a"_s), std::optional(false));
    services->keyboardLayout().useKeymap(keymapOf("ru,us,us"));
    QCOMPARE(typed(u"фa"_s), std::optional(true));
    services->keyboardLayout().useKeymap(keymapOf("us"));
    QCOMPARE(typed(u"a"_s), std::optional(true));
}

void tst_PortalInput::shortcutsHoldTheirModifiers()
{
    open();
    tap(Key{NamedKey::None, U'c'}, {.hasControl = true, .hasShift = true});
    tap(Key{NamedKey::F5, 0}, {.hasAlt = true});
    tap(Key{NamedKey::AudioVolumeUp, 0});
    QVERIFY(scene->waitFor({u"keycode 29 1"_s, u"keycode 42 1"_s, u"keysym 99 1"_s,
                            u"keysym 99 0"_s, u"keycode 42 0"_s, u"keycode 29 0"_s,
                            u"keycode 56 1"_s, u"keycode 63 1"_s, u"keycode 63 0"_s,
                            u"keycode 56 0"_s, u"keycode 115 1"_s, u"keycode 115 0"_s}));
}

void tst_PortalInput::keysWithANameHaveTheirPlaceInEveryLayout_data()
{
    QTest::addColumn<QByteArray>("layouts");
    for (const auto *layouts : {"us", "fr", "ru", "us,ru", "ru,us"}) {
        QTest::newRow(layouts) << QByteArray(layouts);
    }
}

void tst_PortalInput::keysWithANameHaveTheirPlaceInEveryLayout()
{
    QFETCH(QByteArray, layouts);
    open();
    services->keyboardLayout().useKeymap(keymapOf(layouts.constData()));
    tap(Key{NamedKey::ArrowLeft, 0}, {.hasControl = true, .hasShift = true});
    tap(Key{NamedKey::F5, 0}, {.hasAlt = true});
    tap(Key{NamedKey::Enter, 0});
    QVERIFY(scene->waitFor({u"keycode 29 1"_s, u"keycode 42 1"_s, u"keycode 105 1"_s,
                            u"keycode 105 0"_s, u"keycode 42 0"_s, u"keycode 29 0"_s,
                            u"keycode 56 1"_s, u"keycode 63 1"_s, u"keycode 63 0"_s,
                            u"keycode 56 0"_s, u"keycode 28 1"_s, u"keycode 28 0"_s}));
}

void tst_PortalInput::modifiersOfOthersAreLifted()
{
    open();
    const Key control{NamedKey::Control, 0};
    input().press(control, {}, &context, [](bool) {});
    tap(Key{NamedKey::None, U'c'}, {.hasControl = true});
    QCOMPARE(typed(u"x"_s), std::optional(true));
    tap(Key{NamedKey::None, U'v'}, {.hasControl = true});
    input().release(control);
    QVERIFY(scene->waitFor(
        QStringList{u"keycode 29 1"_s} + tapOf('c') + QStringList{u"keycode 29 0"_s} + tapOf('x') +
        QStringList{u"keycode 29 1"_s} + tapOf('v') + QStringList{u"keycode 29 0"_s}));
}

void tst_PortalInput::keysOfHandheldsArrive()
{
    open();
    for (const bool isDown : {true, false}) {
        services->postKeyboard({8, isDown, Flag::Command, EventTap::Session}); // C
    }
    for (const bool isDown : {true, false}) {
        services->postKeyboard({123, isDown, 0, EventTap::Session}); // Left
    }
    services->postKeyboard({63, true, 0, EventTap::Session}); // Fn has no meaning here.
    QVERIFY(scene->waitFor({u"keycode 29 1"_s, u"keysym 99 1"_s, u"keysym 99 0"_s,
                            u"keycode 29 0"_s, u"keycode 105 1"_s, u"keycode 105 0"_s}));
}

void tst_PortalInput::aTextStopsWhenItsOwnerGoes()
{
    open();
    auto owner = std::make_unique<QObject>();
    bool isCalled = false;
    input().type(QString(10'000, u'a'), owner.get(), [&](bool) { isCalled = true; });
    QVERIFY(eventually([this] { return scene->record().size() >= 10; }));
    owner.reset();
    QCOMPARE(typed(u"b"_s), std::optional(true));
    QVERIFY(scene->record().size() < 20'000);
    QVERIFY(eventually([this] { return scene->record().last(2) == tapOf('b'); }));
    QVERIFY(!isCalled);
}

void tst_PortalInput::keysWaitForRoom()
{
    open();
    constexpr int presses = 2'000;
    int done = 0;
    for (int count = 0; count < presses; ++count) {
        const Key key{NamedKey::None, U'a'};
        input().press(key, {}, &context, [&, key](bool isDone) {
            done += isDone ? 1 : 0;
            input().release(key);
        });
    }
    QVERIFY(done < 100);
    QVERIFY(eventually([&] { return done == presses; }));
    QVERIFY(eventually([&] { return scene->record().size() == 2 * presses; }));
}

void tst_PortalInput::aTextWaitsForAProgramThatDoesNotRead()
{
    const QTemporaryDir folder;
    const StandInSocket socket(QFile::encodeName(folder.filePath(u"wayland-0"_s)));
    const StandInProgram program(socket);
    qputenv("WAYLAND_DISPLAY", socket.name());
    const auto forgetSocket = qScopeGuard([] { qunsetenv("WAYLAND_DISPLAY"); });
    open();
    const QString text = QString(u'x').repeated(500);
    std::optional<bool> isTyped;
    input().type(text, &context, [&](bool isDone) { isTyped = isDone; });
    QVERIFY(eventually([this] { return scene->record().size() > 100; }));
    constexpr int unread = 100'000;
    QVERIFY(program.get(unread));
    QTest::qWait(500);
    const auto taps = scene->record().size();
    QTest::qWait(500);
    QCOMPARE(scene->record().size(), taps);
    QVERIFY(!isTyped);
    QVERIFY(program.read(unread));
    QVERIFY(eventually([&] { return isTyped.has_value(); }));
    QVERIFY(*isTyped);
    QVERIFY(eventually([&] { return scene->record().size() == 2 * text.size(); }));
}

void tst_PortalInput::thePointerIsWhereItWasMoved()
{
    open();
    QCOMPARE(services->pointerLocation(), (Location{399, 499}));
    input().moveBy(1.5, -2);
    QVERIFY(scene->waitFor({u"motion 1.5 -2.0"_s}));
    QCOMPARE(services->pointerLocation(), (Location{400.5, 497}));
    input().moveTo({10, 300});
    QVERIFY(scene->waitFor({u"motion 1.5 -2.0"_s, u"motion -390.5 -197.0"_s}));
    QCOMPARE(services->pointerLocation(), (Location{10, 300}));
    services->postMouse({}, std::vector{MouseEvent{MouseEventType::Moved, {20, 305}, {}}},
                        EventTap::Hid);
    QCOMPARE(services->pointerLocation(), (Location{20, 305}));
    QVERIFY(scene->waitForLine(u"motion 10.0 5.0"_s));
}

void tst_PortalInput::thePointerStaysOnTheScreens()
{
    open();
    input().moveTo({-50, 100}); // Above the left screen.
    QCOMPARE(services->pointerLocation(), (Location{0, 200}));
    input().moveTo({1000, 50}); // On the right one.
    QCOMPARE(services->pointerLocation(), (Location{1000, 50}));
    input().moveBy(1e300, 1e300);
    QCOMPARE(services->pointerLocation(), (Location{1599, 799}));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    input().moveBy(nan, 0);
    input().moveTo({0, nan});
    QCOMPARE(services->pointerLocation(), (Location{1599, 799}));
}

/// Of a pointer that was somewhere else at first, and that the desktop keeps on its screens.
void tst_PortalInput::afterTwoEdgesThePlaceIsRight()
{
    open();
    // As a hand does it: a desktop lets no pointer leap over a whole screen.
    for (int step = 1; step <= 10; ++step) {
        input().moveBy(step <= 4 ? 0 : -300, step <= 4 ? 300 : 0);
        QVERIFY(eventually([&] { return scene->record().filter(u"motion "_s).size() == step; }));
    }
    const Location corner{0, 799};
    QCOMPARE(services->pointerLocation(), corner);
    for (const Location &place : {Location{30, 420}, Location{1590, 5}, Location{790, 50}}) {
        input().moveTo(place);
    }
    const Location last = services->pointerLocation();
    QCOMPARE(last, (Location{800, 50}));
    TwoScreens screens;
    for (const Location &start : {Location{1599, 0}, Location{3, 700}, Location{800, 799}}) {
        Location pointer = start;
        const auto follow = [&] {
            pointer = start;
            for (const QString &line : scene->record().filter(u"motion "_s)) {
                const Location to{pointer.x + line.section(u' ', 1, 1).toDouble(),
                                  pointer.y + line.section(u' ', 2, 2).toDouble()};
                pointer = placeOnScreens(screens.all(), pointer, to, ScreenEdge::OfItsScreen);
            }
            return pointer == last;
        };
        QVERIFY2(eventually(follow), qPrintable(u"%1 %2"_s.arg(pointer.x).arg(pointer.y)));
    }
}

void tst_PortalInput::buttonsAndTheWheelArrive()
{
    open();
    input().press(PointerButton::Left);
    input().release(PointerButton::Left);
    input().release(PointerButton::Left);
    input().press(PointerButton::Forward);
    input().release(PointerButton::Forward);
    input().scroll(0, 120);
    QVERIFY(scene->waitForLine(u"wheel 0 1"_s));
    input().scroll(-240, 30);
    QVERIFY(
        scene->waitFor({u"button 272 1"_s, u"button 272 0"_s, u"button 276 1"_s, u"button 276 0"_s,
                        u"wheel 0 1"_s, u"wheel 1 -2"_s, u"scroll 0.0 3.75"_s}));
}

void tst_PortalInput::aWheelThatCountsPixelsGetsThem()
{
    wheelStep = PortalPointer::WheelStep::Pixel;
    open();
    input().scroll(0, 120);
    QVERIFY(scene->waitForLine(u"wheel 0 15"_s));
    input().scroll(-60, 0);
    QVERIFY(scene->waitForLine(u"wheel 1 -7"_s));
    input().scroll(-4, 7); // Four and seven eighths; with the rest before it is one step left.
    input().scroll(0, 1);
    QVERIFY(scene->waitFor({u"wheel 0 15"_s, u"wheel 1 -7"_s, u"wheel 1 -1"_s, u"wheel 0 1"_s}));
}

void tst_PortalInput::movesAddUpWhileThePortalIsBusy()
{
    open();
    for (int count = 0; count < 100'000; ++count) {
        input().moveBy(1, 0);
    }
    const auto sum = [this] {
        double right = 0;
        for (const QString &line : scene->record()) {
            right += line.section(u' ', 1, 1).toDouble();
        }
        return right;
    };
    QVERIFY(eventually([&] { return sum() == 100'000; }));
    QVERIFY(scene->record().size() < 1'000);
}

void tst_PortalInput::whatIsDownIsReleasedAtTheEnd()
{
    open();
    input().press(PointerButton::Left);
    input().press(Key{NamedKey::None, U'a'}, {.hasControl = true}, &context, [](bool) {});
    QVERIFY(eventually([this] { return scene->record().size() == 3; }));
    scene->forgetRecord();
    for (const NamedKey name : {NamedKey::Enter, NamedKey::Tab}) {
        input().press(Key{name, 0}, {.hasControl = true}, &context, [](bool) {});
    }
    services.reset();
    // Enter is on its way, Tab is not sent any more.
    QVERIFY(scene->waitForLine(u"session-closed"_s));
    QCOMPARE(scene->record(),
             (QStringList{u"keycode 28 1"_s, u"keycode 28 0"_s, u"keysym 97 0"_s, u"keycode 29 0"_s,
                          u"button 272 0"_s, u"session-closed"_s}));
}

void tst_PortalInput::aClosedSessionIsMadeAgainByTheNextInput()
{
    open();
    input().press(PointerButton::Left);
    input().press(Key{NamedKey::None, U'a'}, {}, &context, [](bool) {});
    std::optional<bool> result;
    input().type(QString(10'000, u'x'), &context, [&](bool isDone) { result = isDone; });
    QVERIFY(scene->command(u"close"_s));
    QVERIFY(eventually([&] { return result.has_value(); }));
    QCOMPARE(result, std::optional(false));
    QCOMPARE(state(), State::Idle);
    QCOMPARE(input().makeReady(), Readiness::Unavailable); // Not at once.
    QTest::qWait(150);
    QCOMPARE(state(), State::Idle); // Only when it is wanted.
    scene->forgetRecord();
    consent();
    input().release(PointerButton::Left);
    input().release(Key{NamedKey::None, U'a'});
    QCOMPARE(typed(u"y"_s), std::optional(true));
    QVERIFY(scene->waitFor(tapOf('y')));
    QCOMPARE(messages->warnings().filter(u"tries again"_s).size(), 0);
}

void tst_PortalInput::aPortalThatDiesIsStartedAgain()
{
    open();
    std::optional<bool> result;
    input().type(QString(10'000, u'x'), &context, [&](bool isDone) { result = isDone; });
    scene->killPortal();
    QVERIFY(eventually([&] { return result.has_value(); }));
    QCOMPARE(result, std::optional(false));
    QTest::qWait(150);
    scene->forgetRecord();
    consent();
    QCOMPARE(typed(u"y"_s), std::optional(true));
}

void tst_PortalInput::aPortalThatDiesWhileItAsksIsStartedAgain()
{
    begin();
    input().moveBy(1, 1);
    QVERIFY(scene->waitFor(question));
    scene->killPortal();
    QVERIFY(eventually([this] { return state() == State::Idle; }));
    QTest::qWait(150);
    QCOMPARE(input().makeReady(), Readiness::ConsentPending);
}

void tst_PortalInput::aPortalThatIsMuteHoldsNothingUp()
{
    open(PortalScene::Role::Portal);
    QVERIFY(scene->command(u"mute"_s));
    QElapsedTimer time;
    time.start();
    for (int count = 0; count < 300'000; ++count) {
        input().press(PointerButton::Left);
        input().release(PointerButton::Left);
    }
    bool isTyped = false;
    input().type(u"x"_s, &context, [&](bool) { isTyped = true; });
    QTest::qWait(50);
    QVERIFY(!isTyped);
    QVERIFY(time.elapsed() < 10'000);
    time.start();
    services.reset();
    QVERIFY(time.elapsed() < 3'000);
}

void tst_PortalInput::theConsentIsRemembered()
{
    open(PortalScene::Role::Portal);
    QCOMPARE(RestoreToken(scene->tokenFile()).read(), u"token-1"_s);
    QVERIFY(scene->command(u"close"_s));
    QVERIFY(eventually([this] { return state() == State::Idle; }));
    QTest::qWait(150);
    scene->forgetRecord();
    input().moveBy(1, 1);
    QVERIFY(scene->waitFor(
        {u"register vornaserver"_s, u"create"_s, u"select 3 2 token-1"_s, u"start"_s}));
    QVERIFY(scene->command(u"answer 0"_s));
    QVERIFY(eventually([this] { return state() == State::Open; }));
    QCOMPARE(RestoreToken(scene->tokenFile()).read(), u"token-2"_s);
}

void tst_PortalInput::aRefusalKeepsTheToken()
{
    begin(PortalScene::Role::Portal);
    RestoreToken(scene->tokenFile()).write(u"token-0"_s);
    input().moveBy(1, 1);
    QVERIFY(scene->waitForLine(u"select 3 2 token-0"_s));
    QVERIFY(scene->waitForLine(u"start"_s));
    QVERIFY(scene->command(u"answer 1"_s));
    QVERIFY(eventually([this] { return state() == State::Refused; }));
    QCOMPARE(RestoreToken(scene->tokenFile()).read(), u"token-0"_s);
}

void tst_PortalInput::theTokenIsForTheUserOnly()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"a/b/token"_s);
    const RestoreToken token(path);
    QCOMPARE(token.read(), QString());
    token.write(u"first"_s);
    token.write(u"secönd"_s);
    QCOMPARE(token.read(), u"secönd"_s);
    const auto others = QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ReadOther |
                        QFileDevice::WriteOther;
    QCOMPARE(QFile::permissions(path) & others, QFileDevice::Permissions());
    QCOMPARE(QFile::permissions(folder.filePath(u"a/b"_s)) & others, QFileDevice::Permissions());
    token.write({});
    QVERIFY(!QFile::exists(path));
    Folders::write(path, QByteArray(100'000, 'x'));
    QCOMPARE(token.read(), QString());
}

QTEST_GUILESS_MAIN(tst_PortalInput)
#include "tst_PortalInput.moc"
