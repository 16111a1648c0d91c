// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Suggestion.h"

#include "program/CommandTable.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_Suggestion : public QObject
{
    Q_OBJECT

private slots:
    void theClosestCommandIsSuggested_data();
    void theClosestCommandIsSuggested();
    void theSentenceAsks();
};

void tst_Suggestion::theClosestCommandIsSuggested_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("suggestion");
    QTest::newRow("swapped") << u"sned"_s << u"send"_s;
    QTest::newRow("wrong letter") << u"capy"_s << u"copy"_s;
    QTest::newRow("missing letter") << u"past"_s << u"paste"_s;
    QTest::newRow("missing first letter") << u"aste"_s << u"paste"_s;
    QTest::newRow("additional letter") << u"movve"_s << u"move"_s;
    QTest::newRow("upper case") << u"SEND"_s << u"send"_s;
    QTest::newRow("two mistakes in a long word") << u"discvoerr"_s << u"discover"_s;
    QTest::newRow("two mistakes in a short word") << u"snde"_s << QString();
    QTest::newRow("something else") << u"dance"_s << QString();
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("endless") << QString(1'000'000, u'x') << QString();
}

void tst_Suggestion::theClosestCommandIsSuggested()
{
    QFETCH(QString, word);
    QFETCH(QString, suggestion);
    QCOMPARE(suggestionFor(word, commandNames()), suggestion);
}

void tst_Suggestion::theSentenceAsks()
{
    QCOMPARE(didYouMean(u"sned"_s, {u"send"_s}), u" Did you mean send?"_s);
    QCOMPARE(didYouMean(u"x"_s, {u"send"_s}), QString());
}

QTEST_APPLESS_MAIN(tst_Suggestion)
#include "tst_Suggestion.moc"
