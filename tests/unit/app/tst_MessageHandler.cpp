// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/MessageHandler.h"

#include "doubles/RecordedBalloons.h"
#include "doubles/RecordingHost.h"
#include "doubles/RecordingWindowAdapters.h"
#include "support/MessageRecorder.h"
#include "support/Waiting.h"

#include <QElapsedTimer>
#include <QTest>
#include <QThread>

#include <memory>
#include <type_traits>

using namespace Qt::StringLiterals;

class tst_MessageHandler : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void thereIsOneHandler();
    void withoutAnIconNothingHappens();
    void aWarningIsABalloonOfTenSeconds();
    void theTextIsShownAsItCame_data();
    void theTextIsShownAsItCame();
    void aTextThatNobodyCouldReadIsCut();
    void otherMessagesAreSwallowed_data();
    void otherMessagesAreSwallowed();
    void theEarlierHandlerIsNotCalledMeanwhile();
    void afterShutdownTheEarlierHandlerIsBack();
    void installingAgainReplacesTheIcon();
    void installingTwiceStillGivesTheEarlierHandlerBack();
    void anIconThatIsGoneShowsNothing();
    void aWarningOfAnotherThreadIsShownByTheIconsThread();
    void heldBalloonsAreShownInTheirOrder();
    void ofTooManyHeldBalloonsTheOldestAreDropped();
    void aWarningOfAnotherThreadWaitsToo();
    void heldBalloonsEndWithTheInstallation();
    void anIconThatIsGoneGetsNoHeldBalloons();
    void aStormOfWarningsIsShownAtTenASecond();
    void theNewestOfAStormIsShown();
    void aStormEndsWithTheInstallation();
    void anIconThatIsGoneEndsAStorm();
    void aDaemonIsHandedWhatItShowsAsWritten();
    void aDaemonThatTakesNoMoreIsHandedNoMore();

private:
    static MessageHandler &handler() { return *MessageHandler::instance(); }

    RecordingHost host;
    std::unique_ptr<MessageRecorder> earlier;
    std::unique_ptr<QSystemTrayIcon> icon;
};

void tst_MessageHandler::init()
{
    recordedBalloons().clear();
    host.reset();
    earlier = std::make_unique<MessageRecorder>();
    icon = std::make_unique<QSystemTrayIcon>();
}

void tst_MessageHandler::cleanup()
{
    icon.reset();
    earlier.reset();
}

void tst_MessageHandler::thereIsOneHandler()
{
    QVERIFY(MessageHandler::instance() != nullptr);
    QCOMPARE(MessageHandler::instance(), MessageHandler::instance());
    static_assert(!std::is_polymorphic_v<MessageHandler>);
    QVERIFY(handler().trayIcon() == nullptr);
}

void tst_MessageHandler::withoutAnIconNothingHappens()
{
    MessageHandlerOutput(QtWarningMsg, QMessageLogContext(), u"text"_s);
    QVERIFY(recordedBalloons().empty());
    QCOMPARE(earlier->all(), QStringList());
}

void tst_MessageHandler::aWarningIsABalloonOfTenSeconds()
{
    handler().installMessageHandler(icon.get());
    qWarning("text");
    handler().shutdown();
    QCOMPARE(recordedBalloons().size(), 1U);
    const RecordedBalloon &balloon = recordedBalloons().front();
    QCOMPARE(balloon.trayIcon, icon.get());
    QCOMPARE(balloon.title, u"VornaServer"_s);
    QCOMPARE(balloon.text, u"text"_s);
    QCOMPARE(balloon.icon, QSystemTrayIcon::Information);
    QCOMPARE(balloon.milliseconds, 10'000);
}

void tst_MessageHandler::theTextIsShownAsItCame_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("blank at the end") << "Server Started... ";
    QTest::newRow("empty") << "";
    QTest::newRow("quotes and markers") << "\"a\" %1 &b <b>\n";
    QTest::newRow("letters beyond ASCII") << u"\u00e9 \u2603 \U0001f600"_s;
}

void tst_MessageHandler::theTextIsShownAsItCame()
{
    QFETCH(QString, text);
    handler().installMessageHandler(icon.get());
    MessageHandlerOutput(QtWarningMsg, QMessageLogContext(), text);
    handler().shutdown();
    QCOMPARE(balloonTexts(), QStringList{text});
}

