// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "applications/TKApplicationManager.h"

#include "applications/TKApplicationManagerMac.h"
#include "doubles/RecordingInteraction.h"
#include "doubles/RecordingScriptingBridge.h"
#include "interaction/InteractionManager.h"
#include "support/MessageRecorder.h"

#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString iTunes = u"com.apple.iTunes"_s;
const QString finder = u"com.apple.finder"_s;
const QString unitron = u"dk.Otee.Unity_Unitron"_s;

/// An implementation that writes down what it was asked.
class RecordingManager final : public TKApplicationManagerImp
{
public:
    explicit RecordingManager(QStringList &callList)
        : TKApplicationManagerImp(nullptr)
        , calls(callList)
    {
        supportedApplications << u"one"_s << u"two"_s;
    }
    ~RecordingManager() override { calls.append(u"gone"_s); }
    void openApplication(QString name) override { calls.append(u"open "_s + name); }
    void quitApplication(QString name) override { calls.append(u"quit "_s + name); }
    void checkAvailableApplications() override { calls.append(u"check"_s); }

private:
    QStringList &calls;
};

} // namespace

class tst_TKApplicationManager : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theFacadeHandsCallsOnAndOwnsItsImplementation();
    void thereMayBeNoImplementation();
    void threeApplicationsAreListedInTheirOrder();
    void allOfThemCountAsAvailable();
    void checkingAgainAddsThemAgain();
    void makingTheManagerAsksTheHostNothing();

    void openingStartsWhatDoesNotRun_data();
    void openingStartsWhatDoesNotRun();
    void openingWhatRunsDoesNothingAndSaysNothing_data();
    void openingWhatRunsDoesNothingAndSaysNothing();
    void openingWhatIsNotInstalledIsOnlyReported();
    void openingAnUnknownNameIsOnlyReported_data();
    void openingAnUnknownNameIsOnlyReported();

    void quittingActivatesThenTypesTheShortcut_data();
    void quittingActivatesThenTypesTheShortcut();
    void quittingWhatDoesNotRunDoesNothing();
    void quittingAnUnknownNameDoesNothing_data();
    void quittingAnUnknownNameDoesNothing();
    void theInteractionManagerIsLeftToItsOwner();

private:
    static void addNames();
    static void addUnknownNames();

    std::unique_ptr<MessageRecorder> messages;
    ScriptingRecord record; // the typing of the interaction manager is in its calls too
    std::unique_ptr<InteractionManager> interaction;
    std::unique_ptr<TKApplicationManager> manager;
};

void tst_TKApplicationManager::init()
{
    messages = std::make_unique<MessageRecorder>();
    record = ScriptingRecord();
    record.applications = {{iTunes, {false, u"Music"_s}},
                           {finder, {true, u"Files"_s}},
                           {unitron, {false, u"Unitron"_s}}};
    interaction = std::make_unique<InteractionManager>(new RecordingInteraction(record.calls));
    manager = std::make_unique<TKApplicationManager>(new TKApplicationManagerMac(
        interaction.get(), std::make_unique<RecordingScriptingBridge>(record)));
}

void tst_TKApplicationManager::cleanup()
{
    manager.reset();
    interaction.reset();
    messages.reset();
}

void tst_TKApplicationManager::addNames()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("identifier");
    QTest::newRow("iTunes") << "iTunes" << iTunes;
    QTest::newRow("Finder") << "Finder" << finder;
    QTest::newRow("Unitron") << "Unitron" << unitron;
}

void tst_TKApplicationManager::addUnknownNames()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"Notes", "finder", "ITUNES", "unitron", "Finder ", "com.apple.finder",
                             "", "%1 and %2", "a \"quoted\" one"}) {
        QTest::addRow("'%s'", name) << QString::fromLatin1(name);
    }
    QTest::newRow("letter beyond Latin-1") << u"F\u2603nder"_s;
}

void tst_TKApplicationManager::theFacadeHandsCallsOnAndOwnsItsImplementation()
{
    QStringList calls;
    auto facade = std::make_unique<TKApplicationManager>(new RecordingManager(calls));
    QCOMPARE(facade->applicationList(), QStringList({u"one"_s, u"two"_s}));
    facade->openApplication(u"Finder"_s);
    facade->quitApplication(u"iTunes"_s);
    QCOMPARE(calls, QStringList({u"open Finder"_s, u"quit iTunes"_s}));
    facade.reset();
    QCOMPARE(calls.last(), u"gone"_s);
}

void tst_TKApplicationManager::thereMayBeNoImplementation()
{
    auto facade = std::make_unique<TKApplicationManager>(nullptr);
    facade.reset();
    QVERIFY(facade == nullptr);
}

void tst_TKApplicationManager::threeApplicationsAreListedInTheirOrder()
{
    QCOMPARE(manager->applicationList(), QStringList({u"iTunes"_s, u"Finder"_s, u"Unitron"_s}));
}

