// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/LackOfPorts.h"
#include "support/ServerScene.h"
#include "support/TrayDouble.h"

#include <QTest>

#include <utility>

#include <sys/resource.h>

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

    std::unique_ptr<ServerScene> m_scene;
};

void tst_TrayIcon::init()
{
    open(DesktopSession::Tray);
}

void tst_TrayIcon::open(DesktopSession::Parts parts)
{
    m_scene = std::make_unique<ServerScene>(parts);
    QCOMPARE(m_scene->session().problem(), QByteArray());
}

void tst_TrayIcon::cleanup()
{
    const QByteArray problem = m_scene->problemAtEnd();
    m_scene.reset();
    QCOMPARE(problem, QByteArray());
}

/// The text of the third item, without its check mark.
QImage tst_TrayIcon::startStopText() const
{
    constexpr int CheckMarkWidth = 24;
    const TrayMenu menu = m_scene->menu();
    if (!menu.open())
        return {};
    const QImage row = menu.row(Item::StartStop);
    if (!menu.leave())
        return {};
    return row.copy(row.rect().adjusted(CheckMarkWidth, 0, 0, 0));
}

/// The balloon of the start comes up to a second later, and may cover a part of the menu.
bool tst_TrayIcon::closeBalloon() const
{
    const auto balloon = [this] { return m_scene->view().balloon(m_scene->server().processId()); };
    return waitUntil([&] { return balloon().has_value(); }) &&
           m_scene->user().click(balloon()->place.center()) &&
           waitUntil([&] { return !balloon().has_value(); });
}

bool tst_TrayIcon::stopByMenu() const
{
    return m_scene->menu().choose(Item::StartStop) &&
           waitUntil([this] { return !m_scene->server().isListening(); });
}

void tst_TrayIcon::isOrangeWhileTheServerListens()
{
    QVERIFY(m_scene->start());
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("light-orange-listening")));
}

void tst_TrayIcon::isGreenWhileADeviceIsConnected()
{
    QVERIFY(m_scene->start());
    Handheld handheld(m_scene->port());
    QVERIFY(m_scene->showsLight(StatusLight::Green));
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("light-green-connected")));
    handheld.leave();
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("light-orange-after-leaving")));
}

void tst_TrayIcon::isBlackOnceTheServerIsStopped()
{
    QVERIFY(m_scene->start());
    const quint16 port = m_scene->port();
    QVERIFY(stopByMenu());
    QVERIFY(m_scene->showsLight(StatusLight::Black));
    QVERIFY(!Handheld(port).isConnected());
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("light-black-stopped")));
}

void tst_TrayIcon::isRedWhenTheServerHasNoPortToListenOn()
{
    QVERIFY(m_scene->start());
    QVERIFY(closeBalloon());
    // Twice the same: nothing else was in front of it.
    QImage stopText;
    QVERIFY(waitUntil([&] {
        const QImage before = std::exchange(stopText, startStopText());
        return !stopText.isNull() && stopText == before;
    }));
    QCOMPARE(m_scene->problemAtEnd(), QByteArray());

    m_scene->launch(LackOfPorts::bring);
    QVERIFY(m_scene->showsLight(StatusLight::Red));
    QVERIFY(!m_scene->server().isListening());
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("light-red-not-started")));
    QVERIFY(waitUntil([&] { return startStopText() == stopText; }));

    QVERIFY(LackOfPorts::end(m_scene->server().processId()));
    QVERIFY(m_scene->menu().choose(Item::StartStop));
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    QVERIFY(m_scene->server().isListening());
}

void tst_TrayIcon::isRedWhenARestartFailsAndOrangeOnceItWorks()
{
    QVERIFY(m_scene->start());
    QVERIFY(stopByMenu());
    const auto process = static_cast<pid_t>(m_scene->server().processId());
    rlimit usual{};
    QCOMPARE(prlimit(process, RLIMIT_NOFILE, nullptr, &usual), 0);
    const rlimit none{3, usual.rlim_max};
    QCOMPARE(prlimit(process, RLIMIT_NOFILE, &none, nullptr), 0);
    QVERIFY(m_scene->menu().choose(Item::StartStop));
    QVERIFY(m_scene->showsLight(StatusLight::Red));
    QVERIFY(!m_scene->server().isListening());

    QCOMPARE(prlimit(process, RLIMIT_NOFILE, &usual, nullptr), 0);
    QVERIFY(m_scene->menu().choose(Item::StartStop));
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    QVERIFY(m_scene->server().isListening());
}

void tst_TrayIcon::turnsOrangeWhenOneOfTwoDevicesLeaves()
{
    QVERIFY(m_scene->start());
    Handheld staying(m_scene->port());
    Handheld leaving(m_scene->port());
    QVERIFY(staying.ask(commandText(QStringLiteral("SERVER_INFO"))));
    QVERIFY(leaving.ask(commandText(QStringLiteral("SERVER_INFO"))));
    QVERIFY(m_scene->showsLight(StatusLight::Green));
    leaving.leave();
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    QVERIFY(staying.ask(commandText(QStringLiteral("SERVER_INFO"))));
}

void tst_TrayIcon::startBalloonIsSeenAtTheIcon()
{
    QVERIFY(m_scene->start());
    const qint64 process = m_scene->server().processId();
    QVERIFY(waitUntil([&] { return m_scene->view().balloon(process).has_value(); }));
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("balloon-server-started")));
    const QRect balloon = m_scene->view().balloon(process).value_or(SeenWindow()).place;
    const QRect icon = m_scene->view().trayIcon(process).value_or(QRect());
    // The balloon's arrow points into the icon.
    QVERIFY(balloon.intersects(icon.adjusted(-1, -1, 1, 1)));
}

