// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/process/LackOfPorts.h"
#include "support/protocol/SessionClient.h"
#include "support/session/ServerScene.h"
#include "support/x11/TrayDouble.h"

#include <QTest>

#include <utility>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

using Item = TrayMenu::Item;
using namespace std::chrono_literals;

/// The icon in the tray, its menu and its balloons, as a person sees and uses them.
class tst_TrayIcon : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void isOrangeWhileTheServerListens();
    void isGreenWhileADeviceIsConnected();
    void isBlackOnceTheServerIsStopped();
    void isRedWhenTheServerHasNoPortToListenOn();
    void isRedWhenARestartFailsAndOrangeOnceItWorks();
    void isRedWhenTheAddressIsNoneAndOrangeOnceItIsMended();
    void turnsOrangeWhenOneOfTwoDevicesLeaves();
    void startBalloonIsSeenAtTheIcon();
    void listensAtOnceWhereTheTrayTakesNoIconIn();
    void choiceInTheFirstSecondHolds();
    void pairingReplacesTheBalloon();
    void stoppedServerOffersToStart();
    void restartedServerServesDevices();
    void aboutBoxNamesTheProgram();
    void quitEndsTheProgram();

private:
    void open(DesktopSession::Parts parts);
    QImage startStopText() const;
    bool stopByMenu() const;
    bool closeBalloon() const;

    std::unique_ptr<ServerScene> scene;
};

void tst_TrayIcon::init()
{
    open(DesktopSession::Tray);
}

void tst_TrayIcon::open(DesktopSession::Parts parts)
{
    scene = std::make_unique<ServerScene>(parts);
    QCOMPARE(scene->session().problem(), QByteArray());
}

void tst_TrayIcon::cleanup()
{
    const QByteArray problem = scene->problemAtEnd();
    scene.reset();
    QCOMPARE(problem, QByteArray());
}

/// The text of the third item, without its check mark.
QImage tst_TrayIcon::startStopText() const
{
    constexpr int CheckMarkWidth = 24;
    const TrayMenu menu = scene->menu();
    if (!menu.open()) {
        return {};
    }
    const QImage row = menu.row(Item::StartStop);
    if (!menu.leave()) {
        return {};
    }
    return row.copy(row.rect().adjusted(CheckMarkWidth, 0, 0, 0));
}

/// The balloon of the start comes up to a second later, and may cover a part of the menu.
bool tst_TrayIcon::closeBalloon() const
{
    const auto balloon = [this] { return scene->view().balloon(scene->server().processId()); };
    return waitUntil([&] { return balloon().has_value(); }) &&
           scene->user().click(balloon()->place.center()) &&
           waitUntil([&] { return !balloon().has_value(); });
}

bool tst_TrayIcon::stopByMenu() const
{
    return scene->menu().choose(Item::StartStop) &&
           waitUntil([this] { return !scene->server().isListening(); });
}

void tst_TrayIcon::isOrangeWhileTheServerListens()
{
    QVERIFY(scene->start());
    QVERIFY(scene->showsLight(StatusLight::Orange));
    QVERIFY(scene->view().saveScreenshot(u"light-orange-listening"_s));
}

void tst_TrayIcon::isGreenWhileADeviceIsConnected()
{
    QVERIFY(scene->start());
    Handheld handheld(scene->port());
    QVERIFY(scene->showsLight(StatusLight::Green));
    QVERIFY(scene->view().saveScreenshot(u"light-green-connected"_s));
    handheld.leave();
    QVERIFY(scene->showsLight(StatusLight::Orange));
    QVERIFY(scene->view().saveScreenshot(u"light-orange-after-leaving"_s));
}

void tst_TrayIcon::isBlackOnceTheServerIsStopped()
{
    QVERIFY(scene->start());
    const quint16 port = scene->port();
    QVERIFY(stopByMenu());
    QVERIFY(scene->showsLight(StatusLight::Black));
    QVERIFY(!Handheld(port).isConnected());
    QVERIFY(scene->view().saveScreenshot(u"light-black-stopped"_s));
}

void tst_TrayIcon::isRedWhenTheServerHasNoPortToListenOn()
{
    QVERIFY(scene->start());
    QVERIFY(closeBalloon());
    // Two equal pictures: nothing else was in front of it.
    QImage stopText;
    QVERIFY(waitUntil([&] {
        const QImage before = std::exchange(stopText, startStopText());
        return !stopText.isNull() && stopText == before;
    }));
    QCOMPARE(scene->problemAtEnd(), QByteArray());

    scene->launch(LackOfPorts::bring);
    QVERIFY(scene->showsLight(StatusLight::Red));
    QVERIFY(!scene->server().isListening());
    QVERIFY(scene->view().saveScreenshot(u"light-red-not-started"_s));
    QVERIFY(waitUntil([&] { return startStopText() == stopText; }));

    QVERIFY(LackOfPorts::end(scene->server().processId()));
    QVERIFY(scene->menu().choose(Item::StartStop));
    QVERIFY(scene->showsLight(StatusLight::Orange));
    QVERIFY(scene->server().isListening());
}

