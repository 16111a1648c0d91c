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

namespace {

const QString iTunes = "com.apple.iTunes";
const QString finder = "com.apple.finder";
const QString unitron = "dk.Otee.Unity_Unitron";

/// An implementation that writes down what it was asked.
class RecordingManager final : public TKApplicationManagerImp
{
public:
    explicit RecordingManager(QStringList &callList)
        : TKApplicationManagerImp(nullptr)
        , calls(callList)
    {
        supportedApplications << "one"
                              << "two";
    }
    ~RecordingManager() override { calls.append("gone"); }
    void openApplication(QString name) override { calls.append("open " + name); }
    void quitApplication(QString name) override { calls.append("quit " + name); }
    void checkAvailableApplications() override { calls.append("check"); }

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
    void openingWhatIsNotInstalledIsOnlyTold();
    void openingAnUnknownNameIsOnlyTold_data();
    void openingAnUnknownNameIsOnlyTold();

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
    record.applications = {
        {iTunes, {false, "Music"}}, {finder, {true, "Files"}}, {unitron, {false, "Unitron"}}};
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
        QTest::addRow("'%s'", name) << QString(name);
    }
    QTest::newRow("letter beyond Latin-1") << QStringLiteral("F\u2603nder");
}

void tst_TKApplicationManager::theFacadeHandsCallsOnAndOwnsItsImplementation()
{
    QStringList calls;
    auto facade = std::make_unique<TKApplicationManager>(new RecordingManager(calls));
    QCOMPARE(facade->applicationList(), QStringList({"one", "two"}));
    facade->openApplication("Finder");
    facade->quitApplication("iTunes");
    QCOMPARE(calls, QStringList({"open Finder", "quit iTunes"}));
    facade.reset();
    QCOMPARE(calls.last(), QString("gone"));
}

void tst_TKApplicationManager::thereMayBeNoImplementation()
{
    auto facade = std::make_unique<TKApplicationManager>(nullptr);
    facade.reset();
    QVERIFY(facade == nullptr);
}

void tst_TKApplicationManager::threeApplicationsAreListedInTheirOrder()
{
    QCOMPARE(manager->applicationList(), QStringList({"iTunes", "Finder", "Unitron"}));
}

void tst_TKApplicationManager::allOfThemCountAsAvailable()
{
    const TKApplicationManagerMac mac(nullptr, std::make_unique<RecordingScriptingBridge>(record));
    QStringList available = mac.available();
    available.sort();
    QCOMPARE(available, QStringList({"Finder", "Unitron", "iTunes"}));
    QCOMPARE(mac.supported(), QStringList({"iTunes", "Finder", "Unitron"}));
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
    const QString start = name == "Unitron" ? "name " : "run ";
    QCOMPARE(record.calls,
             QStringList({"lookup " + identifier, "isRunning " + identifier, start + identifier}));
    QCOMPARE(messages->all(), QStringList{"debug: \"Starting " + name + "\" "});
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
    QCOMPARE(record.calls, QStringList({"lookup " + identifier, "isRunning " + identifier}));
    QCOMPARE(messages->all(), QStringList());
}

void tst_TKApplicationManager::openingWhatIsNotInstalledIsOnlyTold()
{
    record.applications.clear();
    manager->openApplication("Finder");
    manager->openApplication("Unitron");
    QCOMPARE(record.calls, QStringList({"lookup " + finder, "lookup " + unitron}));
    QCOMPARE(messages->all(),
             QStringList({"debug: \"Starting Finder\" ", "debug: \"Starting Unitron\" "}));
}

void tst_TKApplicationManager::openingAnUnknownNameIsOnlyTold_data()
{
    addUnknownNames();
}

void tst_TKApplicationManager::openingAnUnknownNameIsOnlyTold()
{
    QFETCH(QString, name);
    manager->openApplication(name);
    QCOMPARE(record.calls, QStringList());
    QCOMPARE(messages->all(), QStringList{"debug: \"Starting " + name + "\" "});
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
    QCOMPARE(record.calls, QStringList({"lookup " + identifier, "isRunning " + identifier,
                                        "activate " + identifier, "type Cmd+Q"}));
    QCOMPARE(messages->all(), QStringList());
}

void tst_TKApplicationManager::quittingWhatDoesNotRunDoesNothing()
{
    manager->quitApplication("iTunes");
    QCOMPARE(record.calls, QStringList({"lookup " + iTunes, "isRunning " + iTunes}));
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
    QVERIFY(!record.calls.contains("gone"));
    interaction.reset();
    QVERIFY(record.calls.contains("gone"));
}

QTEST_GUILESS_MAIN(tst_TKApplicationManager)
#include "tst_TKApplicationManager.moc"
