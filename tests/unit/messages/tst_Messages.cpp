// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "messages/Messages.h"

#include "support/MessageRecorder.h"

#include <QTest>

using namespace Qt::StringLiterals;

class tst_Messages : public QObject
{
    Q_OBJECT

private slots:
    void everyItemIsFollowedByOneBlank_data();
    void everyItemIsFollowedByOneBlank();
    void quotingEscapesNothing_data();
    void quotingEscapesNothing();
    void aWarningArrivesByteForByte();
    void aDebugMessageArrivesByteForByte();
};

void tst_Messages::everyItemIsFollowedByOneBlank_data()
{
    QTest::addColumn<QStringList>("items");
    QTest::addColumn<QString>("text");

    QTest::newRow("no item") << QStringList{} << "";
    QTest::newRow("an empty item") << QStringList{u""_s} << " ";
    QTest::newRow("one item") << QStringList{u"Server Started..."_s} << "Server Started... ";
    QTest::newRow("an item that ends in a blank keeps it")
        << QStringList{u"Opening URL: "_s, u"http://x"_s} << "Opening URL:  http://x ";
    QTest::newRow("four items") << QStringList{u"a "_s, u"b"_s, u" c "_s, u"d"_s} << "a  b  c  d ";
    QTest::newRow("nothing is escaped") << QStringList{u"a\"\\\n\t"_s} << "a\"\\\n\t ";
}

void tst_Messages::everyItemIsFollowedByOneBlank()
{
    QFETCH(QStringList, items);
    const QString first = items.value(0);
    switch (items.size()) {
    case 0:
        QTEST(Messages::streamed({}), "text");
        break;
    case 1:
        QTEST(Messages::streamed({first}), "text");
        break;
    case 2:
        QTEST(Messages::streamed({first, items[1]}), "text");
        break;
    default:
        QTEST(Messages::streamed({first, items[1], items[2], items[3]}), "text");
    }
}

void tst_Messages::quotingEscapesNothing_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("quoted");

    QTest::newRow("empty") << ""
                           << "\"\"";
    QTest::newRow("words") << "Starting Notes"
                           << "\"Starting Notes\"";
    QTest::newRow("quotes and backslashes") << "a\"b\\c"
                                            << "\"a\"b\\c\"";
    QTest::newRow("line end and letters beyond ASCII")
        << u"\u00e9\n\u2603"_s << u"\"\u00e9\n\u2603\""_s;
}

void tst_Messages::quotingEscapesNothing()
{
    QFETCH(QString, text);
    QTEST(Messages::quoted(text), "quoted");
}

void tst_Messages::aWarningArrivesByteForByte()
{
    const MessageRecorder recorder;
    Messages::warning({u"Opening URL: "_s, u"\u00e9\"\\\n"_s});
    QCOMPARE(recorder.all(), QStringList{u"warning: Opening URL:  \u00e9\"\\\n "_s});
}

void tst_Messages::aDebugMessageArrivesByteForByte()
{
    const MessageRecorder recorder;
    Messages::debug({u"File: "_s, u"\"/a b\""_s});
    QCOMPARE(recorder.all(), QStringList{u"debug: File:  \"/a b\" "_s});
}

QTEST_GUILESS_MAIN(tst_Messages)
#include "tst_Messages.moc"
