// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What fingers do on the page of a phone, in a real browser, as other programs of the desktop see
// it.

#include "support/Sample.h"
#include "support/session/InputObserver.h"
#include "support/session/PhoneScene.h"
#include "support/session/TypingDesk.h"

#include <QJsonArray>
#include <QTest>

using namespace std::chrono_literals;

namespace {

/// What a button of the page has to bring to the desktop.
struct Expected
{
    QString selector;
    QByteArray key;
};

} // namespace

class tst_PhonePage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void aFingerMovesThePointer();
    void slowFingersMoveByPixels();
    void movesDoNotWaitForFrames();
    void tapsClick_data();
    void tapsClick();
    void twoTapsAreADoubleClick();
    void twoFingersScroll_data();
    void twoFingersScroll();
    void aFingerOnTheStripScrolls();
    void aTapAndAFingerDrag();
    void aFingerThatRestsDrags();
    void aPinchTurnsTheWheelWithControl();
    void touchesThatTheSystemTakesAreReleased();
    void mouseButtonsOfThePageClick();
    void mouseButtonsOfThePageHold();

    void keysArrive_data();
    void keysArrive();
    void keysRepeatWhileTheyAreHeld();
    void aModifierIsForOneKey();
    void modifiersAreLockedByTwoTaps();

    void wordsArriveAsTheyAreComposed();
    void correctionsReplaceWhatWasTyped();
    void textsArriveAtOnce_data();
    void textsArriveAtOnce();
    void editingKeysArrive();

private:
    QPointF middleOfPad() { return page->place(PageElement::of(u"#pad"_s)).center(); }
    bool openView(const QString &tab);
    bool observe();
    double delayOfMoves();
    bool openProgram();
    bool focusTextField();
    bool programHas(const QString &text);

    std::unique_ptr<TypingDesk> desk;
    std::unique_ptr<PhoneScene> scene;
    std::unique_ptr<PhonePage> page;
    std::unique_ptr<InputObserver> observer;
    std::unique_ptr<ControlsProgram> program;
};

void tst_PhonePage::initTestCase()
{
    desk = TypingDesk::make();
    QVERIFY(desk->start());
    scene = std::make_unique<PhoneScene>(desk->session());
    QCOMPARE(scene->problem(), QByteArray());
    scene->startWeb();
    const QString address = scene->web().pairingAddress();
    QVERIFY2(!address.isEmpty(), scene->web().text().constData());
    page = std::make_unique<PhonePage>(scene->phoneBrowser());
    QCOMPARE(scene->problem(), QByteArray());
    QVERIFY(page->goTo(address));
    QVERIFY(page->awaitReady());
}

void tst_PhonePage::cleanupTestCase()
{
    observer.reset();
    program.reset();
    if (page) {
        QCOMPARE(page->messages().join(u'\n'), QString());
    }
    page.reset();
    QCOMPARE(scene->web().problemAtEnd(), QByteArray());
    QCOMPARE(desk->problemAtEnd(), QByteArray());
}

/// Whatever the test before has left on the page.
void tst_PhonePage::init()
{
    QVERIFY(page->reload());
    QVERIFY(page->awaitReady());
}

void tst_PhonePage::cleanup()
{
    if (observer) {
        QVERIFY(waitUntil([this] { return observer->isNothingDown(); }));
    }
}

bool tst_PhonePage::openView(const QString &tab)
{
    const PageElement button = PageElement::of(u"#tab-"_s + tab);
    return page->tap(button) && page->awaits(PageElement::of(u"#view-"_s + tab));
}

/// Lets another program see what arrives.
bool tst_PhonePage::observe()
{
    program.reset();
    if (!observer) {
        observer = InputObserver::of(desk->session());
    }
    if (!observer || !openView(u"pad"_s)) {
        return false;
    }
    observer->clear();
    return true;
}

