// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/TokenText.h"

#include "unit/net/NaiveTokenReader.h"

#include <QRandomGenerator>
#include <QStringList>
#include <QTest>

#include <array>

using namespace Qt::StringLiterals;

using TokenText::ReadResult;

Q_DECLARE_METATYPE(TokenText::ReadResult)

namespace {

TokenMap mapOf(const QByteArray &chunk)
{
    TokenMap map;
    TokenText::read(chunk,
                    [&](const QString &key, const QVariant &value) { map.insert(key, value); });
    return map;
}

ReadResult resultOf(const QByteArray &chunk)
{
    return TokenText::read(chunk, [](const QString &, const QVariant &) {}).result;
}

constexpr qsizetype mebibyte = 1024 * 1024;

} // namespace

class tst_TokenText : public QObject
{
    Q_OBJECT

private slots:
    void readsEntries_data();
    void readsEntries();
    void tellsWhatItFound_data();
    void tellsWhatItFound();
    void givesTheCollapsedTextOfWhatItCouldNotRead();
    void visitsNothingOfWhatItCouldNotRead_data();
    void visitsNothingOfWhatItCouldNotRead();
    void visitsEntriesInTheirOrderAndKeysTwice();
    void readsTheWorkedExample();
    void readsUpToTheFirstNulByte();
    void readsHugeChunks_data();
    void readsHugeChunks();
    void readsEachEndOfAChunkWithoutHarm();
    void agreesWithTheNaiveReader();
    void readsTheSameInStepsAsAtOnce();
    void aStepIsBounded_data();
    void aStepIsBounded();
    void writesEntries_data();
    void writesEntries();
    void writesAllEntriesWithNothingBetweenThem();
    void writesTheBlankBeforeAnEmptyListAway();
    void writesTheSameInPieces();
    void writesTheMapAsItWas();
    void writesWhatItCannotReadItself();
};

