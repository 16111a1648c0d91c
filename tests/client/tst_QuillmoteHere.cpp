// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What the program quillmote says to the server of its own desktop, and how it finds it.

#include "client/StandInSessionServer.h"
#include "support/Folders.h"
#include "support/Waiting.h"
#include "support/process/ChildProcess.h"
#include "support/process/PseudoTerminal.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTest>

#include <csignal>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Request = StandInSessionServer::Request;
using Answer = StandInSessionServer::Answer;

struct Run
{
    int status = -1; // -1: crashed, or not ended in time
    QByteArray output;
    QByteArray errors;
};

Answer done(const QJsonObject &more, const QByteArray &body = {})
{
    QJsonObject fields = more;
    fields.insert(u"ok"_s, true);
    return {fields, body};
}

/// A directory of files and a clipboard, as the server has them.
struct Desk
{
    QMap<QString, QByteArray> files;
    QByteArray clipboard;
    QByteArray receiving;
    QString name;
    qint64 size = 0;

    Answer operator()(const Request &request)
    {
        const QString what = request.fields.value("request"_L1).toString();
        if (what == "clipboard.set"_L1) {
            receiving += request.body;
            if (!request.fields.value("more"_L1).toBool()) {
                clipboard = std::exchange(receiving, {});
            }
            return done({});
        }
        if (what == "clipboard.get"_L1) {
            return part(clipboard, request);
        }
        if (what == "file.put"_L1) {
            return put(request);
        }
        if (what == "file.get"_L1) {
            const QString wanted = request.fields.value("name"_L1).toString();
            return files.contains(wanted)
                       ? part(files.value(wanted), request)
                       : StandInSessionServer::refusal(u"not-found"_s, u"There is no such file."_s);
        }
        return what == "file.list"_L1 ? list(request) : done({});
    }

private:
    static Answer part(const QByteArray &all, const Request &request)
    {
        return done({{u"size"_s, all.size()}},
                    all.mid(request.fields.value("offset"_L1).toInteger(), 1024 * 1024));
    }

    Answer put(const Request &request)
    {
        if (request.fields.contains("name"_L1)) {
            name = request.fields.value("name"_L1).toString();
            size = request.fields.value("size"_L1).toInteger();
            receiving.clear();
            return done({{u"file"_s, 1}});
        }
        receiving += request.body;
        if (receiving.size() < size) {
            return done({{u"received"_s, receiving.size()}});
        }
        const QString stored = files.contains(name) ? name + u" (2)"_s : name;
        files.insert(stored, receiving);
        return done({{u"complete"_s, true}, {u"name"_s, stored}, {u"opened"_s, false}});
    }

    /// One file a page.
    Answer list(const Request &request)
    {
        const auto next = files.upperBound(request.fields.value("after"_L1).toString());
        if (next == files.end()) {
            return done({{u"files"_s, QJsonArray()}});
        }
        const QJsonObject file{
            {u"name"_s, next.key()}, {u"size"_s, next->size()}, {u"modified"_s, 0}};
        return done({{u"files"_s, QJsonArray{file}}, {u"more"_s, true}});
    }
};

} // namespace

class tst_QuillmoteHere : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void commandsBecomeRequests_data();
    void commandsBecomeRequests();
    void whatIsWrongIsSaidBeforeAnythingIsSent_data();
    void whatIsWrongIsSaidBeforeAnythingIsSent();
    void refusalsHaveTheirStatusAndWord_data();
    void refusalsHaveTheirStatusAndWord();
    void manyKeysAreSentAheadOfTheirAnswers();
    void longTextsGoInPieces();
    void theServerIsToldWhereToListen_data();
    void theServerIsToldWhereToListen();
    void infoShowsTheScreens();
    void theClipboardKeepsEveryByte();
    void aTextBeyondTheClipboardIsNotSent();
    void pastingPutsTheOldTextBack();
    void filesGoAndComeBackExactly();
    void gettingKeepsWhatIsThere();
    void aFileThatStopsHalfWayLeavesNothing();
    void aLargeFileNeedsLittleMemory();
    void filesAreListed();
    void whatHappensIsReported();
    void whatIsHeldIsReleased_data();
    void whatIsHeldIsReleased();
    void holdingIsShownToTheServer();
    void theRemoteSendsEveryKey();
    void theRemoteLeavesTheTerminalAsItWas();

    void theServerUsedLastStaysTheDefault();
    void aServerIsMeantByItsName_data();
    void aServerIsMeantByItsName();
    void discoverShowsItWithoutTheNetwork();
    void aDeadSocketIsNoServer();
    void aServerThatDoesNotGreetIsNotPassedOver();
    void aSocketOfSomebodyElseIsNotUsed();
    void commandsOfThisDesktopAreRefusedElsewhere_data();
    void commandsOfThisDesktopAreRefusedElsewhere();

