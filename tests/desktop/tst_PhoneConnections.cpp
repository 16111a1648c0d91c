// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How phones come in, are lost and found again, and are put out, in a real browser.

#include "support/session/InputObserver.h"
#include "support/session/PhoneScene.h"
#include "support/session/ServerScene.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTest>

using namespace std::chrono_literals;

namespace {

constexpr int AcceptButton = 0;
constexpr int RejectButton = 1;

/// How soon the page shows that the computer is gone, and that it is back. On an idle machine both
/// take less than a second; here sanitizers and other tests run beside it.
constexpr auto SoonLost = 4s;
constexpr auto SoonFound = 4s;

/// Nothing says that no click comes any more.
constexpr auto TimeForLateClicks = 1s;

const QString IsInert = u"document.getElementById('pad').inert"_s;

/// What of the page is broader than the screen, and which buttons are smaller than a finger.
const QString Misfits = uR"((() => {
    const broad = document.scrollingElement.scrollWidth > innerWidth ? ["the page is too broad"] : [];
    const small = [...document.querySelectorAll("button, select, a.button, label.button")]
        .filter((button) => button.checkVisibility() && button.getBoundingClientRect().width > 0)
        .filter((button) => {
            const { width, height } = button.getBoundingClientRect();
            return width < 40 || height < 40;
        })
        .map((button) => `${button.id || button.textContent} is ${button.getBoundingClientRect().width}` +
            ` x ${button.getBoundingClientRect().height}`);
    return [...broad, ...small].join("; ");
})())"_s;

QString stateIs(const QString &state)
{
    return u"document.body.dataset.state === '%1'"_s.arg(state);
}

/// What the camera of a phone reads in a picture.
QString readCode(const QString &picture)
{
    ChildProcess reader;
    reader.start(u"zbarimg"_s,
                 {u"--quiet"_s, u"--raw"_s, u"-Sdisable"_s, u"-Sqrcode.enable"_s, picture});
    reader.waitForFinished();
    return QString::fromUtf8(reader.readAllStandardOutput().trimmed());
}

} // namespace

class tst_PhoneConnections : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void aPictureOnTheDeskLetsAPhoneIn();
    void aPictureInTheTerminalLetsAPhoneIn();
    void aCodeCanBeTyped();
    void aCodeWorksOnce();
    void aPhoneComesBackWithItsOwnSecret();
    void aSecondWindowOfAPhoneTakesItsPlace();
    void aPhoneIsRemovedOnTheDesk();
    void aDeskShowsWhoComesAndGoes();
    void otherDoorsAreClosedOnTheDesk();
    void aServerIsMissedOnTheDesk();
    void aDeskWithoutNetworkSaysSo();
    void theProgramIsEndedOnTheDesk();
    void aPhoneIsAcceptedByTheUser();
    void aPhoneIsRefusedByTheUser();
    void aLostNetworkIsShownAndFoundAgain_data();
    void aLostNetworkIsShownAndFoundAgain();
    void anAnswerThatIsMissingIsShown();
    void aPhoneWithoutNetworkKnowsItAtOnce();
    void aKilledProgramIsFoundAgain();
    void aStoppedServerIsShownAndFoundAgain();
    void whatAPhoneHoldsIsReleasedWhenItGoes();
    void nothingIsRepeatedAfterALoss();
    void everyViewFitsOnEveryScreen_data();
    void everyViewFitsOnEveryScreen();

private:
    bool pair();
    bool openDesk();
    bool hold();
    QPointF middleOfPad() { return page->place(PageElement::of(u"#pad"_s)).center(); }
    qint64 timeOf(const QString &expression);

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<PhoneScene> phones;
    std::unique_ptr<PhonePage> page;
    std::unique_ptr<PhonePage> deskPage;
    std::unique_ptr<InputObserver> observer;
};

void tst_PhoneConnections::initTestCase()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    phones = std::make_unique<PhoneScene>(scene->session());
    phones->phoneBrowser();
    QCOMPARE(phones->problem(), QByteArray());
}