void tst_TKApplicationManager::allOfThemCountAsAvailable()
{
    const TKApplicationManagerMac mac(nullptr, std::make_unique<RecordingScriptingBridge>(record));
    QStringList available = mac.available();
    available.sort();
    QCOMPARE(available, QStringList({u"Finder"_s, u"Unitron"_s, u"iTunes"_s}));
    QCOMPARE(mac.supported(), QStringList({u"iTunes"_s, u"Finder"_s, u"Unitron"_s}));
}

void tst_TKApplicationManager::checkingAgainAddsThemAgain()
{
    TKApplicationManagerMac mac(nullptr, std::make_unique<RecordingScriptingBridge>(record));
    mac.checkAvailableApplications();
    QCOMPARE(mac.available().size(), 6);
    QCOMPARE(mac.supported().size(), 3);
}

void tst_TKApplicationManager::makingTheManagerAsksTheHostNothing()
{
    QCOMPARE(record.calls, QStringList());
}

void tst_TKApplicationManager::openingStartsWhatDoesNotRun_data()
{
    addNames();
}

void tst_TKApplicationManager::openingStartsWhatDoesNotRun()
{
    QFETCH(QString, name);
    QFETCH(QString, identifier);
    record.applications[identifier].isRunning = false;
    manager->openApplication(name);
    // Unitron starts by being asked its name.
    const QString start = name == u"Unitron"_s ? u"name "_s : u"run "_s;
    QCOMPARE(record.calls, QStringList({u"lookup "_s + identifier, u"isRunning "_s + identifier,
                                        start + identifier}));
    QCOMPARE(messages->all(), QStringList{u"debug: \"Starting "_s + name + u"\" "_s});
}

void tst_TKApplicationManager::openingWhatRunsDoesNothingAndSaysNothing_data()
{
    addNames();
}

void tst_TKApplicationManager::openingWhatRunsDoesNothingAndSaysNothing()
{
    QFETCH(QString, name);
    QFETCH(QString, identifier);
    record.applications[identifier].isRunning = true;
    manager->openApplication(name);
    QCOMPARE(record.calls, QStringList({u"lookup "_s + identifier, u"isRunning "_s + identifier}));
    QCOMPARE(messages->all(), QStringList());
}

void tst_TKApplicationManager::openingWhatIsNotInstalledIsOnlyReported()
{
    record.applications.clear();
    manager->openApplication(u"Finder"_s);
    manager->openApplication(u"Unitron"_s);
    QCOMPARE(record.calls, QStringList({u"lookup "_s + finder, u"lookup "_s + unitron}));
    QCOMPARE(messages->all(),
             QStringList({u"debug: \"Starting Finder\" "_s, u"debug: \"Starting Unitron\" "_s}));
}

void tst_TKApplicationManager::openingAnUnknownNameIsOnlyReported_data()
{
    addUnknownNames();
}

void tst_TKApplicationManager::openingAnUnknownNameIsOnlyReported()
{
    QFETCH(QString, name);
    manager->openApplication(name);
    QCOMPARE(record.calls, QStringList());
    QCOMPARE(messages->all(), QStringList{u"debug: \"Starting "_s + name + u"\" "_s});
}

void tst_TKApplicationManager::quittingActivatesThenTypesTheShortcut_data()
{
    addNames();
}

void tst_TKApplicationManager::quittingActivatesThenTypesTheShortcut()
{
    QFETCH(QString, name);
    QFETCH(QString, identifier);
    record.applications[identifier].isRunning = true;
    manager->quitApplication(name);
    QCOMPARE(record.calls, QStringList({u"lookup "_s + identifier, u"isRunning "_s + identifier,
                                        u"activate "_s + identifier, u"type Cmd+Q"_s}));
    QCOMPARE(messages->all(), QStringList());
}

void tst_TKApplicationManager::quittingWhatDoesNotRunDoesNothing()
{
    manager->quitApplication(u"iTunes"_s);
    QCOMPARE(record.calls, QStringList({u"lookup "_s + iTunes, u"isRunning "_s + iTunes}));
    QCOMPARE(messages->all(), QStringList());
}

void tst_TKApplicationManager::quittingAnUnknownNameDoesNothing_data()
{
    addUnknownNames();
}

void tst_TKApplicationManager::quittingAnUnknownNameDoesNothing()
{
    QFETCH(QString, name);
    manager->quitApplication(name);
    QCOMPARE(record.calls, QStringList());
    QCOMPARE(messages->all(), QStringList());
}

void tst_TKApplicationManager::theInteractionManagerIsLeftToItsOwner()
{
    manager.reset();
    QVERIFY(!record.calls.contains(u"gone"_s));
    interaction.reset();
    QVERIFY(record.calls.contains(u"gone"_s));
}

QTEST_GUILESS_MAIN(tst_TKApplicationManager)
#include "tst_TKApplicationManager.moc"
