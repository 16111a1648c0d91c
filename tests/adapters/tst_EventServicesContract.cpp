// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "adapters/PortalScene.h"
#include "adapters/WlrootsScene.h"
#include "adapters/X11Scene.h"
#include "doubles/RecordingEventServices.h"
#include "platform/DesktopInput.h"
#include "platform/linux/input/NullEventServices.h"
#include "platform/linux/portal/PortalEventServices.h"

#include <QRegularExpression>

#include <cmath>

using namespace Qt::StringLiterals;

using namespace platform;

/// What every adapter of the contract promises, whatever it does with the events.
class tst_EventServicesContract : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theLocationIsTheSameUntilSomethingMoves_data() { addAdapters(); }
    void theLocationIsTheSameUntilSomethingMoves();
    void aClickMovesNothing_data() { addAdapters(); }
    void aClickMovesNothing();
    void keysMayComeInAnyOrder_data() { addAdapters(); }
    void keysMayComeInAnyOrder();
    void anyCodeAndAnyFlagsAreTaken_data() { addAdapters(); }
    void anyCodeAndAnyFlagsAreTaken();
    void anyPositionIsTaken_data() { addAdapters(); }
    void anyPositionIsTaken();
    void noEventsAreNoEvents_data() { addAdapters(); }
    void noEventsAreNoEvents();
    void theEndMayComeBetweenPressAndRelease_data() { addAdapters(); }
    void theEndMayComeBetweenPressAndRelease();
    void eachRequestOfInputIsAnsweredOnce_data() { addAdapters(); }
    void eachRequestOfInputIsAnsweredOnce();
    void inputTakesAnyNumbers_data() { addAdapters(); }
    void inputTakesAnyNumbers();
    void theEndMayComeWhileInputIsPressed_data() { addAdapters(); }
    void theEndMayComeWhileInputIsPressed();
    void withoutInputTheUserIsWarnedOnce();

private:
    static void addAdapters();
    std::unique_ptr<EventServices> makeAdapter(const QByteArray &name);
    void openPortal();

    std::unique_ptr<X11Scene> scene;
    std::unique_ptr<WlrootsScene> compositor; ///< Only for its own adapter.
    std::unique_ptr<PortalScene> portal;      ///< The same.
    std::unique_ptr<PortalEventServices> portalServices;
    EventRecord record;
};

void tst_EventServicesContract::addAdapters()
{
    QTest::addColumn<QByteArray>("adapter");
    for (const char *name : {"null", "recording", "X11", "wlroots", "portal"}) {
        QTest::newRow(name) << QByteArray(name);
    }
}

std::unique_ptr<EventServices> tst_EventServicesContract::makeAdapter(const QByteArray &name)
{
    if (name == "X11") {
        return scene->makeServices();
    }
    if (name == "wlroots") {
        return compositor->takeServices();
    }
    if (name == "portal") {
        return std::move(portalServices);
    }
    if (name == "recording") {
        return std::make_unique<RecordingEventServices>(record);
    }
    return std::make_unique<NullEventServices>(u"No input here."_s);
}

void tst_EventServicesContract::init()
{
    scene = std::make_unique<X11Scene>();
    QVERIFY(scene->isReady());
    if (QTest::currentDataTag() == QByteArray("wlroots")) {
        compositor = std::make_unique<WlrootsScene>();
        QVERIFY(compositor->isReady());
    }
    if (QTest::currentDataTag() == QByteArray("portal")) {
        openPortal();
    }
    record = {};
}

/// The real portal, whose user consents.
void tst_EventServicesContract::openPortal()
{
    portal = std::make_unique<PortalScene>();
    QVERIFY(portal->isReady());
    portalServices = std::make_unique<PortalEventServices>(
        std::make_shared<RemoteDesktopPortal>(portal->connection(),
                                              RestoreToken(portal->tokenFile())),
        std::make_unique<TwoScreens>(), PortalPointer::WheelStep::Notch, nullptr);
    portalServices->input().makeReady();
    QVERIFY(portal->waitForLine(u"start"_s));
    QVERIFY(portal->command(u"answer 0"_s));
    QVERIFY(waitUntil(
        [this] { return portalServices->input().makeReady() == DesktopInput::Readiness::Ready; }));
}

void tst_EventServicesContract::cleanup()
{
    // Holds for every function, whatever it posted and however it ended.
    QTRY_VERIFY(scene->isNothingDown());
    QTRY_VERIFY(!compositor || compositor->isNothingDown());
    if (portal) {
        portalServices.reset();
        // After everything else.
        QVERIFY(portal->waitForLine(u"session-closed"_s));
        QVERIFY(portal->isNothingDown());
    }
    scene.reset();
    compositor.reset();
    portal.reset();
}

void tst_EventServicesContract::theLocationIsTheSameUntilSomethingMoves()
{
    QFETCH(QByteArray, adapter);
    const auto services = makeAdapter(adapter);
    const Location location = services->pointerLocation();
    services->postKeyboard({0, true, 0, EventTap::Session});
    services->postKeyboard({0, false, 0, EventTap::Session});
    QCOMPARE(services->pointerLocation(), location);
}

