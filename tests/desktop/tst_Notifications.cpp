// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/NotificationDesk.h"
#include "support/ServerScene.h"

#include <QElapsedTimer>
#include <QTest>

namespace {

Notification message(const QString &body)
{
    constexpr int BalloonMilliseconds = 10'000;
    return {QStringLiteral("VornaServer"), body, BalloonMilliseconds};
}

} // namespace

/// What the server hands to the daemon that shows messages, which may be slow, be replaced or take
/// names for markup.
class tst_Notifications : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void namesAreShownAsWritten_data();
    void namesAreShownAsWritten();
    void replacedDaemonIsAskedWhatItReads();
    void haltedDaemonIsSentSixteenMessages();
    void daemonThatIsHaltedFromTheStartIsSentNothing();
    void stormOfDevicesIsAnnouncedInBrief();

private:
    bool start();
    bool announceFile(const QString &name);
    bool isAnnounced(const QString &body) const;

    std::unique_ptr<ServerScene> m_scene;
    std::unique_ptr<NotificationDesk> m_desk;
};

void tst_Notifications::init()
{
    m_scene = std::make_unique<ServerScene>(DesktopSession::SessionBus);
    QCOMPARE(m_scene->session().problem(), QByteArray());
    m_desk = std::make_unique<NotificationDesk>(m_scene->session().busAddress());
    QVERIFY(m_desk->isReady());
}

void tst_Notifications::cleanup()
{
    const QByteArray problem = m_scene->problemAtEnd();
    m_desk.reset();
    m_scene.reset();
    QCOMPARE(problem, QByteArray());
}

bool tst_Notifications::start()
{
    m_scene->launch();
    return m_scene->port() != 0 && waitUntil([this] { return m_desk->icons().size() == 1; });
}

bool tst_Notifications::isAnnounced(const QString &body) const
{
    return waitUntil([&] { return m_desk->notifications().contains(message(body)); });
}

/// The server announces a file of that name before it receives it.
bool tst_Notifications::announceFile(const QString &name)
{
    Handheld handheld(m_scene->port());
    return handheld
        .ask(commandText("FILE_TRANSFER_AND_OPEN", {{"cmdParameters", QStringList{name, "10"}}}))
        .has_value();
}

void tst_Notifications::namesAreShownAsWritten_data()
{
    QTest::addColumn<QStringList>("capabilities");
    QTest::addColumn<QString>("handed");
    QTest::newRow("daemon that reads markup")
        << QStringList{"body", "body-markup", "body-hyperlinks"}
        << "Received request to save file:  &lt;b&gt;a &amp; b &lt;img src=x&gt;  of size  10 ";
    QTest::newRow("daemon that does not")
        << QStringList{"body", "actions"}
        << "Received request to save file:  <b>a & b <img src=x>  of size  10 ";
}

void tst_Notifications::namesAreShownAsWritten()
{
    QFETCH(QStringList, capabilities);
    QFETCH(QString, handed);
    m_desk->setCapabilities(capabilities);
    QVERIFY(start());
    QVERIFY(announceFile("<b>a & b <img src=x>"));
    QVERIFY(isAnnounced(handed));
    QVERIFY(isAnnounced("Server Started... "));
}

void tst_Notifications::replacedDaemonIsAskedWhatItReads()
{
    QVERIFY(start());
    QVERIFY(announceFile("<b>"));
    QVERIFY(isAnnounced("Received request to save file:  <b>  of size  10 "));
    m_desk->setCapabilities({"body", "body-markup"});
    QVERIFY(m_desk->replaceNotifications());
    // The bus tells the server of it when it is done with us, and it may be busy.
    QVERIFY(waitUntil(
        [&] {
            return announceFile("<b>") &&
                   m_desk->notifications().contains(
                       message("Received request to save file:  &lt;b&gt;  of size  10 "));
        },
        GenerousLimit, std::chrono::milliseconds(200)));
    const qsizetype before = m_desk->notifications().size();
    QVERIFY(announceFile("<i>"));
    QVERIFY(isAnnounced("Received request to save file:  &lt;i&gt;  of size  10 "));
    for (const Notification &each : m_desk->notifications().mid(before))
        QVERIFY(!each.body.contains('<'));
}

void tst_Notifications::haltedDaemonIsSentSixteenMessages()
{
    constexpr int MostOnTheWay = 16;
    QVERIFY(start());
    QVERIFY(isAnnounced("Server Started... "));
    m_desk->haltNotifications();
    // The server may not have been told yet that the first one has arrived.
    const auto sent = [this] { return m_desk->notifications().size(); };
    int number = 0;
    QVERIFY(waitUntil(
        [&] { return announceFile(QString::number(++number)) && sent() >= MostOnTheWay; }));
    for (int i = 0; i < 40; ++i)
        QVERIFY(announceFile(QString::number(++number)));
    QVERIFY(!waitUntil([&] { return sent() > 1 + MostOnTheWay; }, std::chrono::seconds(4)));
    m_desk->resumeNotifications();
    QVERIFY(isAnnounced(
        QStringLiteral("Received request to save file:  %1  of size  10 ").arg(number)));
    QVERIFY(sent() <= 1 + 2 * MostOnTheWay);
}

void tst_Notifications::daemonThatIsHaltedFromTheStartIsSentNothing()
{
    m_desk->haltNotifications();
    QVERIFY(start());
    for (int i = 0; i < 40; ++i)
        QVERIFY(announceFile(QString::number(i)));
    QVERIFY(m_desk->notifications().isEmpty());
    m_desk->setCapabilities({"body", "body-markup"});
    QVERIFY(m_desk->replaceNotifications());
    QVERIFY(isAnnounced("Received request to save file:  39  of size  10 "));
}

void tst_Notifications::stormOfDevicesIsAnnouncedInBrief()
{
    QVERIFY(start());
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < 300; ++i) {
        Handheld handheld(m_scene->port());
        QVERIFY(handheld.isConnected());
        if (i % 50 == 49)
            QVERIFY(Handheld(m_scene->port()).isServed());
    }
    QVERIFY(announceFile("newest"));
    QVERIFY(isAnnounced("Received request to save file:  newest  of size  10 "));
    QVERIFY(isAnnounced("Device Disconnected "));
    QVERIFY2(m_desk->notifications().size() <= 10 * (2 + time.elapsed() / 1'000),
             qPrintable(QString::number(m_desk->notifications().size())));
    qInfo("%lld messages in %lld ms.", m_desk->notifications().size(), time.elapsed());
}

QTEST_GUILESS_MAIN(tst_Notifications)
#include "tst_Notifications.moc"
