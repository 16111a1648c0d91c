// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Arguments.h"

#include "program/CommandTable.h"
#include "program/OptionTable.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;
using namespace std::chrono_literals;

namespace {

ParsedArguments parse(const QStringList &words)
{
    return parseArguments(QStringList{u"quillmote"_s} + words);
}

} // namespace

class tst_Arguments : public QObject
{
    Q_OBJECT

private slots:
    void defaultsLeaveTheServerToDiscovery();
    void everyOptionIsRead();
    void theOptionsOfThisDesktopAreRead();
    void optionsMayStandAnywhere_data();
    void optionsMayStandAnywhere();
    void valuesAreKeptAsTheyAre_data();
    void valuesAreKeptAsTheyAre();
    void optionsOfOneCommandAreUnknownToTheOthers_data();
    void optionsOfOneCommandAreUnknownToTheOthers();
    void wrongValuesAreReportedInOneSentence_data();
    void wrongValuesAreReportedInOneSentence();
    void unknownWordsAreReportedWithASuggestion_data();
    void unknownWordsAreReportedWithASuggestion();
    void jsonIsWantedForProblemsToo_data();
    void jsonIsWantedForProblemsToo();
    void helpAndVersionGoToTheOutput();
    void everyCommandsHelpShowsItsOptions();
    void optionsBelongToCommandsThatExist();
};

void tst_Arguments::defaultsLeaveTheServerToDiscovery()
{
    const auto arguments = parse({u"info"_s}).arguments;
    QVERIFY(arguments.has_value());
    QCOMPARE(arguments->command, u"info"_s);
    QVERIFY(arguments->values.isEmpty());
    QVERIFY(arguments->server.isEmpty());
    QVERIFY(arguments->host.isEmpty());
    QCOMPARE(arguments->timeout, std::chrono::milliseconds(10s));
    QVERIFY(!arguments->isTimeoutGiven);
    QVERIFY(!arguments->wantsJson);
    QVERIFY(!arguments->isWatch);
    QCOMPARE(arguments->repeat, 1);
    QVERIFY(!arguments->saveAs.has_value());
    QVERIFY(!arguments->isForced);
    QVERIFY(!arguments->pastesAll);
    QVERIFY(!arguments->isUsKeyboard);
    QVERIFY(!arguments->restoresClipboard);
    QVERIFY(arguments->pasteWait > 0ms);
    QVERIFY(!arguments->isLocal);
    QCOMPARE(arguments->delay, 0ms);
    QCOMPARE(arguments->button, u"left"_s);
    QVERIFY(!arguments->holdTime.has_value());
    QVERIFY(!arguments->keepsLineBreak);
    QVERIFY(!arguments->isApplication);
    QVERIFY(!arguments->wantsList);
    QVERIFY(!arguments->staysClosed);
    QVERIFY(!arguments->output.has_value());
}

void tst_Arguments::everyOptionIsRead()
{
    const auto key = parse({u"key"_s, u"A"_s, u"--host"_s, u"den"_s, u"--port"_s, u"65535"_s,
                            u"--timeout"_s, u"0.0005"_s, u"--json"_s, u"--repeat"_s, u"7"_s})
                         .arguments;
    QVERIFY(key.has_value());
    QCOMPARE(key->host, u"den"_s);
    QCOMPARE(key->port, quint16(65535));
    // Never rounded down to no time at all.
    QCOMPARE(key->timeout, 1ms);
    QVERIFY(key->isTimeoutGiven);
    QVERIFY(key->wantsJson);
    QCOMPARE(key->repeat, 7);
    const auto click = parse({u"click"_s, u"--repeat"_s, u"2"_s}).arguments;
    QVERIFY(click.has_value());
    QCOMPARE(click->repeat, 2);
    const auto send = parse({u"send"_s, u"a"_s, u"--as="_s, u"--force"_s}).arguments;
    QVERIFY(send.has_value());
    QCOMPARE(send->saveAs, std::optional(QString()));
    QVERIFY(send->isForced);
    const auto type =
        parse({u"type"_s, u"--paste"_s, u"--us-keyboard"_s, u"--restore"_s, u"--paste-wait=7"_s})
            .arguments;
    QVERIFY(type.has_value());
    QVERIFY(type->pastesAll);
    QVERIFY(type->isUsKeyboard);
    QVERIFY(type->restoresClipboard);
    QCOMPARE(type->pasteWait, 7ms);
    const auto pair = parse({u"pair"_s, u"--name"_s, u"Ada"_s, u"--server=den"_s}).arguments;
    QVERIFY(pair.has_value());
    QCOMPARE(pair->deviceName, u"Ada"_s);
    QCOMPARE(pair->server, u"den"_s);
    QCOMPARE(parse({u"pair"_s, u"--name"_s, u"-5"_s}).arguments->deviceName, u"-5"_s);
    QVERIFY(parse({u"discover"_s, u"--watch"_s}).arguments->isWatch);
    QVERIFY(parse({u"copy"_s, u"a"_s, u"--lossy"_s}).arguments->isLossy);
    QVERIFY(!parse({u"copy"_s, u"a"_s}).arguments->isLossy);
}