void tst_PhoneConnections::init()
{
    scene->beginAnew();
    QVERIFY(scene->start());
    phones->startWeb();
    QVERIFY(!phones->web().pairingAddress().isEmpty());
    page = std::make_unique<PhonePage>(phones->phoneBrowser());
}

void tst_PhoneConnections::cleanup()
{
    QVERIFY(phones->setCable(true));
    QVERIFY(phones->shapeCable(1000));
    if (observer) {
        QVERIFY(waitUntil([this] { return observer->isNothingDown(); }));
    }
    observer.reset();
    page.reset();
    deskPage.reset();
    QCOMPARE(phones->web().problemAtEnd(), QByteArray());
    QCOMPARE(scene->problemAtEnd(), QByteArray());
}

/// Brings the phone in by the terminal.
bool tst_PhoneConnections::pair()
{
    return page->goTo(phones->web().pairingAddress()) && page->awaitReady();
}

/// Opens the desktop's own page as its menu does.
bool tst_PhoneConnections::openDesk()
{
    deskPage = std::make_unique<PhonePage>(phones->deskBrowser(), PhoneLook::desktop());
    return waitUntil([this] { return QFile::exists(phones->web().pageFile()); }) &&
           deskPage->goTo(u"file://"_s + phones->web().pageFile()) &&
           deskPage->awaits(PageElement::of(u"#qr"_s));
}

/// Holds the left button by a finger that rests, and moves on.
bool tst_PhoneConnections::hold()
{
    observer = InputObserver::of(scene->session());
    return observer &&
           page->gesture(
               TouchGesture().down(0, middleOfPad()).wait(600ms).moveAll({30, 0}, 100ms)) &&
           waitUntil([this] { return observer->isButtonDown(); });
}

/// Milliseconds until that is true on the page; -1 if it never is.
qint64 tst_PhoneConnections::timeOf(const QString &expression)
{
    QElapsedTimer time;
    time.start();
    return page->await(expression) ? time.elapsed() : -1;
}

void tst_PhoneConnections::aPictureOnTheDeskLetsAPhoneIn()
{
    QVERIFY(openDesk());
    const QString picture = scene->session().path(u"desk.png"_s);
    QVERIFY(deskPage->saveScreenshotAs(picture));
    const QString address = readCode(picture);
    static const QRegularExpression form(u"^http://10\\.77\\.0\\.1:8642/#[0-9A-Z]{16}$"_s);
    QVERIFY2(form.match(address).hasMatch(), qPrintable(address));
    QVERIFY(page->goTo(address));
    QVERIFY(page->awaitReady());
    // Neither the address nor the way back shows the code.
    QCOMPARE(page->url(), phones->address());
    QVERIFY(!page->evaluate(u"isSecureContext"_s).toBool());
    QVERIFY(deskPage->await(u"document.body.innerText.includes('Android')"_s));
    QVERIFY(scene->showsLight(StatusLight::Green));
}

void tst_PhoneConnections::aPictureInTheTerminalLetsAPhoneIn()
{
    const QString address = phones->web().pairingAddress();
    QVERIFY2(address.startsWith(phones->address() + u'#'), phones->web().text().constData());
    QVERIFY(page->goTo(address));
    QVERIFY(page->awaitReady());
}

/// As people type: in small letters, with and without hyphens.
void tst_PhoneConnections::aCodeCanBeTyped()
{
    const QString code = phones->web().pairingAddress().section(u'#', 1);
    QVERIFY(page->goTo(phones->address()));
    QVERIFY(page->await(stateIs(u"door"_s)));
    QVERIFY(page->tap(PageElement::of(u"#code"_s)));
    QVERIFY(page->insert(u"abc"_s));
    QVERIFY(page->tap(PageElement::of(u"#code-part button"_s)));
    QVERIFY(page->await(u"document.getElementById('code-fault').textContent !== ''"_s));
    QVERIFY(page->fill(PageElement::of(u"#code"_s),
                       code.first(4).toLower() + u'-' + code.sliced(4).toLower()));
    QVERIFY(page->tap(PageElement::of(u"#code-part button"_s)));
    QVERIFY(page->awaitReady());
}