private:
    void start(ChildProcess &program, const QStringList &arguments) const;
    Run finished(ChildProcess &program) const;
    Run run(const QStringList &arguments, const QByteArray &input = {}) const;
    QString path(const QString &name) const { return folder->filePath(name); }
    QByteArray lastServer() const
    {
        return Folders::fileBytes(path(u"quillmote/last-server.json"_s));
    }
    void rememberServer(const QString &name) const;

    std::unique_ptr<StandInSessionServer> server;
    std::unique_ptr<QTemporaryDir> folder; ///< the cache and the current folder of the program
};

void tst_QuillmoteHere::initTestCase()
{
    QVERIFY2(!qEnvironmentVariableIsEmpty("VORNA_QUILLMOTE"), "the program to test is not named");
}

void tst_QuillmoteHere::init()
{
    folder = std::make_unique<QTemporaryDir>();
    server = std::make_unique<StandInSessionServer>();
    QVERIFY2(server->isListening(), qPrintable(server->errorString()));
}

void tst_QuillmoteHere::cleanup()
{
    server.reset();
    folder.reset();
}

void tst_QuillmoteHere::start(ChildProcess &program, const QStringList &arguments) const
{
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_RUNTIME_DIR"_s, server->runtimeFolder());
    environment.insert(u"XDG_CACHE_HOME"_s, folder->path());
    program.setProcessEnvironment(environment);
    program.setWorkingDirectory(folder->path());
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"), arguments);
}

/// The server lives in this thread's event loop.
Run tst_QuillmoteHere::finished(ChildProcess &program) const
{
    Run run;
    const bool hasEnded = waitUntil([&] { return program.state() == QProcess::NotRunning; });
    if (hasEnded && program.exitStatus() == QProcess::NormalExit) {
        run.status = program.exitCode();
    }
    run.output = program.readAllStandardOutput();
    run.errors = program.readAllStandardError();
    return run;
}

Run tst_QuillmoteHere::run(const QStringList &arguments, const QByteArray &input) const
{
    ChildProcess program;
    start(program, arguments);
    program.write(input);
    program.closeWriteChannel();
    return finished(program);
}

void tst_QuillmoteHere::rememberServer(const QString &name) const
{
    QVERIFY(QDir(folder->path()).mkpath(u"quillmote"_s));
    QFile file(path(u"quillmote/last-server.json"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("{\"name\":\"" + name.toUtf8() + "\"}");
}

void tst_QuillmoteHere::commandsBecomeRequests_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("spoken");
    const auto row = [](const char *words, const QByteArray &spoken, const QByteArray &input = {}) {
        QTest::newRow(words) << input << spoken;
    };
    row("key Enter", R"({"key":"Enter","request":"key"})"
                     "\n");
    row("key ctrl+shift+T Left", R"({"key":"t","modifiers":["Control","Shift"],"request":"key"})"
                                 "\n"
                                 R"({"key":"ArrowLeft","request":"key"})"
                                 "\n");
    row("key A --repeat 2", R"({"key":"A","request":"key"})"
                            "\n"
                            R"({"key":"A","request":"key"})"
                            "\n");
    row("type a. \xe2\x82\xac\"", "{\"request\":\"text\",\"text\":\"a. \xe2\x82\xac\\\"\"}\n");
    row("type", "{\"request\":\"text\",\"text\":\"a\\n\\tb\"}\n", "a\n\tb\n");
    row("type --keep-newline", "{\"request\":\"text\",\"text\":\"a\\n\"}\n", "a\n");
    row("type --delay 1 a\xf0\x9f\x98\x80",
        "{\"request\":\"text\",\"text\":\"a\"}\n"
        "{\"request\":\"text\",\"text\":\"\xf0\x9f\x98\x80\"}\n");
    row("move 1.5 -2", R"({"dx":1.5,"dy":-2,"request":"move"})"
                       "\n");
    row("click", R"({"action":"click","button":"left","request":"button"})"
                 "\n");
    row("click double", R"({"action":"double","button":"left","request":"button"})"
                        "\n");
    row("click center", R"({"action":"click","button":"middle","request":"button"})"
                        "\n");
    row("click forward --repeat 2", R"({"action":"click","button":"forward","request":"button"})"
                                    "\n"
                                    R"({"action":"click","button":"forward","request":"button"})"
                                    "\n");
    row("scroll up", R"({"dx":0,"dy":-120,"request":"scroll"})"
                     "\n");
    row("scroll right 2.5", R"({"dx":300,"dy":0,"request":"scroll"})"
                            "\n");
    row("scroll -1 0.25", R"({"dx":-120,"dy":30,"request":"scroll"})"
                          "\n");
    row("scroll down 150", R"({"dx":0,"dy":9000,"request":"scroll"})"
                           "\n"
                           R"({"dx":0,"dy":9000,"request":"scroll"})"
                           "\n");
    row("drag 20 -10 --button right", R"({"action":"press","button":"right","request":"button"})"
                                      "\n"
                                      R"({"dx":10,"dy":-5,"request":"move"})"
                                      "\n"
                                      R"({"dx":10,"dy":-5,"request":"move"})"
                                      "\n"
                                      R"({"action":"release","button":"right","request":"button"})"
                                      "\n");
    row("open www.example.org", R"({"address":"https://www.example.org","request":"open"})"
                                "\n");
    row("open calculator", R"({"application":"calculator","request":"open"})"
                           "\n");
    row("open --application a.b", R"({"application":"a.b","request":"open"})"
                                  "\n");
    row("copy a\"b", R"({"body":3,"more":false,"request":"clipboard.set"})"
                     "\n");
}

void tst_QuillmoteHere::commandsBecomeRequests()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, spoken);
    const QStringList words = QString::fromUtf8(QTest::currentDataTag()).split(u' ');
    const Run run = this->run(words, input);
    QVERIFY2(run.status == 0, run.errors.constData());
    QCOMPARE(run.output, QByteArray());
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(server->spoken(), spoken);
    const Run json = this->run(words + QStringList{u"--json"_s}, input);
    QVERIFY2(QJsonDocument::fromJson(json.output).object().value("ok"_L1).toBool(),
             json.output.constData());
}