/// From the moment of a touch until the page knows it, in milliseconds; a median.
double tst_PhonePage::delayOfMoves()
{
    constexpr int Count = 40;
    const QPointF middle = middleOfPad();
    const auto toJson = [](const QPointF &place) {
        return QJsonObject{{u"x"_s, place.x()}, {u"y"_s, place.y()}};
    };
    page->evaluate(u"window.delays = []; undefined"_s);
    // No multiple of a frame, so that the moves come at all its times.
    page->ask(u"timedMoves"_s, {{u"from"_s, toJson(middle)},
                                {u"to"_s, toJson(middle + QPointF(40, 60))},
                                {u"count"_s, Count},
                                {u"pause"_s, 57}});
    Sample delays;
    for (const auto &delay : page->evaluate(u"delays"_s).toArray()) {
        delays.add(delay.toDouble());
    }
    return delays.size() == Count ? delays.median() : -1;
}

bool tst_PhonePage::openProgram()
{
    observer.reset();
    program = desk->open(ControlsProgram::Kind::Qt);
    return program->isReady();
}

bool tst_PhonePage::focusTextField()
{
    return openView(u"pad"_s) && page->tap(PageElement::of(u"#text-field"_s)) &&
           page->await(u"document.activeElement.id === 'text-field'"_s);
}

bool tst_PhonePage::programHas(const QString &text)
{
    const bool isThere = waitUntil([&] { return program->text() == text; });
    if (!isThere) {
        qWarning("It has \"%s\".", qUtf8Printable(program->text()));
    }
    return isThere;
}

void tst_PhonePage::aFingerMovesThePointer()
{
    QVERIFY(observe());
    const QPointF before = observer->pointer();
    QVERIFY(page->gesture(TouchGesture().down(0, middleOfPad()).moveAll({60, 40}, 200ms).upAll()));
    QVERIFY(waitUntil([&] { return observer->pointer().x() > before.x() + 30; }));
    const QPointF way = observer->pointer() - before;
    QVERIFY(way.y() > 20);
    QVERIFY(way.x() > way.y());
    QVERIFY(
        page->gesture(TouchGesture().down(0, middleOfPad()).moveAll({-60, -40}, 200ms).upAll()));
    // How far a finger leads depends on its speed, which is not the same on a busy machine.
    QVERIFY(waitUntil([&] {
        const QPointF rest = observer->pointer() - before;
        return rest.x() < way.x() - 30 && rest.y() < way.y() - 20;
    }));
    QCOMPARE(observer->pressedButtons(), QByteArrayList());
    QCOMPARE(observer->wheel(), QPointF());
}

/// So that small things can be pointed at.
void tst_PhonePage::slowFingersMoveByPixels()
{
    QVERIFY(observe());
    const QPointF before = observer->pointer();
    QVERIFY(page->gesture(
        TouchGesture().down(0, middleOfPad()).wait(250ms).moveAll({20, 0}, 1600ms).upAll()));
    QVERIFY(waitUntil([&] { return observer->pointer() != before; }));
    const QPointF way = observer->pointer() - before;
    QVERIFY2(way.x() > 2 && way.x() < 20, QByteArray::number(way.x()).constData());
    QCOMPARE(way.y(), 0.0);
}

void tst_PhonePage::movesDoNotWaitForFrames()
{
    QVERIFY(observe());
    QVERIFY(page->await(u"document.querySelector('.catcher')"_s));
    page->evaluate(u"document.getElementById('pad').addEventListener('touchmove', (event) => {"
                   "    delays.push(performance.now() - event.timeStamp);"
                   "})"_s);
    const double delay = delayOfMoves();
    page->evaluate(
        u"for (const canvas of document.querySelectorAll('.catcher')) canvas.hidden = true"_s);
    const double delayWithoutCanvas = delayOfMoves();
    qInfo("%.1f ms, without the canvas %.1f ms", delay, delayWithoutCanvas);
    QVERIFY(delay > 0);
    QVERIFY(delay < 0.8 * delayWithoutCanvas);
}

void tst_PhonePage::tapsClick_data()
{
    QTest::addColumn<int>("fingers");
    QTest::addColumn<QByteArray>("button");
    QTest::newRow("one finger") << 1 << QByteArray("left");
    QTest::newRow("two fingers") << 2 << QByteArray("right");
    QTest::newRow("three fingers") << 3 << QByteArray("middle");
}