void tst_TokenText::readsEntries_data()
{
    QTest::addColumn<QByteArray>("chunk");
    QTest::addColumn<TokenMap>("entries");

    const auto row = [](const char *name, const QByteArray &chunk, const TokenMap &entries) {
        QTest::newRow(name) << chunk << entries;
    };
    const auto list = [](const QStringList &items) { return QVariant(items); };

    row("one entry", "{ a = b; }", {{u"a"_s, u"b"_s}});
    row("two entries", "{ a = b; c = d; }", {{u"a"_s, u"b"_s}, {u"c"_s, u"d"_s}});
    row("a key sent twice", "{ a = b; a = c; }", {{u"a"_s, u"c"_s}});
    row("value with an equals sign", "{ a = b = c; }", {{u"a"_s, u"b = c"_s}});
    row("value without blanks around the equals sign", "{ a=b; }", {{u"a=b"_s, u"b"_s}});
    row("Latin-1 letters", "{ \xe9 = \xff; }", {{QString(u'\u00e9'), QString(u'\u00ff')}});
    row("bracket inside a text", "{ a = x(b, c); }", {{u"a"_s, u"x(b, c)"_s}});

    row("line ends, tabs and other white space", "{\r\n\ta\v=\f\n b  c;\t}", {{u"a"_s, u"b c"_s}});
    row("blanks around", " \n { a = b; } \t", {{u"a"_s, u"b"_s}});
    row("no-break space",
        "{\xa0"
        "a = b;\xa0}",
        {{u"a"_s, u"b"_s}});

    row("last character goes when no ';' ends the body", "{ a = bc }", {{u"a"_s, u"b"_s}});
    row("last character of a short body", "{ a = b }", {{u"a"_s, u""_s}});
    row("empty body", "{ }", {{u""_s, u""_s}});
    row("body of blanks", "{     }", {{u""_s, u""_s}});
    row("body of one ';'", "{ ; }", {{u""_s, u""_s}});
    row("';' in front of everything does not split", "{ ;; }", {{u";"_s, u""_s}});
    row("';' in front of an entry", "{ ;a = b; }", {{u";a"_s, u"b"_s}});
    row("empty segment", "{ a = b;; }", {{u"a"_s, u"b"_s}, {u""_s, u""_s}});
    row("two empty segments", "{ a = b;;;c = d; }",
        {{u"a"_s, u"b"_s}, {u""_s, u""_s}, {u"c"_s, u"d"_s}});
    row("no equals sign", "{ abcd; }", {{u"abcd"_s, u"cd"_s}});
    row("no equals sign, one character", "{ a; }", {{u"a"_s, u""_s}});
    row("no equals sign in a further segment", "{ a = b; xyz; }",
        {{u"a"_s, u"b"_s}, {u"xyz"_s, u"yz"_s}});
    row("equals sign without a key", "{ = b; }", {{u"= b"_s, u"b"_s}});
    row("key without a value", "{ a =; }", {{u"a ="_s, u"="_s}});
    row("no key but an equals sign in a further segment", "{ a = b; = c; }",
        {{u"a"_s, u"b"_s}, {u""_s, u"c"_s}});

    row("list", "{ l = (a, b); }", {{u"l"_s, list({u"a"_s, u"b"_s})}});
    row("list of one", "{ l = (a); }", {{u"l"_s, list({u"a"_s})}});
    row("empty list", "{ l = (); }", {{u"l"_s, list({u""_s})}});
    row("list of a blank", "{ l = ( ); }", {{u"l"_s, list({u""_s})}});
    row("missing item", "{ l = (a, , b); }", {{u"l"_s, list({u"a"_s, u""_s, u"b"_s})}});
    row("missing first item", "{ l = (, a); }", {{u"l"_s, list({u""_s, u"a"_s})}});
    row("missing last item", "{ l = (a, ); }", {{u"l"_s, list({u"a,"_s})}});
    row("comma without a blank", "{ l = (a,b); }", {{u"l"_s, list({u"a,b"_s})}});
    row("blanks around items", "{ l = ( a , b ); }", {{u"l"_s, list({u"a "_s, u"b"_s})}});
    row("list that is not closed", "{ l = (a, b; }", {{u"l"_s, list({u"a,"_s})}});
    row("only an opening bracket", "{ l = (; }", {{u"l"_s, list({u""_s})}});
    row("something behind the closing bracket", "{ l = (a, b) c; }",
        {{u"l"_s, list({u"a"_s, u"b)"_s})}});
    row("list in a list", "{ l = ((a, b), c); }", {{u"l"_s, list({u"(a"_s, u"b)"_s, u"c"_s})}});
    row("two brackets", "{ l = (); m = (x); }",
        {{u"l"_s, list({u""_s})}, {u"m"_s, list({u"x"_s})}});
    row("list as the value of a segment without an equals sign", "{ ab(c, d); }",
        {{u"ab(c, d)"_s, list({u"c"_s, u"d"_s})}});

    row("quotes are removed", "{ \"a\" = \"b\"; }", {{u"a"_s, u"b"_s}});
    row("quotes everywhere", "{ \"\"a\" \"=\" \"b\"\"\";\" c = (\"d\", e\"f, \"\"); \" }",
        {{u"a"_s, u"b"_s}, {u"c"_s, list({u"d"_s, u"ef,"_s})}});
    row("quotes around the whole", "\"{ a = b; }\"", {{u"a"_s, u"b"_s}});
    row("quotes hide no ';'", "{ a = \"b;c\"; }", {{u"a"_s, u"b"_s}, {u"c"_s, u""_s}});
    row("blanks inside quotes", "{ a = \"  b  c  \"; }", {{u"a"_s, u"b c"_s}});
    row("blanks that only quotes part", "{ a = b\" \" c; }", {{u"a"_s, u"b  c"_s}});
    row("a quote as the last character", "{ a = bc\" }", {{u"a"_s, u"b"_s}});
    row("only quotes", "{ \"\"\"\" }", {{u""_s, u""_s}});

    row("ignored ';'", "{ a = x[[[IGNORE]]];y[[[ENDIGNORE]]]; b = z; }",
        {{u"a"_s, u"x;y"_s}, {u"b"_s, u"z"_s}});
    row("ignored ';;'", "{ a = [[[IGNORE]]];;[[[ENDIGNORE]]]; }", {{u"a"_s, u";;"_s}});
    row("only the first pair counts",
        "{ a = [[[IGNORE]]]1;2[[[ENDIGNORE]]]; b = [[[IGNORE]]]3;4[[[ENDIGNORE]]]; }",
        {{u"a"_s, u"1;2"_s}, {u"b"_s, u"3"_s}, {u"4"_s, u""_s}});
    row("two starts, one end", "{ a = [[[IGNORE]]]1;[[[IGNORE]]]2;3[[[ENDIGNORE]]]; }",
        {{u"a"_s, u"1;2;3"_s}});
    row("one start, two ends", "{ a = [[[IGNORE]]]1;2[[[ENDIGNORE]]]3;4[[[ENDIGNORE]]]; }",
        {{u"a"_s, u"1;23"_s}, {u"4"_s, u""_s}});
    row("end before start", "{ a = [[[ENDIGNORE]]]1;2[[[IGNORE]]]; }",
        {{u"a"_s, u"1"_s}, {u"2"_s, u""_s}});
    row("end before start before end", "{ a = [[[ENDIGNORE]]]1;[[[IGNORE]]]2;3[[[ENDIGNORE]]]; }",
        {{u"a"_s, u"1"_s}, {u"2"_s, u""_s}, {u"3"_s, u""_s}});
    row("start without end", "{ a = [[[IGNORE]]]1;2; }", {{u"a"_s, u"1"_s}, {u"2"_s, u""_s}});
    row("end without start", "{ a = 1;2[[[ENDIGNORE]]]; }", {{u"a"_s, u"1"_s}, {u"2"_s, u""_s}});
    row("stretch over entries", "{ a = [[[IGNORE]]]1; b = 2[[[ENDIGNORE]]]; }",
        {{u"a"_s, u"1; b = 2"_s}});
    row("markers at the very ends", "{ [[[IGNORE]]]a = 1;2[[[ENDIGNORE]]]; }",
        {{u"a"_s, u"1;2"_s}});
    row("markers in other letters", "{ a = [[[ignore]]]1;2[[[endignore]]]; }",
        {{u"a"_s, u"[[[ignore]]]1"_s}, {u"2[[[endignore]]]"_s, u"[[endignore]]]"_s}});
    row("marker that the removal of another makes", "{ a = [[[END[[[IGNORE]]]IGNORE]]]x; }",
        {{u"a"_s, u"x"_s}});
    row("start marker in a start marker", "{ a = [[[IGN[[[IGNORE]]]ORE]]]x; }",
        {{u"a"_s, u"[[[IGNORE]]]x"_s}});
    row("end marker in a start marker", "{ a = [[[IGN[[[ENDIGNORE]]]ORE]]]x; }",
        {{u"a"_s, u"[[[IGNORE]]]x"_s}});
    row("marker cut by quotes", "{ a = [[[IGN\"ORE]]]1;2[[[END\"IGNORE]]]; }",
        {{u"a"_s, u"1;2"_s}});

    row("prefix of one character stays, with its brace", "x{ a = b; }", {{u"{ a"_s, u"b"_s}});
    row("prefix of two characters", "xy{ a = b; }", {{u"a"_s, u"b"_s}});
    row("prefix of five characters", "vwxyz{ a = b; }", {{u"a"_s, u"b"_s}});
    row("prefix with a blank", "x { a = b; }", {{u"a"_s, u"b"_s}});
    row("brace at position 2 in a prefix of five", "ab{cd{ e = f; }", {{u"cd{ e"_s, u"f"_s}});
    row("brace at position 1 in a prefix of five", "a{bcd{ e = f; }", {{u"e"_s, u"f"_s}});
    row("brace at position 0 in a prefix", "{abcd{ e = f; }", {{u"e"_s, u"f"_s}});
    row("brace inside a token at position 1", "x{ a = {b; }", {{u"b"_s, u""_s}});
    row("second token behind one at position 1", "x{ a = b; } { c = d; }", {{u"c"_s, u"d"_s}});
    row("brace behind the last closing one", "x{ } y{", {{u"{ }"_s, u"}"_s}});
    row("rest behind a token with a prefix is cut off", "xy{ a = b; } rest", {{u"a"_s, u"b"_s}});
    row("rest behind a token without a prefix stays", "{ a = b; } xyz",
        {{u"a"_s, u"b"_s}, {u"} x"_s, u"x"_s}});
    row("two tokens in one chunk", "{ a = b; } { c = d; }",
        {{u"a"_s, u"b"_s}, {u"} { c"_s, u"d"_s}});
    row("two tokens in one chunk, not parted", "{ a = b; }{ c = d; }",
        {{u"a"_s, u"b"_s}, {u"}{ c"_s, u"d"_s}});
    row("braces inside values", "{ a = {; b = }; }", {{u"a"_s, u"{"_s}, {u"b"_s, u"}"_s}});
}

