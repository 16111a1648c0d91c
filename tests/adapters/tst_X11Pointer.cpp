// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "adapters/X11Scene.h"

#include <limits>

using namespace Qt::StringLiterals;

using namespace platform;

namespace {

// What the X protocol calls the buttons.
constexpr int MainButton = 1;
constexpr int MiddleButton = 2;
constexpr int SecondButton = 3;

constexpr Location Somewhere{120, 80};

} // namespace

/// Moves the pointer and clicks on a real display and looks at what another client gets.
class tst_X11Pointer : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void thePointerGoesWhereItIsSent_data();
    void thePointerGoesWhereItIsSent();
    void theLocationIsThatOfThePointer();
    void theScreenThatTheDisplayNamesIsMeant();
    void eachMoveIsPosted();
    void aClickPressesAndReleasesWhereThePointerIs_data();
    void aClickPressesAndReleasesWhereThePointerIs();
    void aButtonKeepsItsMeaningForLeftHanders_data();
    void aButtonKeepsItsMeaningForLeftHanders();
    void aButtonThatWasTakenAwayIsNotPressed();
    void aButtonThatIsDownGoesUpAfterTheMappingChanged();
    void aReleaseWithoutAPressReleases();
    void clicksArePostedWithoutWaitingForTheServer();
    void destructionReleasesWhatIsDown();

private:
    void moveTo(const Location &position);
    void post(MouseEventType type, MouseButton button = MouseButton::Left);
    bool setMapping(const char *mapping);
    bool waitForButtons(std::size_t count);

    std::unique_ptr<X11Scene> scene;
};

void tst_X11Pointer::init()
{
    scene = std::make_unique<X11Scene>();
    QVERIFY(scene->isReady());
    moveTo(Somewhere);
    QTRY_COMPARE(scene->watcher.pointerPosition(), QPoint(120, 80));
    scene->watcher.clear();
}

void tst_X11Pointer::cleanup()
{
    scene->services.reset();
    scene->watcher.sync();
    QVERIFY(scene->isNothingDown());
    scene.reset();
}

void tst_X11Pointer::moveTo(const Location &position)
{
    scene->services->postMouse({}, std::vector{MouseEvent{.position = position}}, EventTap::Hid);
}

void tst_X11Pointer::post(MouseEventType type, MouseButton button)
{
    // A different position on purpose: a click does not move the pointer.
    scene->services->postMouse(SourceState::HidSystem,
                               std::vector{MouseEvent{type, {1, 2}, button}}, EventTap::Hid);
}

bool tst_X11Pointer::setMapping(const char *mapping)
{
    const bool isSet =
        scene->server.run(u"xmodmap"_s, {u"-e"_s, u"pointer = %1"_s.arg(QLatin1String(mapping))});
    scene->letServicesLearn();
    return isSet;
}

bool tst_X11Pointer::waitForButtons(std::size_t count)
{
    return waitUntil([&] { return scene->watcher.buttons().size() >= count; });
}

void tst_X11Pointer::thePointerGoesWhereItIsSent_data()
{
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");
    QTest::addColumn<QPoint>("position");
    const double infinity = std::numeric_limits<double>::infinity();
    QTest::newRow("a pixel") << 10. << 20. << QPoint(10, 20);
    QTest::newRow("within a pixel") << 12.7 << 30.2 << QPoint(12, 30);
    QTest::newRow("the last pixel") << 799. << 599. << QPoint(799, 599);
    QTest::newRow("beyond the corner") << 800. << 600. << QPoint(799, 599);
    QTest::newRow("before the screen") << -5000. << -5000. << QPoint(0, 0);
    QTest::newRow("beyond 16 bits") << 70000. << 70000. << QPoint(799, 599);
    QTest::newRow("before 16 bits") << -70000. << 40. << QPoint(0, 40);
    QTest::newRow("at infinity") << infinity << -infinity << QPoint(799, 0);
    QTest::newRow("nowhere") << std::numeric_limits<double>::quiet_NaN() << 7. << QPoint(0, 7);
}

void tst_X11Pointer::thePointerGoesWhereItIsSent()
{
    QFETCH(double, x);
    QFETCH(double, y);
    moveTo({x, y});
    QTRY_VERIFY(!scene->watcher.raw().empty());
    QTEST(scene->watcher.pointerPosition(), "position");
}

void tst_X11Pointer::theLocationIsThatOfThePointer()
{
    QCOMPARE(scene->services->pointerLocation(), Somewhere);
    moveTo({799, 0});
    QCOMPARE(scene->services->pointerLocation(), (Location{799, 0}));
}

void tst_X11Pointer::theScreenThatTheDisplayNamesIsMeant()
{
    const XServer server({640, 480}, {u"-screen"_s, u"1"_s, u"320x240x24"_s});
    QVERIFY(server.isRunning());
    const auto display = [&](const char *screen) {
        return X11Connection((server.display().toLatin1() + screen).constData());
    };
    QCOMPARE(display(".0").root(), display("").root());
    QVERIFY(display(".1").root() != display("").root());
}

void tst_X11Pointer::eachMoveIsPosted()
{
    const std::vector<MouseEvent> moves(3, {.position = Somewhere});
    scene->services->postMouse({}, moves, EventTap::Hid);
    QTRY_COMPARE(scene->watcher.raw().size(), std::size_t{3});
    QCOMPARE(scene->watcher.raw().back().kind, RawInput::Kind::Motion);
}

