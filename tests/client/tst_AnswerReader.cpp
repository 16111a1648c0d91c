// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/AnswerReader.h"
#include "lib/AnswerScanner.h"
#include "net/TokenText.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_AnswerReader : public QObject
{
    Q_OBJECT

private slots:
    void readsWhatTheServerWrites_data();
    void readsWhatTheServerWrites();
    void readsPiecesOfAnySize_data();
    void readsPiecesOfAnySize();
    void takesTwoAnswersThatArriveTogether();
    void takesAnAnswerWhoseSuccessorIsNotWhole_data();
    void takesAnAnswerWhoseSuccessorIsNotWhole();
    void takesAnAnswerWhoseLastBraceComesAlone();
    void knowsGarbage();
    void moreThanTheMaximumIsGarbage();
    void anyBytesTakeTimeInProportion_data();
    void anyBytesTakeTimeInProportion();
    void moreEntriesThanAServerRemembersAreGarbage();
    void moreItemsThanAnyListHasAreGarbage();
    void anUnfinishedAnswerIsNone_data();
    void anUnfinishedAnswerIsNone();
    void returnsResponseParametersAndTag();
    void returnsTheOutcomeOfARequest_data();
    void returnsTheOutcomeOfARequest();
};

void tst_AnswerReader::readsWhatTheServerWrites_data()
{
    QTest::addColumn<TokenMap>("map");
    QTest::newRow("empty") << TokenMap{};
    QTest::newRow("one text") << TokenMap{{u"a"_s, u"b"_s}};
    QTest::newRow("empty text") << TokenMap{{u"a"_s, QString()}};
    QTest::newRow("empty key") << TokenMap{{QString(), u"b"_s}};
    QTest::newRow("empty list") << TokenMap{{u"a"_s, QStringList()}, {u"b"_s, u"c"_s}};
    QTest::newRow("lists") << TokenMap{{u"a"_s, QStringList{u"1"_s, u"2"_s}},
                                       {u"b"_s, QStringList{QString()}},
                                       {u"serverResponse"_s, u"OK"_s}};
    QTest::newRow("borders inside") << TokenMap{
        {u"a"_s, u"x\";} y"_s}, {u"b"_s, QStringList{u"p\" );q"_s, u"};{"_s}}, {u"c"_s, u"}"_s}};
    QTest::newRow("quotes and breaks")
        << TokenMap{{u"a"_s, u"say \"hi\"\nthere"_s}, {u"b"_s, u"\u00e9"_s}};
    QTest::newRow("junk keys") << TokenMap{{u"}{ cmdType"_s, u"SERVER_INFO"_s}, {u"a"_s, u"b"_s}};
}

void tst_AnswerReader::readsWhatTheServerWrites()
{
    QFETCH(TokenMap, map);
    AnswerReader reader;
    reader.append(TokenText::write(map).toLatin1());
    const auto answer = reader.take();
    QVERIFY(answer.has_value());
    QCOMPARE(answer->entries, map);
    QCOMPARE(reader.size(), 0);
    QVERIFY(!reader.take().has_value());
}

void tst_AnswerReader::readsPiecesOfAnySize_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {1, 2, 3, 7, 40}) {
        QTest::addRow("%d bytes", size) << size;
    }
}

void tst_AnswerReader::readsPiecesOfAnySize()
{
    QFETCH(int, size);
    const TokenMap map = {{u"cmdParameters"_s, QStringList{u"800"_s, u"1280"_s, u"MAC-OSX"_s}},
                          {u"serverResponse"_s, u"OK"_s},
                          {u"cmdType"_s, u"SERVER_INFO"_s}};
    const QByteArray bytes = TokenText::write(map).toLatin1();
    AnswerReader reader;
    for (qsizetype at = 0; at < bytes.size(); at += size) {
        QVERIFY(!reader.take().has_value());
        QVERIFY(!reader.isGarbage());
        reader.append(bytes.mid(at, size));
    }
    const auto answer = reader.take();
    QVERIFY(answer.has_value());
    QCOMPARE(answer->entries, map);
}

void tst_AnswerReader::takesTwoAnswersThatArriveTogether()
{
    AnswerReader reader;
    reader.append("{a = \"1\";}{a = (\"2\" );}");
    QCOMPARE(reader.take()->entries.value(u"a"_s).toString(), u"1"_s);
    QCOMPARE(reader.take()->entries.value(u"a"_s).toStringList(), QStringList{u"2"_s});
    QVERIFY(!reader.take().has_value());
}

