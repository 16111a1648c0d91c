// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/LossyText.h"

#include "lib/RequestWriter.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_LossyText : public QObject
{
    Q_OBJECT

private slots:
    void whatCannotBeCarriedBecomesALikeness_data();
    void whatCannotBeCarriedBecomesALikeness();
    void whatCanBeCarriedStays_data();
    void whatCanBeCarriedStays();
    void changesAreCountedByKind();
    void everyKindOfLineBreakIsCalledOne();
    void theResultIsNeverRefused();
};

void tst_LossyText::whatCannotBeCarriedBecomesALikeness_data()
{
    QTest::addColumn<QString>("original");
    QTest::addColumn<QString>("text");
    QTest::newRow("double quotes") << u"say \"hi\""_s << u"say 'hi'"_s;
    QTest::newRow("typographic quotes") << u"\u201chi\u201d \u201eda\u2019"_s << u"'hi' 'da'"_s;
    QTest::newRow("dashes") << u"a\u2013b \u2014 c\u2212d"_s << u"a-b - c-d"_s;
    QTest::newRow("ellipsis, euro") << u"5 \u20ac\u2026"_s << u"5 EUR..."_s;
    QTest::newRow("line breaks") << u"a\nb\r\nc\rd\n"_s << u"a b c d"_s;
    QTest::newRow("empty lines") << u"a\n\n\nb"_s << u"a b"_s;
    QTest::newRow("tab, no-break space") << u"a\tb\u00a0c"_s << u"a b c"_s;
    QTest::newRow("runs of blanks") << u"  a   b "_s << u"a b"_s;
    QTest::newRow("letters with accents") << u"\u017elu\u0165 \u1e45"_s << u"zlut n"_s;
    QTest::newRow("accents apart") << u"cafe\u0301"_s << u"caf\u00e9"_s;
    QTest::newRow("ligature") << u"\ufb01n"_s << u"fin"_s;
    QTest::newRow("emoji") << u"ok \U0001f600!"_s << u"ok ?!"_s;
    QTest::newRow("a family is one") << u"\U0001f468\u200d\U0001f469\u200d\U0001f467"_s << u"?"_s;
    QTest::newRow("other scripts") << u"\u65e5\u672c"_s << u"??"_s;
    QTest::newRow("NUL") << u"a"_s + QChar(u'\0') << u"a?"_s;
    QTest::newRow("bracket at the start of a list") << u"(a, b)"_s << u"[a, b)"_s;
    QTest::newRow("the same behind blanks") << u" (a, b)"_s << u"[a, b)"_s;
    QTest::newRow("marker") << u"a[[[IGNORE]]]b"_s << u"a[[IGNORE]]]b"_s;
    QTest::newRow("marker made of a marker") << u"[[[[IGNORE]]]"_s << u"[[IGNORE]]]"_s;
    QTest::newRow("only blanks") << u" \n "_s << QString();
}

void tst_LossyText::whatCannotBeCarriedBecomesALikeness()
{
    QFETCH(QString, original);
    QFETCH(QString, text);
    const LossyText lossy = LossyText::of(original);
    QCOMPARE(lossy.text, text);
    QVERIFY(!lossy.changes.isEmpty());
}

void tst_LossyText::whatCanBeCarriedStays_data()
{
    QTest::addColumn<QString>("text");
    for (const QStringView text : {u"", u"hello", u"a; b {c} = (d), 'e'",
                                   u"caf\u00e9 \u00bd \u00ab\u00bb", u"[a]", u"(a) b"}) {
        QTest::addRow("%s", text.toUtf8().constData()) << text.toString();
    }
}

void tst_LossyText::whatCanBeCarriedStays()
{
    QFETCH(QString, text);
    const LossyText lossy = LossyText::of(text);
    QCOMPARE(lossy.text, text);
    QCOMPARE(lossy.changes, QStringList());
}

void tst_LossyText::everyKindOfLineBreakIsCalledOne()
{
    const LossyText lossy = LossyText::of(u"a\nb\rc\r\nd"_s);
    QCOMPARE(lossy.changes, QStringList(u"line break to a blank (3 times)"_s));
}

void tst_LossyText::changesAreCountedByKind()
{
    const LossyText lossy = LossyText::of(u"\"a\" \"b\"\nc \U0001f600\u0007"_s);
    QCOMPARE(lossy.changes, (QStringList{u"\" to ' (4 times)"_s, u"line break to a blank"_s,
                                         u"\U0001f600 to ?"_s}));
}

void tst_LossyText::theResultIsNeverRefused()
{
    const QStringList pieces = {u"a"_s,      u" "_s,          u"\n"_s,     u"\""_s,
                                u"("_s,      u"["_s,          u"]"_s,      u"[[[IGNORE]]]"_s,
                                u"\u0301"_s, u"\U0001f600"_s, u"\u200d"_s, u"[[[ENDIGNORE]]]"_s,
                                u"\t"_s,     u"\u2028"_s,     u"\u0085"_s, QString(QChar(0xd83d)),
                                u"IGNORE"_s, u"\u3000"_s,     u"\ufeff"_s, QString(QChar(u'\0'))};
    QRandomGenerator random(1);
    for (int round = 0; round < 20'000; ++round) {
        QString original;
        for (int length = random.bounded(10); length > 0; --length) {
            original += pieces[random.bounded(pieces.size())];
        }
        const LossyText lossy = LossyText::of(original);
        QCOMPARE(writeRequest(Request::copy(lossy.text), 1).refusal, QString());
        QCOMPARE(lossy.changes.isEmpty(), lossy.text == original);
        QCOMPARE(LossyText::of(lossy.text).text, lossy.text);
    }
}

QTEST_GUILESS_MAIN(tst_LossyText)
#include "tst_LossyText.moc"
