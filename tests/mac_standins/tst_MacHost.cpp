// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/AdvertisementDaemon.h"
#include "platform/Clipboard.h"
#include "platform/DisplayAccess.h"
#include "platform/Sockets.h"
#include "platform/TrayHost.h"
#include "unit/platform/SocketsContract.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTest>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

class tst_MacHost : public SocketsContract
{
    Q_OBJECT

public:
    tst_MacHost() : SocketsContract(TCP_KEEPALIVE) {}

private slots:
    void theDisplayIsLeftToTheToolkit();
    void theTrayIsNotWaitedFor();
    void theDaemonsWatchNeverCalls();
    void theClipboardAnswersAtOnce();
};

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
