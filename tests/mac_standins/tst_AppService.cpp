// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "ObjectiveC.h"
#include "StandIn.h"
#include "platform/SessionStart.h"
#include "platform/mac/AppService.h"
#include "support/MessageRecorder.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

using standin::world;

/// A system with a register of its own: macOS 13 and later.
class tst_AppService : public QObject
{
    Q_OBJECT

private slots:
    void init() { standin::reset(); }

    void theRegisterIsChangedOnlyIfItDiffers_data();
    void theRegisterIsChangedOnlyIfItDiffers();
    void aRefusalIsReportedToTheUser_data();
    void aRefusalIsReportedToTheUser();
    void anAgentOfAnEarlierSystemIsRemoved_data();
    void anAgentOfAnEarlierSystemIsRemoved();

private:
    const QString path = u"/Applications/VornaServer.app"_s;
};

void tst_AppService::theRegisterIsChangedOnlyIfItDiffers_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("isEnabled");
    QTest::addColumn<QString>("call");
    QTest::newRow("not registered, on") << 0 << true << "register";
    QTest::newRow("not registered, off") << 0 << false << "";
    QTest::newRow("registered, on") << 1 << true << "";
    QTest::newRow("registered, off") << 1 << false << "unregister";
    QTest::newRow("switched off by the user, on") << 2 << true << "";
    QTest::newRow("switched off by the user, off") << 2 << false << "unregister";
    QTest::newRow("not found, on") << 3 << true << "register";
    QTest::newRow("not found, off") << 3 << false << "";
}

void tst_AppService::theRegisterIsChangedOnlyIfItDiffers()
{
    QFETCH(int, status);
    QFETCH(bool, isEnabled);
    QFETCH(QString, call);
    const standin::Pool pool;
    const MessageRecorder messages;
    world().serviceStatus = status;
    QVERIFY(platform::AppService::isAvailable());
    platform::AppService().setEnabled(isEnabled, path);
    QStringList expected = {u"mainAppService"_s};
    if (!call.isEmpty()) {
        expected.append(call);
    }
    QCOMPARE(standin::calls(), expected);
    QCOMPARE(messages.all(), QStringList());
}

void tst_AppService::aRefusalIsReportedToTheUser_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<bool>("isEnabled");
    QTest::newRow("register") << 0 << true;
    QTest::newRow("unregister") << 1 << false;
}

void tst_AppService::aRefusalIsReportedToTheUser()
{
    QFETCH(int, status);
    QFETCH(bool, isEnabled);
    const standin::Pool pool;
    const MessageRecorder messages;
    world().serviceStatus = status;
    world().serviceRefusal = QString::fromUtf8("Not all\xc3\xb6wed");
    platform::AppService().setEnabled(isEnabled, path);
    QCOMPARE(messages.warnings().size(), 1);
    QVERIFY2(messages.warnings().first().contains(world().serviceRefusal),
             qPrintable(messages.warnings().first()));
}

void tst_AppService::anAgentOfAnEarlierSystemIsRemoved_data()
{
    QTest::addColumn<bool>("isEnabled");
    QTest::newRow("on") << true;
    QTest::newRow("off") << false;
}

void tst_AppService::anAgentOfAnEarlierSystemIsRemoved()
{
    QFETCH(bool, isEnabled);
    const standin::Pool pool;
    const QString agents = QDir::homePath() + u"/Library/LaunchAgents"_s;
    QFile agent(agents + u'/' + QStringLiteral(VORNA_BUNDLE_IDENTIFIER) + u".plist"_s);
    QVERIFY(QDir().mkpath(agents));
    QVERIFY(agent.open(QIODevice::WriteOnly));
    world().serviceStatus = isEnabled ? 0 : 1;
    platform::makeSessionStart()->setEnabled(isEnabled, path);
    QCOMPARE(world().serviceStatus, isEnabled ? 1 : 0);
    QVERIFY(!agent.exists());
}

QTEST_GUILESS_MAIN(tst_AppService)
#include "tst_AppService.moc"
