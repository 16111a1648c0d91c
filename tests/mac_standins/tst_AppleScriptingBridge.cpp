// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "ObjectiveC.h"
#include "StandIn.h"
#include "applications/TKApplicationManagerMac.h"
#include "interaction/InteractionManager.h"
#include "interaction/InteractionManagerMac.h"
#include "platform/ScriptingBridge.h"

#include <QTest>

using namespace Qt::StringLiterals;

using standin::calls;
using standin::world;

namespace {

const QString finder = u"com.apple.finder"_s;
const QString unitron = u"dk.Otee.Unity_Unitron"_s;

} // namespace

class tst_AppleScriptingBridge : public QObject
{
    Q_OBJECT

private slots:
    void init() { standin::reset(); }
    void cleanup() { QCOMPARE(standin::liveApplications(), 0); }

    void anUnknownIdentifierGivesNull();
    void everyQuestionReachesTheApplication();
    void anApplicationOutlivesThePoolOfItsFinding();
    void whatAnApplicationDoesNotUnderstandIsSilent();
    void aNameThatIsNoTextIsEmpty();
    void startingRunsAnApplicationThatIsNotRunning();
    void startingUnitronAsksItsName();
    void quittingBringsTheApplicationToTheFrontThenTypes();
};

void tst_AppleScriptingBridge::anUnknownIdentifierGivesNull()
{
    const standin::Pool pool;
    const auto bridge = platform::makeScriptingBridge();
    QVERIFY(!bridge->applicationWithBundleIdentifier(u"org.example.missing"_s));
    QCOMPARE(calls(), QStringList(u"applicationWithBundleIdentifier org.example.missing"_s));
}

void tst_AppleScriptingBridge::everyQuestionReachesTheApplication()
{
    const QString identifier = QString::fromUtf8("org.example.J\xc3\xb6rg");
    world().applications[identifier] = {true, QString::fromUtf8("J\xc3\xb6rgs")};
    const standin::Pool pool;
    const auto bridge = platform::makeScriptingBridge();
    const auto application = bridge->applicationWithBundleIdentifier(identifier);
    QVERIFY(application);
    QVERIFY(application->isRunning());
    application->activate();
    application->run();
    QCOMPARE(application->name(), QString::fromUtf8("J\xc3\xb6rgs"));
    world().applications[identifier].isRunning = false;
    QVERIFY(!application->isRunning());
    QCOMPARE(calls(), QStringList({u"applicationWithBundleIdentifier "_s + identifier,
                                   u"isRunning "_s + identifier, u"activate "_s + identifier,
                                   u"run "_s + identifier, u"name "_s + identifier,
                                   u"isRunning "_s + identifier}));
}

void tst_AppleScriptingBridge::anApplicationOutlivesThePoolOfItsFinding()
{
    world().applications[finder] = {};
    std::unique_ptr<platform::ScriptableApplication> application;
    {
        const standin::Pool pool;
        application = platform::makeScriptingBridge()->applicationWithBundleIdentifier(finder);
    }
    QCOMPARE(standin::liveApplications(), 1);
    application.reset();
    QCOMPARE(standin::liveApplications(), 0);
}

void tst_AppleScriptingBridge::whatAnApplicationDoesNotUnderstandIsSilent()
{
    world().applications[finder] = {true, u"Finder"_s, true};
    const standin::Pool pool;
    const auto application =
        platform::makeScriptingBridge()->applicationWithBundleIdentifier(finder);
    application->run();
    QCOMPARE(application->name(), QString());
    QVERIFY(application->isRunning());
}

void tst_AppleScriptingBridge::aNameThatIsNoTextIsEmpty()
{
    world().applications[finder] = {true, u"Finder"_s, false, true};
    const standin::Pool pool;
    const auto application =
        platform::makeScriptingBridge()->applicationWithBundleIdentifier(finder);
    QCOMPARE(application->name(), QString());
}

void tst_AppleScriptingBridge::startingRunsAnApplicationThatIsNotRunning()
{
    world().applications[finder] = {};
    const standin::Pool pool;
    TKApplicationManagerMac(nullptr).openApplication(u"Finder"_s);
    QCOMPARE(calls(), QStringList({u"applicationWithBundleIdentifier "_s + finder,
                                   u"isRunning "_s + finder, u"run "_s + finder}));
}

void tst_AppleScriptingBridge::startingUnitronAsksItsName()
{
    world().applications[unitron] = {};
    const standin::Pool pool;
    TKApplicationManagerMac(nullptr).openApplication(u"Unitron"_s);
    QCOMPARE(calls(), QStringList({u"applicationWithBundleIdentifier "_s + unitron,
                                   u"isRunning "_s + unitron, u"name "_s + unitron}));
}

void tst_AppleScriptingBridge::quittingBringsTheApplicationToTheFrontThenTypes()
{
    world().applications[finder] = {true, u"Finder"_s};
    InteractionManager interaction(new InteractionManagerMac);
    const standin::Pool pool;
    TKApplicationManagerMac(&interaction).quitApplication(u"Finder"_s);
    QStringList deeds = calls();
    deeds.removeIf([](const QString &call) {
        return !call.startsWith(u"activate"_s) && !call.startsWith(u"CGEventPost"_s);
    });
    QCOMPARE(deeds, QStringList({u"activate "_s + finder,
                                 u"CGEventPost tap 1 flags 0x100000 key 12 down"_s,
                                 u"CGEventPost tap 1 flags 0x100000 key 12 up"_s}));
}

QTEST_GUILESS_MAIN(tst_AppleScriptingBridge)
#include "tst_AppleScriptingBridge.moc"