void tst_QuillmoteHere::whatIsWrongIsSaidBeforeAnythingIsSent_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QByteArray>("sentence");
    QTest::newRow("no key") << QStringList{u"key"_s, u"a"_s, u"Entre"_s}
                            << QByteArray("There is no key \"Entre\". Did you mean Enter?");
    QTest::newRow("no button to hold") << QStringList{u"hold"_s, u"a"_s, u"Entre"_s}
                                       << QByteArray("There is no key or button \"Entre\".");
    QTest::newRow("no click") << QStringList{u"click"_s, u"top"_s}
                              << QByteArray("There is no click \"top\"");
    QTest::newRow("no button") << QStringList{u"drag"_s, u"1"_s, u"1"_s, u"--button=top"_s}
                               << QByteArray("There is no button \"top\"");
    QTest::newRow("no distance") << QStringList{u"drag"_s, u"1"_s, u"x"_s}
                                 << QByteArray("drag takes two numbers");
    QTest::newRow("no direction") << QStringList{u"scroll"_s, u"sideways"_s}
                                  << QByteArray("scroll takes up, down");
    QTest::newRow("too many notches")
        << QStringList{u"scroll"_s, u"up"_s, u"10001"_s} << QByteArray("scroll takes up, down");
    QTest::newRow("no number") << QStringList{u"move"_s, u"1"_s, u"nan"_s}
                               << QByteArray("move takes two numbers");
    QTest::newRow("control character")
        << QStringList{u"type"_s, u"a\a"_s} << QByteArray("it holds the control character U+0007");
    QTest::newRow("no file") << QStringList{u"send"_s, u"/etc/hostname"_s, u"/nowhere"_s}
                             << QByteArray("/nowhere: no such file");
    QTest::newRow("a name with a slash")
        << QStringList{u"send"_s, u"/etc/hostname"_s, u"--as=a/b"_s}
        << QByteArray("it must have no slash");
    QTest::newRow("a name that leads out")
        << QStringList{u"get"_s, u"../a"_s} << QByteArray("it must have no slash");
    QTest::newRow("nothing to open")
        << QStringList{u"open"_s} << QByteArray("open takes an address");
}

void tst_QuillmoteHere::whatIsWrongIsSaidBeforeAnythingIsSent()
{
    QFETCH(QStringList, words);
    QFETCH(QByteArray, sentence);
    const Run run = this->run(words);
    QCOMPARE(run.status, 2);
    QVERIFY2(run.errors.contains(sentence), run.errors.constData());
    QCOMPARE(server->spoken(), QByteArray());
}

void tst_QuillmoteHere::refusalsHaveTheirStatusAndWord_data()
{
    QTest::addColumn<int>("status");
    for (const char *word : {"unknown-key", "bad-text", "bad-request"}) {
        QTest::newRow(word) << 2;
    }
    for (const char *word : {"refused", "unsupported", "not-found", "failed", "too-much"}) {
        QTest::newRow(word) << 1;
    }
}

void tst_QuillmoteHere::refusalsHaveTheirStatusAndWord()
{
    QFETCH(int, status);
    const QString word = QString::fromLatin1(QTest::currentDataTag());
    server->onRequest = [&](const Request &) {
        return StandInSessionServer::refusal(word, u"Not\u202e now."_s);
    };
    const Run run = this->run({u"key"_s, u"a"_s, u"--json"_s});
    QCOMPARE(run.status, status);
    QCOMPARE(run.output, QByteArray());
    QCOMPARE(QJsonDocument::fromJson(run.errors).object(),
             (QJsonObject{{u"error"_s, word}, {u"message"_s, u"Not\\u202e now."_s}}));
}

void tst_QuillmoteHere::manyKeysAreSentAheadOfTheirAnswers()
{
    int unanswered = 0;
    QByteArray received;
    server->onBytes = [&](QLocalSocket &peer) { received += peer.readAll(); };
    ChildProcess program;
    start(program, {u"key"_s, u"a"_s, u"--repeat"_s, u"1000"_s});
    QVERIFY(waitUntil([&] { return received.count('\n') == 16; }));
    server->onBytes = [&](QLocalSocket &peer) {
        received += peer.readAll();
        unanswered = 0;
    };
    int answered = 0;
    QVERIFY(waitUntil(
        [&] {
            for (; answered < received.count('\n'); ++answered) {
                server->socket->write("{\"id\":" + QByteArray::number(answered + 1) +
                                      ",\"ok\":true}\n");
            }
            return answered == 1000;
        },
        GenerousLimit, 0ms));
    QCOMPARE(finished(program).status, 0);
}