void tst_Arguments::theOptionsOfThisDesktopAreRead()
{
    QVERIFY(parse({u"info"_s, u"--local"_s}).arguments->isLocal);
    QCOMPARE(parse({u"type"_s, u"a"_s, u"--delay=20"_s}).arguments->delay, 20ms);
    QVERIFY(parse({u"copy"_s, u"--keep-newline"_s}).arguments->keepsLineBreak);
    QCOMPARE(parse({u"drag"_s, u"1.5"_s, u"-2.5"_s, u"--button=right"_s}).arguments->button,
             u"right"_s);
    QCOMPARE(parse({u"hold"_s, u"a"_s, u"--for"_s, u"1.5"_s}).arguments->holdTime,
             std::optional<std::chrono::milliseconds>(1500ms));
    QVERIFY(parse({u"open"_s, u"a"_s, u"--application"_s}).arguments->isApplication);
    QVERIFY(parse({u"open"_s, u"--list"_s}).arguments->wantsList);
    QVERIFY(parse({u"send"_s, u"a"_s, u"--no-open"_s}).arguments->staysClosed);
    QVERIFY(!parse({u"send"_s, u"a"_s, u"--open"_s}).arguments->staysClosed);
    QCOMPARE(parse({u"get"_s, u"a"_s, u"-o"_s, u"-"_s}).arguments->output, std::optional(u"-"_s));
    QVERIFY(parse({u"get"_s, u"a"_s, u"--force"_s}).arguments->isForced);
}

void tst_Arguments::optionsMayStandAnywhere_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("before") << QStringList{u"--server"_s, u"den"_s, u"--json"_s, u"--repeat"_s,
                                           u"2"_s,        u"key"_s, u"A"_s,      u"B"_s};
    QTest::newRow("between") << QStringList{u"key"_s,    u"--server"_s, u"den"_s,      u"A"_s,
                                            u"--json"_s, u"B"_s,        u"--repeat"_s, u"2"_s};
    QTest::newRow("behind") << QStringList{u"key"_s,          u"A"_s,     u"B"_s, u"--repeat=2"_s,
                                           u"--server=den"_s, u"--json"_s};
}

void tst_Arguments::optionsMayStandAnywhere()
{
    QFETCH(QStringList, words);
    const auto parsed = parse(words);
    QVERIFY2(parsed.arguments.has_value(), qPrintable(parsed.problem));
    QCOMPARE(parsed.arguments->command, u"key"_s);
    QCOMPARE(parsed.arguments->values, (QStringList{u"A"_s, u"B"_s}));
    QCOMPARE(parsed.arguments->server, u"den"_s);
    QCOMPARE(parsed.arguments->repeat, 2);
    QVERIFY(parsed.arguments->wantsJson);
}