void tst_TokenText::readsEntries()
{
    QFETCH(QByteArray, chunk);
    QTEST(mapOf(chunk), "entries");
}

void tst_TokenText::tellsWhatItFound_data()
{
    QTest::addColumn<QByteArray>("chunk");
    QTest::addColumn<ReadResult>("result");

    const auto row = [](const QByteArray &chunk, ReadResult result) {
        QTest::newRow(chunk.constData()) << chunk << result;
    };

    row("", ReadResult::NotAToken);
    row(" ", ReadResult::NotAToken);
    row("{", ReadResult::NotAToken);
    row("}", ReadResult::NotAToken);
    row("x", ReadResult::NotAToken);
    row("\xff", ReadResult::NotAToken);
    row("{}", ReadResult::NotAToken);
    row("{ ", ReadResult::NotAToken);
    row(" }", ReadResult::NotAToken);
    row("{ a = b;", ReadResult::NotAToken);
    row("a = b; }", ReadResult::NotAToken);
    row("{a = b; }", ReadResult::NotAToken);
    row("{ a = b;}", ReadResult::NotAToken);
    row("{\" a = b; }", ReadResult::NotAToken);
    row("{serverResponse = \"OK\";}", ReadResult::NotAToken);
    row("x } { y", ReadResult::Reversed);
    row("a } { b } { c", ReadResult::TokenWithPrefix);
    row("{ }", ReadResult::Token);
    row("{ a = b; }", ReadResult::Token);
    row("  { a = b; }", ReadResult::Token);
    row("{ a = b; } rest", ReadResult::Token);
    row("x{ } y{", ReadResult::Token);
    row("x{ }", ReadResult::TokenWithPrefix);
    row("xy{ }", ReadResult::TokenWithPrefix);
    row("\"{ a = b; }", ReadResult::TokenWithPrefix);
}