void tst_QuillmoteHere::longTextsGoInPieces()
{
    QString text;
    for (int number = 0; number < 20'000; ++number) {
        text += QString::number(number) + u"\U0001f600\n"_s;
    }
    text.chop(1);
    QCOMPARE(run({u"type"_s}, text.toUtf8() + '\n').status, 0);
    QString typed;
    for (const Request &request : server->requests) {
        const QString piece = request.fields.value("text"_L1).toString();
        QVERIFY(piece.size() <= 200);
        typed += piece;
    }
    QVERIFY(typed == text);
}

void tst_QuillmoteHere::theServerIsToldWhereToListen_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QByteArray>("spoken");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("nowhere else") << QStringList{u"listen"_s}
                                  << QByteArray(R"({"request":"listen"})")
                                  << QByteArray(R"({"address":"","listening":true,"port":4711})")
                                  << QByteArray("Listens at all addresses, port 4711\n");
    QTest::newRow("all") << QStringList{u"listen"_s, u"all"_s}
                         << QByteArray(R"({"address":"","request":"listen"})")
                         << QByteArray(R"({"address":"","listening":true,"port":4711})")
                         << QByteArray("Listens at all addresses, port 4711\n");
    QTest::newRow("here") << QStringList{u"listen"_s, u"127.0.0.1"_s}
                          << QByteArray(R"({"address":"127.0.0.1","request":"listen"})")
                          << QByteArray(R"({"address":"127.0.0.1","listening":true,"port":4711})")
                          << QByteArray("Listens at 127.0.0.1, port 4711\n");
    QTest::newRow("not started") << QStringList{u"listen"_s}
                                 << QByteArray(R"({"request":"listen"})")
                                 << QByteArray(
                                        R"({"address":"192.0.2.1","listening":false,"port":0})")
                                 << QByteArray("Does not listen: the setting is \"192.0.2.1\"\n");
}

void tst_QuillmoteHere::theServerIsToldWhereToListen()
{
    QFETCH(QStringList, words);
    QFETCH(QByteArray, spoken);
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, line);
    const QJsonObject fields = QJsonDocument::fromJson(answer).object();
    server->onRequest = [&](const Request &) { return done(fields); };
    const Run plain = run(words);
    QVERIFY2(plain.status == 0, plain.errors.constData());
    QCOMPARE(plain.output, line);
    QCOMPARE(server->spoken(), spoken + '\n');
    const Run json = run(words + QStringList{u"--json"_s});
    QCOMPARE(QJsonDocument::fromJson(json.output).object(), fields);
}

void tst_QuillmoteHere::infoShowsTheScreens()
{
    const QJsonArray screens = {QJsonObject{{u"name"_s, u"DP-1"_s},
                                            {u"x"_s, 0},
                                            {u"y"_s, 0},
                                            {u"width"_s, 1920},
                                            {u"height"_s, 1080},
                                            {u"scale"_s, 1}},
                                QJsonObject{{u"name"_s, u"a\nb"_s},
                                            {u"x"_s, 1920},
                                            {u"y"_s, -200},
                                            {u"width"_s, 1280},
                                            {u"height"_s, 800},
                                            {u"scale"_s, 1.5}}};
    server->onRequest = [&](const Request &) { return done({{u"screens"_s, screens}}); };
    QCOMPARE(run({u"info"_s}).output,
             QByteArray("den: 3200 x 1280 pixels, VornaServer 1.0, port 49152\n"
                        "DP-1: 1920 x 1080 pixels at 0, 0, scale 1\n"
                        "a\\nb: 1280 x 800 pixels at 1920, -200, scale 1.5\n"));
    const QJsonObject json = QJsonDocument::fromJson(run({u"info"_s, u"--json"_s}).output).object();
    QCOMPARE(json.value("screens"_L1).toArray(), screens);
    QCOMPARE(json.value("width"_L1).toInt(), 3200);
    QCOMPARE(json.value("port"_L1).toInt(), 49152);
    QVERIFY(lastServer().contains("den"));
}

void tst_QuillmoteHere::theClipboardKeepsEveryByte()
{
    Desk desk;
    server->onRequest = [&](const Request &request) { return desk(request); };
    QByteArray text = "a\r\n\"\t\xef\xbb\xbf\xc2\x9b\xf0\x9f\x98\x80";
    text = text.repeated(16 * 1024 * 1024 / text.size());
    text += QByteArray(16 * 1024 * 1024 - text.size(), 'x');
    QCOMPARE(run({u"copy"_s}, text + '\n').status, 0);
    QVERIFY(desk.clipboard == text);
    const Run pasted = run({u"paste"_s});
    QCOMPARE(pasted.status, 0);
    QVERIFY(pasted.output == text);
    QCOMPARE(run({u"copy"_s, u"--keep-newline"_s}, "a\n").status, 0);
    QCOMPARE(desk.clipboard, QByteArray("a\n"));
    QCOMPARE(run({u"copy"_s, QString()}).status, 0);
    QCOMPARE(desk.clipboard, QByteArray());
    QCOMPARE(run({u"paste"_s}).output, QByteArray());
}