void tst_Arguments::valuesAreKeptAsTheyAre_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QStringList>("values");
    QTest::newRow("negative numbers")
        << QStringList{u"move"_s, u"-10"_s, u"-0"_s} << QStringList{u"-10"_s, u"-0"_s};
    QTest::newRow("negative fractions")
        << QStringList{u"move"_s, u"-0.5"_s, u"-.5"_s} << QStringList{u"-0.5"_s, u"-.5"_s};
    QTest::newRow("a number in front of the command")
        << QStringList{u"--as"_s, u"-5"_s, u"send"_s, u"-6"_s} << QStringList{u"-6"_s};
    QTest::newRow("a text like a number")
        << QStringList{u"copy"_s, u"-5"_s} << QStringList{u"-5"_s};
    QTest::newRow("another minus sign")
        << QStringList{u"copy"_s, u"\u22125"_s} << QStringList{u"\u22125"_s};
    QTest::newRow("the minus key") << QStringList{u"key"_s, u"-"_s} << QStringList{u"-"_s};
    QTest::newRow("behind values of options")
        << QStringList{u"--as"_s, u"copy"_s, u"send"_s, u"a"_s} << QStringList{u"a"_s};
    QTest::newRow("behind two dashes")
        << QStringList{u"copy"_s, u"--"_s, u"--json"_s} << QStringList{u"--json"_s};
    QTest::newRow("a command's name")
        << QStringList{u"copy"_s, u"paste"_s} << QStringList{u"paste"_s};
    QTest::newRow("empty") << QStringList{u"copy"_s, QString()} << QStringList{QString()};
}

void tst_Arguments::valuesAreKeptAsTheyAre()
{
    QFETCH(QStringList, words);
    QFETCH(QStringList, values);
    const auto parsed = parse(words);
    QVERIFY2(parsed.arguments.has_value(), qPrintable(parsed.problem));
    QCOMPARE(parsed.arguments->values, values);
    QVERIFY(!parsed.arguments->wantsJson);
}

void tst_Arguments::optionsOfOneCommandAreUnknownToTheOthers_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::newRow("watch") << QStringList{u"info"_s, u"--watch"_s};
    QTest::newRow("name") << QStringList{u"info"_s, u"--name"_s, u"x"_s};
    QTest::newRow("repeat") << QStringList{u"move"_s, u"--repeat"_s, u"2"_s};
    QTest::newRow("as") << QStringList{u"open"_s, u"--as"_s, u"x"_s};
    QTest::newRow("force") << QStringList{u"copy"_s, u"--force"_s};
    QTest::newRow("restore") << QStringList{u"remote"_s, u"--restore"_s};
    QTest::newRow("paste") << QStringList{u"key"_s, u"A"_s, u"--paste"_s};
}

void tst_Arguments::optionsOfOneCommandAreUnknownToTheOthers()
{
    QFETCH(QStringList, words);
    const auto parsed = parse(words);
    QVERIFY(!parsed.arguments.has_value());
    QVERIFY2(parsed.problem.endsWith(u"See quillmote %1 --help."_s.arg(words[0])),
             qPrintable(parsed.problem));
}