void tst_TrayIcon::isRedWhenARestartFailsAndOrangeOnceItWorks()
{
    QVERIFY(scene->start());
    QVERIFY(stopByMenu());
    const auto process = static_cast<pid_t>(scene->server().processId());
    rlimit usual{};
    QCOMPARE(prlimit(process, RLIMIT_NOFILE, nullptr, &usual), 0);
    const rlimit none{3, usual.rlim_max};
    QCOMPARE(prlimit(process, RLIMIT_NOFILE, &none, nullptr), 0);
    QVERIFY(scene->menu().choose(Item::StartStop));
    QVERIFY(scene->showsLight(StatusLight::Red));
    QVERIFY(!scene->server().isListening());

    QCOMPARE(prlimit(process, RLIMIT_NOFILE, &usual, nullptr), 0);
    QVERIFY(scene->menu().choose(Item::StartStop));
    QVERIFY(scene->showsLight(StatusLight::Orange));
    QVERIFY(scene->server().isListening());
}

void tst_TrayIcon::isRedWhenTheAddressIsNoneAndOrangeOnceItIsMended()
{
    scene->storeSetting(u"listenAddress"_s, u"192.168.1.300"_s);
    scene->launch();
    QVERIFY(scene->showsLight(StatusLight::Red));
    QVERIFY(!scene->server().isListening());
    const qint64 process = scene->server().processId();
    QVERIFY(waitUntil([&] { return scene->view().balloon(process).has_value(); }));
    QVERIFY(scene->view().saveScreenshot(u"light-red-address"_s));
    // The menu tries again.
    QVERIFY(closeBalloon());
    QVERIFY(scene->menu().choose(Item::StartStop));
    QVERIFY(closeBalloon());
    QVERIFY(scene->showsLight(StatusLight::Red));

    SessionClient program(scene->session().serverSocket());
    QVERIFY(program.ask(u"listen"_s, {{u"address"_s, u"127.0.0.1"_s}}).isOk());
    QVERIFY(scene->showsLight(StatusLight::Orange));
    QVERIFY(Handheld(scene->port()).isServed());
    // Now the same choice stops it.
    QVERIFY(closeBalloon());
    QVERIFY(stopByMenu());
    QVERIFY(scene->showsLight(StatusLight::Black));
}

void tst_TrayIcon::turnsOrangeWhenOneOfTwoDevicesLeaves()
{
    QVERIFY(scene->start());
    Handheld staying(scene->port());
    Handheld leaving(scene->port());
    QVERIFY(staying.ask(serverInfo()));
    QVERIFY(leaving.ask(serverInfo()));
    QVERIFY(scene->showsLight(StatusLight::Green));
    leaving.leave();
    QVERIFY(scene->showsLight(StatusLight::Orange));
    QVERIFY(staying.ask(serverInfo()));
}

void tst_TrayIcon::startBalloonIsSeenAtTheIcon()
{
    QVERIFY(scene->start());
    const qint64 process = scene->server().processId();
    QVERIFY(waitUntil([&] { return scene->view().balloon(process).has_value(); }));
    QVERIFY(scene->view().saveScreenshot(u"balloon-server-started"_s));
    const QRect balloon = scene->view().balloon(process).value_or(SeenWindow()).place;
    const QRect icon = scene->view().trayIcon(process).value_or(QRect());
    // The balloon's arrow points into the icon.
    QVERIFY(balloon.intersects(icon.adjusted(-1, -1, 1, 1)));
}