void tst_QuillmoteHere::aTextBeyondTheClipboardIsNotSent()
{
    const Run tooLong = run({u"copy"_s}, QByteArray(16 * 1024 * 1024 + 1, 'x'));
    QCOMPARE(tooLong.status, 2);
    QVERIFY(tooLong.errors.contains("longer than 16 MiB"));
    const Run broken = run({u"copy"_s}, "a\xff");
    QCOMPARE(broken.status, 2);
    QVERIFY(broken.errors.contains("not UTF-8"));
    QCOMPARE(server->spoken(), QByteArray());
}

void tst_QuillmoteHere::pastingPutsTheOldTextBack()
{
    Desk desk;
    desk.clipboard = "mine";
    server->onRequest = [&](const Request &request) { return desk(request); };
    QCOMPARE(run({u"type"_s, u"--paste"_s, u"--restore"_s, u"--paste-wait=1"_s, u"a b"_s}).status,
             0);
    QCOMPARE(desk.clipboard, QByteArray("mine"));
    QCOMPARE(server->requests.size(), size_t(4));
    QCOMPARE(server->requests[1].body, QByteArray("a b"));
    QCOMPARE(QJsonDocument(server->requests[2].fields).toJson(QJsonDocument::Compact),
             QByteArray(R"({"key":"v","modifiers":["Control"],"request":"key"})"));
}

void tst_QuillmoteHere::filesGoAndComeBackExactly()
{
    Desk desk;
    server->onRequest = [&](const Request &request) { return desk(request); };
    QByteArray content(3'000'001, '\0');
    for (qsizetype place = 0; place < content.size(); ++place) {
        content[place] = static_cast<char>(place * 31 + place / 257);
    }
    const QString name = u"a b \u20ac.png"_s;
    QFile file(path(name));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    file.close();
    const Run sent = run({u"send"_s, name});
    QCOMPARE(sent.status, 0);
    QCOMPARE(sent.output, QByteArray("a b \xe2\x82\xac.png: sent\n"));
    QCOMPARE(sent.errors, QByteArray("note: a b \xe2\x82\xac.png could not be opened there.\n"));
    QVERIFY(desk.files.value(name) == content);
    const QJsonObject again =
        QJsonDocument::fromJson(run({u"send"_s, name, u"--no-open"_s, u"--json"_s}).output)
            .object();
    QCOMPARE(again, (QJsonObject{{u"file"_s, name},
                                 {u"storedAs"_s, QString(name + u" (2)"_s)},
                                 {u"bytes"_s, content.size()},
                                 {u"opened"_s, false}}));
    QVERIFY(!server->requests.front().fields.value("opened"_L1).toBool());
    QCOMPARE(run({u"get"_s, name, u"--output"_s, u"back"_s}).status, 0);
    QVERIFY(Folders::fileBytes(path(u"back"_s)) == content);
    QVERIFY(run({u"get"_s, name, u"-o"_s, u"-"_s}).output == content);
}

void tst_QuillmoteHere::gettingKeepsWhatIsThere()
{
    Desk desk;
    desk.files = {{u"a"_s, "new"}, {u"b"_s, "other"}, {u"empty"_s, ""}};
    server->onRequest = [&](const Request &request) { return desk(request); };
    QFile mine(path(u"b"_s));
    QVERIFY(mine.open(QIODevice::WriteOnly) && mine.write("mine") == 4);
    mine.close();
    const Run refused = run({u"get"_s, u"a"_s, u"b"_s});
    QCOMPARE(refused.status, 2);
    QVERIFY2(refused.errors.contains("./b exists; --force replaces it."),
             refused.errors.constData());
    QCOMPARE(Folders::fileBytes(path(u"b"_s)), QByteArray("mine"));
    QVERIFY(!QFile::exists(path(u"a"_s)));
    const Run forced = run({u"get"_s, u"a"_s, u"b"_s, u"empty"_s, u"--force"_s});
    QCOMPARE(forced.status, 0);
    QCOMPARE(forced.output,
             QByteArray("a: saved as ./a\nb: saved as ./b\nempty: saved as ./empty\n"));
    QCOMPARE(Folders::fileBytes(path(u"b"_s)), QByteArray("other"));
    QVERIFY(QFile::exists(path(u"empty"_s)));
    const Run absent = run({u"get"_s, u"c"_s});
    QCOMPARE(absent.status, 1);
    QCOMPARE(QDir(folder->path()).entryList(QDir::Files | QDir::Hidden),
             (QStringList{u"a"_s, u"b"_s, u"empty"_s}));
}

