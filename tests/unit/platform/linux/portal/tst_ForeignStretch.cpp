// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/ForeignStretch.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace platform;

class tst_ForeignStretch : public QObject
{
    Q_OBJECT

private slots:
    void itHoldsWhatHasNoKey_data();
    void itHoldsWhatHasNoKey();
    void aLineWithoutItEndsIt();
    void theSearchBeginsWhereItIsTold();
};

namespace {

bool hasKey(char32_t character)
{
    return character < 0x80;
}

} // namespace

void tst_ForeignStretch::itHoldsWhatHasNoKey_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("stretch");
    QTest::newRow("alone") << u"é"_s << u"é"_s;
    QTest::newRow("within") << u"café au lait"_s << u"é"_s;
    QTest::newRow("from the first to the last") << u"a é b ф c"_s << u"é b ф"_s;
    QTest::newRow("beyond 16 bits") << u"a😀b"_s << u"😀"_s;
    QTest::newRow("up to the line feed") << u"aéb\nф"_s << u"é"_s;
    QTest::newRow("up to the tab") << u"aéb\tф"_s << u"é"_s;
    QTest::newRow("an accent with its letter") << u"cafe\u0301s"_s << u"e\u0301"_s;
    QTest::newRow("two accents with their letter") << u"ae\u0301\u0323b"_s << u"e\u0301\u0323"_s;
    QTest::newRow("an accent alone") << u"\u0301b"_s << u"\u0301"_s;
    QTest::newRow("no half of a character") << u"a"_s + QChar(0xd83d) + u"bф"_s << u"ф"_s;
    QTest::newRow("no control character") << u"a\u0085bф"_s << u"ф"_s;
}

void tst_ForeignStretch::itHoldsWhatHasNoKey()
{
    QFETCH(QString, text);
    QFETCH(QString, stretch);
    const ForeignStretch found = foreignStretch(text, 0, hasKey);
    QCOMPARE(text.mid(found.begin, found.end - found.begin), stretch);
}

void tst_ForeignStretch::aLineWithoutItEndsIt()
{
    QCOMPARE(foreignStretch(u"abc"_s, 0, hasKey), (ForeignStretch{3, 3}));
    QCOMPARE(foreignStretch(u"abc\né"_s, 0, hasKey), (ForeignStretch{3, 3}));
    QCOMPARE(foreignStretch(u""_s, 0, hasKey), (ForeignStretch{0, 0}));
}

void tst_ForeignStretch::theSearchBeginsWhereItIsTold()
{
    QCOMPARE(foreignStretch(u"éaф"_s, 1, hasKey), (ForeignStretch{2, 3}));
    // What is before has been typed.
    QCOMPARE(foreignStretch(u"e\u0301"_s, 1, hasKey), (ForeignStretch{1, 2}));
}

QTEST_GUILESS_MAIN(tst_ForeignStretch)
#include "tst_ForeignStretch.moc"