void tst_TrayIcon::listensAtOnceWhereTheTrayTakesNoIconIn()
{
    open(DesktopSession::NoParts);
    const TrayDouble tray(scene->session().display(), TrayDouble::Manner::Ignores);
    QVERIFY(tray.isReady());
    scene->launch();
    QVERIFY(waitUntil([&] { return tray.sinceRequest().isValid(); }, GenerousLimit, 1ms));
    QVERIFY(waitUntil([&] { return scene->server().isListening(); }, GenerousLimit, 1ms));
    const qint64 listening = tray.sinceRequest().elapsed();
    const qint64 process = scene->server().processId();
    QVERIFY(waitUntil([&] { return scene->view().balloon(process).has_value(); }));
    const qint64 balloon = tray.sinceRequest().elapsed();
    qInfo("Listening %lld ms after the icon was shown, balloon %lld ms after it.", listening,
          balloon);
    // Well below the second that balloons wait, with room for sanitizers and for the observation.
    QVERIFY(listening < 700);
    QVERIFY(balloon >= 900 && balloon < 3'000);
}

void tst_TrayIcon::choiceInTheFirstSecondHolds()
{
    open(DesktopSession::NoParts);
    const TrayDouble tray(scene->session().display(), TrayDouble::Manner::TakesToOrigin);
    QVERIFY(tray.isReady());
    scene->launch();
    const qint64 process = scene->server().processId();
    QVERIFY(waitUntil([&] { return scene->view().trayIcon(process).has_value(); }));
    QVERIFY(scene->menu().choose(Item::StartStop));
    qInfo("Chosen %lld ms after the icon was shown.", tray.sinceRequest().elapsed());
    QVERIFY(waitUntil([&] { return !scene->server().isListening(); }));
    // The balloons wait for the first second too, so it is over once one is shown.
    QVERIFY(waitUntil([&] { return scene->view().balloon(process).has_value(); }));
    QVERIFY(!scene->server().isListening());
    QVERIFY(scene->showsLight(StatusLight::Black));
}

void tst_TrayIcon::pairingReplacesTheBalloon()
{
    QVERIFY(scene->start());
    const qint64 process = scene->server().processId();
    QVERIFY(waitUntil([&] { return scene->view().balloon(process).has_value(); }));
    const SeenWindow first = scene->view().balloon(process).value_or(SeenWindow());
    Handheld handheld(scene->port());
    const auto answer = handheld.ask(pairing(u"id-1"_s, u"Anna's handheld"_s));
    QVERIFY(answer);
    QCOMPARE(response(answer), u"OK"_s);
    QVERIFY(waitUntil([&] {
        const auto now = scene->view().balloon(process);
        return now && now->id != first.id;
    }));
    QVERIFY(scene->view().saveScreenshot(u"balloon-device-connected"_s));
}

void tst_TrayIcon::stoppedServerOffersToStart()
{
    QVERIFY(scene->start());
    QVERIFY(closeBalloon());
    QVERIFY(scene->menu().open());
    QVERIFY(scene->view().saveScreenshot(u"menu-listening"_s));
    QVERIFY(scene->menu().leave());
    const QImage stopText = startStopText();
    QVERIFY(stopByMenu());
    QVERIFY(scene->menu().open());
    QVERIFY(scene->view().saveScreenshot(u"menu-stopped"_s));
    QVERIFY(scene->menu().click(Item::StartStop));
    QVERIFY(scene->showsLight(StatusLight::Orange));
    QVERIFY(waitUntil([&] { return startStopText() == stopText; }));
    QVERIFY(stopByMenu());
    const QImage startText = startStopText();
    QVERIFY(!startText.isNull() && startText != stopText);
}

void tst_TrayIcon::restartedServerServesDevices()
{
    QVERIFY(scene->start());
    Handheld early(scene->port());
    QVERIFY(early.ask(serverInfo()));
    QVERIFY(stopByMenu());
    // A connection from before the stop goes on.
    QVERIFY(early.ask(serverInfo()));
    QVERIFY(scene->menu().choose(Item::StartStop));
    QVERIFY(scene->showsLight(StatusLight::Orange));
    Handheld late(scene->port());
    QVERIFY(late.ask(serverInfo()));
    QVERIFY(scene->showsLight(StatusLight::Green));
    QVERIFY(early.ask(serverInfo()));
}

void tst_TrayIcon::aboutBoxNamesTheProgram()
{
    QVERIFY(scene->start());
    QVERIFY(scene->menu().choose(Item::About));
    auto box = scene->waitForDialog(u"QMessageBox::information()"_s);
    QVERIFY(box);
    QVERIFY(scene->view().saveScreenshot(u"about"_s));
    QVERIFY(scene->user().tapKey(u"Escape"_s));
    QVERIFY(scene->waitUntilGone(*box));

    QVERIFY(scene->menu().choose(Item::About));
    box = scene->waitForDialog(u"QMessageBox::information()"_s);
    QVERIFY(box && scene->clickButton(*box, 0));
    QVERIFY(scene->waitUntilGone(*box));
    QVERIFY(scene->server().isRunning());
    QVERIFY(scene->server().isListening());
}

void tst_TrayIcon::quitEndsTheProgram()
{
    QVERIFY(scene->start());
    QVERIFY(scene->menu().choose(Item::Quit));
    QCOMPARE(scene->server().waitForEnd(), std::optional(0));
}

QTEST_GUILESS_MAIN(tst_TrayIcon)
#include "tst_TrayIcon.moc"