void tst_PhonePage::tapsClick()
{
    QFETCH(int, fingers);
    QFETCH(QByteArray, button);
    QVERIFY(observe());
    const QPointF before = observer->pointer();
    QVERIFY(page->gesture(TouchGesture::tap(middleOfPad() - QPointF(60, 0), fingers)));
    QVERIFY(waitUntil([&] { return !observer->pressedButtons().isEmpty(); }));
    QVERIFY(waitUntil([&] { return observer->isNothingDown(); }));
    QCOMPARE(observer->pressedButtons(), QByteArrayList{button});
    QCOMPARE(observer->pointer(), before);
}

void tst_PhonePage::twoTapsAreADoubleClick()
{
    QVERIFY(observe());
    const QPointF place = middleOfPad();
    QVERIFY(page->gesture(TouchGesture()
                              .down(0, place)
                              .wait(50ms)
                              .upAll()
                              .wait(100ms)
                              .down(0, place)
                              .wait(50ms)
                              .upAll()));
    QVERIFY(waitUntil([&] { return observer->pressedButtons().size() == 2; }));
    QCOMPARE(observer->pressedButtons(), (QByteArrayList{"left", "left"}));
}

void tst_PhonePage::twoFingersScroll_data()
{
    QTest::addColumn<bool>("isNatural");
    QTest::addColumn<bool>("oneRests");
    QTest::addColumn<QPointF>("offset");
    QTest::addColumn<QPointF>("direction");
    const QPointF up(0, -120);
    const QPointF left(-120, 0);
    QTest::newRow("as paper under the fingers") << true << false << up << QPointF(0, 1);
    QTest::newRow("as a wheel") << false << false << up << QPointF(0, -1);
    QTest::newRow("while one of them rests") << true << true << up << QPointF(0, 1);
    QTest::newRow("sideways") << true << false << left << QPointF(1, 0);
}

void tst_PhonePage::twoFingersScroll()
{
    QFETCH(bool, isNatural);
    QFETCH(bool, oneRests);
    QFETCH(QPointF, offset);
    QFETCH(QPointF, direction);
    QVERIFY(page->setSetting(u"isNatural"_s, isNatural));
    QVERIFY(observe());
    const QPointF before = observer->pointer();
    const QPointF place = middleOfPad() + QPointF(-30, 0) - offset / 2;
    TouchGesture gesture = TouchGesture().down(0, place).wait(20ms).down(1, place + QPointF(60, 0));
    if (oneRests) {
        gesture.wait(100ms).move(1, offset, 300ms);
    } else {
        gesture.moveAll(offset, 300ms);
    }
    // Held still at the end, so that it does not glide on.
    QVERIFY(page->gesture(gesture.wait(200ms).upAll()));
    const auto along = [&] { return QPointF::dotProduct(observer->wheel(), direction); };
    QVERIFY(waitUntil([&] { return along() >= 1; }));
    const QPointF across = observer->wheel() - along() * direction;
    QCOMPARE(across, QPointF());
    QCOMPARE(observer->pointer(), before);
    QCOMPARE(observer->pressedButtons(), QByteArrayList());
    QVERIFY(page->setSetting(u"isNatural"_s, true));
}

void tst_PhonePage::aFingerOnTheStripScrolls()
{
    QVERIFY(observe());
    const QPointF before = observer->pointer();
    const QPointF place = page->place(PageElement::of(u"#strip"_s)).center();
    // Up and then to the side, where it is still the finger of the strip.
    QVERIFY(page->gesture(TouchGesture()
                              .down(0, place)
                              .moveAll({0, -120}, 300ms)
                              .moveAll({-100, 0}, 200ms)
                              .wait(200ms)
                              .upAll()));
    QVERIFY(waitUntil([&] { return observer->wheel().y() >= 1; }));
    QCOMPARE(observer->wheel().x(), 0.0);
    QCOMPARE(observer->pointer(), before);
    QCOMPARE(observer->pressedButtons(), QByteArrayList());
}

