// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The server's icon, menu, messages and dialogs among the programs that users of sway have for
// them.

#include "support/protocol/Handheld.h"
#include "support/protocol/SessionClient.h"
#include "support/session/ServerProcess.h"
#include "support/session/StatusLight.h"
#include "support/wayland/SwayPanel.h"
#include "support/x11/Pictures.h"

#include <QDir>
#include <QSettings>
#include <QTest>

#include <csignal>

using namespace std::chrono_literals;

namespace {

/// How many items the menu has, without the separators.
constexpr int LowestMenu = 40; ///< In pixels; what is less is none.
constexpr int ItemCount = 5;
constexpr int PreferencesItem = 3;
constexpr int QuitItem = 4;

} // namespace

class tst_TrayOnSway : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void iconAndStartAreShown();
    void lightTurnsGreen();
    void menuEndsTheProgram();
    void dialogsComeToTheFront();
    void dialogThatStaysBehindIsAnnounced();
    void entryForTheLogonStartsTheServer();

private:
    bool showsLight(StatusLight light) const;
    bool click(const QPoint &place, const QString &button);
    QList<int> openMenu();
    bool choose(int item);
    bool typeKey(const QString &key);
    bool isInFront() const { return session->frontWindow(server->processId()).has_value(); }
    QRect menuLabels() const;
    void keep(const QString &name) const;

    std::unique_ptr<SwaySession> session;
    std::unique_ptr<SwayPanel> panel;
    std::unique_ptr<ServerProcess> server;
    std::unique_ptr<SessionClient> client;
};

void tst_TrayOnSway::init()
{
    panel.reset();
    session = std::make_unique<SwaySession>(SwaySession::SessionBus);
    QCOMPARE(session->problem(), QByteArray());
    panel = std::make_unique<SwayPanel>(*session);
    QVERIFY(panel->isReady());
    QSettings(session->settingsFile(), QSettings::IniFormat).setValue(u"pairNeedsApproval"_s, true);
    server = std::make_unique<ServerProcess>(*session);
    QVERIFY(server->port() != 0);
    QVERIFY(waitUntil([this] { return panel->icons().size() == 1; }));
}

void tst_TrayOnSway::cleanup()
{
    keep(QString::fromUtf8(QTest::currentTestFunction()));
    client.reset();
    const QByteArray problem = server->problemAtEnd();
    server.reset();
    panel.reset();
    session.reset();
    QCOMPARE(problem, QByteArray());
}

/// For those who want to see what has been there.
void tst_TrayOnSway::keep(const QString &name) const
{
    const QDir folder(qEnvironmentVariable("VORNA_SCREENSHOTS"));
    folder.mkpath(u"."_s);
    session->picture().save(folder.filePath(u"sway_"_s + name + u".png"_s));
}

bool tst_TrayOnSway::showsLight(StatusLight light) const
{
    return waitUntil(
        [&] { return lightIn(session->picture().copy(SwayPanel::iconPlace())) == light; });
}

/// By the server itself, as the user of the session might.
bool tst_TrayOnSway::click(const QPoint &place, const QString &button)
{
    if (!client) {
        client = std::make_unique<SessionClient>(session->serverSocket());
    }
    const QSize last = SwaySession::OutputSize - QSize(1, 1);
    return client
               ->ask(u"moveTo"_s, {{u"x"_s, place.x() / double(last.width())},
                                   {u"y"_s, place.y() / double(last.height())}})
               .isOk() &&
           client->ask(u"button"_s, {{u"button"_s, button}}).isOk();
}

bool tst_TrayOnSway::typeKey(const QString &key)
{
    return client->ask(u"key"_s, {{u"key"_s, key}}).isOk();
}

/// The labels of the open menu: what is bright above the icon, where no letters are.
QRect tst_TrayOnSway::menuLabels() const
{
    constexpr int Width = 145;
    constexpr int Bright = 200;
    const QImage seen = session->picture();
    const int right = SwayPanel::iconPlace().left() - 5;
    const int bottom = SwayPanel::iconPlace().top() + 4;
    int top = bottom;
    while (top > 0 && qGray(seen.pixel(right, top)) > Bright) {
        --top;
    }
    return {right - Width, top + 1, Width, bottom - top};
}