void tst_TokenText::tellsWhatItFound()
{
    QFETCH(QByteArray, chunk);
    QTEST(resultOf(chunk), "result");
}

void tst_TokenText::givesTheCollapsedTextOfWhatItCouldNotRead()
{
    const auto ignore = [](const QString &, const QVariant &) {};
    QCOMPARE(TokenText::read("\tx  }\r\n{ \"y\"  ", ignore).text, u"x } { \"y\""_s);
}

void tst_TokenText::visitsNothingOfWhatItCouldNotRead_data()
{
    QTest::addColumn<QByteArray>("chunk");

    QTest::newRow("not a token") << QByteArray("{a = b; c = d;}");
    QTest::newRow("reversed") << QByteArray("a = b; } { c = d;");
}

void tst_TokenText::visitsNothingOfWhatItCouldNotRead()
{
    QFETCH(QByteArray, chunk);
    QCOMPARE(mapOf(chunk), TokenMap());
}

void tst_TokenText::visitsEntriesInTheirOrderAndKeysTwice()
{
    QStringList visited;
    TokenText::read("{ b = 1; a = 2; b = 3; }", [&](const QString &key, const QVariant &value) {
        visited.append(key + u'=' + value.toString());
    });
    QCOMPARE(visited, QStringList({u"b=1"_s, u"a=2"_s, u"b=3"_s}));
}

void tst_TokenText::readsTheWorkedExample()
{
    const QByteArray chunk = "{\n"
                             "    cmdType = example;\n"
                             "    cmdParameters = (\n"
                             "        \"one\",\n"
                             "        two\n"
                             "    );\n"
                             "}";
    const TokenMap entries = {{u"cmdType"_s, u"example"_s},
                              {u"cmdParameters"_s, QStringList{u"one"_s, u"two"_s}}};
    QCOMPARE(mapOf(chunk), entries);
    QCOMPARE(resultOf(chunk), ReadResult::Token);
}

void tst_TokenText::readsUpToTheFirstNulByte()
{
    const TokenMap entries = {{u"a"_s, u"b"_s}};
    QCOMPARE(mapOf(QByteArray("{ a = b; }\0 c = d; }", 20)), entries);
    QCOMPARE(mapOf(QByteArray("{ a = b; }\0", 11)), entries);
    QCOMPARE(resultOf(QByteArray("{ a = b;\0 }", 11)), ReadResult::NotAToken);
    QCOMPARE(resultOf(QByteArray("\0{ a = b; }", 11)), ReadResult::NotAToken);
}

