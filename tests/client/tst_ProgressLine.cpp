// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/ProgressLine.h"

#include "program/Terminal.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_ProgressLine : public QObject
{
    Q_OBJECT

private slots:
    void theWidthDecidesWhatIsShown_data();
    void theWidthDecidesWhatIsShown();
    void everyWidthIsKept_data();
    void everyWidthIsKept();
};

void tst_ProgressLine::theWidthDecidesWhatIsShown_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<QString>("line");
    QTest::newRow("80") << 80 << u"holiday.jpg [##########..........]  50% 1.0 MiB/s 0:02 left"_s;
    QTest::newRow("40") << 40 << u"holiday.jpg  50% 1.0 MiB/s 0:02 left"_s;
    QTest::newRow("34") << 34 << u"holiday\u2026  50% 1.0 MiB/s 0:02 left"_s;
    // The rate is left out before the name becomes too short to identify the file.
    QTest::newRow("30") << 30 << u"holiday.jpg  50% 0:02 left"_s;
    QTest::newRow("24") << 24 << u"holiday\u2026  50% 0:02 left"_s;
    QTest::newRow("12") << 12 << u"holid\u2026  50%"_s;
    QTest::newRow("5") << 5 << u" 50%"_s;
}

void tst_ProgressLine::theWidthDecidesWhatIsShown()
{
    QFETCH(int, columns);
    QFETCH(QString, line);
    constexpr quint64 megabyte = 1024 * 1024;
    QCOMPARE(progressText(u"holiday.jpg"_s, 2 * megabyte, 4 * megabyte, 2.0, columns), line);
}

void tst_ProgressLine::everyWidthIsKept_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("empty") << QString();
    QTest::newRow("short") << u"a"_s;
    QTest::newRow("long") << QString(300, u'n');
    QTest::newRow("wide") << QString(20, QChar(0x65e5));
    QTest::newRow("emoji") << u"\U0001f600\U0001f600 pictures of summer.zip"_s;
    QTest::newRow("control characters") << u"a\x1b[2J\nb"_s;
}

void tst_ProgressLine::everyWidthIsKept()
{
    QFETCH(QString, name);
    for (int columns = 1; columns <= 200; ++columns) {
        for (const quint64 sent : {quint64(0), quint64(1) << 40, quint64(1) << 62}) {
            const QString line = progressText(name, sent, quint64(1) << 62, 0.5, columns);
            QVERIFY2(Terminal::width(line) < columns, qPrintable(line));
            QVERIFY(!line.contains(u'\x1b') && !line.contains(u'\n'));
            QVERIFY2(columns < 5 || line.contains(u'%'), qPrintable(line));
        }
    }
}

QTEST_GUILESS_MAIN(tst_ProgressLine)
#include "tst_ProgressLine.moc"
