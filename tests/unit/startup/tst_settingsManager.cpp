// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/RecordingLoginItems.h"
#include "doubles/RecordingSessionStart.h"
#include "startup/settingsManagerMac.h"

#include <QStringList>
#include <QTest>

#include <type_traits>

using namespace Qt::StringLiterals;

class tst_settingsManager : public QObject
{
    Q_OBJECT

private slots:
    void theBaseDoesNothing();
    void anEntryCountsAsOursByItsPath_data();
    void anEntryCountsAsOursByItsPath();
    void enablingAddsOneVisibleEntryAtTheEnd();
    void enablingTwiceLeavesOneEntry();
    void enablingWhatIsThereWritesNothing();
    void disablingRemovesTheEntryAndLeavesTheOthers();
    void disablingWhatIsNotThereWritesNothing();
    void disablingRemovesOnlyTheFirstOfTwo();
    void theNameIsTheLastPartOfThePath_data();
    void theNameIsTheLastPartOfThePath();
    void aPathWithoutANameMatchesNothing_data();
    void aPathWithoutANameMatchesNothing();
    void anEntryWithoutAPathIsNotOurs();
    void theHostsCurrentMeansIsReportedWhateverTheListHolds();

private:
    using Entries = QList<LoginItemRecord::Entry>;

    void set(bool isEnabled)
    {
        settingsManagerMac(std::make_unique<RecordingLoginItems>(record),
                           std::make_unique<RecordingSessionStart>(startRecord))
            .startAtLogon(isEnabled);
    }
    QStringList paths() const
    {
        QStringList found;
        for (const LoginItemRecord::Entry &entry : record.entries) {
            found.append(entry.path);
        }
        return found;
    }

    LoginItemRecord record;
    SessionStartRecord startRecord;

private slots:
    void init()
    {
        record = LoginItemRecord();
        startRecord = SessionStartRecord();
    }
};

void tst_settingsManager::theBaseDoesNothing()
{
    class Base final : public settingsManager
    {
    };
    Base base;
    base.startAtLogon(true);
    base.startAtLogon(false);
    static_assert(!std::has_virtual_destructor_v<settingsManager>);
    static_assert(std::is_polymorphic_v<settingsManager>);
    QCOMPARE(record.saves, 0);
}

void tst_settingsManager::anEntryCountsAsOursByItsPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("isOurs");

    QTest::newRow("our path") << "/opt/vorna/VornaServer" << true;
    QTest::newRow("other place") << "/home/u/bin/VornaServer" << true;
    QTest::newRow("other letter case") << "/OPT/VORNASERVER" << true;
    QTest::newRow("longer name") << "/opt/MyVornaServerHelper" << true;
    QTest::newRow("name of a directory") << "/opt/vornaserver/other" << true;
    QTest::newRow("bare name") << "VornaServer" << true;
    QTest::newRow("other program") << "/usr/bin/other" << false;
    QTest::newRow("part of the name") << "/opt/vorna/Server" << false;
    QTest::newRow("name in two parts") << "/opt/Vorna/Server" << false;
    QTest::newRow("blank inside") << "/opt/Vorna Server" << false;
}

void tst_settingsManager::anEntryCountsAsOursByItsPath()
{
    QFETCH(QString, path);
    QFETCH(bool, isOurs);
    const Entries before = {{u"/usr/bin/first"_s, true}, {path, true}};
    record.entries = before;
    set(true);
    QCOMPARE(record.entries.size(), isOurs ? 2 : 3);
    record.entries = before;
    set(false);
    QCOMPARE(record.entries.size(), isOurs ? 1 : 2);
}

void tst_settingsManager::enablingAddsOneVisibleEntryAtTheEnd()
{
    record.entries = {{u"/usr/bin/other"_s, true}};
    set(true);
    QCOMPARE(record.entries,
             Entries({{u"/usr/bin/other"_s, true}, {u"/opt/vorna/VornaServer"_s, false}}));
    QCOMPARE(record.saves, 1);
}

void tst_settingsManager::enablingTwiceLeavesOneEntry()
{
    set(true);
    set(true);
    QCOMPARE(paths(), QStringList{u"/opt/vorna/VornaServer"_s});
    QCOMPARE(record.saves, 1);
}