void tst_QuillmoteHere::aFileThatStopsHalfWayLeavesNothing()
{
    Desk desk;
    desk.files = {{u"a"_s, QByteArray(5'000'000, 'x')}};
    ChildProcess program;
    server->onRequest = [&](const Request &request) {
        if (request.fields.value("offset"_L1).toInteger() >= 2 * 1024 * 1024) {
            kill(static_cast<pid_t>(program.processId()), SIGTERM);
        }
        return desk(request);
    };
    start(program, {u"get"_s, u"a"_s});
    QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; }));
    QVERIFY(QDir(folder->path()).entryList(QDir::Files | QDir::Hidden).isEmpty());
    server->onRequest = [&](const Request &request) {
        const Answer answer = desk(request);
        return Answer{answer.fields,
                      answer.body.first(std::min<qsizetype>(10, answer.body.size()))};
    };
    const Run shorter = run({u"get"_s, u"a"_s});
    QVERIFY2(shorter.errors.contains("has become shorter"), shorter.errors.constData());
    QVERIFY(QDir(folder->path()).entryList(QDir::Files | QDir::Hidden).isEmpty());
}

/// The kernel's limit of all memory would not do with the sanitizer, so that its own count is
/// taken.
void tst_QuillmoteHere::aLargeFileNeedsLittleMemory()
{
    constexpr qint64 size = qint64(200) * 1024 * 1024;
    QFile file(path(u"large"_s));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(size));
    file.close();
    qint64 received = 0;
    qint64 most = 0;
    ChildProcess program;
    server->onRequest = [&](const Request &request) {
        received += request.body.size();
        if (request.body.size() > 0 && server->requests.size() % 64 == 0) {
            const QByteArray status =
                Folders::fileBytes(u"/proc/%1/status"_s.arg(program.processId()));
            const QByteArray line = status.mid(status.indexOf("VmHWM:") + 6).trimmed();
            most = std::max(most, line.left(line.indexOf(' ')).toLongLong());
        }
        server->requests.back().body.clear();
        return request.fields.contains("size"_L1) ? done({{u"file"_s, 1}})
               : received < size                  ? done({{u"received"_s, received}})
                                 : done({{u"complete"_s, true}, {u"name"_s, u"l"_s}});
    };
    start(program, {u"send"_s, u"large"_s, u"--no-open"_s});
    QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; }, 60s));
    QCOMPARE(program.exitCode(), 0);
    QCOMPARE(received, size);
    qInfo("%lld KiB at most", static_cast<long long>(most));
    QVERIFY2(most > 0 && most < size / 1024, QByteArray::number(most).constData());
}

void tst_QuillmoteHere::filesAreListed()
{
    Desk desk;
    desk.files = {{u"a\tb"_s, "xx"}, {u"\u00e9"_s, ""}};
    server->onRequest = [&](const Request &request) { return desk(request); };
    qputenv("TZ", "UTC");
    QCOMPARE(run({u"get"_s}).output,
             QByteArray("a\\tb\t2\t1970-01-01 00:00\n\xc3\xa9\t0\t1970-01-01 00:00\n"));
    QCOMPARE(QJsonDocument::fromJson(run({u"get"_s, u"--json"_s}).output).array()[1].toObject(),
             (QJsonObject{{u"name"_s, u"\u00e9"_s},
                          {u"size"_s, 0},
                          {u"modified"_s, u"1970-01-01T00:00:00.000Z"_s}}));
}

void tst_QuillmoteHere::whatHappensIsReported()
{
    ChildProcess program;
    start(program, {u"watch"_s});
    QVERIFY(waitUntil([&] { return server->requests.size() == 2; }));
    QCOMPARE(server->spoken(), QByteArray("{\"request\":\"clipboard.watch\"}\n"
                                          "{\"request\":\"watch\"}\n"));
    server->socket->write(
        "{\"event\":\"clipboard\"}\n{\"event\":\"screens\",\"screens\":[{\"name\":"
        "\"D\",\"x\":0,\"y\":0,\"width\":8,\"height\":6,\"scale\":2}]}\n");
    QByteArray output;
    QVERIFY(waitUntil([&] {
        output += program.readAllStandardOutput();
        return output == "clipboard\nscreens\tD: 8 x 6 pixels at 0, 0, scale 2\n";
    }));
    server->socket->write("{\"event\":\"goodbye\",\"message\":\"Bye.\"}\n");
    const Run end = finished(program);
    QCOMPARE(end.status, 3);
    QVERIFY(end.errors.contains("Bye."));
    QCOMPARE(run({u"watch"_s, u"--timeout=0.2"_s}).status, 0);
}

void tst_QuillmoteHere::whatIsHeldIsReleased_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("signal");
    QTest::newRow("in time") << QStringList{u"--for=0.05"_s} << 0;
    QTest::newRow("Ctrl+C") << QStringList{} << SIGINT;
    QTest::newRow("termination") << QStringList{u"--for=100"_s} << SIGTERM;
}