void tst_PhonePage::aTapAndAFingerDrag()
{
    QVERIFY(observe());
    const QPointF before = observer->pointer();
    const QPointF place = middleOfPad();
    QVERIFY(page->gesture(
        TouchGesture().down(0, place).wait(50ms).upAll().wait(80ms).down(0, place).moveAll({80, 0},
                                                                                           200ms)));
    QVERIFY(waitUntil([&] { return observer->pointer().x() > before.x() + 20; }));
    QVERIFY(observer->isButtonDown());
    QVERIFY(page->gesture(TouchGesture().upAll()));
    QVERIFY(waitUntil([&] { return observer->isNothingDown(); }));
    QCOMPARE(observer->pressedButtons(), QByteArrayList{"left"});
}

void tst_PhonePage::aFingerThatRestsDrags()
{
    QVERIFY(observe());
    const QPointF before = observer->pointer();
    QVERIFY(
        page->gesture(TouchGesture().down(0, middleOfPad()).wait(600ms).moveAll({-80, 0}, 200ms)));
    QVERIFY(waitUntil([&] { return observer->pointer().x() < before.x() - 20; }));
    QVERIFY(observer->isButtonDown());
    QVERIFY(page->gesture(TouchGesture().upAll()));
    QVERIFY(waitUntil([&] { return observer->isNothingDown(); }));
    QCOMPARE(observer->pressedButtons(), QByteArrayList{"left"});
}

void tst_PhonePage::aPinchTurnsTheWheelWithControl()
{
    QVERIFY(observe());
    const QPointF place = middleOfPad();
    QVERIFY(page->gesture(TouchGesture()
                              .down(0, place - QPointF(30, 0))
                              .down(1, place + QPointF(30, 0))
                              .moveEach({{0, {-80, 0}}, {1, {80, 0}}}, 300ms)));
    QVERIFY(waitUntil([&] { return observer->wheel().y() <= -1; }));
    QCOMPARE(observer->pressedKeys(), QByteArrayList{"Control_L"});
    QVERIFY(!observer->isNothingDown());
    QVERIFY(page->gesture(TouchGesture().upAll()));
    QVERIFY(waitUntil([&] { return observer->isNothingDown(); }));
    QCOMPARE(observer->pressedButtons(), QByteArrayList());
}

void tst_PhonePage::touchesThatTheSystemTakesAreReleased()
{
    QVERIFY(observe());
    QVERIFY(
        page->gesture(TouchGesture().down(0, middleOfPad()).wait(600ms).moveAll({40, 0}, 100ms)));
    QVERIFY(waitUntil([&] { return observer->isButtonDown(); }));
    QVERIFY(page->gesture(TouchGesture().cancel()));
    QVERIFY(waitUntil([&] { return observer->isNothingDown(); }));
}

void tst_PhonePage::mouseButtonsOfThePageClick()
{
    QVERIFY(observe());
    for (const char *button : {"left", "middle", "right"}) {
        QVERIFY(page->tap(
            PageElement::of(u"#mouse-buttons [data-button=%1]"_s.arg(QLatin1StringView(button)))));
    }
    QVERIFY(waitUntil([&] { return observer->pressedButtons().size() == 3; }));
    QCOMPARE(observer->pressedButtons(), (QByteArrayList{"left", "middle", "right"}));
}

/// While another finger moves.
void tst_PhonePage::mouseButtonsOfThePageHold()
{
    QVERIFY(observe());
    const QPointF before = observer->pointer();
    const QPointF button =
        page->place(PageElement::of(u"#mouse-buttons [data-button=left]"_s)).center();
    QVERIFY(page->gesture(
        TouchGesture().down(0, button).wait(50ms).down(1, middleOfPad()).move(1, {-80, 0}, 200ms)));
    QVERIFY(waitUntil([&] { return observer->pointer().x() < before.x() - 20; }));
    QVERIFY(observer->isButtonDown());
    QVERIFY(page->gesture(TouchGesture().upAll()));
    QVERIFY(waitUntil([&] { return observer->isNothingDown(); }));
    QCOMPARE(observer->pressedButtons(), QByteArrayList{"left"});
}

