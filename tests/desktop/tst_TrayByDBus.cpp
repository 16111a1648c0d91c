// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/NotificationDesk.h"
#include "support/ServerScene.h"

#include <QTest>

namespace {

constexpr int BalloonMilliseconds = 10'000;

Notification message(const QString &body)
{
    return {QStringLiteral("VornaServer"), body, BalloonMilliseconds};
}

} // namespace

/// A desktop whose panel takes icons and messages over the session bus: the same program, and what
/// it says to the letter.
class tst_TrayByDBus : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void panelThatComesLateIsUsed();
    void startIsAnnounced();
    void devicesAreAnnounced();
    void refusedDeviceIsAnnounced();
    void keysThatCannotBeTypedAreAnnounced();
    void menuHoldsItsItems();
    void startStopItemIsRenamed();
    void quitEndsTheProgram();

private:
    bool start();
    PublishedItem item(const QString &label) const;
    bool hasItem(const QString &label) const { return item(label).number != 0; }
    bool isAnnounced(const QString &body) const;

    std::unique_ptr<ServerScene> m_scene;
    std::unique_ptr<NotificationDesk> m_desk;
};

void tst_TrayByDBus::init()
{
    m_scene = std::make_unique<ServerScene>(DesktopSession::SessionBus);
    QCOMPARE(m_scene->session().problem(), QByteArray());
}

void tst_TrayByDBus::cleanup()
{
    const QByteArray problem = m_scene->problemAtEnd();
    m_desk.reset();
    m_scene.reset();
    QCOMPARE(problem, QByteArray());
}

bool tst_TrayByDBus::start()
{
    m_desk = std::make_unique<NotificationDesk>(m_scene->session().busAddress());
    if (!m_desk->isReady())
        return false;
    m_scene->launch();
    return m_scene->port() != 0 && waitUntil([this] { return m_desk->icons().size() == 1; });
}

/// The item with that label, or one with number 0.
PublishedItem tst_TrayByDBus::item(const QString &label) const
{
    for (const PublishedItem &item : m_desk->menu(m_desk->icons().constFirst()))
        if (item.label == label)
            return item;
    return {};
}

bool tst_TrayByDBus::isAnnounced(const QString &body) const
{
    return waitUntil([&] { return m_desk->notifications().contains(message(body)); });
}

void tst_TrayByDBus::panelThatComesLateIsUsed()
{
    m_scene->launch();
    // Nothing happens meanwhile, so there is no condition to wait for.
    QVERIFY(
        !waitUntil([this] { return m_scene->server().isListening(); }, std::chrono::seconds(3)));
    m_desk = std::make_unique<NotificationDesk>(m_scene->session().busAddress());
    QVERIFY(m_desk->isReady());
    QVERIFY(m_scene->port() != 0);
    QVERIFY(waitUntil([this] { return m_desk->icons().size() == 1; }));
    QVERIFY(isAnnounced(QStringLiteral("Server Started... ")));
}

void tst_TrayByDBus::startIsAnnounced()
{
    QVERIFY(start());
    QVERIFY(isAnnounced(QStringLiteral("Server Started... ")));
    QCOMPARE(m_desk->notifications(), QList<Notification>{message("Server Started... ")});
}

void tst_TrayByDBus::devicesAreAnnounced()
{
    QVERIFY(start());
    Handheld handheld(m_scene->port());
    QVERIFY(
        handheld.ask(commandText("SERVER_PAIR", {{"cmdParameters", QStringList{"id-1", "Anna"}}})));
    QVERIFY(isAnnounced(QStringLiteral("Device Connected ")));
    handheld.leave();
    QVERIFY(isAnnounced(QStringLiteral("Device Disconnected ")));
    QCOMPARE(m_desk->notifications(),
             (QList<Notification>{message("Server Started... "), message("Device Connected "),
                                  message("Device Disconnected ")}));
}

void tst_TrayByDBus::refusedDeviceIsAnnounced()
{
    m_scene->storeSetting(QStringLiteral("pairNeedsApproval"), true);
    QVERIFY(start());
    m_desk->click(m_desk->icons().constFirst(), item("Preferences...").number);
    const auto preferences = m_scene->waitForDialog(QStringLiteral("Config Dialog"));
    QVERIFY(preferences && m_scene->user().tapKey(QStringLiteral("Escape")));
    QVERIFY(m_scene->waitUntilGone(*preferences));
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(
        commandText("SERVER_PAIR", {{"cmdParameters", QStringList{"id-1", "Anna"}}})));
    QVERIFY(m_scene->waitForDialog(QStringLiteral("VornaServer")));
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
    QVERIFY(handheld.answer());
    QVERIFY(isAnnounced(QStringLiteral("Device Rejected !! ")));
}

void tst_TrayByDBus::keysThatCannotBeTypedAreAnnounced()
{
    QVERIFY(start());
    QVERIFY(isAnnounced(QStringLiteral("Server Started... ")));
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.sendAndSettle(commandText("KEYBOARD_CMD", {{"fncCommand", "Tab"}})));
    QVERIFY(isAnnounced(QStringLiteral("\"Problem executing the shortcut: \" ")));
    const QString first = m_desk->notifications().value(1).body;
    QVERIFY2(first.startsWith(QStringLiteral("KeyCode not vailable for  0x")) ||
                 first.startsWith(QStringLiteral("KeyCode not vailable for 0x")),
             qPrintable(first));
    QVERIFY(!first.contains(QStringLiteral("Tab")));
}

void tst_TrayByDBus::menuHoldsItsItems()
{
    QVERIFY(start());
    QStringList labels;
    for (const PublishedItem &item : m_desk->menu(m_desk->icons().constFirst()))
        labels.append(item.isSeparator ? QStringLiteral("-") : item.label);
    QCOMPARE(labels, (QStringList{"About", "-", "Support Website", "Stop Server", "Preferences...",
                                  "-", "Quit"}));
    QVERIFY(item("Stop Server").isCheckable);
    QVERIFY(item("Stop Server").isChecked);
    QCOMPARE(m_desk->toolTip(m_desk->icons().constFirst()), QStringLiteral("VornaServer"));
}

void tst_TrayByDBus::startStopItemIsRenamed()
{
    QVERIFY(start());
    const QString icon = m_desk->icons().constFirst();
    const quint16 firstPort = m_scene->port();
    m_desk->click(icon, item("Stop Server").number);
    QVERIFY(waitUntil([this] { return hasItem("Start Server"); }));
    QVERIFY(!m_scene->server().isListening());
    QVERIFY(!Handheld(firstPort).isConnected());
    m_desk->click(icon, item("Start Server").number);
    QVERIFY(waitUntil([this] { return hasItem("Stop Server"); }));
    QVERIFY(Handheld(m_scene->port()).ask(commandText("SERVER_INFO")));
}

void tst_TrayByDBus::quitEndsTheProgram()
{
    QVERIFY(start());
    m_desk->click(m_desk->icons().constFirst(), item("Quit").number);
    QCOMPARE(m_scene->server().waitForEnd(), std::optional(0));
}

QTEST_GUILESS_MAIN(tst_TrayByDBus)
#include "tst_TrayByDBus.moc"
