// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/ServerChoice.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;
using Kind = ServerChoice::Kind;

Q_DECLARE_METATYPE(ServerChoice::Kind)

namespace {

QList<ServerAddress> servers(const QStringList &names)
{
    QList<ServerAddress> all;
    for (const QString &name : names) {
        all += ServerAddress{name, name + u".local"_s, QHostAddress(u"10.0.0.1"_s), 1};
    }
    return all;
}

} // namespace

class tst_ServerChoice : public QObject
{
    Q_OBJECT

private slots:
    void theServerIsClearAsSoonAsCanBe_data();
    void theServerIsClearAsSoonAsCanBe();
    void thoseThatMayBeMeantAreListed();
    void thoseThatWereSeenAreListedAtTheEnd();
};

/// The three kinds are the decisions while the search runs, is quiet, and is over.
void tst_ServerChoice::theServerIsClearAsSoonAsCanBe_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("lastUsed");
    QTest::addColumn<QStringList>("seen");
    QTest::addColumn<QList<ServerChoice::Kind>>("kinds");
    QTest::addColumn<QString>("chosen");
    const auto never = QList{Kind::Undecided, Kind::Undecided, Kind::None};
    const auto atOnce = QList{Kind::Clear, Kind::Clear, Kind::Clear};
    const auto onceQuiet = QList{Kind::Undecided, Kind::Clear, Kind::Clear};
    const auto atTheEnd = QList{Kind::Undecided, Kind::Undecided, Kind::Clear};
    const auto several = QList{Kind::Undecided, Kind::Several, Kind::Several};
    const auto severalAtTheEnd = QList{Kind::Undecided, Kind::Undecided, Kind::Several};
    const QStringList denAttic = {u"attic"_s, u"den"_s};

    QTest::newRow("nothing seen") << u""_s << u""_s << QStringList() << never << u""_s;
    QTest::newRow("the only one") << u""_s << u""_s << QStringList{u"den"_s} << onceQuiet
                                  << u"den"_s;
    QTest::newRow("two") << u""_s << u""_s << denAttic << several << u""_s;
    QTest::newRow("the last used") << u""_s << u"den"_s << denAttic << atOnce << u"den"_s;
    QTest::newRow("another than the last used")
        << u""_s << u"den"_s << QStringList{u"attic"_s} << atTheEnd << u"attic"_s;
    QTest::newRow("two others than the last used")
        << u""_s << u"cellar"_s << denAttic << severalAtTheEnd << u""_s;
    QTest::newRow("the last used in other letters")
        << u""_s << u"DEN"_s << denAttic << severalAtTheEnd << u""_s;
    QTest::newRow("named") << u"den"_s << u"attic"_s << denAttic << atOnce << u"den"_s;
    QTest::newRow("named, absent") << u"cellar"_s << u"attic"_s << denAttic << never << u""_s;
    QTest::newRow("named, part of a name") << u"de"_s << u""_s << denAttic << never << u""_s;
    QTest::newRow("named in other letters")
        << u"DEN"_s << u""_s << denAttic << onceQuiet << u"den"_s;
    QTest::newRow("exact besides other letters")
        << u"Den"_s << u""_s << QStringList{u"DEN"_s, u"Den"_s, u"den"_s} << atOnce << u"Den"_s;
    QTest::newRow("two in other letters")
        << u"dEN"_s << u""_s << QStringList{u"DEN"_s, u"Den"_s} << several << u""_s;
    QTest::newRow("other letters beyond ASCII")
        << u"\u00c9T\u00c9"_s << u""_s << QStringList{u"\u00e9t\u00e9"_s} << onceQuiet
        << u"\u00e9t\u00e9"_s;
}

void tst_ServerChoice::theServerIsClearAsSoonAsCanBe()
{
    QFETCH(QString, name);
    QFETCH(QString, lastUsed);
    QFETCH(QStringList, seen);
    QFETCH(QList<ServerChoice::Kind>, kinds);
    QFETCH(QString, chosen);
    const auto states = {SearchState::Running, SearchState::Quiet, SearchState::Over};
    for (const SearchState state : states) {
        const ServerChoice choice = chooseServer({name, lastUsed}, servers(seen), state);
        QCOMPARE(choice.kind, kinds[static_cast<int>(state)]);
        QCOMPARE(choice.server.name, choice.kind == Kind::Clear ? chosen : QString());
    }
}

void tst_ServerChoice::thoseThatMayBeMeantAreListed()
{
    const auto seen = servers({u"DEN"_s, u"Den"_s, u"attic"_s});
    QCOMPARE(chooseServer({u"den"_s, {}}, seen, SearchState::Quiet).candidates,
             servers({u"DEN"_s, u"Den"_s}));
    QCOMPARE(chooseServer({{}, {}}, seen, SearchState::Quiet).candidates, seen);
}

void tst_ServerChoice::thoseThatWereSeenAreListedAtTheEnd()
{
    const auto seen = servers({u"attic"_s, u"den"_s});
    QCOMPARE(chooseServer({u"cellar"_s, {}}, seen, SearchState::Over).candidates, seen);
}

QTEST_APPLESS_MAIN(tst_ServerChoice)
#include "tst_ServerChoice.moc"