void tst_settingsManager::enablingWhatIsThereWritesNothing()
{
    const Entries before = {{u"/elsewhere/vornaserver"_s, true}};
    record.entries = before;
    set(true);
    QCOMPARE(record.entries, before);
    QCOMPARE(record.saves, 0);
}

void tst_settingsManager::disablingRemovesTheEntryAndLeavesTheOthers()
{
    record.entries = {{u"/a"_s, false}, {u"/opt/vorna/VornaServer"_s, false}, {u"/b"_s, true}};
    set(false);
    QCOMPARE(record.entries, Entries({{u"/a"_s, false}, {u"/b"_s, true}}));
    QCOMPARE(record.saves, 1);
}

void tst_settingsManager::disablingWhatIsNotThereWritesNothing()
{
    set(false);
    record.entries = {{u"/usr/bin/other"_s, false}};
    set(false);
    QCOMPARE(record.entries.size(), 1);
    QCOMPARE(record.saves, 0);
}

void tst_settingsManager::disablingRemovesOnlyTheFirstOfTwo()
{
    record.entries = {{u"/x"_s, false}, {u"/1/VornaServer"_s, false}, {u"/2/VORNASERVER"_s, false}};
    set(false);
    QCOMPARE(paths(), QStringList({u"/x"_s, u"/2/VORNASERVER"_s}));
    set(false);
    QCOMPARE(paths(), QStringList{u"/x"_s});
}

void tst_settingsManager::theNameIsTheLastPartOfThePath_data()
{
    QTest::addColumn<QString>("applicationPath");
    QTest::addColumn<QString>("match");
    QTest::addColumn<QString>("other");

    QTest::newRow("bundle") << "/Applications/Vorna Server.app"
                            << "/x/vorna server.app"
                            << "/x/app";
    QTest::newRow("slash at the end") << "/opt/Vorna.app/"
                                      << "/x/Vorna.app"
                                      << "/opt/";
    QTest::newRow("slashes in a row") << "/opt//Vorna.app//"
                                      << "/x/Vorna.app"
                                      << "/opt//";
    QTest::newRow("no directory") << "Vorna"
                                  << "/x/Vorna"
                                  << "/x/Vorn";
    QTest::newRow("letters beyond ASCII")
        << u"/opt/V\u00d6RNA"_s << u"/x/v\u00f6rna"_s << "/x/vorna";
    QTest::newRow("signs of a pattern") << "/opt/V.*[a]"
                                        << "/x/v.*[a]"
                                        << "/x/Vorna";
}

void tst_settingsManager::theNameIsTheLastPartOfThePath()
{
    QFETCH(QString, applicationPath);
    QFETCH(QString, match);
    QFETCH(QString, other);
    record.applicationPath = applicationPath;
    record.entries = {{other, false}};
    set(true);
    QCOMPARE(paths(), QStringList({other, applicationPath}));
    record.entries = {{other, false}, {match, false}};
    set(false);
    QCOMPARE(paths(), QStringList{other});
}

void tst_settingsManager::aPathWithoutANameMatchesNothing_data()
{
    QTest::addColumn<QString>("applicationPath");
    QTest::newRow("empty") << "";
    QTest::newRow("root") << "/";
    QTest::newRow("slashes") << "///";
}

void tst_settingsManager::aPathWithoutANameMatchesNothing()
{
    QFETCH(QString, applicationPath);
    record.applicationPath = applicationPath;
    record.entries = {{u"/usr/bin/other"_s, false}};
    // In particular the entries of other programs must stay.
    set(false);
    QCOMPARE(paths(), QStringList{u"/usr/bin/other"_s});
    QCOMPARE(record.saves, 0);
}

void tst_settingsManager::anEntryWithoutAPathIsNotOurs()
{
    record.entries = {{u""_s, false}};
    set(false);
    QCOMPARE(record.entries.size(), 1);
    set(true);
    QCOMPARE(record.entries.size(), 2);
}

void tst_settingsManager::theHostsCurrentMeansIsReportedWhateverTheListHolds()
{
    const QString path = record.applicationPath;
    set(true);
    set(true);
    set(false);
    set(false);
    QCOMPARE(startRecord.calls, (QList<SessionStartRecord::Call>{
                                    {true, path}, {true, path}, {false, path}, {false, path}}));
}

QTEST_GUILESS_MAIN(tst_settingsManager)
#include "tst_settingsManager.moc"