void tst_AnswerReader::takesAnAnswerWhoseSuccessorIsNotWhole_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<TokenMap>("entries");
    QTest::addColumn<QByteArray>("rest");

    const TokenMap one = {{u"a"_s, u"b"_s}};
    QTest::newRow("empty answer") << QByteArray("{}") << TokenMap() << QByteArray("{");
    QTest::newRow("first byte") << QByteArray("{a = \"b\";}") << one << QByteArray("{");
    QTest::newRow("half") << QByteArray("{a = \"b\";}") << one << QByteArray("{c = \"d");
    QTest::newRow("all but the brace")
        << QByteArray("{a = \"b\";}") << one << QByteArray("{c = \"d\";");
}

void tst_AnswerReader::takesAnAnswerWhoseSuccessorIsNotWhole()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, rest);
    // In one piece, and with the brace as the last byte of a piece.
    for (const qsizetype size : {bytes.size() + rest.size(), bytes.size(), bytes.size() - 1}) {
        AnswerReader reader;
        const QByteArray stream = bytes + rest;
        reader.append(stream.first(size));
        std::optional<Answer> answer = reader.take();
        reader.append(stream.sliced(size));
        answer = answer ? answer : reader.take();
        QVERIFY(answer.has_value());
        QTEST(answer->entries, "entries");
        QCOMPARE(reader.size(), rest.size());
        QVERIFY(!reader.take().has_value());
    }
}

void tst_AnswerReader::takesAnAnswerWhoseLastBraceComesAlone()
{
    AnswerReader reader;
    // It contains a possible end, so that all of it is inspected.
    reader.append("{a = \"{}\";");
    QVERIFY(!reader.take().has_value());
    reader.append("}");
    const auto answer = reader.take();
    QVERIFY(answer.has_value());
    QCOMPARE(answer->entries, TokenMap({{u"a"_s, u"{}"_s}}));
}

void tst_AnswerReader::knowsGarbage()
{
    AnswerReader reader;
    QVERIFY(!reader.isGarbage());
    reader.append("HTTP/1.1 400 Bad Request");
    QVERIFY(!reader.take().has_value());
    QVERIFY(reader.isGarbage());
}

void tst_AnswerReader::moreThanTheMaximumIsGarbage()
{
    const QByteArray beginning = "{a = \"";
    AnswerReader reader;
    reader.append(beginning + QByteArray(AnswerReader::maximumSize - beginning.size(), 'x'));
    QVERIFY(!reader.take().has_value());
    QVERIFY(!reader.isGarbage());
    reader.append("x");
    QVERIFY(!reader.take().has_value());
    QVERIFY(reader.isGarbage());
}

void tst_AnswerReader::anyBytesTakeTimeInProportion_data()
{
    QTest::addColumn<QByteArray>("repeated");
    QTest::addColumn<qsizetype>("pieceSize");
    constexpr qsizetype all = 800'000;
    constexpr qsizetype packet = 1'000;
    const QByteArrayList patterns = {"\";a ", "\";}x",  "\";} ",   "\" );a ", " =",
                                     "}{ ",   "\";a =", "\";a = ", "();}",    "{}{ "};
    for (const QByteArray &pattern : patterns) {
        QTest::addRow("%s at once", pattern.constData()) << pattern << all;
        QTest::addRow("%s in packets", pattern.constData()) << pattern << packet;
    }
}