void tst_PhonePage::keysArrive_data()
{
    QTest::addColumn<QString>("view");
    QTest::addColumn<QList<Expected>>("buttons");
    const auto keys = [](const QString &place, const QList<std::pair<QString, QByteArray>> &names) {
        QList<Expected> all;
        for (const auto &[name, key] : names) {
            all.append({place + u" [data-key=%1]"_s.arg(name), key});
        }
        return all;
    };
    QTest::newRow("row below the touchpad") << u"pad"_s
                                            << keys(u"#key-row"_s, {{u"Escape"_s, "Escape"},
                                                                    {u"Tab"_s, "Tab"},
                                                                    {u"ArrowLeft"_s, "Left"},
                                                                    {u"ArrowDown"_s, "Down"},
                                                                    {u"ArrowUp"_s, "Up"},
                                                                    {u"ArrowRight"_s, "Right"},
                                                                    {u"Home"_s, "Home"},
                                                                    {u"End"_s, "End"},
                                                                    {u"PageUp"_s, "Prior"},
                                                                    {u"PageDown"_s, "Next"},
                                                                    {u"Delete"_s, "Delete"}});
    QList<std::pair<QString, QByteArray>> functions;
    for (int number = 1; number <= 12; ++number) {
        const QByteArray name = "F" + QByteArray::number(number);
        functions.append({QString::fromLatin1(name), name});
    }
    QTest::newRow("function keys") << u"keys"_s << keys(u"[data-keys=functions]"_s, functions);
    QTest::newRow("editing") << u"keys"_s
                             << keys(u"[data-keys=editing]"_s, {{u"Escape"_s, "Escape"},
                                                                {u"Tab"_s, "Tab"},
                                                                {u"Backspace"_s, "BackSpace"},
                                                                {u"Enter"_s, "Return"},
                                                                {u"Insert"_s, "Insert"},
                                                                {u"Delete"_s, "Delete"},
                                                                {u"Home"_s, "Home"},
                                                                {u"End"_s, "End"},
                                                                {u"PageUp"_s, "Prior"},
                                                                {u"PageDown"_s, "Next"},
                                                                {u"ContextMenu"_s, "Menu"}});
    QTest::newRow("arrows") << u"keys"_s
                            << keys(u"[data-keys=arrows]"_s, {{u"ArrowLeft"_s, "Left"},
                                                              {u"ArrowDown"_s, "Down"},
                                                              {u"ArrowUp"_s, "Up"},
                                                              {u"ArrowRight"_s, "Right"}});
    QList<Expected> shortcuts;
    for (const auto &[name, key] :
         QList<std::pair<QString, QByteArray>>{{u"copy"_s, "Control+c"},
                                               {u"paste"_s, "Control+v"},
                                               {u"cut"_s, "Control+x"},
                                               {u"undo"_s, "Control+z"},
                                               {u"selectAll"_s, "Control+a"},
                                               {u"save"_s, "Control+s"},
                                               {u"find"_s, "Control+f"},
                                               {u"newTab"_s, "Control+t"},
                                               {u"closeTab"_s, "Control+w"},
                                               {u"menu"_s, "Super_L"}}) {
        shortcuts.append({u"[data-shortcut=%1]"_s.arg(name), key});
    }
    // The window manager of X11 keeps these to itself.
    if (TypingDesk::isWayland()) {
        shortcuts.append({u"[data-shortcut=nextWindow]"_s, "Alt+Tab"});
        shortcuts.append({u"[data-shortcut=closeWindow]"_s, "Alt+F4"});
        shortcuts.append({u"[data-keys=editing] [data-key=PrintScreen]"_s, "Print"});
    }
    QTest::newRow("shortcuts") << u"keys"_s << shortcuts;
    QTest::newRow("media") << u"media"_s
                           << keys(u"#media"_s, {{u"MediaTrackPrevious"_s, "XF86AudioPrev"},
                                                 {u"MediaPlayPause"_s, "XF86AudioPlay"},
                                                 {u"MediaTrackNext"_s, "XF86AudioNext"},
                                                 {u"AudioVolumeDown"_s, "XF86AudioLowerVolume"},
                                                 {u"AudioVolumeMute"_s, "XF86AudioMute"},
                                                 {u"AudioVolumeUp"_s, "XF86AudioRaiseVolume"}});
    QTest::newRow("slides") << u"media"_s
                            << QList<Expected>{{u"[data-slides=start]"_s, "F5"},
                                               {u"[data-slides=startHere]"_s, "Shift+F5"},
                                               {u"[data-slides=black]"_s, "b"},
                                               {u"[data-slides=end]"_s, "Escape"},
                                               {u"#slides [data-key=PageUp]"_s, "Prior"},
                                               {u"#slides [data-key=PageDown]"_s, "Next"}};
}

