// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/SessionReader.h"

#include "lib/SessionMessage.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_SessionReader : public QObject
{
    Q_OBJECT

private slots:
    void linesAndBodiesAreToldApartHoweverTheyArrive_data();
    void linesAndBodiesAreToldApartHoweverTheyArrive();
    void whatIsNoLineIsGarbage_data();
    void whatIsNoLineIsGarbage();
    void theLongestPartsAreTaken();
    void anEndlessLineIsNotStored();
};

void tst_SessionReader::linesAndBodiesAreToldApartHoweverTheyArrive_data()
{
    QTest::addColumn<int>("step");
    for (const int step : {1, 2, 3, 7, 1000}) {
        QTest::addRow("%d bytes at a time", step) << step;
    }
}

void tst_SessionReader::linesAndBodiesAreToldApartHoweverTheyArrive()
{
    QFETCH(int, step);
    const QByteArray body("\n\0}", 3);
    const QByteArray bytes = "{\"id\":1,\"ok\":true}\n{\"id\":2,\"body\":3}\n" + body +
                             "{\"event\":\"clipboard\"}\n{\"id\":3,\"body\":0}\n";
    SessionReader reader;
    std::vector<SessionLine> lines;
    for (qsizetype place = 0; place < bytes.size(); place += step) {
        reader.append(bytes.mid(place, step));
        while (const auto line = reader.take()) {
            lines.push_back(*line);
        }
    }
    QVERIFY(!reader.isGarbage());
    QCOMPARE(lines.size(), size_t(4));
    QCOMPARE(lines[0].object.value("ok"_L1).toBool(), true);
    QCOMPARE(lines[1].body, body);
    QCOMPARE(lines[2].object.value("event"_L1).toString(), u"clipboard"_s);
    QCOMPARE(lines[2].body, QByteArray());
    QCOMPARE(lines[3].object.value("id"_L1).toInt(), 3);
}

void tst_SessionReader::whatIsNoLineIsGarbage_data()
{
    QTest::addColumn<QByteArray>("bytes");
    for (const char *line : {"", "hello", "[]", "7", "{\"a\":}", "{\"body\":-1}",
                             "{\"body\":1048577}", "{\"body\":1.5}", "{\"body\":\"3\"}",
                             "{\"body\":null}", "{\"body\":9e99}", "{\"a\":\"\xff\"}"}) {
        QTest::newRow(line) << QByteArray(line) + '\n';
    }
}

void tst_SessionReader::whatIsNoLineIsGarbage()
{
    QFETCH(QByteArray, bytes);
    SessionReader reader;
    reader.append(bytes + "{}\n");
    QVERIFY(!reader.take().has_value());
    QVERIFY(reader.isGarbage());
    QVERIFY(!reader.take().has_value());
}

void tst_SessionReader::theLongestPartsAreTaken()
{
    const QByteArray text(longestSessionPart - 8, 'x');
    SessionReader reader;
    reader.append("{\"a\":\"" + text + "\"}\n");
    QCOMPARE(reader.take()->object.value("a"_L1).toString().size(), text.size());
    const QByteArray body(longestSessionPart, 'y');
    reader.append("{\"body\":1048576}\n" + body);
    QCOMPARE(reader.take()->body, body);
    reader.append("{\"a\":\"" + text + "x\"}\n");
    QVERIFY(!reader.take().has_value());
    QVERIFY(reader.isGarbage());
}

void tst_SessionReader::anEndlessLineIsNotStored()
{
    SessionReader reader;
    reader.append(QByteArray(longestSessionPart, ' '));
    QVERIFY(!reader.take().has_value());
    QVERIFY(!reader.isGarbage());
    reader.append(" ");
    QVERIFY(!reader.take().has_value());
    QVERIFY(reader.isGarbage());
}

QTEST_APPLESS_MAIN(tst_SessionReader)
#include "tst_SessionReader.moc"
