// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/RequestWriter.h"

#include "client/StoredToken.h"
#include "lib/AnswerReader.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_RequestWriter : public QObject
{
    Q_OBJECT

private slots:
    void theServerStoresExactlyWhatWasGiven_data();
    void aTextThatBeginsWithABracketIsAListOfOne_data();
    void aTextThatBeginsWithABracketIsAListOfOne();
    void theServerStoresExactlyWhatWasGiven();
    void whatTheWireCannotCarryIsRefusedWithTheReason_data();
    void whatTheWireCannotCarryIsRefusedWithTheReason();
    void theRefusalShowsWhatIsRefused_data();
    void theRefusalShowsWhatIsRefused();
    void itemsOfListsAreCheckedToo_data();
    void itemsOfListsAreCheckedToo();
    void semicolonsInTwoValuesAreRefused();
    void anyAcceptedTextArrivesUnchanged();
    void everyRequestHasItsTagFirst();
    void ofRequestsReadTogetherTheLastCounts();
    void theQuestionShowsWhetherItWasReadTogether();
};

void tst_RequestWriter::theServerStoresExactlyWhatWasGiven_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QString();
    QTest::newRow("word") << u"hello"_s;
    QTest::newRow("Latin-1") << u"caf\u00e9"_s;
    QTest::newRow("semicolons") << u"a;b;;c;"_s;
    QTest::newRow("only a semicolon") << u";"_s;
    QTest::newRow("braces") << u"{ a } { b = c; }"_s;
    QTest::newRow("equals sign") << u"a = b"_s;
    QTest::newRow("bracket at the end") << u"a (b)"_s;
    QTest::newRow("comma") << u"a, b"_s;
    QTest::newRow("shortcut") << u"Shift+ +Shift"_s;
    QTest::newRow("long") << QString(100'000, u'x');
}

void tst_RequestWriter::theServerStoresExactlyWhatWasGiven()
{
    QFETCH(QString, text);
    const auto written = writeRequest(Request::copy(text), 7);
    QCOMPARE(written.refusal, QString());
    const TokenMap stored = storedToken(written.bytes);
    QCOMPARE(stored.value(u"cmdType"_s).toString(), u"TEXT_TRANSFER_AND_OPEN"_s);
    QCOMPARE(stored.value(u"fncCommand"_s).typeId(), int(QMetaType::QString));
    QCOMPARE(stored.value(u"fncCommand"_s).toString(), text);
    QCOMPARE(stored.value(u"quillmote"_s).toString(), u"7"_s);
    QCOMPARE(stored.size(), 3);
}

void tst_RequestWriter::aTextThatBeginsWithABracketIsAListOfOne_data()
{
    QTest::addColumn<QString>("text");
    for (const char *text : {"(", "()", "(a)", "((a) b)", "(a,b", "(a,", "(a; b)", "(a) = b"}) {
        QTest::newRow(text) << QString::fromLatin1(text);
    }
}

void tst_RequestWriter::aTextThatBeginsWithABracketIsAListOfOne()
{
    QFETCH(QString, text);
    const auto written = writeRequest(Request::copy(text), 7);
    QCOMPARE(written.refusal, QString());
    const QVariant stored = storedToken(written.bytes).value(u"fncCommand"_s);
    QCOMPARE(stored.toStringList(), QStringList{text});
    // The server reads it as this text.
    QCOMPARE(stored.toString(), text);
}