/// The middle heights of the menu's labels, once all of them are there. waybar may open a menu that
/// it has not read yet, and does not fill it; then it has to be opened again.
QList<int> tst_TrayOnSway::openMenu()
{
    constexpr int Trials = 5;
    QList<int> lines;
    for (int trial = 0; trial < Trials && lines.size() != ItemCount; ++trial) {
        if (trial > 0 && !typeKey(u"Escape"_s)) {
            break;
        }
        click(SwayPanel::iconPlace().center(), u"right"_s);
        waitUntil(
            [&] {
                const QRect labels = menuLabels();
                lines = Pictures::textLines(session->picture().copy(labels));
                for (int &line : lines) {
                    line += labels.top();
                }
                return lines.size() == ItemCount;
            },
            2s);
    }
    return lines;
}

/// Opens the icon's menu and clicks that item, from 0. A click that waybar misses leaves the menu
/// open.
bool tst_TrayOnSway::choose(int item)
{
    constexpr int Trials = 3;
    bool isChosen = false;
    for (int trial = 0; trial < Trials && !isChosen; ++trial) {
        const QList<int> lines = openMenu();
        isChosen = lines.size() == ItemCount &&
                   click({menuLabels().center().x(), lines[item]}, u"left"_s) &&
                   waitUntil([this] { return menuLabels().height() < LowestMenu; }, 3s);
    }
    return isChosen;
}

void tst_TrayOnSway::iconAndStartAreShown()
{
    QVERIFY(showsLight(StatusLight::Orange));
    const SwayPanel::Balloon started{u"VornaServer"_s, u"Server Started... "_s};
    QVERIFY(waitUntil([&] { return panel->balloons().contains(started); }));
}

void tst_TrayOnSway::lightTurnsGreen()
{
    const Handheld handheld(server->port());
    QVERIFY(showsLight(StatusLight::Green));
}

void tst_TrayOnSway::menuEndsTheProgram()
{
    QVERIFY(choose(QuitItem));
    QCOMPARE(server->waitForEnd(), std::optional(0));
}

void tst_TrayOnSway::dialogsComeToTheFront()
{
    QVERIFY(choose(PreferencesItem));
    QVERIFY(waitUntil([this] { return isInFront(); }));
    QVERIFY(typeKey(u"Escape"_s));
    QVERIFY(waitUntil([this] { return !isInFront(); }));
    // The preferences say that the user is to be asked.
    Handheld handheld(server->port());
    QVERIFY(handheld.send(pairing(u"device"_s)));
    QVERIFY(waitUntil([this] { return isInFront(); }));
    // The default button refuses.
    QVERIFY(typeKey(u"Enter"_s));
    QCOMPARE(response(handheld.answer()), u"ERROR"_s);
}

/// sway gives the focus to no window that only asks for it.
void tst_TrayOnSway::dialogThatStaysBehindIsAnnounced()
{
    QVERIFY(choose(PreferencesItem));
    QVERIFY(waitUntil([this] { return isInFront(); }));
    QVERIFY(session->command(u"workspace two"_s));
    QVERIFY(choose(PreferencesItem));
    const SwayPanel::Balloon notice{u"VornaServer"_s,
                                    u"A window of VornaServer is behind other windows. "_s};
    QVERIFY(waitUntil([&] { return panel->balloons().contains(notice); }));
    QVERIFY(!isInFront());
}

/// sway reads no such entries itself; its users have dex for that.
void tst_TrayOnSway::entryForTheLogonStartsTheServer()
{
    QCOMPARE(server->end(), std::optional(0));
    QVERIFY(waitUntil([this] { return panel->icons().isEmpty(); }));
    ChildProcess dex;
    auto environment = session->environment();
    // Only the user's own entries, and nothing that tells the toolkit what to use.
    environment.insert(u"XDG_CONFIG_DIRS"_s, session->path(u"none"_s));
    environment.remove(u"QT_QPA_PLATFORM"_s);
    environment.remove(u"XDG_SESSION_TYPE"_s);
    dex.setProcessEnvironment(environment);
    dex.start(u"dex"_s, {u"--autostart"_s, u"--environment"_s, u"sway"_s});
    QVERIFY(dex.waitForFinished());
    QVERIFY(waitUntil([this] { return panel->icons().size() == 1; }));
    QVERIFY(showsLight(StatusLight::Orange));
    const qint64 started = panel->ownerProcess(panel->icons().constFirst());
    QVERIFY(started > 0);
    ::kill(static_cast<pid_t>(started), SIGTERM);
    QVERIFY(waitUntil([this] { return panel->icons().isEmpty(); }));
}

QTEST_GUILESS_MAIN(tst_TrayOnSway)
#include "tst_TrayOnSway.moc"
