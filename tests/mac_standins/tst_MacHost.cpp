// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/AdvertisementDaemon.h"
#include "platform/Clipboard.h"
#include "platform/DisplayAccess.h"
#include "platform/Sockets.h"
#include "platform/TrayHost.h"
#include "support/process/Descriptors.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTest>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

class tst_MacHost : public QObject
{
    Q_OBJECT

private slots:
    void aDeadPeerIsNoticedAndSmallAnswersLeaveAtOnce();
    void theDescriptorsThatAreLeftAreCounted();
    void descriptorsThatAreOpenAreKeptFromOtherPrograms();
    void theDisplayIsLeftToTheToolkit();
    void theTrayIsNotWaitedFor();
    void theDaemonsWatchNeverCalls();
    void theClipboardAnswersAtOnce();
};

void tst_MacHost::aDeadPeerIsNoticedAndSmallAnswersLeaveAtOnce()
{
    const int connection = socket(AF_INET, SOCK_STREAM, 0);
    platform::tuneAcceptedSocket(connection);
    QCOMPARE(Descriptors::socketOption(connection, SOL_SOCKET, SO_KEEPALIVE), 1);
    QCOMPARE(Descriptors::socketOption(connection, IPPROTO_TCP, TCP_KEEPALIVE), 15);
    QCOMPARE(Descriptors::socketOption(connection, IPPROTO_TCP, TCP_KEEPINTVL), 5);
    QCOMPARE(Descriptors::socketOption(connection, IPPROTO_TCP, TCP_KEEPCNT), 3);
    QCOMPARE(Descriptors::socketOption(connection, IPPROTO_TCP, TCP_NODELAY), 1);
    close(connection);
}

void tst_MacHost::theDescriptorsThatAreLeftAreCounted()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = 100;
    setrlimit(RLIMIT_NOFILE, &limit);
    QCOMPARE(platform::descriptorsLeftAfter(60), 39);
    QCOMPARE(platform::descriptorsLeftAfter(99), 0);
}

void tst_MacHost::descriptorsThatAreOpenAreKeptFromOtherPrograms()
{
    const int low = dup(STDERR_FILENO);
    const int high = fcntl(low, F_DUPFD, 90);
    QVERIFY(!Descriptors::closesOnExec(low) && !Descriptors::closesOnExec(high));
    const bool standardStreamCloses = Descriptors::closesOnExec(STDERR_FILENO);
    platform::closeDescriptorsOnExec();
    QVERIFY(Descriptors::closesOnExec(low));
    QVERIFY(Descriptors::closesOnExec(high));
    QCOMPARE(Descriptors::closesOnExec(STDERR_FILENO), standardStreamCloses);
    close(high);
    close(low);
}

void tst_MacHost::theDisplayIsLeftToTheToolkit()
{
    qputenv("DISPLAY", ":1");
    const platform::DisplayChoice choice = {"xcb", ":4711"};
    QCOMPARE(platform::displayProblem(choice), QString());
    platform::adoptDisplay(choice);
    QCOMPARE(qgetenv("DISPLAY"), QByteArray(":1"));
}

void tst_MacHost::theTrayIsNotWaitedFor()
{
    QElapsedTimer timer;
    timer.start();
    platform::waitForTrayHost(1h);
    QVERIFY(timer.elapsed() < 1000);
}

void tst_MacHost::theDaemonsWatchNeverCalls()
{
    bool hasCalled = false;
    const auto watch = platform::watchAdvertisementDaemon([&] { hasCalled = true; });
    QVERIFY(watch);
    QCoreApplication::processEvents();
    QVERIFY(!hasCalled);
}

void tst_MacHost::theClipboardAnswersAtOnce()
{
    const auto clipboard = platform::makeClipboard();
    std::optional<QString> answer;
    clipboard->setText(u"text"_s);
    clipboard->requestText([&](const std::optional<QString> &text) { answer = text; });
    QCOMPARE(answer, u"text"_s);
}

QTEST_MAIN(tst_MacHost)
#include "tst_MacHost.moc"
