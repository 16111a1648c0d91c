// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/TokenText.h"

#include "unit/net/NaiveTokenReader.h"

#include <QRandomGenerator>
#include <QStringList>
#include <QTest>

#include <array>

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

    row("one entry", "{ a = b; }", {{"a", "b"}});
    row("two entries", "{ a = b; c = d; }", {{"a", "b"}, {"c", "d"}});
    row("a key sent twice", "{ a = b; a = c; }", {{"a", "c"}});
    row("value with an equals sign", "{ a = b = c; }", {{"a", "b = c"}});
    row("value without blanks around the equals sign", "{ a=b; }", {{"a=b", "b"}});
    row("Latin-1 letters", "{ \xe9 = \xff; }", {{QString(u'\u00e9'), QString(u'\u00ff')}});
    row("bracket inside a text", "{ a = x(b, c); }", {{"a", "x(b, c)"}});

    row("line ends, tabs and other white space", "{\r\n\ta\v=\f\n b  c;\t}", {{"a", "b c"}});
    row("blanks around", " \n { a = b; } \t", {{"a", "b"}});
    row("no-break space",
        "{\xa0"
        "a = b;\xa0}",
        {{"a", "b"}});

    row("last character goes when no ';' ends the body", "{ a = bc }", {{"a", "b"}});
    row("last character of a short body", "{ a = b }", {{"a", ""}});
    row("empty body", "{ }", {{"", ""}});
    row("body of blanks", "{     }", {{"", ""}});
    row("body of one ';'", "{ ; }", {{"", ""}});
    row("';' in front of everything does not split", "{ ;; }", {{";", ""}});
    row("';' in front of an entry", "{ ;a = b; }", {{";a", "b"}});
    row("empty segment", "{ a = b;; }", {{"a", "b"}, {"", ""}});
    row("two empty segments", "{ a = b;;;c = d; }", {{"a", "b"}, {"", ""}, {"c", "d"}});
    row("no equals sign", "{ abcd; }", {{"abcd", "cd"}});
    row("no equals sign, one character", "{ a; }", {{"a", ""}});
    row("no equals sign in a further segment", "{ a = b; xyz; }", {{"a", "b"}, {"xyz", "yz"}});
    row("equals sign without a key", "{ = b; }", {{"= b", "b"}});
    row("key without a value", "{ a =; }", {{"a =", "="}});
    row("no key but an equals sign in a further segment", "{ a = b; = c; }",
        {{"a", "b"}, {"", "c"}});

    row("list", "{ l = (a, b); }", {{"l", list({"a", "b"})}});
    row("list of one", "{ l = (a); }", {{"l", list({"a"})}});
    row("empty list", "{ l = (); }", {{"l", list({""})}});
    row("list of a blank", "{ l = ( ); }", {{"l", list({""})}});
    row("missing item", "{ l = (a, , b); }", {{"l", list({"a", "", "b"})}});
    row("missing first item", "{ l = (, a); }", {{"l", list({"", "a"})}});
    row("missing last item", "{ l = (a, ); }", {{"l", list({"a,"})}});
    row("comma without a blank", "{ l = (a,b); }", {{"l", list({"a,b"})}});
    row("blanks around items", "{ l = ( a , b ); }", {{"l", list({"a ", "b"})}});
    row("list that is not closed", "{ l = (a, b; }", {{"l", list({"a,"})}});
    row("only an opening bracket", "{ l = (; }", {{"l", list({""})}});
    row("something behind the closing bracket", "{ l = (a, b) c; }", {{"l", list({"a", "b)"})}});
    row("list in a list", "{ l = ((a, b), c); }", {{"l", list({"(a", "b)", "c"})}});
    row("two brackets", "{ l = (); m = (x); }", {{"l", list({""})}, {"m", list({"x"})}});
    row("list as the value of a segment without an equals sign", "{ ab(c, d); }",
        {{"ab(c, d)", list({"c", "d"})}});

    row("quotes are removed", "{ \"a\" = \"b\"; }", {{"a", "b"}});
    row("quotes everywhere", "{ \"\"a\" \"=\" \"b\"\"\";\" c = (\"d\", e\"f, \"\"); \" }",
        {{"a", "b"}, {"c", list({"d", "ef,"})}});
    row("quotes around the whole", "\"{ a = b; }\"", {{"a", "b"}});
    row("quotes hide no ';'", "{ a = \"b;c\"; }", {{"a", "b"}, {"c", ""}});
    row("blanks inside quotes", "{ a = \"  b  c  \"; }", {{"a", "b c"}});
    row("blanks that only quotes part", "{ a = b\" \" c; }", {{"a", "b  c"}});
    row("a quote as the last character", "{ a = bc\" }", {{"a", "b"}});
    row("only quotes", "{ \"\"\"\" }", {{"", ""}});

    row("ignored ';'", "{ a = x[[[IGNORE]]];y[[[ENDIGNORE]]]; b = z; }",
        {{"a", "x;y"}, {"b", "z"}});
    row("ignored ';;'", "{ a = [[[IGNORE]]];;[[[ENDIGNORE]]]; }", {{"a", ";;"}});
    row("only the first pair counts",
        "{ a = [[[IGNORE]]]1;2[[[ENDIGNORE]]]; b = [[[IGNORE]]]3;4[[[ENDIGNORE]]]; }",
        {{"a", "1;2"}, {"b", "3"}, {"4", ""}});
    row("two starts, one end", "{ a = [[[IGNORE]]]1;[[[IGNORE]]]2;3[[[ENDIGNORE]]]; }",
        {{"a", "1;2;3"}});
    row("one start, two ends", "{ a = [[[IGNORE]]]1;2[[[ENDIGNORE]]]3;4[[[ENDIGNORE]]]; }",
        {{"a", "1;23"}, {"4", ""}});
    row("end before start", "{ a = [[[ENDIGNORE]]]1;2[[[IGNORE]]]; }", {{"a", "1"}, {"2", ""}});
    row("end before start before end", "{ a = [[[ENDIGNORE]]]1;[[[IGNORE]]]2;3[[[ENDIGNORE]]]; }",
        {{"a", "1"}, {"2", ""}, {"3", ""}});
    row("start without end", "{ a = [[[IGNORE]]]1;2; }", {{"a", "1"}, {"2", ""}});
    row("end without start", "{ a = 1;2[[[ENDIGNORE]]]; }", {{"a", "1"}, {"2", ""}});
    row("stretch over entries", "{ a = [[[IGNORE]]]1; b = 2[[[ENDIGNORE]]]; }",
        {{"a", "1; b = 2"}});
    row("markers at the very ends", "{ [[[IGNORE]]]a = 1;2[[[ENDIGNORE]]]; }", {{"a", "1;2"}});
    row("markers in other letters", "{ a = [[[ignore]]]1;2[[[endignore]]]; }",
        {{"a", "[[[ignore]]]1"}, {"2[[[endignore]]]", "[[endignore]]]"}});
    row("marker that the removal of another makes", "{ a = [[[END[[[IGNORE]]]IGNORE]]]x; }",
        {{"a", "x"}});
    row("start marker in a start marker", "{ a = [[[IGN[[[IGNORE]]]ORE]]]x; }",
        {{"a", "[[[IGNORE]]]x"}});
    row("end marker in a start marker", "{ a = [[[IGN[[[ENDIGNORE]]]ORE]]]x; }",
        {{"a", "[[[IGNORE]]]x"}});
    row("marker cut by quotes", "{ a = [[[IGN\"ORE]]]1;2[[[END\"IGNORE]]]; }", {{"a", "1;2"}});

    row("prefix of one character stays, with its brace", "x{ a = b; }", {{"{ a", "b"}});
    row("prefix of two characters", "xy{ a = b; }", {{"a", "b"}});
    row("prefix of five characters", "vwxyz{ a = b; }", {{"a", "b"}});
    row("prefix with a blank", "x { a = b; }", {{"a", "b"}});
    row("brace at position 2 in a prefix of five", "ab{cd{ e = f; }", {{"cd{ e", "f"}});
    row("brace at position 1 in a prefix of five", "a{bcd{ e = f; }", {{"e", "f"}});
    row("brace at position 0 in a prefix", "{abcd{ e = f; }", {{"e", "f"}});
    row("brace inside a token at position 1", "x{ a = {b; }", {{"b", ""}});
    row("second token behind one at position 1", "x{ a = b; } { c = d; }", {{"c", "d"}});
    row("brace behind the last closing one", "x{ } y{", {{"{ }", "}"}});
    row("rest behind a token with a prefix is cut off", "xy{ a = b; } rest", {{"a", "b"}});
    row("rest behind a token without a prefix stays", "{ a = b; } xyz", {{"a", "b"}, {"} x", "x"}});
    row("two tokens in one chunk", "{ a = b; } { c = d; }", {{"a", "b"}, {"} { c", "d"}});
    row("two tokens in one chunk, not parted", "{ a = b; }{ c = d; }", {{"a", "b"}, {"}{ c", "d"}});
    row("braces inside values", "{ a = {; b = }; }", {{"a", "{"}, {"b", "}"}});
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
    QCOMPARE(TokenText::read("\tx  }\r\n{ \"y\"  ", ignore).text, QString("x } { \"y\""));
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
        visited.append(key + '=' + value.toString());
    });
    QCOMPARE(visited, QStringList({"b=1", "a=2", "b=3"}));
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
    const TokenMap entries = {{"cmdType", "example"}, {"cmdParameters", QStringList{"one", "two"}}};
    QCOMPARE(mapOf(chunk), entries);
    QCOMPARE(resultOf(chunk), ReadResult::Token);
}