void tst_PhoneConnections::aCodeWorksOnce()
{
    const QString address = phones->web().pairingAddress();
    QVERIFY(page->goTo(address));
    QVERIFY(page->awaitReady());
    PhonePage second(phones->phoneBrowser());
    QVERIFY(second.goTo(address));
    QVERIFY(second.await(stateIs(u"door"_s)));
    QVERIFY(second.await(u"document.getElementById('door-reason').textContent.length > 20"_s));
    QVERIFY(page->awaitReady());
}

void tst_PhoneConnections::aPhoneComesBackWithItsOwnSecret()
{
    QVERIFY(pair());
    QVERIFY(page->reload());
    QVERIFY(page->awaitReady());
    QCOMPARE(phones->web().end(), std::optional(0));
    phones->startWeb();
    QVERIFY(page->awaitReady());
    QVERIFY(page->goTo(phones->address()));
    QVERIFY(page->awaitReady());
}

/// And the first one takes it back when its user wants that.
void tst_PhoneConnections::aSecondWindowOfAPhoneTakesItsPlace()
{
    const PageElement here = PageElement::button(u"Use it here"_s);
    QVERIFY(pair());
    PhonePage second(phones->phoneBrowser());
    QVERIFY(second.goTo(phones->address()));
    const QString stored = u"localStorage['quillmote.phone']"_s;
    const QString secret = page->evaluate(stored).toString();
    QVERIFY(!secret.isEmpty());
    second.evaluate(u"%1 = '%2'"_s.arg(stored, secret));
    QVERIFY(second.reload());
    QVERIFY(second.awaitReady());
    QVERIFY(page->awaits(here));
    QVERIFY(page->text(PageElement::of(u"#door-reason"_s)).contains(u"in another window"_s));
    QVERIFY(page->place(PageElement::of(u"#code"_s)).isEmpty());
    QVERIFY(!second.has(here));
    QVERIFY(page->tap(here));
    QVERIFY(page->awaitReady());
    QVERIFY(second.awaits(here));
}

void tst_PhoneConnections::aPhoneIsRemovedOnTheDesk()
{
    QVERIFY(openDesk());
    QVERIFY(pair());
    QVERIFY(deskPage->tap(PageElement::of(u"#phones button"_s)));
    QVERIFY(deskPage->tap(PageElement::of(u"#question [value=remove]"_s)));
    QVERIFY(page->await(stateIs(u"door"_s)));
    QVERIFY(page->await(u"document.getElementById('door-reason').textContent.length > 20"_s));
    QVERIFY(page->reload());
    QVERIFY(page->await(stateIs(u"door"_s)));
    QVERIFY(deskPage->await(u"!document.body.innerText.includes('Android')"_s));
    QVERIFY(scene->showsLight(StatusLight::Orange));
}

void tst_PhoneConnections::aDeskShowsWhoComesAndGoes()
{
    QVERIFY(openDesk());
    QVERIFY(deskPage->await(u"document.querySelectorAll('#phones li').length === 0"_s));
    QVERIFY(pair());
    const QString isOn = u"document.querySelector('#phones .lamp.on') !== null"_s;
    QVERIFY(deskPage->await(isOn));
    page.reset();
    QVERIFY(deskPage->await(u"!(%1)"_s.arg(isOn)));
    QVERIFY(deskPage->await(u"document.querySelectorAll('#phones li').length === 1"_s));
}

void tst_PhoneConnections::otherDoorsAreClosedOnTheDesk()
{
    QVERIFY(openDesk());
    QVERIFY(deskPage->tap(PageElement::of(u"#closed"_s)));
    QVERIFY(waitUntil(
        [this] { return scene->storedSetting(u"listenAddress"_s).toString() == "127.0.0.1"_L1; }));
    QVERIFY(deskPage->await(u"document.getElementById('closed').checked"_s));
    // Phones still come in.
    QVERIFY(pair());
    QVERIFY(deskPage->tap(PageElement::of(u"#closed"_s)));
    QVERIFY(waitUntil(
        [this] { return scene->storedSetting(u"listenAddress"_s).toString().isEmpty(); }));
}