void tst_Arguments::wrongValuesAreReportedInOneSentence_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("problem");
    const QString port = u"--port takes a number from 1 to 65535."_s;
    const QString timeout = u"--timeout takes seconds, more than 0 and up to 86400."_s;
    QTest::newRow("nothing") << QStringList{}
                             << u"A command is missing; quillmote --help lists them."_s;
    QTest::newRow("no command") << QStringList{u"dance"_s}
                                << u"There is no command \"dance\"; quillmote --help lists them."_s;
    for (const char *value : {"0", "-1", "65536", "x", ""}) {
        QTest::addRow("port %s", value)
            << QStringList{u"info"_s, u"--host=x"_s, u"--port=%1"_s.arg(QLatin1StringView(value))}
            << port;
    }
    for (const char *value : {"0", "-1", "nan", "inf", "86401", "x"}) {
        QTest::addRow("timeout %s", value)
            << QStringList{u"info"_s, u"--timeout=%1"_s.arg(QLatin1StringView(value))} << timeout;
    }
    QTest::newRow("port alone") << QStringList{u"info"_s, u"--port=1"_s}
                                << u"--host and --port go together; give both."_s;
    QTest::newRow("two servers") << QStringList{u"info"_s, u"--host=x"_s, u"--port=1"_s,
                                                u"--server=y"_s}
                                 << u"--server and --host exclude each other."_s;
    const QString localAlone = u"--local excludes --host and --server."_s;
    QTest::newRow("local by name")
        << QStringList{u"info"_s, u"--local"_s, u"--server=x"_s} << localAlone;
    QTest::newRow("local by address")
        << QStringList{u"info"_s, u"--local"_s, u"--host=x"_s, u"--port=1"_s} << localAlone;
    for (const char *value : {"-1", "60001", "x"}) {
        QTest::addRow("delay %s", value)
            << QStringList{u"type"_s, u"--delay=%1"_s.arg(QLatin1StringView(value))}
            << u"--delay takes milliseconds, from 0 to 60000."_s;
    }
    QTest::newRow("no time to hold") << QStringList{u"hold"_s, u"a"_s, u"--for=0"_s}
                                     << u"--for takes seconds, more than 0 and up to 86400."_s;
    QTest::newRow("no repeat") << QStringList{u"key"_s, u"A"_s, u"--repeat=0"_s}
                               << u"--repeat takes a number from 1."_s;
    for (const char *value : {"-1", "60001", "x", ""}) {
        QTest::addRow("paste wait %s", value)
            << QStringList{u"type"_s, u"--paste-wait=%1"_s.arg(QLatin1StringView(value))}
            << u"--paste-wait takes milliseconds, from 0 to 60000."_s;
    }
    QTest::newRow("too many values")
        << QStringList{u"paste"_s, u"x"_s} << u"Usage: quillmote paste [OPTIONS]"_s;
}

void tst_Arguments::wrongValuesAreReportedInOneSentence()
{
    QFETCH(QStringList, words);
    QFETCH(QString, problem);
    const auto parsed = parse(words);
    QVERIFY(!parsed.arguments.has_value());
    QVERIFY(parsed.output.isEmpty());
    QCOMPARE(parsed.problem, problem);
}

void tst_Arguments::unknownWordsAreReportedWithASuggestion_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("problem");
    const QString command = u"unknown-command"_s;
    const QString option = u"unknown-option"_s;
    const QString sned = u"There is no command \"sned\". Did you mean send?"_s;
    const QString twirl = u"There is no command \"twirl\"; quillmote --help lists them."_s;
    QTest::newRow("command") << QStringList{u"sned"_s, u"x"_s} << command << sned;
    QTest::newRow("command, its help") << QStringList{u"sned"_s, u"--help"_s} << command << sned;
    QTest::newRow("no such command's help")
        << QStringList{u"twirl"_s, u"--help"_s} << command << twirl;
    QTest::newRow("help about it") << QStringList{u"help"_s, u"twirl"_s} << command << twirl;
    QTest::newRow("command behind an option of another")
        << QStringList{u"--repeat"_s, u"3"_s, u"sned"_s} << command << sned;
    QTest::newRow("command before an unknown option")
        << QStringList{u"sned"_s, u"--frobnicate"_s} << command << sned;
    QTest::newRow("a number") << QStringList{u"-5"_s} << command
                              << u"There is no command \"-5\"; quillmote --help lists them."_s;
    QTest::newRow("option") << QStringList{u"info"_s, u"--jsno"_s} << option
                            << u"Unknown option \"--jsno\". Did you mean --json? "
                               "See quillmote info --help."_s;
    QTest::newRow("option of two words")
        << QStringList{u"type"_s, u"--us-keybord"_s} << option
        << u"Unknown option \"--us-keybord\". Did you mean --us-keyboard? "
           "See quillmote type --help."_s;
    QTest::newRow("behind a number that it looks like")
        << QStringList{u"key"_s, u"-5"_s, u"-5x"_s} << option
        << u"Unknown option \"-5x\". See quillmote key --help."_s;
    QTest::newRow("option with a value")
        << QStringList{u"info"_s, u"--sevrer=den"_s} << option
        << u"Unknown option \"--sevrer\". Did you mean --server? See quillmote info --help."_s;
    QTest::newRow("option before the command")
        << QStringList{u"--sevrer"_s, u"den"_s, u"info"_s} << option
        << u"Unknown option \"--sevrer\". Did you mean --server? See quillmote --help."_s;
    QTest::newRow("option alone") << QStringList{u"--frobnicate"_s} << option
                                  << u"Unknown option \"--frobnicate\". See quillmote --help."_s;
    QTest::newRow("short option") << QStringList{u"info"_s, u"-x"_s} << option
                                  << u"Unknown option \"-x\". See quillmote info --help."_s;
    QTest::newRow("two words of text")
        << QStringList{u"copy"_s, u"it's"_s, u"two words"_s} << u"usage"_s
        << u"copy takes one text; quote the text: quillmote copy 'it'\\''s two words'"_s;
}