void tst_QuillmoteHere::whatIsHeldIsReleased()
{
    QFETCH(QStringList, words);
    QFETCH(int, signal);
    ChildProcess program;
    start(program, QStringList{u"hold"_s, u"Ctrl+a"_s, u"left"_s} + words);
    QVERIFY(waitUntil([&] { return server->requests.size() >= 3; }));
    if (signal != 0) {
        // Only when the answers have come is it holding.
        QVERIFY(waitUntil([&] { return server->socket && server->socket->bytesToWrite() == 0; }));
        kill(static_cast<pid_t>(program.processId()), signal);
    }
    QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; }));
    QCOMPARE(program.exitCode(), signal);
    QCOMPARE(server->spoken(), QByteArray(R"({"action":"press","key":"Control","request":"key"}
{"action":"press","key":"a","request":"key"}
{"action":"press","button":"left","request":"button"}
{"action":"release","button":"left","request":"button"}
{"action":"release","key":"a","request":"key"}
{"action":"release","key":"Control","request":"key"}
)"));
}

/// The server releases what a client holds that is silent for ten seconds.
void tst_QuillmoteHere::holdingIsShownToTheServer()
{
    ChildProcess program;
    start(program, {u"hold"_s, u"a"_s});
    QElapsedTimer timer;
    timer.start();
    QVERIFY(waitUntil([&] { return server->spoken().count("ping") == 2; }));
    QVERIFY(timer.elapsed() < 9'000);
    // It releases the key, for which it needs this thread.
    program.terminate();
    QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; }));
    QCOMPARE(program.exitCode(), SIGTERM);
}

void tst_QuillmoteHere::theRemoteSendsEveryKey()
{
    PseudoTerminal terminal;
    ChildProcess program;
    program.setLastPreparation(terminal.asStandardStreams());
    start(program, {u"remote"_s});
    QVERIFY(waitUntil([&] { return terminal.text().contains("ready"); }));
    const auto says = [&](const QByteArray &keys, const QByteArray &request) {
        server->requests.clear();
        terminal.type(keys);
        return waitUntil([&] { return server->spoken() == request + '\n'; });
    };
    QVERIFY2(says("\r", R"({"key":"Enter","request":"key"})"), server->spoken().constData());
    QVERIFY2(says("\x1b", R"({"key":"Escape","request":"key"})"), server->spoken().constData());
    QVERIFY2(says("\x1b[1;5C", R"({"key":"ArrowRight","modifiers":["Control"],"request":"key"})"),
             server->spoken().constData());
    QVERIFY2(says("\xf0\x9f\x98\x80", "{\"request\":\"text\",\"text\":\"\xf0\x9f\x98\x80\"}"),
             server->spoken().constData());
    QVERIFY2(says("\x1b[200~a\rb\x1b[201~", R"({"request":"text","text":"a\rb"})"),
             server->spoken().constData());
    QVERIFY2(says("\x1b[<64;1;1M", R"({"dx":0,"dy":-120,"request":"scroll"})"),
             server->spoken().constData());
    QVERIFY2(says("\x1b[<0;1;1M", R"({"action":"press","button":"left","request":"button"})"),
             server->spoken().constData());
    QVERIFY2(says("\x1b[<35;1;1M\x1b[<35;3;2M", R"({"dx":16,"dy":16,"request":"move"})"),
             server->spoken().constData());
    QVERIFY2(says("\x1c\x1b[A", R"({"dx":0,"dy":-10,"request":"move"})"),
             server->spoken().constData());
    QVERIFY2(says("\r", R"({"action":"click","button":"left","request":"button"})"),
             server->spoken().constData());
    QVERIFY2(says("\x1c\x1b[A", R"({"key":"ArrowUp","request":"key"})"),
             server->spoken().constData());
    terminal.type("\x1d");
    QCOMPARE(finished(program).status, 0);
}

void tst_QuillmoteHere::theRemoteLeavesTheTerminalAsItWas()
{
    for (const int signal : {0, SIGTERM}) {
        PseudoTerminal terminal;
        ChildProcess program;
        program.setLastPreparation(terminal.asStandardStreams());
        start(program, {u"remote"_s});
        QVERIFY(waitUntil([&] { return terminal.text().contains("ready"); }));
        if (signal == 0) {
            terminal.type("\x1d");
        } else {
            kill(static_cast<pid_t>(program.processId()), signal);
        }
        QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; }));
        const QByteArray text = terminal.text();
        QVERIFY(text.contains("\x1b[?2004h\x1b[>4;1m\x1b[>1u"));
        QVERIFY(text.endsWith("\x1b[<u\x1b[>4m\x1b[?2004l\x1b[?1006l\x1b[?1003l\x1b[?1049l"));
    }
}

void tst_QuillmoteHere::theServerUsedLastStaysTheDefault()
{
    rememberServer(u"attic"_s);
    const Run run = this->run({u"key"_s, u"a"_s});
    QCOMPARE(run.status, 3);
    QVERIFY2(run.errors.contains("--local uses the server of this desktop."),
             run.errors.constData());
    QCOMPARE(server->spoken(), QByteArray());
    QCOMPARE(this->run({u"key"_s, u"a"_s, u"--local"_s}).status, 0);
    QVERIFY(lastServer().contains("den"));
    QCOMPARE(this->run({u"key"_s, u"a"_s}).status, 0);
    QCOMPARE(server->requests.size(), size_t(2));
}