void tst_TokenText::readsHugeChunks_data()
{
    QTest::addColumn<QByteArray>("chunk");
    QTest::addColumn<ReadResult>("result");
    QTest::addColumn<int>("entries");

    const QByteArray letters(16 * mebibyte, 'x');
    QTest::newRow("letters") << letters << ReadResult::NotAToken << 0;
    QTest::newRow("long value") << "{ a = " + letters + "; }" << ReadResult::Token << 1;
    QTest::newRow("long prefix") << letters + "{ a = b; }" << ReadResult::TokenWithPrefix << 1;
    QTest::newRow("long rest") << "xy{ a = b; }" + letters << ReadResult::TokenWithPrefix << 1;
    QTest::newRow("nuls") << QByteArray(16 * mebibyte, '\0') << ReadResult::NotAToken << 0;
    QTest::newRow("blanks") << "{" + QByteArray(16 * mebibyte, ' ') + "}" << ReadResult::Token << 1;
    QTest::newRow("quotes") << "{ " + QByteArray(16 * mebibyte, '"') + " }" << ReadResult::Token
                            << 1;
    QTest::newRow("opening braces")
        << QByteArray("{ ").repeated(8 * mebibyte) << ReadResult::NotAToken << 0;
    QTest::newRow("closing braces")
        << QByteArray(" }").repeated(8 * mebibyte) + " { " << ReadResult::NotAToken << 0;
    QTest::newRow("markers")
        << "{ a = " + QByteArray("[[[IGNORE]]][[[ENDIGNORE]]]").repeated(mebibyte / 2) + "; }"
        << ReadResult::Token << 1;
    QTest::newRow("semicolons") << "{ " + QByteArray(mebibyte, ';') + " }" << ReadResult::Token
                                << static_cast<int>(mebibyte - 1);
}

void tst_TokenText::readsHugeChunks()
{
    QFETCH(QByteArray, chunk);
    int visited = 0;
    const auto reading =
        TokenText::read(chunk, [&](const QString &, const QVariant &) { ++visited; });
    QTEST(reading.result, "result");
    QTEST(visited, "entries");
}

void tst_TokenText::readsEachEndOfAChunkWithoutHarm()
{
    const QByteArray whole = "xy{ a = \"b\"; l = (c, [[[IGNORE]]];[[[ENDIGNORE]]]); } z";
    int tokens = 0;
    for (qsizetype begin = 0; begin < whole.size(); ++begin) {
        for (qsizetype end = begin; end <= whole.size(); ++end) {
            const ReadResult result = resultOf(whole.sliced(begin, end - begin));
            tokens += result == ReadResult::Token || result == ReadResult::TokenWithPrefix;
        }
    }
    // The opening brace stands at position 2, the closing one at the third place from the end.
    QCOMPARE(tokens, 3 * 3);
}

namespace {

QByteArray randomText(QRandomGenerator &random)
{
    static const std::array<QByteArray, 14> alphabet = {"{",
                                                        "}",
                                                        " ",
                                                        ";",
                                                        "=",
                                                        "(",
                                                        ")",
                                                        ", ",
                                                        "\"",
                                                        "a",
                                                        "[[[IGNORE]]]",
                                                        "[[[ENDIGNORE]]]",
                                                        QByteArray(1, '\0'),
                                                        "\n"};
    QByteArray text;
    const int pieces = random.bounded(30);
    for (int piece = 0; piece < pieces; ++piece) {
        // A NUL only rarely, or nearly all texts would be short.
        int index = random.bounded(static_cast<int>(alphabet.size()));
        if (index == 12 && random.bounded(10) != 0) {
            index = 2;
        }
        text += alphabet[static_cast<size_t>(index)];
    }
    // Most texts get braces, or few of them would be tokens.
    return random.bounded(4) == 0 ? text : "{ " + text + " }";
}

QString described(const std::vector<std::pair<std::string, NaiveTokenReader::Value>> &entries)
{
    QString text;
    for (const auto &[key, value] : entries) {
        text += u'<' + QString::fromStdString(key) + u'>' + (value.isList ? u"list"_s : u"text"_s);
        for (const std::string &item : value.texts) {
            text += u'<' + QString::fromStdString(item) + u'>';
        }
    }
    return text;
}

QString described(NaiveTokenReader::Outcome outcome)
{
    using NaiveTokenReader::Outcome;
    switch (outcome) {
    case Outcome::Silent:
        return u"silent"_s;
    case Outcome::Bad:
        return u"bad"_s;
    case Outcome::Read:
        return u"read"_s;
    case Outcome::Fixed:
        return u"fixed"_s;
    }
    return {};
}

QString described(ReadResult result)
{
    switch (result) {
    case ReadResult::NotAToken:
        return u"silent"_s;
    case ReadResult::Reversed:
        return u"bad"_s;
    case ReadResult::Token:
        return u"read"_s;
    case ReadResult::TokenWithPrefix:
        return u"fixed"_s;
    }
    return {};
}

QString describedReading(const QByteArray &text)
{
    QString entries;
    const auto reading = TokenText::read(text, [&](const QString &key, const QVariant &value) {
        const bool isList = value.typeId() == QMetaType::QStringList;
        entries += u'<' + key + u'>' + (isList ? u"list"_s : u"text"_s);
        for (const QString &item : isList ? value.toStringList() : QStringList{value.toString()}) {
            entries += u'<' + item + u'>';
        }
    });
    return described(reading.result) + entries;
}

} // namespace

