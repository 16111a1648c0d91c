// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/wire/WireText.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_WireText : public QObject
{
    Q_OBJECT

private slots:
    void whatIsWrittenIsRead_data();
    void whatIsWrittenIsRead();
    void whatIsNoTextIsRefused_data();
    void whatIsNoTextIsRefused();
    void bracesWithinTextsAreNoLevels();
};

namespace {

QByteArray nested(int levels)
{
    return QByteArray("{\"a\":").repeated(levels - 1) + "{}" + QByteArray("}").repeated(levels - 1);
}

} // namespace

void tst_WireText::whatIsWrittenIsRead_data()
{
    QTest::addColumn<QByteArray>("object");
    QTest::addColumn<QByteArray>("body");

    const QByteArray everyByte = [] {
        QByteArray bytes;
        for (int byte = 0; byte < 256; ++byte) {
            bytes += char(byte);
        }
        return bytes;
    }();
    QTest::newRow("an empty object") << QByteArray("{}") << QByteArray();
    QTest::newRow("without a body")
        << QByteArray("{\"id\":7,\"request\":\"ping\"}") << QByteArray();
    QTest::newRow("with a line break in its text")
        << QByteArray("{\"text\":\"a\\nb\"}") << QByteArray();
    QTest::newRow("with another script") << QByteArray("{\"text\":\"Ωß😀\"}") << QByteArray("Ω");
    QTest::newRow("a body of line feeds") << QByteArray("{}") << QByteArray("\n\n\n");
    QTest::newRow("a body of all bytes") << QByteArray("{\"id\":1}") << everyByte;
    QTest::newRow("the longest piece")
        << QByteArray("{\"id\":1}") << QByteArray(WireText::longestPiece, '\xff');
    QTest::newRow("nested as deeply as may be") << nested(WireText::deepest) << QByteArray();
}

void tst_WireText::whatIsWrittenIsRead()
{
    QFETCH(QByteArray, object);
    QFETCH(QByteArray, body);
    const QByteArray bytes = object + '\n' + body;
    const auto text = WireText::fromBytes(bytes);
    QVERIFY(text);
    QCOMPARE(text->body, body);
    QCOMPARE(text->toBytes(), bytes);
}

void tst_WireText::whatIsNoTextIsRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("a line feed") << QByteArray("\n");
    QTest::newRow("no line feed") << QByteArray("{}");
    QTest::newRow("a line feed too early") << QByteArray("{\n}\n");
    QTest::newRow("an array") << QByteArray("[]\n");
    QTest::newRow("a text") << QByteArray("\"a\"\n");
    QTest::newRow("a number") << QByteArray("7\n");
    QTest::newRow("two objects") << QByteArray("{}{}\n");
    QTest::newRow("something behind the object") << QByteArray("{} x\n");
    QTest::newRow("something before the object") << QByteArray(" {}\n");
    QTest::newRow("half an object") << QByteArray("{\"a\":\n");
    QTest::newRow("a mark of the byte order") << QByteArray("\xef\xbb\xbf{}\n");
    QTest::newRow("a byte that is no UTF-8") << QByteArray("{\"a\":\"\xff\"}\n");
    QTest::newRow("a name that is no UTF-8") << QByteArray("{\"\xc0\xaf\":1}\n");
    QTest::newRow("a backslash before no UTF-8") << QByteArray("{\"a\":\"\\\xc9u\"}\n");
    QTest::newRow("half a character") << QByteArray("{\"a\":\"\xe2\x82\"}\n");
    QTest::newRow("half of a surrogate pair") << QByteArray("{\"a\":\"\xed\xa0\x80\"}\n");
    QTest::newRow("a zero") << QByteArray("{\"a\":1}\0\n", 9);
    QTest::newRow("one level too many") << nested(WireText::deepest + 1) + '\n';
    QTest::newRow("lists without end") << "{\"a\":" + QByteArray(100'000, '[') + '\n';
    QTest::newRow("a comment") << QByteArray("{}//\n");
}

void tst_WireText::whatIsNoTextIsRefused()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(!WireText::fromBytes(bytes));
}

void tst_WireText::bracesWithinTextsAreNoLevels()
{
    const QString braces = QString(100, u'{') + u"\\\""_s + QString(100, u'[');
    const WireText text{{{u"text"_s, braces}}, "body"};
    const auto read = WireText::fromBytes(text.toBytes());
    QVERIFY(read);
    QCOMPARE(read->object.value("text"_L1).toString(), braces);
    QCOMPARE(read->body, "body");
}

QTEST_GUILESS_MAIN(tst_WireText)
#include "tst_WireText.moc"