void tst_RequestWriter::whatTheWireCannotCarryIsRefusedWithTheReason_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("reason");
    QTest::newRow("double quote") << u"a\"b"_s << u"double quote"_s;
    QTest::newRow("outside Latin-1") << u"\u017e"_s << u"outside Latin-1"_s;
    QTest::newRow("emoji") << u"\U0001f600"_s << u"outside Latin-1"_s;
    QTest::newRow("line break") << u"a\nb"_s << u"line break"_s;
    QTest::newRow("carriage return") << u"a\rb"_s << u"line break"_s;
    QTest::newRow("tab") << u"a\tb"_s << u"white space"_s;
    QTest::newRow("no-break space") << u"a\u00a0b"_s << u"white space"_s;
    QTest::newRow("NUL") << QString(QChar(u'\0')) << u"NUL"_s;
    QTest::newRow("run of blanks") << u"a  b"_s << u"run of blanks"_s;
    QTest::newRow("blank at the start") << u" a"_s << u"at its start or end"_s;
    QTest::newRow("blank at the end") << u"a "_s << u"at its start or end"_s;
    QTest::newRow("a blank") << u" "_s << u"at its start or end"_s;
    QTest::newRow("marker") << u"a[[[IGNORE]]]b"_s << u"ignore marker"_s;
    QTest::newRow("end marker") << u"[[[ENDIGNORE]]]"_s << u"ignore marker"_s;
    QTest::newRow("list") << u"(a, b)"_s << u"bracket at its start"_s;
}

void tst_RequestWriter::whatTheWireCannotCarryIsRefusedWithTheReason()
{
    QFETCH(QString, text);
    QFETCH(QString, reason);
    const auto written = writeRequest(Request::copy(text), 1);
    QVERIFY(written.isRefused());
    QVERIFY2(written.refusal.contains(reason), qPrintable(written.refusal));
    QVERIFY(written.bytes.isEmpty());
}

void tst_RequestWriter::theRefusalShowsWhatIsRefused_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("refusal");
    QTest::newRow("emoji") << u"hi \U0001f44d\U0001f3fd"_s
                           << u"The text \"hi \U0001f44d\U0001f3fd\" cannot be sent: it holds the "
                              "character \U0001f44d\U0001f3fd, which is outside Latin-1."_s;
    QTest::newRow("direction") << u"a\u202eb"_s
                               << u"The text \"a\\u202eb\" cannot be sent: it holds the character "
                                  "U+202E, which is outside Latin-1."_s;
    QTest::newRow("escape")
        << u"\x1b[2J\n"_s
        << u"The text \"\\u001b[2J\\n\" cannot be sent: it holds a line break, which the server "
           "turns into a blank."_s;
    QTest::newRow("long") << QString(39, u'a') + u"\U0001f600bc"_s
                          << u"The text \"%1…\" cannot be sent: it holds the character \U0001f600, "
                             "which is outside Latin-1."_s.arg(QString(39, u'a'));
}

void tst_RequestWriter::theRefusalShowsWhatIsRefused()
{
    QFETCH(QString, text);
    QFETCH(QString, refusal);
    QCOMPARE(writeRequest(Request::copy(text), 1).refusal, refusal);
}

void tst_RequestWriter::itemsOfListsAreCheckedToo_data()
{
    QTest::addColumn<QStringList>("items");
    QTest::addColumn<QString>("reason");
    QTest::newRow("two words") << QStringList{u"id"_s, u"Ada's phone"_s} << QString();
    QTest::newRow("semicolons") << QStringList{u"a;b"_s, u"c;d"_s} << QString();
    QTest::newRow("first empty") << QStringList{QString(), u"b"_s} << QString();
    QTest::newRow("last empty") << QStringList{u"a"_s, QString()} << u"empty"_s;
    QTest::newRow("separator") << QStringList{u"a"_s, u"b, c"_s} << u"separates"_s;
    QTest::newRow("comma alone") << QStringList{u"a,"_s, u"b"_s} << QString();
    QTest::newRow("brackets") << QStringList{u"(a"_s, u"b)"_s} << QString();
    QTest::newRow("quote") << QStringList{u"a"_s, u"\""_s} << u"double quote"_s;
}