void tst_QuillmoteHere::aServerIsMeantByItsName_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("status");
    QTest::newRow("its name") << QStringList{u"--server=den"_s} << 0;
    QTest::newRow("in other letters") << QStringList{u"--server=DEN"_s} << 0;
    QTest::newRow("another") << QStringList{u"--server=attic"_s} << 3;
}

void tst_QuillmoteHere::aServerIsMeantByItsName()
{
    QFETCH(QStringList, words);
    rememberServer(u"attic"_s);
    QTEST(run(QStringList{u"key"_s, u"a"_s} + words).status, "status");
    QCOMPARE(server->requests.size(), size_t(QTest::currentDataTag() != QByteArray("another")));
}

void tst_QuillmoteHere::discoverShowsItWithoutTheNetwork()
{
    const Run run = this->run({u"discover"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.output, QByteArray("den\t127.0.0.1\t49152\tthis desktop\n"));
    QVERIFY(run.errors.contains("Other computers are not listed."));
    QCOMPARE(this->run({u"discover"_s, u"--local"_s}).errors, QByteArray());
    const QJsonObject json = QJsonDocument::fromJson(this->run({u"discover"_s, u"--json"_s}).output)
                                 .array()[0]
                                 .toObject();
    QVERIFY(json.value("local"_L1).toBool());
    QCOMPARE(json.value("port"_L1).toInt(), 49152);
    server->close();
    QCOMPARE(this->run({u"discover"_s}).status, 3);
}

/// As a server leaves it that was killed.
void tst_QuillmoteHere::aDeadSocketIsNoServer()
{
    const QString socket = server->path();
    server->close();
    {
        QLocalServer killed;
        QVERIFY(killed.listen(socket + u".new"_s));
        QVERIFY(QFile::link(socket + u".new"_s, socket) ||
                ::link(QFile::encodeName(socket + u".new"_s).constData(),
                       QFile::encodeName(socket).constData()) == 0);
    }
    const Run run = this->run({u"key"_s, u"a"_s, u"--local"_s});
    QCOMPARE(run.status, 3);
    QVERIFY2(run.errors.contains("is VornaServer running here?"), run.errors.constData());
    // Without a server here the network is asked as ever.
    QVERIFY(this->run({u"key"_s, u"a"_s}).errors.contains("--host and --port"));
}

void tst_QuillmoteHere::aServerThatDoesNotGreetIsNotPassedOver()
{
    server->greeting.clear();
    const Run run = this->run({u"key"_s, u"a"_s, u"--timeout=0.3"_s});
    QCOMPARE(run.status, 3);
    QVERIFY2(run.errors.contains("The server of this desktop cannot be reached"),
             run.errors.constData());
}

void tst_QuillmoteHere::aSocketOfSomebodyElseIsNotUsed()
{
    const QString socketFolder = server->runtimeFolder() + u"/vornaserver"_s;
    QVERIFY(QFile::setPermissions(socketFolder, QFile::ReadOwner | QFile::WriteOwner |
                                                    QFile::ExeOwner | QFile::WriteOther));
    const Run open = run({u"key"_s, u"a"_s, u"--local"_s});
    QCOMPARE(open.status, 3);
    QVERIFY2(open.errors.contains("its socket belongs to another user"), open.errors.constData());
    QCOMPARE(server->spoken(), QByteArray());
}

void tst_QuillmoteHere::commandsOfThisDesktopAreRefusedElsewhere_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QByteArray>("sentence");
    const QByteArray unable = "only the server of this desktop can";
    for (const char *words :
         {"scroll down", "drag 1 1", "hold a", "get", "get a", "watch", "listen", "listen all",
          "open --list", "open --application a", "key Enter", "key super+a"}) {
        QTest::newRow(words) << QString::fromLatin1(words).split(u' ') << unable;
    }
    QTest::newRow("fractions") << QStringList{u"move"_s, u"1.5"_s, u"0"_s}
                               << QByteArray("The network has no fractions of pixels");
    QTest::newRow("no-open") << QStringList{u"send"_s, u"/etc/hostname"_s, u"--no-open"_s}
                             << QByteArray("Over the network the server opens each file");
    QTest::newRow("back") << QStringList{u"click"_s, u"back"_s}
                          << QByteArray("it is left, right, center or double");
}

void tst_QuillmoteHere::commandsOfThisDesktopAreRefusedElsewhere()
{
    QFETCH(QStringList, words);
    QFETCH(QByteArray, sentence);
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::LocalHost));
    const Run run = this->run(
        words + QStringList{u"--host=127.0.0.1"_s, u"--port=%1"_s.arg(other.serverPort())});
    QCOMPARE(run.status, 2);
    QVERIFY2(run.errors.contains(sentence), run.errors.constData());
    QCOMPARE(server->spoken(), QByteArray());
    QVERIFY(!other.hasPendingConnections());
}

QTEST_GUILESS_MAIN(tst_QuillmoteHere)
#include "tst_QuillmoteHere.moc"