void tst_PhonePage::keysArrive()
{
    QFETCH(QString, view);
    QFETCH(QList<Expected>, buttons);
    QVERIFY(observe());
    QVERIFY(openView(view));
    for (const Expected &button : buttons) {
        observer->clear();
        QVERIFY2(page->tap(PageElement::of(button.selector)), qPrintable(button.selector));
        QVERIFY2(waitUntil([&] { return observer->pressedKeys().contains(button.key); }),
                 qPrintable(button.selector + u" brings "_s +
                            QString::fromLatin1(observer->pressedKeys().join(' '))));
        QVERIFY(waitUntil([&] { return observer->isNothingDown(); }));
        QCOMPARE(observer->pressedKeys().count(button.key), 1);
    }
}

void tst_PhonePage::keysRepeatWhileTheyAreHeld()
{
    QVERIFY(observe());
    const QPointF arrow = page->place(PageElement::of(u"#key-row [data-key=ArrowLeft]"_s)).center();
    QVERIFY(page->gesture(TouchGesture().down(0, arrow).wait(1000ms).upAll()));
    QVERIFY(waitUntil([&] { return observer->pressedKeys().count("Left") >= 3; }));
    QVERIFY(waitUntil([&] { return observer->isNothingDown(); }));
    const qsizetype count = observer->pressedKeys().size();
    // What was under way when the finger was lifted has arrived when the next key has.
    QVERIFY(page->tap(PageElement::of(u"#key-row [data-key=Escape]"_s)));
    QVERIFY(waitUntil([&] { return observer->pressedKeys().contains("Escape"); }));
    QVERIFY(observer->pressedKeys().count("Left") <= count + 1);
}

void tst_PhonePage::aModifierIsForOneKey()
{
    QVERIFY(observe());
    for (const char *modifier : {"Control", "Shift"}) {
        observer->clear();
        const PageElement button =
            PageElement::of(u"#key-row [data-key=%1]"_s.arg(QLatin1StringView(modifier)));
        QVERIFY(page->tap(button));
        QCOMPARE(page->attribute(button, u"data-state"_s), u"once"_s);
        QVERIFY(page->tap(PageElement::of(u"#key-row [data-key=ArrowLeft]"_s)));
        QVERIFY(waitUntil(
            [&] { return observer->pressedKeys().contains(modifier + QByteArray("+Left")); }));
        QCOMPARE(page->attribute(button, u"data-state"_s), u"off"_s);
        QVERIFY(page->tap(PageElement::of(u"#key-row [data-key=Home]"_s)));
        QVERIFY(waitUntil([&] { return observer->pressedKeys().contains("Home"); }));
    }
    // A character of the phone's keyboard is a key then.
    observer->clear();
    QVERIFY(focusTextField());
    QVERIFY(page->tap(PageElement::of(u"#key-row [data-key=Control]"_s)));
    QVERIFY(page->insert(u"s"_s));
    QVERIFY(waitUntil([&] { return observer->pressedKeys().contains("Control+s"); }));
    QVERIFY(page->insert(u"s"_s));
    QVERIFY(waitUntil([&] { return observer->pressedKeys().contains("s"); }));
}