void tst_RequestWriter::itemsOfListsAreCheckedToo()
{
    QFETCH(QStringList, items);
    QFETCH(QString, reason);
    const auto written = writeRequest(Request::pair(items[0], items[1]), 1);
    QCOMPARE(written.isRefused(), !reason.isEmpty());
    if (written.isRefused()) {
        QVERIFY2(written.refusal.contains(reason), qPrintable(written.refusal));
    } else {
        QCOMPARE(storedToken(written.bytes).value(u"cmdParameters"_s).toStringList(), items);
    }
}

void tst_RequestWriter::semicolonsInTwoValuesAreRefused()
{
    Request request = Request::pair(u"a;b"_s, u"c"_s);
    request.function = u"d;e"_s;
    QVERIFY(writeRequest(request, 1).refusal.contains(u"one value only"_s));
}

void tst_RequestWriter::anyAcceptedTextArrivesUnchanged()
{
    const QStringList pieces = {u"a"_s, u" "_s, u";"_s, u"{"_s, u"}"_s, u"("_s,     u")"_s,
                                u"="_s, u","_s, u"'"_s, u"["_s, u"]"_s, u"\u00e9"_s};
    QRandomGenerator random(1);
    int accepted = 0;
    for (int round = 0; round < 20'000; ++round) {
        QStringList items(2);
        for (QString &item : items) {
            for (int length = random.bounded(8); length > 0; --length) {
                item += pieces[random.bounded(pieces.size())];
            }
        }
        const auto list = writeRequest(Request::pair(items[0], items[1]), 1);
        if (!list.isRefused()) {
            QCOMPARE(storedToken(list.bytes).value(u"cmdParameters"_s).toStringList(), items);
            ++accepted;
        }
        const auto text = writeRequest(Request::copy(items[0]), 1);
        if (!text.isRefused()) {
            QCOMPARE(storedToken(text.bytes).value(u"fncCommand"_s).toString(), items[0]);
            ++accepted;
        }
    }
    QVERIFY(accepted > 10'000);
}

void tst_RequestWriter::everyRequestHasItsTagFirst()
{
    for (const Request &request :
         {Request::serverInfo(), Request::pair(u"a"_s, u"b"_s), Request::openUrl(u"c"_s),
          Request::copy(u"d"_s), Request::paste(), Request::key(u"A"_s),
          Request::click(Button::Right), Request::move(-3, 4), Request::sendFile(u"e"_s, 5)}) {
        QVERIFY(writeRequest(request, 1)
                    .bytes.startsWith("{ quillmote = 1; cmdType = " + request.command.toLatin1()));
    }
}

void tst_RequestWriter::ofRequestsReadTogetherTheLastCounts()
{
    const TokenMap stored = storedToken(writeRequest(Request::key(u"A"_s), 1).bytes +
                                        writeRequest(Request::click(Button::Right), 2).bytes +
                                        writeRequest(Request::openUrl(u"a;b"_s), 3).bytes);
    QCOMPARE(stored.value(u"cmdType"_s).toString(), u"URL_OPEN"_s);
    QCOMPARE(stored.value(u"fncCommand"_s).toString(), u"a;b"_s);
    QVERIFY(Answer{stored}.holds(3));
}

void tst_RequestWriter::theQuestionShowsWhetherItWasReadTogether()
{
    const QByteArray request = writeRequest(Request::key(u";"_s), 8).bytes;
    const TokenMap together = storedToken(request + writeQuestion(8));
    QCOMPARE(together.value(u"cmdType"_s).toString(), u"SERVER_INFO"_s);
    QCOMPARE(Answer{together}.confirmation(8), Confirmation::NotCarriedOut);

    TokenMap apart = storedToken(request);
    QCOMPARE(apart.value(u"cmdType"_s).toString(), u"KEYBOARD_CMD"_s);
    apart.insert(storedToken(writeQuestion(8)));
    QCOMPARE(apart.value(u"cmdType"_s).toString(), u"SERVER_INFO"_s);
    QCOMPARE(Answer{apart}.confirmation(8), Confirmation::CarriedOut);
}

QTEST_GUILESS_MAIN(tst_RequestWriter)
#include "tst_RequestWriter.moc"