void tst_TrayIcon::listensAtOnceWhereTheTrayTakesNoIconIn()
{
    open(DesktopSession::NoParts);
    const TrayDouble tray(m_scene->session().display(), TrayDouble::Manner::Ignores);
    QVERIFY(tray.isReady());
    m_scene->launch();
    QVERIFY(waitUntil([&] { return tray.sinceRequest().isValid(); }, GenerousLimit, 1ms));
    QVERIFY(waitUntil([&] { return m_scene->server().isListening(); }, GenerousLimit, 1ms));
    const qint64 listening = tray.sinceRequest().elapsed();
    const qint64 process = m_scene->server().processId();
    QVERIFY(waitUntil([&] { return m_scene->view().balloon(process).has_value(); }));
    const qint64 balloon = tray.sinceRequest().elapsed();
    qInfo("Listening %lld ms after the icon was shown, balloon %lld ms after it.", listening,
          balloon);
    // Far from the second that the balloons wait; sanitizers and the looks take their time.
    QVERIFY(listening < 700);
    QVERIFY(balloon >= 900 && balloon < 3'000);
}

void tst_TrayIcon::choiceInTheFirstSecondHolds()
{
    open(DesktopSession::NoParts);
    const TrayDouble tray(m_scene->session().display(), TrayDouble::Manner::TakesToOrigin);
    QVERIFY(tray.isReady());
    m_scene->launch();
    const qint64 process = m_scene->server().processId();
    QVERIFY(waitUntil([&] { return m_scene->view().trayIcon(process).has_value(); }));
    QVERIFY(m_scene->menu().choose(Item::StartStop));
    qInfo("Chosen %lld ms after the icon was shown.", tray.sinceRequest().elapsed());
    QVERIFY(waitUntil([&] { return !m_scene->server().isListening(); }));
    // Until whatever waits for the first second is done.
    QTest::qWait(1'500);
    QVERIFY(!m_scene->server().isListening());
    QVERIFY(m_scene->showsLight(StatusLight::Black));
}

void tst_TrayIcon::pairingReplacesTheBalloon()
{
    QVERIFY(m_scene->start());
    const qint64 process = m_scene->server().processId();
    QVERIFY(waitUntil([&] { return m_scene->view().balloon(process).has_value(); }));
    const SeenWindow first = m_scene->view().balloon(process).value_or(SeenWindow());
    Handheld handheld(m_scene->port());
    const auto answer = handheld.ask(
        commandText(QStringLiteral("SERVER_PAIR"),
                    {{QStringLiteral("cmdParameters"), QStringList{"id-1", "Anna's handheld"}}}));
    QVERIFY(answer);
    QCOMPARE(answer->value(QStringLiteral("serverResponse")).toString(), QStringLiteral("OK"));
    QVERIFY(waitUntil([&] {
        const auto now = m_scene->view().balloon(process);
        return now && now->id != first.id;
    }));
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("balloon-device-connected")));
}

void tst_TrayIcon::stoppedServerOffersToStart()
{
    QVERIFY(m_scene->start());
    QVERIFY(closeBalloon());
    QVERIFY(m_scene->menu().open());
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("menu-listening")));
    QVERIFY(m_scene->menu().leave());
    const QImage stopText = startStopText();
    QVERIFY(stopByMenu());
    QVERIFY(m_scene->menu().open());
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("menu-stopped")));
    QVERIFY(m_scene->menu().click(Item::StartStop));
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    QVERIFY(waitUntil([&] { return startStopText() == stopText; }));
    QVERIFY(stopByMenu());
    const QImage startText = startStopText();
    QVERIFY(!startText.isNull() && startText != stopText);
}

void tst_TrayIcon::restartedServerServesDevices()
{
    QVERIFY(m_scene->start());
    Handheld early(m_scene->port());
    QVERIFY(early.ask(commandText(QStringLiteral("SERVER_INFO"))));
    QVERIFY(stopByMenu());
    // A connection from before the stop goes on.
    QVERIFY(early.ask(commandText(QStringLiteral("SERVER_INFO"))));
    QVERIFY(m_scene->menu().choose(Item::StartStop));
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    Handheld late(m_scene->port());
    QVERIFY(late.ask(commandText(QStringLiteral("SERVER_INFO"))));
    QVERIFY(m_scene->showsLight(StatusLight::Green));
    QVERIFY(early.ask(commandText(QStringLiteral("SERVER_INFO"))));
}

void tst_TrayIcon::aboutBoxNamesTheProgram()
{
    QVERIFY(m_scene->start());
    QVERIFY(m_scene->menu().choose(Item::About));
    auto box = m_scene->waitForDialog(QStringLiteral("QMessageBox::information()"));
    QVERIFY(box);
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("about")));
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
    QVERIFY(m_scene->waitUntilGone(*box));

    QVERIFY(m_scene->menu().choose(Item::About));
    box = m_scene->waitForDialog(QStringLiteral("QMessageBox::information()"));
    QVERIFY(box && m_scene->clickButton(*box, 0));
    QVERIFY(m_scene->waitUntilGone(*box));
    QVERIFY(m_scene->server().isRunning());
    QVERIFY(m_scene->server().isListening());
}

void tst_TrayIcon::quitEndsTheProgram()
{
    QVERIFY(m_scene->start());
    QVERIFY(m_scene->menu().choose(Item::Quit));
    QCOMPARE(m_scene->server().waitForEnd(), std::optional(0));
}

QTEST_GUILESS_MAIN(tst_TrayIcon)
#include "tst_TrayIcon.moc"