void tst_TokenText::readsUpToTheFirstNulByte()
{
    const TokenMap entries = {{"a", "b"}};
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
        // The NUL only now and then, or nearly every text would be a short one.
        int index = random.bounded(static_cast<int>(alphabet.size()));
        if (index == 12 && random.bounded(10) != 0) {
            index = 2;
        }
        text += alphabet[static_cast<size_t>(index)];
    }
    // Most texts get braces, or few would be tokens.
    return random.bounded(4) == 0 ? text : "{ " + text + " }";
}

QString described(const std::vector<std::pair<std::string, NaiveTokenReader::Value>> &entries)
{
    QString text;
    for (const auto &[key, value] : entries) {
        text += '<' + QString::fromStdString(key) + '>' + (value.isList ? "list" : "text");
        for (const std::string &item : value.texts) {
            text += '<' + QString::fromStdString(item) + '>';
        }
    }
    return text;
}

QString described(NaiveTokenReader::Outcome outcome)
{
    using NaiveTokenReader::Outcome;
    switch (outcome) {
    case Outcome::Silent:
        return "silent";
    case Outcome::Bad:
        return "bad";
    case Outcome::Read:
        return "read";
    case Outcome::Fixed:
        return "fixed";
    }
    return {};
}

QString described(ReadResult result)
{
    switch (result) {
    case ReadResult::NotAToken:
        return "silent";
    case ReadResult::Reversed:
        return "bad";
    case ReadResult::Token:
        return "read";
    case ReadResult::TokenWithPrefix:
        return "fixed";
    }
    return {};
}