void tst_X11Pointer::aClickPressesAndReleasesWhereThePointerIs_data()
{
    QTest::addColumn<int>("pressType");
    QTest::addColumn<int>("releaseType");
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("meaning");
    QTest::newRow("left") << int(MouseEventType::LeftDown) << int(MouseEventType::LeftUp)
                          << int(MouseButton::Left) << MainButton;
    QTest::newRow("right") << int(MouseEventType::RightDown) << int(MouseEventType::RightUp)
                           << int(MouseButton::Right) << SecondButton;
    QTest::newRow("centre") << int(MouseEventType::OtherDown) << int(MouseEventType::OtherUp)
                            << int(MouseButton::Center) << MiddleButton;
}

void tst_X11Pointer::aClickPressesAndReleasesWhereThePointerIs()
{
    QFETCH(int, pressType);
    QFETCH(int, releaseType);
    QFETCH(int, button);
    const std::vector<MouseEvent> click = {
        {MouseEventType(pressType), {1, 2}, MouseButton(button)},
        {MouseEventType(releaseType), {1, 2}, MouseButton(button)}};
    scene->services->postMouse(SourceState::HidSystem, click, EventTap::Hid);
    QVERIFY(waitForButtons(2));
    const auto buttons = scene->watcher.buttons();
    QVERIFY(buttons[0].isDown);
    QVERIFY(!buttons[1].isDown);
    for (const ButtonInput &input : buttons) {
        QTEST(input.button, "meaning");
        QCOMPARE(input.position, QPoint(120, 80));
    }
    QCOMPARE(scene->watcher.raw().size(), std::size_t{2}); // No motion.
}

void tst_X11Pointer::aButtonKeepsItsMeaningForLeftHanders_data()
{
    QTest::addColumn<QByteArray>("mapping");
    QTest::newRow("as delivered") << QByteArray("1 2 3 4 5 6 7 8 9 10");
    QTest::newRow("left-handed") << QByteArray("3 2 1 4 5 6 7 8 9 10");
    QTest::newRow("all exchanged") << QByteArray("2 3 1 4 5 6 7 8 9 10");
}

void tst_X11Pointer::aButtonKeepsItsMeaningForLeftHanders()
{
    QFETCH(QByteArray, mapping);
    QVERIFY(setMapping(mapping.constData()));
    post(MouseEventType::LeftDown);
    post(MouseEventType::LeftUp);
    post(MouseEventType::RightDown, MouseButton::Right);
    post(MouseEventType::RightUp, MouseButton::Right);
    post(MouseEventType::OtherDown, MouseButton::Center);
    post(MouseEventType::OtherUp, MouseButton::Center);
    QVERIFY(waitForButtons(6));
    std::vector<int> meanings;
    for (const ButtonInput &input : scene->watcher.buttons()) {
        meanings.push_back(input.isDown ? input.button : -input.button);
    }
    QCOMPARE(meanings, (std::vector{1, -1, 3, -3, 2, -2}));

    // Services that start on such a display know it too.
    scene->services = scene->makeServices();
    scene->watcher.clear();
    post(MouseEventType::LeftDown);
    post(MouseEventType::LeftUp);
    QVERIFY(waitForButtons(2));
    QCOMPARE(scene->watcher.buttons().front().button, MainButton);
}

void tst_X11Pointer::aButtonThatWasTakenAwayIsNotPressed()
{
    QVERIFY(setMapping("1 0 3 4 5 6 7 8 9 10"));
    post(MouseEventType::OtherDown, MouseButton::Center);
    post(MouseEventType::OtherUp, MouseButton::Center);
    post(MouseEventType::LeftDown);
    post(MouseEventType::LeftUp);
    QVERIFY(waitForButtons(2));
    QCOMPARE(scene->watcher.raw().size(), std::size_t{2});
}

void tst_X11Pointer::aButtonThatIsDownGoesUpAfterTheMappingChanged()
{
    post(MouseEventType::LeftDown);
    QVERIFY(waitForButtons(1));
    // The mapping of a pressed button cannot be changed, but where others are is free.
    QVERIFY(scene->server.run(u"xmodmap"_s, {u"-e"_s, u"pointer = 1 3 2 4 5 6 7 8 9 10"_s}));
    scene->letServicesLearn();
    post(MouseEventType::LeftUp);
    QTRY_VERIFY(scene->isNothingDown());
}

void tst_X11Pointer::aReleaseWithoutAPressReleases()
{
    post(MouseEventType::RightDown, MouseButton::Right);
    QVERIFY(waitForButtons(1));
    const auto others = scene->makeServices();
    others->postMouse({}, std::vector{MouseEvent{MouseEventType::RightUp, {}, MouseButton::Right}},
                      EventTap::Hid);
    QTRY_VERIFY(scene->isNothingDown());
}

void tst_X11Pointer::clicksArePostedWithoutWaitingForTheServer()
{
    scene->haltServer();
    for (int count = 0; count < 10; ++count) {
        post(MouseEventType::LeftDown);
        post(MouseEventType::LeftUp);
        moveTo(Somewhere);
    }
    QVERIFY(scene->watcher.buttons().empty());
    scene->server.resume();
    QVERIFY(waitForButtons(20));
}

void tst_X11Pointer::destructionReleasesWhatIsDown()
{
    post(MouseEventType::LeftDown);
    post(MouseEventType::OtherDown, MouseButton::Center);
    QVERIFY(waitForButtons(2));
    scene->services.reset();
    QTRY_VERIFY(scene->isNothingDown());
}

QTEST_GUILESS_MAIN(tst_X11Pointer)
#include "tst_X11Pointer.moc"