void tst_MessageHandler::aTextThatNobodyCouldReadIsCut()
{
    const QString longest(2'000, u'x');
    handler().installMessageHandler(icon.get());
    MessageHandlerOutput(QtWarningMsg, QMessageLogContext(), longest);
    MessageHandlerOutput(QtWarningMsg, QMessageLogContext(), longest + u'y');
    handler().shutdown();
    QCOMPARE(balloonTexts(), QStringList({longest, QString(1'999, u'x') + u'\u2026'}));
}

void tst_MessageHandler::otherMessagesAreSwallowed_data()
{
    QTest::addColumn<QtMsgType>("type");
    QTest::newRow("debug") << QtDebugMsg;
    QTest::newRow("information") << QtInfoMsg;
    QTest::newRow("critical") << QtCriticalMsg;
    QTest::newRow("fatal") << QtFatalMsg;
}

void tst_MessageHandler::otherMessagesAreSwallowed()
{
    QFETCH(QtMsgType, type);
    handler().installMessageHandler(icon.get());
    MessageHandlerOutput(type, QMessageLogContext(), u"text"_s);
    handler().shutdown();
    QVERIFY(recordedBalloons().empty());
    QCOMPARE(earlier->all(), QStringList());
}

void tst_MessageHandler::theEarlierHandlerIsNotCalledMeanwhile()
{
    qWarning("before");
    handler().installMessageHandler(icon.get());
    qDebug("debug");
    qWarning("warning");
    qCritical("critical");
    handler().shutdown();
    QCOMPARE(earlier->all(), QStringList{u"warning: before"_s});
    QCOMPARE(balloonTexts(), QStringList{u"warning"_s});
}

void tst_MessageHandler::afterShutdownTheEarlierHandlerIsBack()
{
    handler().installMessageHandler(icon.get());
    handler().shutdown();
    qWarning("after");
    QCOMPARE(earlier->all(), QStringList{u"warning: after"_s});
    QVERIFY(recordedBalloons().empty());
    QCOMPARE(handler().trayIcon(), icon.get());
}

void tst_MessageHandler::installingAgainReplacesTheIcon()
{
    QSystemTrayIcon other;
    handler().installMessageHandler(icon.get());
    handler().installMessageHandler(&other);
    qWarning("text");
    handler().shutdown();
    QCOMPARE(recordedBalloons().size(), 1U);
    QCOMPARE(recordedBalloons().front().trayIcon, &other);
}

void tst_MessageHandler::installingTwiceStillGivesTheEarlierHandlerBack()
{
    handler().installMessageHandler(icon.get());
    handler().installMessageHandler(icon.get());
    handler().shutdown();
    qWarning("after");
    QCOMPARE(earlier->all(), QStringList{u"warning: after"_s});
    QVERIFY(recordedBalloons().empty());
}

void tst_MessageHandler::anIconThatIsGoneShowsNothing()
{
    handler().installMessageHandler(icon.get());
    icon.reset();
    qWarning("text");
    handler().shutdown();
    QVERIFY(recordedBalloons().empty());
}

void tst_MessageHandler::aWarningOfAnotherThreadIsShownByTheIconsThread()
{
    handler().installMessageHandler(icon.get());
    const std::unique_ptr<QThread> thread(QThread::create([] { qWarning("from elsewhere"); }));
    thread->start();
    QVERIFY(thread->wait(GenerousLimit));
    QVERIFY(recordedBalloons().empty());
    const bool isShown = waitUntil([] { return !recordedBalloons().empty(); });
    handler().shutdown();
    QVERIFY(isShown);
    QCOMPARE(balloonTexts(), QStringList{u"from elsewhere"_s});
}

// ---- Holding ------------------------------------------------------------------------------------

void tst_MessageHandler::heldBalloonsAreShownInTheirOrder()
{
    handler().installMessageHandler(icon.get());
    handler().holdBalloons();
    qWarning("first");
    qDebug("quiet");
    qWarning("second");
    QCOMPARE(balloonTexts(), QStringList());
    handler().releaseBalloons();
    QCOMPARE(balloonTexts(), QStringList({u"first"_s, u"second"_s}));
    const RecordedBalloon &balloon = recordedBalloons().front();
    QCOMPARE(balloon.trayIcon, icon.get());
    QCOMPARE(balloon.title, u"VornaServer"_s);
    QCOMPARE(balloon.icon, QSystemTrayIcon::Information);
    QCOMPARE(balloon.milliseconds, 10'000);
    qWarning("third");
    handler().releaseBalloons();
    handler().shutdown();
    QCOMPARE(balloonTexts(), QStringList({u"first"_s, u"second"_s, u"third"_s}));
}

void tst_MessageHandler::ofTooManyHeldBalloonsTheOldestAreDropped()
{
    handler().installMessageHandler(icon.get());
    handler().holdBalloons();
    QStringList sent;
    for (int i = 0; i < BalloonQueue::maximumWaiting + 3; ++i) {
        sent.append(QString::number(i));
        qWarning("%d", i);
    }
    handler().releaseBalloons();
    handler().shutdown();
    QCOMPARE(balloonTexts(), sent.last(BalloonQueue::maximumWaiting));
}

void tst_MessageHandler::aWarningOfAnotherThreadWaitsToo()
{
    handler().installMessageHandler(icon.get());
    handler().holdBalloons();
    const std::unique_ptr<QThread> thread(QThread::create([] { qWarning("from elsewhere"); }));
    thread->start();
    QVERIFY(thread->wait(GenerousLimit));
    QCoreApplication::processEvents();
    QCOMPARE(balloonTexts(), QStringList());
    handler().releaseBalloons();
    handler().shutdown();
    QCOMPARE(balloonTexts(), QStringList{u"from elsewhere"_s});
}

void tst_MessageHandler::heldBalloonsEndWithTheInstallation()
{
    handler().installMessageHandler(icon.get());
    handler().holdBalloons();
    qWarning("lost");
    handler().shutdown();
    handler().releaseBalloons();
    QCOMPARE(balloonTexts(), QStringList());
    // The next installation begins without holding.
    handler().holdBalloons();
    handler().installMessageHandler(icon.get());
    qWarning("shown");
    handler().shutdown();
    QCOMPARE(balloonTexts(), QStringList{u"shown"_s});
}

void tst_MessageHandler::anIconThatIsGoneGetsNoHeldBalloons()
{
    handler().installMessageHandler(icon.get());
    handler().holdBalloons();
    qWarning("text");
    icon.reset();
    handler().releaseBalloons();
    handler().shutdown();
    QVERIFY(recordedBalloons().empty());
}

// ---- Storms -------------------------------------------------------------------------------------

void tst_MessageHandler::aStormOfWarningsIsShownAtTenASecond()
{
    handler().installMessageHandler(icon.get());
    QElapsedTimer time;
    time.start();
    int sent = 0;
    waitUntil(
        [&] {
            for (int i = 0; i < 20; ++i) {
                qWarning("%d", ++sent);
            }
            return time.elapsed() > 1'500;
        },
        GenerousLimit, std::chrono::milliseconds(1));
    const qint64 most = 10 * (1 + time.elapsed() / 1'000);
    handler().shutdown();
    QStringList first;
    for (int i = 1; i <= BalloonQueue::maximumPerSecond; ++i) {
        first.append(QString::number(i));
    }
    QCOMPARE(balloonTexts().first(BalloonQueue::maximumPerSecond), first);
    QVERIFY2(balloonTexts().size() <= most, qPrintable(QString::number(balloonTexts().size())));
    QVERIFY(balloonTexts().size() > BalloonQueue::maximumPerSecond);
}

void tst_MessageHandler::theNewestOfAStormIsShown()
{
    handler().installMessageHandler(icon.get());
    for (int i = 0; i < 500; ++i) {
        qWarning("Device Connected ");
        qWarning("Device Disconnected ");
    }
    qWarning("newest");
    const bool isShown = waitUntil([] { return balloonTexts().constLast() == u"newest"_s; });
    handler().shutdown();
    QVERIFY(isShown);
    // The ten that were shown at once, and the rest merged.
    QCOMPARE(balloonTexts().mid(BalloonQueue::maximumPerSecond),
             QStringList({u"Device Connected "_s, u"Device Disconnected "_s, u"newest"_s}));
}

void tst_MessageHandler::aStormEndsWithTheInstallation()
{
    handler().installMessageHandler(icon.get());
    for (int i = 0; i < 100; ++i) {
        qWarning("%d", i);
    }
    handler().shutdown();
    QTest::qWait(1'200);
    QCOMPARE(balloonTexts().size(), qsizetype(BalloonQueue::maximumPerSecond));
    // The next installation does not inherit it.
    handler().installMessageHandler(icon.get());
    qWarning("shown");
    handler().shutdown();
    QCOMPARE(balloonTexts().constLast(), u"shown"_s);
}

void tst_MessageHandler::anIconThatIsGoneEndsAStorm()
{
    handler().installMessageHandler(icon.get());
    for (int i = 0; i < 100; ++i) {
        qWarning("%d", i);
    }
    icon.reset();
    QTest::qWait(1'200);
    handler().shutdown();
    QCOMPARE(balloonTexts().size(), qsizetype(BalloonQueue::maximumPerSecond));
}

// ---- The desktop's daemon -----------------------------------------------------------------------

void tst_MessageHandler::aDaemonIsHandedWhatItShowsAsWritten()
{
    host.hasNotificationDaemon = true;
    handler().installMessageHandler(icon.get());
    handler().watchNotificationDaemon(recordingWindowAdapters(host).watchNotificationDaemon);
    qWarning("<b>text</b>");
    handler().shutdown();
    QCOMPARE(balloonTexts(), QStringList{u"[<b>text</b>]"_s});
    QCOMPARE(recordedBalloons().front().title, u"VornaServer"_s);
    QCOMPARE(host.balloonsHanded, 1);
    QVERIFY(!host.notificationDaemonIsReady);
}

void tst_MessageHandler::aDaemonThatTakesNoMoreIsHandedNoMore()
{
    host.hasNotificationDaemon = true;
    host.isNotificationDaemonReady = false;
    handler().installMessageHandler(icon.get());
    handler().watchNotificationDaemon(recordingWindowAdapters(host).watchNotificationDaemon);
    qWarning("first");
    qWarning("second");
    QTest::qWait(300);
    QCOMPARE(balloonTexts(), QStringList());
    host.isNotificationDaemonReady = true;
    host.notificationDaemonIsReady();
    const bool areShown = waitUntil([] { return recordedBalloons().size() == 2; });
    handler().shutdown();
    QVERIFY(areShown);
    QCOMPARE(balloonTexts(), QStringList({u"[first]"_s, u"[second]"_s}));
}

QTEST_MAIN(tst_MessageHandler)
#include "tst_MessageHandler.moc"