void tst_PhoneConnections::aServerIsMissedOnTheDesk()
{
    QVERIFY(openDesk());
    QVERIFY(deskPage->await(u"document.getElementById('troubles').textContent === ''"_s));
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    QVERIFY(deskPage->await(u"document.getElementById('troubles').textContent !== ''"_s));
    QVERIFY(deskPage->saveScreenshot(u"desk-without-server"_s));
    QVERIFY(scene->start());
    QVERIFY(deskPage->await(u"document.getElementById('troubles').textContent === ''"_s));
}

void tst_PhoneConnections::aDeskWithoutNetworkSaysSo()
{
    QVERIFY(openDesk());
    QVERIFY(phones->setCable(false));
    QVERIFY(deskPage->awaits(PageElement::of(u"#instead"_s)));
    QVERIFY(deskPage->saveScreenshot(u"desk-without-network"_s));
    QVERIFY(phones->setCable(true));
    QVERIFY2(deskPage->awaits(PageElement::of(u"#qr"_s)),
             qPrintable(deskPage->text(PageElement::of(u"body"_s))));
}

void tst_PhoneConnections::theProgramIsEndedOnTheDesk()
{
    QVERIFY(openDesk());
    QVERIFY(deskPage->tap(PageElement::of(u"#quit"_s)));
    QVERIFY(waitUntil([this] { return !phones->web().isRunning(); }));
    QVERIFY(!QFile::exists(phones->web().pageFile()));
    QVERIFY(deskPage->await(u"document.getElementById('main').hidden"_s));
}

void tst_PhoneConnections::aPhoneIsAcceptedByTheUser()
{
    scene->storeSetting(u"pairNeedsApproval"_s, true);
    QVERIFY(page->goTo(phones->web().pairingAddress()));
    const auto question = scene->waitForDialog(u"VornaServer"_s);
    QVERIFY(question);
    QVERIFY(page->await(stateIs(u"asking"_s)));
    QVERIFY(page->evaluate(IsInert).toBool());
    QVERIFY(page->saveScreenshot(u"phone-asking"_s));
    QVERIFY(scene->clickButton(*question, AcceptButton));
    QVERIFY(page->awaitReady());
    // The user is not asked again.
    QVERIFY(page->reload());
    QVERIFY(page->awaitReady());
}

void tst_PhoneConnections::aPhoneIsRefusedByTheUser()
{
    scene->storeSetting(u"pairNeedsApproval"_s, true);
    QVERIFY(page->goTo(phones->web().pairingAddress()));
    const auto question = scene->waitForDialog(u"VornaServer"_s);
    QVERIFY(question);
    QVERIFY(scene->clickButton(*question, RejectButton));
    QVERIFY(page->await(stateIs(u"door"_s)));
    QVERIFY(page->await(u"document.getElementById('door-reason').textContent.length > 20"_s));
}

void tst_PhoneConnections::aLostNetworkIsShownAndFoundAgain_data()
{
    QTest::addColumn<bool>("isSilent");
    QTest::newRow("the phone has no network") << false;
    QTest::newRow("all packets are lost") << true;
}

