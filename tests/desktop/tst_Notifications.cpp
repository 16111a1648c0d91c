// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/NotificationDesk.h"
#include "support/session/ServerScene.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

Notification message(const QString &body)
{
    constexpr int BalloonMilliseconds = 10'000;
    return {u"VornaServer"_s, body, BalloonMilliseconds};
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

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<NotificationDesk> desk;
};

void tst_Notifications::init()
{
    scene = std::make_unique<ServerScene>(DesktopSession::SessionBus);
    QCOMPARE(scene->session().problem(), QByteArray());
    desk = std::make_unique<NotificationDesk>(scene->session().busAddress());
    QVERIFY(desk->isReady());
}

void tst_Notifications::cleanup()
{
    const QByteArray problem = scene->problemAtEnd();
    desk.reset();
    scene.reset();
    QCOMPARE(problem, QByteArray());
}

bool tst_Notifications::start()
{
    scene->launch();
    return scene->port() != 0 && waitUntil([this] { return desk->icons().size() == 1; });
}

bool tst_Notifications::isAnnounced(const QString &body) const
{
    return waitUntil([&] { return desk->notifications().contains(message(body)); });
}

/// The server announces a file of that name before it receives it.
bool tst_Notifications::announceFile(const QString &name)
{
    Handheld handheld(scene->port());
    return handheld.ask(fileRequest(name, u"10"_s)).has_value();
}

void tst_Notifications::namesAreShownAsWritten_data()
{
    QTest::addColumn<QStringList>("capabilities");
    QTest::addColumn<QString>("handed");
    QTest::newRow("daemon that reads markup")
        << QStringList{u"body"_s, u"body-markup"_s, u"body-hyperlinks"_s}
        << "Received request to save file:  &lt;b&gt;a &amp; b &lt;img src=x&gt;  of size  10 ";
    QTest::newRow("daemon that does not")
        << QStringList{u"body"_s, u"actions"_s}
        << "Received request to save file:  <b>a & b <img src=x>  of size  10 ";
}

void tst_Notifications::namesAreShownAsWritten()
{
    QFETCH(QStringList, capabilities);
    QFETCH(QString, handed);
    desk->setCapabilities(capabilities);
    QVERIFY(start());
    QVERIFY(announceFile(u"<b>a & b <img src=x>"_s));
    QVERIFY(isAnnounced(handed));
    QVERIFY(isAnnounced(u"Server Started... "_s));
}

void tst_Notifications::replacedDaemonIsAskedWhatItReads()
{
    QVERIFY(start());
    QVERIFY(announceFile(u"<b>"_s));
    QVERIFY(isAnnounced(u"Received request to save file:  <b>  of size  10 "_s));
    desk->setCapabilities({u"body"_s, u"body-markup"_s});
    QVERIFY(desk->replaceNotifications());
    // The bus informs the server after it has answered us, and it may be busy.
    QVERIFY(waitUntil(
        [&] {
            return announceFile(u"<b>"_s) &&
                   desk->notifications().contains(
                       message(u"Received request to save file:  &lt;b&gt;  of size  10 "_s));
        },
        GenerousLimit, std::chrono::milliseconds(200)));
    const qsizetype before = desk->notifications().size();
    QVERIFY(announceFile(u"<i>"_s));
    QVERIFY(isAnnounced(u"Received request to save file:  &lt;i&gt;  of size  10 "_s));
    for (const Notification &each : desk->notifications().mid(before)) {
        QVERIFY(!each.body.contains(u'<'));
    }
}

void tst_Notifications::haltedDaemonIsSentSixteenMessages()
{
    constexpr int MostOnTheWay = 16;
    QVERIFY(start());
    QVERIFY(isAnnounced(u"Server Started... "_s));
    desk->haltNotifications();
    // The server may not have heard yet that the first one has arrived.
    const auto sent = [this] { return desk->notifications().size(); };
    int number = 0;
    QVERIFY(waitUntil(
        [&] { return announceFile(QString::number(++number)) && sent() >= MostOnTheWay; }));
    for (int i = 0; i < 40; ++i) {
        QVERIFY(announceFile(QString::number(++number)));
    }
    QVERIFY(!waitUntil([&] { return sent() > 1 + MostOnTheWay; }, std::chrono::seconds(4)));
    desk->resumeNotifications();
    QVERIFY(isAnnounced(u"Received request to save file:  %1  of size  10 "_s.arg(number)));
    QVERIFY(sent() <= 1 + 2 * MostOnTheWay);
}

void tst_Notifications::daemonThatIsHaltedFromTheStartIsSentNothing()
{
    desk->haltNotifications();
    QVERIFY(start());
    for (int i = 0; i < 40; ++i) {
        QVERIFY(announceFile(QString::number(i)));
    }
    QVERIFY(desk->notifications().isEmpty());
    desk->setCapabilities({u"body"_s, u"body-markup"_s});
    QVERIFY(desk->replaceNotifications());
    QVERIFY(isAnnounced(u"Received request to save file:  39  of size  10 "_s));
}

void tst_Notifications::stormOfDevicesIsAnnouncedInBrief()
{
    QVERIFY(start());
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < 300; ++i) {
        Handheld handheld(scene->port());
        QVERIFY(handheld.isConnected());
        if (i % 50 == 49) {
            QVERIFY(Handheld(scene->port()).isServed());
        }
    }
    QVERIFY(announceFile(u"newest"_s));
    QVERIFY(isAnnounced(u"Received request to save file:  newest  of size  10 "_s));
    QVERIFY(isAnnounced(u"Device Disconnected "_s));
    QVERIFY2(desk->notifications().size() <= 10 * (2 + time.elapsed() / 1'000),
             qPrintable(QString::number(desk->notifications().size())));
    qInfo("%lld messages in %lld ms.", desk->notifications().size(), time.elapsed());
}

QTEST_GUILESS_MAIN(tst_Notifications)
#include "tst_Notifications.moc"