void tst_TokenText::agreesWithTheNaiveReader()
{
    QRandomGenerator random(20'260'101);
    QHash<QString, int> outcomes;
    for (int round = 0; round < 20'000; ++round) {
        const QByteArray text = randomText(random);
        const NaiveTokenReader::Result naive = NaiveTokenReader::read(text.toStdString());
        const QString outcome = described(naive.outcome);
        QVERIFY2(describedReading(text) == outcome + described(naive.entries),
                 text.toPercentEncoding(" {};=(),\"[]").constData());
        ++outcomes[outcome];
    }
    // Random texts that never reach a branch would prove nothing about it.
    for (const char *outcome : {"silent", "bad", "read", "fixed"}) {
        QVERIFY2(outcomes.value(QLatin1StringView(outcome)) > 50, outcome);
    }
}

void tst_TokenText::readsTheSameInStepsAsAtOnce()
{
    QRandomGenerator random(20'261'121);
    int severalSteps = 0;
    for (int round = 0; round < 5'000; ++round) {
        const QByteArray text = randomText(random);
        QList<QPair<QString, QVariant>> whole;
        QList<QPair<QString, QVariant>> stepwise;
        TokenText::read(text, [&](const QString &key, const QVariant &value) {
            whole.append({key, value});
        });
        TokenText::Reader reader(text);
        int steps = 1;
        while (reader.readSome(1, [&](const QString &key, const QVariant &value) {
            stepwise.append({key, value});
        })) {
            ++steps;
        }
        QVERIFY2(stepwise == whole, text.toPercentEncoding(" {};=(),\"[]").constData());
        severalSteps += steps > 4;
    }
    QVERIFY(severalSteps > 500);
}

void tst_TokenText::aStepIsBounded_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty entries") << "{ " + QByteArray(mebibyte, ';') + " }";
    QTest::newRow("entries") << "{ " + QByteArray("a = b;").repeated(mebibyte / 6) + " }";
    QTest::newRow("items of a list")
        << "{ a = (" + QByteArray("b, ").repeated(mebibyte / 3) + "); }";
    QTest::newRow("lists") << "{ " + QByteArray("a = (b, c);").repeated(mebibyte / 11) + " }";
}

void tst_TokenText::aStepIsBounded()
{
    QFETCH(QByteArray, text);
    constexpr qsizetype effort = 64 * 1024;
    constexpr int mostEntries = 1'024;
    TokenText::Reader reader(text);
    int steps = 0;
    for (bool isMore = true; isMore; ++steps) {
        int entries = 0;
        isMore = reader.readSome(effort, [&](const QString &, const QVariant &) { ++entries; });
        QVERIFY(entries <= mostEntries);
    }
    QVERIFY2(steps > 100, QByteArray::number(steps).constData());
}