void tst_PhonePage::modifiersAreLockedByTwoTaps()
{
    QVERIFY(observe());
    const PageElement shift = PageElement::of(u"#key-row [data-key=Shift]"_s);
    const PageElement arrow = PageElement::of(u"#key-row [data-key=ArrowRight]"_s);
    const QPointF place = page->place(shift).center();
    QVERIFY(page->gesture(TouchGesture()
                              .down(0, place)
                              .wait(40ms)
                              .upAll()
                              .wait(100ms)
                              .down(0, place)
                              .wait(40ms)
                              .upAll()));
    QVERIFY(page->await(
        u"document.querySelector('#key-row [data-key=Shift]').dataset.state === 'locked'"_s));
    QVERIFY(page->tap(arrow));
    QVERIFY(page->tap(arrow));
    QVERIFY(waitUntil([&] { return observer->pressedKeys().count("Shift+Right") == 2; }));
    QVERIFY(page->tap(shift));
    QCOMPARE(page->attribute(shift, u"data-state"_s), u"off"_s);
    QVERIFY(page->tap(arrow));
    QVERIFY(waitUntil([&] { return observer->pressedKeys().contains("Right"); }));
}

void tst_PhonePage::wordsArriveAsTheyAreComposed()
{
    QVERIFY(openProgram());
    QVERIFY(focusTextField());
    QVERIFY(page->compose({u"G"_s, u"Gr"_s, u"Grü"_s}, u"Grüße"_s));
    QVERIFY(programHas(u"Grüße"_s));
    QVERIFY(page->insert(u" "_s));
    // The last suggestion is another word than the letters.
    QVERIFY(page->compose({u"a"_s, u"au"_s, u"aus"_s}, u"Haus"_s));
    QVERIFY(programHas(u"Grüße Haus"_s));
}

void tst_PhonePage::correctionsReplaceWhatWasTyped()
{
    QVERIFY(openProgram());
    QVERIFY(focusTextField());
    QVERIFY(page->compose({u"t"_s, u"te"_s, u"teh"_s}, u"teh"_s));
    QVERIFY(programHas(u"teh"_s));
    QVERIFY(page->replace(3, u"the"_s));
    QVERIFY(programHas(u"the"_s));
    QVERIFY(page->insert(u" 👍"_s));
    QVERIFY(programHas(u"the 👍"_s));
    QVERIFY(page->replace(2, u"🇩🇪"_s));
    QVERIFY(programHas(u"the 🇩🇪"_s));
}

void tst_PhonePage::textsArriveAtOnce_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("a swiped word") << u"swiping "_s;
    QTest::newRow("an emoji") << u"😀"_s;
    QTest::newRow("emoji of several characters") << u"👩‍👩‍👧🏳️‍🌈"_s;
    QTest::newRow("dictation")
        << u"Das ist ein längerer Satz, den niemand getippt hat. "_s.repeated(5);
    QTest::newRow("another alphabet") << u"Съешь же ещё этих мягких булок"_s;
}

void tst_PhonePage::textsArriveAtOnce()
{
    QFETCH(QString, text);
    QVERIFY(openProgram());
    QVERIFY(focusTextField());
    QVERIFY(page->insert(text));
    QVERIFY(programHas(text));
}

void tst_PhonePage::editingKeysArrive()
{
    QVERIFY(openProgram());
    QVERIFY(focusTextField());
    QVERIFY(page->insert(u"abc"_s));
    QVERIFY(programHas(u"abc"_s));
    QVERIFY(page->tapKey(u"Backspace"_s));
    QVERIFY(programHas(u"ab"_s));
    QVERIFY(page->tapKey(u"Enter"_s));
    QVERIFY(page->insert(u"d"_s));
    QVERIFY(programHas(u"ab\nd"_s));
    // Also what the page has forgotten.
    for (int count = 0; count < 3; ++count) {
        QVERIFY(page->tapKey(u"Backspace"_s));
    }
    QVERIFY(programHas(u"a"_s));
}

QTEST_GUILESS_MAIN(tst_PhonePage)
#include "tst_PhonePage.moc"
