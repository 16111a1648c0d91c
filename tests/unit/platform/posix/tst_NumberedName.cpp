// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/NumberedName.h"

#include <QTest>

using namespace Qt::StringLiterals;
using platform::numberedName;

class tst_NumberedName : public QObject
{
    Q_OBJECT

private slots:
    void theNumberComesBeforeTheSuffix_data();
    void theNumberComesBeforeTheSuffix();
    void aLongNameIsCutBetweenTwoCharacters_data();
    void aLongNameIsCutBetweenTwoCharacters();
};

void tst_NumberedName::theNumberComesBeforeTheSuffix_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("numbered");
    const auto row = [](const char *name, const char *numbered) {
        QTest::newRow(name) << QByteArray(name) << QByteArray(numbered);
    };
    row("a.txt", "a (2).txt");
    row("a", "a (2)");
    row("a.b.txt", "a.b (2).txt");
    row("a.tar.gz", "a (2).tar.gz");
    row("a.tar", "a (2).tar");
    row(".tar.gz", ".tar (2).gz");
    row(".profile", ".profile (2)");
    row(".profile.txt", ".profile (2).txt");
    row("a.", "a (2).");
    row("a (2).txt", "a (2) (2).txt");
    row("At 10.30 we meet", "At 10.30 we meet (2)");
    row("x.no-suffix-has-so-many-letters", "x.no-suffix-has-so-many-letters (2)");
    row("\xc3\xa4.\xc3\xb6", "\xc3\xa4 (2).\xc3\xb6");
}

void tst_NumberedName::theNumberComesBeforeTheSuffix()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, numbered);
    QCOMPARE(numberedName(name, 2), numbered);
}

void tst_NumberedName::aLongNameIsCutBetweenTwoCharacters_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("number");
    QTest::addColumn<QByteArray>("numbered");
    const QByteArray smile = "\xf0\x9f\x98\x80";
    QTest::newRow("one byte each") << QByteArray(255, 'a') << 2 << QByteArray(251, 'a') + " (2)";
    QTest::newRow("a high number")
        << QByteArray(255, 'a') << 9999 << QByteArray(248, 'a') + " (9999)";
    QTest::newRow("with a suffix")
        << QByteArray(251, 'a') + ".txt" << 2 << QByteArray(247, 'a') + " (2).txt";
    QTest::newRow("four bytes each")
        << smile.repeated(63) + "abc" << 2 << smile.repeated(62) + " (2)";
    QTest::newRow("just fits") << QByteArray(251, 'a') << 2 << QByteArray(251, 'a') + " (2)";
}

void tst_NumberedName::aLongNameIsCutBetweenTwoCharacters()
{
    QFETCH(QByteArray, name);
    QFETCH(int, number);
    QFETCH(QByteArray, numbered);
    QCOMPARE(numberedName(name, number), numbered);
}

QTEST_GUILESS_MAIN(tst_NumberedName)
#include "tst_NumberedName.moc"