void tst_PhoneConnections::aLostNetworkIsShownAndFoundAgain()
{
    QFETCH(bool, isSilent);
    QVERIFY(pair());
    for (int turn = 0; turn < 2; ++turn) {
        QVERIFY(isSilent ? phones->losePackets() : phones->setCable(false));
        const qint64 lost = timeOf(stateIs(u"lost"_s));
        QVERIFY(page->evaluate(IsInert).toBool());
        // Long enough that a browser would wait with another connection.
        QTest::qWait(3'000);
        QVERIFY(isSilent ? phones->shapeCable(1000) : phones->setCable(true));
        const qint64 found = timeOf(stateIs(u"ready"_s));
        qInfo("Lost after %lld ms, found again after %lld ms.", lost, found);
        QVERIFY(lost >= 0 && lost < SoonLost / 1ms);
        QVERIFY(found >= 0 && found < SoonFound / 1ms);
        QVERIFY(!page->evaluate(IsInert).toBool());
    }
}

/// Long before the connection is given up. What the finger does meanwhile may still arrive, so the
/// page takes it.
void tst_PhoneConnections::anAnswerThatIsMissingIsShown()
{
    QVERIFY(pair());
    page->evaluate(u"states = [], touched = 0;"
                   "document.getElementById('pad').addEventListener('touchmove', () => {"
                   "    touched ||= performance.now();"
                   "});"
                   "new MutationObserver(() => {"
                   "    states.push([document.body.dataset.state, performance.now() - touched,"
                   "                 document.getElementById('pad').inert]);"
                   "}).observe(document.body, {attributeFilter: ['data-state']});"_s);
    QVERIFY(phones->losePackets());
    QVERIFY(page->gesture(TouchGesture().down(0, middleOfPad()).moveAll({30, 0}, 100ms).upAll()));
    QVERIFY(page->await(stateIs(u"lost"_s)));
    const QJsonArray states = page->evaluate(u"states"_s).toArray();
    QVERIFY(states.size() >= 2);
    qInfo("Shown after %.0f ms, lost after %.0f ms.", states.first()[1].toDouble(),
          states.last()[1].toDouble());
    QCOMPARE(states.first()[0].toString(), u"silent"_s);
    QCOMPARE(states.first()[2].toBool(), false);
    QCOMPARE(states.last()[0].toString(), u"lost"_s);
    QCOMPARE(states.last()[2].toBool(), true);
    QVERIFY(phones->shapeCable(1000));
    QVERIFY(page->awaitReady());
}

/// As after the switch for aeroplanes.
void tst_PhoneConnections::aPhoneWithoutNetworkKnowsItAtOnce()
{
    QVERIFY(pair());
    QVERIFY(page->setOffline(true));
    const qint64 lost = timeOf(stateIs(u"lost"_s));
    QVERIFY(page->setOffline(false));
    const qint64 found = timeOf(stateIs(u"ready"_s));
    qInfo("Lost after %lld ms, found again after %lld ms.", lost, found);
    QVERIFY(lost >= 0 && lost < SoonLost / 1ms);
    QVERIFY(found >= 0 && found < SoonFound / 1ms);
}

void tst_PhoneConnections::aKilledProgramIsFoundAgain()
{
    QVERIFY(pair());
    QVERIFY(hold());
    phones->web().kill();
    QVERIFY(waitUntil([this] { return observer->isNothingDown(); }));
    QVERIFY(page->gesture(TouchGesture().upAll()));
    const qint64 lost = timeOf(stateIs(u"lost"_s));
    phones->startWeb();
    QVERIFY(!phones->web().pairingAddress().isEmpty());
    const qint64 found = timeOf(stateIs(u"ready"_s));
    qInfo("Lost after %lld ms, found again after %lld ms.", lost, found);
    QVERIFY(lost >= 0 && lost < SoonLost / 1ms);
    QVERIFY(found >= 0 && found < SoonFound / 1ms);
    QCOMPARE(observer->pressedButtons(), QByteArrayList{"left"});
}

void tst_PhoneConnections::aStoppedServerIsShownAndFoundAgain()
{
    QVERIFY(pair());
    QVERIFY(hold());
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    QVERIFY(waitUntil([this] { return observer->isNothingDown(); }));
    QVERIFY(page->gesture(TouchGesture().upAll()));
    QVERIFY(page->await(stateIs(u"missing"_s)));
    QVERIFY(page->evaluate(IsInert).toBool());
    QVERIFY(page->gesture(TouchGesture::tap(middleOfPad())));
    QVERIFY(scene->start());
    const qint64 found = timeOf(stateIs(u"ready"_s));
    qInfo("Found again after %lld ms.", found);
    QVERIFY(found >= 0 && found < SoonFound / 1ms);
    QVERIFY(page->gesture(TouchGesture::tap(middleOfPad(), 2)));
    QVERIFY(waitUntil([this] { return observer->pressedButtons().contains("right"); }));
    runEventLoop(TimeForLateClicks);
    QCOMPARE(observer->pressedButtons(), (QByteArrayList{"left", "right"}));
}

void tst_PhoneConnections::whatAPhoneHoldsIsReleasedWhenItGoes()
{
    QVERIFY(pair());
    QVERIFY(hold());
    page.reset();
    QVERIFY(waitUntil([this] { return observer->isNothingDown(); }));
    page = std::make_unique<PhonePage>(phones->phoneBrowser());
    QVERIFY(pair());
    QVERIFY(hold());
    // Nobody says that this one has gone.
    QVERIFY(phones->setCable(false));
    QVERIFY(waitUntil([this] { return observer->isNothingDown(); }));
}

void tst_PhoneConnections::nothingIsRepeatedAfterALoss()
{
    QVERIFY(pair());
    observer = InputObserver::of(scene->session());
    QVERIFY(observer);
    QVERIFY(phones->setCable(false));
    QVERIFY(page->await(stateIs(u"lost"_s)));
    QVERIFY(page->gesture(TouchGesture::tap(middleOfPad())));
    QVERIFY(page->gesture(TouchGesture::tap(middleOfPad(), 3)));
    QVERIFY(phones->setCable(true));
    QVERIFY(page->awaitReady());
    QVERIFY(page->gesture(TouchGesture::tap(middleOfPad(), 2)));
    QVERIFY(waitUntil([this] { return observer->pressedButtons().contains("right"); }));
    runEventLoop(TimeForLateClicks);
    QCOMPARE(observer->pressedButtons(), QByteArrayList{"right"});
}

void tst_PhoneConnections::everyViewFitsOnEveryScreen_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("isDark");
    QTest::addColumn<int>("textSize");
    QTest::newRow("small") << QSize(320, 568) << false << 100;
    QTest::newRow("small-dark") << QSize(320, 568) << true << 100;
    QTest::newRow("large") << QSize(430, 932) << false << 100;
    QTest::newRow("large-dark") << QSize(430, 932) << true << 100;
    QTest::newRow("across") << QSize(844, 390) << false << 100;
    QTest::newRow("with-its-keyboard") << QSize(390, 440) << false << 100;
    QTest::newRow("large-text") << QSize(390, 844) << false << 200;
}