QString describedReading(const QByteArray &text)
{
    QString entries;
    const auto reading = TokenText::read(text, [&](const QString &key, const QVariant &value) {
        const bool isList = value.typeId() == QMetaType::QStringList;
        entries += '<' + key + '>' + (isList ? "list" : "text");
        for (const QString &item : isList ? value.toStringList() : QStringList{value.toString()}) {
            entries += '<' + item + '>';
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
        QVERIFY2(outcomes.value(outcome) > 50, outcome);
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

    QTest::newRow("text") << QVariant("v") << "{k = \"v\";}";
    QTest::newRow("empty text") << QVariant("") << "{k = \"\";}";
    QTest::newRow("no value") << QVariant() << "{k = \"\";}";
    QTest::newRow("number") << QVariant(-5) << "{k = \"-5\";}";
    QTest::newRow("boolean") << QVariant(true) << "{k = \"true\";}";
    QTest::newRow("quotes, backslashes and line ends")
        << QVariant("a\"\\\n;") << "{k = \"a\"\\\n;\";}";
    QTest::newRow("letters beyond ASCII")
        << QVariant(QStringLiteral("\u00e9\u2603")) << QStringLiteral("{k = \"\u00e9\u2603\";}");
    QTest::newRow("empty list") << QVariant(QStringList()) << "{k =();}";
    QTest::newRow("list of one") << QVariant(QStringList{"a"}) << "{k = (\"a\" );}";
    QTest::newRow("list of two") << QVariant(QStringList{"a", "b"}) << "{k = (\"a\", \"b\" );}";
    QTest::newRow("list of three empty ones")
        << QVariant(QStringList{"", "", ""}) << "{k = (\"\", \"\", \"\" );}";
    QTest::newRow("list item with a quote")
        << QVariant(QStringList{"a\"b"}) << "{k = (\"a\"b\" );}";
}

void tst_TokenText::writesEntries()
{
    QFETCH(QVariant, value);
    QTEST(TokenText::write({{"k", value}}), "text");
}

void tst_TokenText::writesAllEntriesWithNothingBetweenThem()
{
    QCOMPARE(TokenText::write({}), QString("{}"));
    QCOMPARE(TokenText::write({{"", ""}}), QString("{ = \"\";}"));

    const QString response = "serverResponse = \"OK\";";
    const QString command = "fncCommand = (\"x\", \"y\" );";
    const QString text =
        TokenText::write({{"serverResponse", "OK"}, {"fncCommand", QStringList{"x", "y"}}});
    QVERIFY2(text == '{' + response + command + '}' || text == '{' + command + response + '}',
             qPrintable(text));
}

void tst_TokenText::writesTheBlankBeforeAnEmptyListAway()
{
    const QString text = TokenText::write({{"a", "b"}, {"k", QStringList()}});
    QVERIFY2(text == "{a = \"b\";k =();}" || text == "{k =();a = \"b\";}", qPrintable(text));
}

void tst_TokenText::writesTheSameInPieces()
{
    const TokenMap token = {{"", ""},
                            {"a", "some text"},
                            {"none", QStringList()},
                            {"one", QStringList{""}},
                            {"many", QStringList{"b", "", "cd", QString(50, u'x')}},
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
        // The map's own order is that of this very map.
        QCOMPARE(text, whole);
    }
}

void tst_TokenText::writesTheMapAsItWas()
{
    TokenMap token = {{"a", QString(100, u'x')}};
    const QString before = TokenText::write(token);
    TokenText::Writer writer(token);
    QString text;
    QVERIFY(writer.writeSome(text, 10));
    token.insert("a", "y");
    token.insert("b", "z");
    QVERIFY(!writer.writeSome(text, 1'000));
    QCOMPARE(text, before);
}

void tst_TokenText::writesWhatItCannotReadItself()
{
    const TokenMap token = {{"serverResponse", "OK"}, {"cmdParameters", QStringList{"a", "b"}}};
    QCOMPARE(resultOf(TokenText::write(token).toLatin1()), ReadResult::NotAToken);
}

QTEST_GUILESS_MAIN(tst_TokenText)
#include "tst_TokenText.moc"