void tst_EventServicesContract::aClickMovesNothing()
{
    QFETCH(QByteArray, adapter);
    const auto services = makeAdapter(adapter);
    const Location location = services->pointerLocation();
    const std::vector<MouseEvent> click = {{MouseEventType::LeftDown, location, MouseButton::Left},
                                           {MouseEventType::LeftUp, location, MouseButton::Left}};
    services->postMouse(SourceState::HidSystem, click, EventTap::Hid);
    QCOMPARE(services->pointerLocation(), location);
}

void tst_EventServicesContract::keysMayComeInAnyOrder()
{
    QFETCH(QByteArray, adapter);
    const auto services = makeAdapter(adapter);
    for (const bool isDown : {false, true, true, false, false, true, false}) {
        services->postKeyboard({12, isDown, Flag::Command, EventTap::Session});
    }
    services->postMouse({},
                        std::vector{MouseEvent{MouseEventType::OtherUp, {}, MouseButton::Center}},
                        EventTap::Hid);
    QVERIFY(std::isfinite(services->pointerLocation().x));
}

void tst_EventServicesContract::anyCodeAndAnyFlagsAreTaken()
{
    QFETCH(QByteArray, adapter);
    const auto services = makeAdapter(adapter);
    for (const int code : {0, 55, 57, 57, 63, 127, 128, 130, 0xffff}) {
        for (const bool isDown : {true, false}) {
            services->postKeyboard(
                {static_cast<KeyCode>(code), isDown, ~EventFlags{0}, EventTap::Session});
        }
    }
    QVERIFY(std::isfinite(services->pointerLocation().x));
}

void tst_EventServicesContract::anyPositionIsTaken()
{
    QFETCH(QByteArray, adapter);
    const auto services = makeAdapter(adapter);
    for (const double value : {-1e300, -70000., 0., 70000., 1e300, std::nan("")}) {
        services->postMouse({}, std::vector{MouseEvent{.position = {value, value}}}, EventTap::Hid);
    }
    const Location location = services->pointerLocation();
    QVERIFY(std::isfinite(location.x) && std::isfinite(location.y));
}

void tst_EventServicesContract::noEventsAreNoEvents()
{
    QFETCH(QByteArray, adapter);
    const auto services = makeAdapter(adapter);
    const Location location = services->pointerLocation();
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    services->postMouse({}, {}, EventTap::Hid);
    QCOMPARE(services->pointerLocation(), location);
}

void tst_EventServicesContract::theEndMayComeBetweenPressAndRelease()
{
    QFETCH(QByteArray, adapter);
    auto services = makeAdapter(adapter);
    services->postKeyboard({12, true, Flag::Command | Flag::Shift, EventTap::Session});
    services->postMouse({},
                        std::vector{MouseEvent{MouseEventType::LeftDown, {}, MouseButton::Left}},
                        EventTap::Hid);
    services.reset();
}

void tst_EventServicesContract::eachRequestOfInputIsAnsweredOnce()
{
    QFETCH(QByteArray, adapter);
    const auto services = makeAdapter(adapter);
    DesktopInput &input = services->input();
    const bool hasKeys = input.abilities().keys;
    QObject context;
    int answers = 0;
    const auto count = [&](bool isDone) { answers += isDone == hasKeys ? 1 : 1000; };
    const KeyModifiers all{true, true, true, true, true};
    input.press({.character = U'a'}, all, &context, count);
    input.release({.character = U'a'});
    input.press({.name = NamedKey::Enter}, {}, &context, count);
    input.release({.name = NamedKey::Enter});
    input.type(u"Text\n"_s, &context, count);
    input.type({}, &context, count);
    QTRY_COMPARE(answers, 4);
}

void tst_EventServicesContract::inputTakesAnyNumbers()
{
    QFETCH(QByteArray, adapter);
    const auto services = makeAdapter(adapter);
    DesktopInput &input = services->input();
    for (const double value : {-1e300, -70000., 0., 0.5, 70000., 1e300, std::nan("")}) {
        input.moveBy(value, value);
        input.moveTo({value, value});
    }
    input.scroll(12'000, -12'000);
    input.scroll(1, -1);
    input.release(PointerButton::Forward); // It is not down.
    input.release({.character = U'x'});
    input.release({});
    QVERIFY(std::isfinite(services->pointerLocation().x));
}

void tst_EventServicesContract::theEndMayComeWhileInputIsPressed()
{
    QFETCH(QByteArray, adapter);
    auto services = makeAdapter(adapter);
    DesktopInput &input = services->input();
    QObject context;
    const auto ignore = [](bool) {};
    input.press({.name = NamedKey::Shift}, {}, &context, ignore);
    input.press({.character = U'q'}, {.hasControl = true}, &context, ignore);
    input.press({.character = U'あ'}, {}, &context, ignore);
    input.press(PointerButton::Left);
    input.type(u"unfinished"_s, &context, ignore);
    services.reset();
}

void tst_EventServicesContract::withoutInputTheUserIsWarnedOnce()
{
    const auto services = makeAdapter("null");
    QCOMPARE(services->input().abilities(), DesktopInput::Abilities{});
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    services->input().release({.character = U'a'});
    services->input().release(PointerButton::Left);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"No input here"_s));
    services->input().moveBy(1, 1);
    services->input().scroll(0, 120);
    services->input().press(PointerButton::Left);
    services->input().type(u"a"_s, nullptr, [](bool) {});
    services->postKeyboard({0, true, 0, EventTap::Session});
}

QTEST_GUILESS_MAIN(tst_EventServicesContract)
#include "tst_EventServicesContract.moc"