void tst_Arguments::unknownWordsAreReportedWithASuggestion()
{
    QFETCH(QStringList, words);
    QFETCH(QString, code);
    QFETCH(QString, problem);
    const auto parsed = parse(words);
    QVERIFY(!parsed.arguments.has_value());
    QVERIFY(parsed.output.isEmpty());
    QCOMPARE(parsed.problem, problem);
    QCOMPARE(QString::fromLatin1(parsed.problemCode), code);
}

void tst_Arguments::jsonIsWantedForProblemsToo_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<bool>("isWanted");
    QTest::newRow("no") << QStringList{u"sned"_s} << false;
    QTest::newRow("before") << QStringList{u"--json"_s, u"sned"_s} << true;
    QTest::newRow("behind") << QStringList{u"sned"_s, u"--json"_s} << true;
    QTest::newRow("wrong value") << QStringList{u"info"_s, u"--port=x"_s, u"--json"_s} << true;
    QTest::newRow("as a value") << QStringList{u"copy"_s, u"--"_s, u"--json"_s} << false;
    QTest::newRow("alone") << QStringList{u"--json"_s} << true;
}

void tst_Arguments::jsonIsWantedForProblemsToo()
{
    QFETCH(QStringList, words);
    QFETCH(bool, isWanted);
    QCOMPARE(parse(words).wantsJson, isWanted);
}

void tst_Arguments::helpAndVersionGoToTheOutput()
{
    for (const QStringList &words :
         {QStringList{u"--help"_s}, QStringList{u"-h"_s}, QStringList{u"help"_s},
          QStringList{u"key"_s, u"--help"_s}, QStringList{u"help"_s, u"key"_s},
          QStringList{u"--version"_s}}) {
        const auto parsed = parse(words);
        QVERIFY(!parsed.arguments.has_value());
        QVERIFY(parsed.problem.isEmpty());
        QVERIFY(!parsed.output.isEmpty());
    }
    QCOMPARE(parse({u"help"_s, u"key"_s}).output, parse({u"key"_s, u"--help"_s}).output);
    QVERIFY(parse({u"key"_s, u"--help"_s}).output.contains(u"  --repeat COUNT "_s));
}

void tst_Arguments::everyCommandsHelpShowsItsOptions()
{
    for (const QString &command : commandNames()) {
        const QString help = parse({u"help"_s, command}).output;
        for (const Option *option : allOptions()) {
            const bool isShown = help.contains(u"--%1 "_s.arg(option->name));
            const bool isTaken = option->commands.isEmpty() ||
                                 QString(option->commands).split(u' ').contains(command);
            QVERIFY2(isShown == isTaken, qPrintable(command + u' ' + option->name));
        }
    }
    const QString overview = parse({u"help"_s}).output;
    for (const Option *option : commonOptions()) {
        QVERIFY2(overview.contains(u"--%1 "_s.arg(option->name)), option->name.data());
    }
}

void tst_Arguments::optionsBelongToCommandsThatExist()
{
    QCOMPARE(allOptions().size(), size_t(27));
    for (const Option *option : allOptions()) {
        for (const QString &command : QString(option->commands).split(u' ', Qt::SkipEmptyParts)) {
            QVERIFY2(findCommand(command) != nullptr, option->name.data());
        }
    }
}

QTEST_APPLESS_MAIN(tst_Arguments)
#include "tst_Arguments.moc"