/// And nothing that can be tapped is too small for a finger.
void tst_PhoneConnections::everyViewFitsOnEveryScreen()
{
    QFETCH(QSize, size);
    QFETCH(bool, isDark);
    QFETCH(int, textSize);
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    QVERIFY(page->resize(size));
    QVERIFY(page->setDark(isDark));
    const auto look = [&](const QString &view) {
        page->evaluate(u"document.documentElement.style.fontSize = '%1%'"_s.arg(textSize));
        page->saveScreenshot(u"phone-%1-%2"_s.arg(name, view));
        return page->evaluate(Misfits).toString();
    };
    QVERIFY(page->goTo(phones->address()));
    QVERIFY(page->await(stateIs(u"door"_s)));
    QCOMPARE(look(u"door"_s), QString());
    QVERIFY(pair());
    for (const QString &view : {u"pad"_s, u"keys"_s, u"media"_s, u"exchange"_s, u"settings"_s}) {
        QVERIFY(page->tap(PageElement::of(u"#tab-"_s + view)));
        QCOMPARE(look(view), QString());
    }
    QVERIFY(page->tap(PageElement::of(u"#tab-pad"_s)));
    QVERIFY(phones->setCable(false));
    QVERIFY(page->await(stateIs(u"lost"_s)));
    QCOMPARE(look(u"lost"_s), QString());
    QVERIFY(phones->setCable(true));
    deskPage = std::make_unique<PhonePage>(
        phones->deskBrowser(), PhoneLook{{size.width() + 600, 800}, 1, isDark, u"de-DE"_s, false});
    QVERIFY(deskPage->goTo(u"file://"_s + phones->web().pageFile()));
    QVERIFY(deskPage->awaits(PageElement::of(u"#qr"_s)));
    QVERIFY(deskPage->saveScreenshot(u"desk-"_s + name));
}

QTEST_GUILESS_MAIN(tst_PhoneConnections)
#include "tst_PhoneConnections.moc"