/// Time proportional to the square would be minutes. The possible end of an answer comes last.
void tst_AnswerReader::anyBytesTakeTimeInProportion()
{
    QFETCH(QByteArray, repeated);
    QFETCH(qsizetype, pieceSize);
    for (const QByteArray &beginning : {QByteArray("{a = \""), QByteArray("{a = (\"")}) {
        const QByteArray stream = beginning + repeated.repeated(800'000 / repeated.size()) + ";}x";
        QElapsedTimer timer;
        timer.start();
        AnswerReader reader;
        for (qsizetype at = 0; at < stream.size(); at += pieceSize) {
            reader.append(stream.mid(at, pieceSize));
            while (reader.take()) {
            }
            QVERIFY2(timer.elapsed() < 5'000, QByteArray::number(at).constData());
        }
    }
}

void tst_AnswerReader::moreEntriesThanAServerRemembersAreGarbage()
{
    QByteArray stream = "{";
    for (qsizetype number = 0; number < AnswerScanner::maximumEntries; ++number) {
        stream += QByteArray::number(number) + " = \"\";";
    }
    AnswerReader reader;
    reader.append(stream + '}');
    QVERIFY(!reader.isGarbage());
    const auto answer = reader.take();
    QVERIFY(answer.has_value());
    QCOMPARE(answer->entries.size(), AnswerScanner::maximumEntries);
    reader.append(stream + "more = \"\";}");
    QVERIFY(!reader.take().has_value());
    QVERIFY(reader.isGarbage());
}

void tst_AnswerReader::moreItemsThanAnyListHasAreGarbage()
{
    const QByteArray items =
        QByteArray("x\", \"").repeated(AnswerScanner::maximumItems / 2 - 1) + 'x';
    AnswerReader reader;
    reader.append("{a = (\"" + items + "\" );b = (\"" + items + "\" );}");
    QVERIFY(reader.take().has_value());
    reader.append("{a = (\"" + items + "\" );b = (\"" + items + "\" );c = (\"x\" );}");
    QVERIFY(!reader.take().has_value());
    QVERIFY(reader.isGarbage());
}

void tst_AnswerReader::anUnfinishedAnswerIsNone_data()
{
    QTest::addColumn<QByteArray>("bytes");
    for (const char *bytes :
         {"", "{", "}", "{}x", "{a", "{a = ", "{a = \"", "{a = \"b\"", "{a = \"b\";", "{a = b;}",
          "{a = (\"b\");}", "{a =(", "{ a = \"b\" }", "{\"}", "{;}", "{a = \"b\";}}"}) {
        QTest::addRow("%s", bytes) << QByteArray(bytes);
    }
}

void tst_AnswerReader::anUnfinishedAnswerIsNone()
{
    QFETCH(QByteArray, bytes);
    AnswerReader reader;
    reader.append(bytes);
    QVERIFY(!reader.take().has_value());
}

void tst_AnswerReader::returnsResponseParametersAndTag()
{
    AnswerReader reader;
    reader.append("{quillmote = \"42\";serverResponse = \"ERROR\";cmdParameters = (\"x\" );}");
    const auto answer = reader.take();
    QVERIFY(answer.has_value());
    QCOMPARE(answer->response(), u"ERROR"_s);
    QCOMPARE(answer->parameters(), QStringList{u"x"_s});
    QVERIFY(answer->holds(42));
    QVERIFY(!answer->holds(41));
    QVERIFY(!Answer().holds(0));
}

void tst_AnswerReader::returnsTheOutcomeOfARequest_data()
{
    QTest::addColumn<TokenMap>("map");
    QTest::addColumn<Confirmation>("expected");
    const QString five = u"5"_s;
    QTest::newRow("nothing") << TokenMap{} << Confirmation::None;
    QTest::newRow("request only") << TokenMap{{u"quillmote"_s, five}} << Confirmation::None;
    QTest::newRow("an older question")
        << TokenMap{{u"quillmote"_s, five}, {u"question"_s, u"4"_s}, {u"}{ question"_s, u"3"_s}}
        << Confirmation::None;
    QTest::newRow("read apart") << TokenMap{{u"quillmote"_s, five},
                                            {u"question"_s, five},
                                            {u"}{ question"_s, u"4"_s}}
                                << Confirmation::CarriedOut;
    QTest::newRow("request read behind something older")
        << TokenMap{{u"quillmote"_s, u"4"_s}, {u"}{ quillmote"_s, five}, {u"question"_s, five}}
        << Confirmation::CarriedOut;
    QTest::newRow("read together")
        << TokenMap{{u"quillmote"_s, five}, {u"question"_s, u"4"_s}, {u"}{ question"_s, five}}
        << Confirmation::NotCarriedOut;
    QTest::newRow("request cut in two")
        << TokenMap{{u"quillmote"_s, u"4"_s}, {u"question"_s, five}} << Confirmation::NotCarriedOut;
}

void tst_AnswerReader::returnsTheOutcomeOfARequest()
{
    QFETCH(TokenMap, map);
    QFETCH(Confirmation, expected);
    QCOMPARE(Answer{map}.confirmation(5), expected);
}

QTEST_GUILESS_MAIN(tst_AnswerReader)
#include "tst_AnswerReader.moc"