void tst_TokenText::writesEntries_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");

    QTest::newRow("text") << QVariant(u"v"_s) << "{k = \"v\";}";
    QTest::newRow("empty text") << QVariant(u""_s) << "{k = \"\";}";
    QTest::newRow("no value") << QVariant() << "{k = \"\";}";
    QTest::newRow("number") << QVariant(-5) << "{k = \"-5\";}";
    QTest::newRow("boolean") << QVariant(true) << "{k = \"true\";}";
    QTest::newRow("quotes, backslashes and line ends")
        << QVariant(u"a\"\\\n;"_s) << "{k = \"a\"\\\n;\";}";
    QTest::newRow("letters beyond ASCII")
        << QVariant(u"\u00e9\u2603"_s) << u"{k = \"\u00e9\u2603\";}"_s;
    QTest::newRow("empty list") << QVariant(QStringList()) << "{k =();}";
    QTest::newRow("list of one") << QVariant(QStringList{u"a"_s}) << "{k = (\"a\" );}";
    QTest::newRow("list of two") << QVariant(QStringList{u"a"_s, u"b"_s})
                                 << "{k = (\"a\", \"b\" );}";
    QTest::newRow("list of three empty ones")
        << QVariant(QStringList{u""_s, u""_s, u""_s}) << "{k = (\"\", \"\", \"\" );}";
    QTest::newRow("list item with a quote")
        << QVariant(QStringList{u"a\"b"_s}) << "{k = (\"a\"b\" );}";
}

void tst_TokenText::writesEntries()
{
    QFETCH(QVariant, value);
    QTEST(TokenText::write({{u"k"_s, value}}), "text");
}

void tst_TokenText::writesAllEntriesWithNothingBetweenThem()
{
    QCOMPARE(TokenText::write({}), u"{}"_s);
    QCOMPARE(TokenText::write({{u""_s, u""_s}}), u"{ = \"\";}"_s);

    const QString response = u"serverResponse = \"OK\";"_s;
    const QString command = u"fncCommand = (\"x\", \"y\" );"_s;
    const QString text = TokenText::write(
        {{u"serverResponse"_s, u"OK"_s}, {u"fncCommand"_s, QStringList{u"x"_s, u"y"_s}}});
    QVERIFY2(text == u'{' + response + command + u'}' || text == u'{' + command + response + u'}',
             qPrintable(text));
}

void tst_TokenText::writesTheBlankBeforeAnEmptyListAway()
{
    const QString text = TokenText::write({{u"a"_s, u"b"_s}, {u"k"_s, QStringList()}});
    QVERIFY2(text == u"{a = \"b\";k =();}"_s || text == u"{k =();a = \"b\";}"_s, qPrintable(text));
}

void tst_TokenText::writesTheSameInPieces()
{
    const TokenMap token = {{u""_s, u""_s},
                            {u"a"_s, u"some text"_s},
                            {u"none"_s, QStringList()},
                            {u"one"_s, QStringList{u""_s}},
                            {u"many"_s, QStringList{u"b"_s, u""_s, u"cd"_s, QString(50, u'x')}},
                            {QString(40, u'k'), QString(90, u'v')}};
    const QString whole = TokenText::write(token);
    for (qsizetype size = 1; size <= whole.size() + 1; ++size) {
        TokenText::Writer writer(token);
        QString text;
        for (bool isMore = true; isMore;) {
            const qsizetype before = text.size();
            isMore = writer.writeSome(text, size);
            // What stands between two texts is not cut.
            QVERIFY(text.size() - before <= size + 5);
        }
        // The order of entries is that of this map object.
        QCOMPARE(text, whole);
    }
}

void tst_TokenText::writesTheMapAsItWas()
{
    TokenMap token = {{u"a"_s, QString(100, u'x')}};
    const QString before = TokenText::write(token);
    TokenText::Writer writer(token);
    QString text;
    QVERIFY(writer.writeSome(text, 10));
    token.insert(u"a"_s, u"y"_s);
    token.insert(u"b"_s, u"z"_s);
    QVERIFY(!writer.writeSome(text, 1'000));
    QCOMPARE(text, before);
}

void tst_TokenText::writesWhatItCannotReadItself()
{
    const TokenMap token = {{u"serverResponse"_s, u"OK"_s},
                            {u"cmdParameters"_s, QStringList{u"a"_s, u"b"_s}}};
    QCOMPARE(resultOf(TokenText::write(token).toLatin1()), ReadResult::NotAToken);
}

QTEST_GUILESS_MAIN(tst_TokenText)
#include "tst_TokenText.moc"
