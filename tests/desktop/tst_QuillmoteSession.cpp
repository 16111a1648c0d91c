// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What the program quillmote does on its own desktop, by the session socket of the real server, as
// other programs of that desktop see it.

#include "support/Folders.h"
#include "support/process/ChildProcess.h"
#include "support/process/PseudoTerminal.h"
#include "support/session/ClipboardOwner.h"
#include "support/session/ControlsProgram.h"
#include "support/session/RecordingOpener.h"
#include "support/session/ServerScene.h"
#include "support/x11/InputWatcher.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <csignal>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

struct Run
{
    int status = -1; // -1: crashed, or not ended in time
    QByteArray output;
    QByteArray errors;
};

/// Characters of all planes, none of them a control character.
QString everyPlane(qsizetype bytes)
{
    QString text;
    qsizetype size = 0;
    for (char32_t character = 0x20; size < bytes; character = character * 5 + 7) {
        const char32_t code = character % 0x110000;
        const auto category = QChar::category(code);
        const bool isFit = category != QChar::Other_Control && category != QChar::Other_Surrogate &&
                           code % 0x10000 < 0xfffe;
        const QString piece = isFit ? QString::fromUcs4(&code, 1) : u"\n"_s;
        size += piece.toUtf8().size();
        if (size <= bytes) {
            text += piece;
        }
    }
    return text;
}

/// What reached the display: m for moves, P and R for presses and releases of buttons.
QString kinds(InputWatcher &watcher)
{
    QString all;
    for (const RawInput &input : watcher.raw()) {
        using Kind = RawInput::Kind;
        all += input.kind == Kind::Motion          ? u"m"_s
               : input.kind == Kind::ButtonPress   ? u"P"_s
               : input.kind == Kind::ButtonRelease ? u"R"_s
                                                   : u""_s;
    }
    return all;
}

} // namespace

class tst_QuillmoteSession : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void anyTextIsTyped_data();
    void anyTextIsTyped();
    void keysHaveTheirNames();
    void theWheelTurns();
    void aDragIsMadeOfSteps();
    void nothingStaysDown_data();
    void nothingStaysDown();
    void theClipboardKeepsEveryCharacter();
    void filesArriveAsTheyAre();
    void aKilledTransferLeavesNothing();
    void changesAreReported();
    void theRemoteIsAKeyboardAndAMouse();
    void theServerIsFoundWithoutAvahi();
    void eachDisplayHasItsOwnServer();
    void anotherUserCannotReachIt();
    void theServerIsClosedToTheNetworkAndOpened();
    void aKeyTakesLittleTime();

private:
    QProcessEnvironment environment() const { return scene->session().environment(); }
    Run run(
        const QStringList &arguments, const QByteArray &input = {},
        std::function<void()> lastPreparation = [] {}) const;
    Run run(const QStringList &arguments, const QByteArray &input,
            const QProcessEnvironment &wanted, std::function<void()> lastPreparation) const;
    void start(ChildProcess &program, const QStringList &arguments) const;
    QString downloads() const { return scene->session().path(u"downloads"_s); }

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<RecordingOpener> opener;
};

void tst_QuillmoteSession::initTestCase()
{
    QVERIFY2(!qEnvironmentVariableIsEmpty("VORNA_QUILLMOTE"), "the program to test is not named");
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    opener = std::make_unique<RecordingOpener>(scene->session());
    QVERIFY(QDir().mkpath(downloads()));
    scene->storeSetting(u"downloadDirectory"_s, downloads());
    QVERIFY(scene->start());
}

void tst_QuillmoteSession::cleanup()
{
    QVERIFY(scene->waitUntilNothingIsHeld());
    QCOMPARE(scene->problemSoFar(), QByteArray());
}

void tst_QuillmoteSession::cleanupTestCase()
{
    if (scene) {
        QCOMPARE(scene->problemAtEnd(), QByteArray());
    }
}

void tst_QuillmoteSession::start(ChildProcess &program, const QStringList &arguments) const
{
    program.setProcessEnvironment(environment());
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"), arguments);
}

Run tst_QuillmoteSession::run(const QStringList &arguments, const QByteArray &input,
                              std::function<void()> lastPreparation) const
{
    return run(arguments, input, environment(), std::move(lastPreparation));
}

Run tst_QuillmoteSession::run(const QStringList &arguments, const QByteArray &input,
                              const QProcessEnvironment &wanted,
                              std::function<void()> lastPreparation) const
{
    ChildProcess program;
    program.setLastPreparation(std::move(lastPreparation));
    program.setProcessEnvironment(wanted);
    program.setWorkingDirectory(scene->session().home());
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"), arguments);
    program.write(input);
    program.closeWriteChannel();
    Run run;
    if (program.waitForFinished(120'000) && program.exitStatus() == QProcess::NormalExit) {
        run.status = program.exitCode();
    }
    run.output = program.readAllStandardOutput();
    run.errors = program.readAllStandardError();
    return run;
}

void tst_QuillmoteSession::anyTextIsTyped_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("a sentence") << u"See you at 8:30, \"Ada\". <1> {2} ~`^\\|"_s;
    QTest::newRow("lines") << u"one\ntwo\n\nfour"_s;
    QTest::newRow("other alphabets")
        << u"Gr\u00fc\u00dfe \u0416\u0437 \u03b1\u03b2 \u05d0 \u4f60"_s;
    QTest::newRow("emoji") << u"\U0001f600 \u20ac 5"_s;
    QTest::newRow("long") << u"The quick brown fox. "_s.repeated(40);
}

void tst_QuillmoteSession::anyTextIsTyped()
{
    QFETCH(QString, text);
    const ControlsProgram program(ControlsProgram::Kind::Qt, scene->session());
    QVERIFY(program.isReady());
    const Run run = this->run({u"type"_s}, text.toUtf8() + '\n');
    QVERIFY2(run.status == 0, run.errors.constData());
    QVERIFY2(waitUntil([&] { return program.text() == text; }), qPrintable(program.text()));
}

void tst_QuillmoteSession::keysHaveTheirNames()
{
    const ControlsProgram program(ControlsProgram::Kind::Qt, scene->session());
    QVERIFY(program.isReady());
    QCOMPARE(run({u"key"_s, u"a"_s, u"B"_s, u"period"_s, u"Return"_s, u"c"_s, u"Left"_s, u"x"_s,
                  u"End"_s, u"BackSpace"_s, u"EuroSign"_s})
                 .status,
             0);
    QVERIFY2(waitUntil([&] { return program.text() == u"aB.\nx\u20ac"_s; }),
             qPrintable(program.text()));
    QCOMPARE(run({u"key"_s, u"ctrl+a"_s, u"Delete"_s, u"z"_s, u"--repeat=2"_s}).status, 0);
    QVERIFY2(waitUntil([&] { return program.text() == u"z"_s; }), qPrintable(program.text()));
    QCOMPARE(run({u"key"_s, u"Cmd+Z"_s}).status, 0);
    QVERIFY2(waitUntil([&] { return program.text().isEmpty(); }), qPrintable(program.text()));
}

void tst_QuillmoteSession::theWheelTurns()
{
    const ControlsProgram program(ControlsProgram::Kind::Qt, scene->session());
    QVERIFY(program.isReady());
    QVERIFY(scene->user().moveTo(program.middleOfList()));
    QCOMPARE(run({u"scroll"_s, u"down"_s, u"3"_s}).status, 0);
    QVERIFY(waitUntil([&] { return program.listPosition() > 0; }));
    QCOMPARE(run({u"scroll"_s, u"0"_s, u"-3"_s}).status, 0);
    QVERIFY(waitUntil([&] { return program.listPosition() == 0; }));
}

/// Programs take a jump for no drag at all.
void tst_QuillmoteSession::aDragIsMadeOfSteps()
{
    InputWatcher watcher(scene->session().display(), {0, 0, 600, 400});
    QVERIFY(scene->user().moveTo({100, 100}));
    QCOMPARE(run({u"move"_s, u"0.5"_s, u"0"_s}).status, 0);
    watcher.clear();
    QCOMPARE(run({u"drag"_s, u"200"_s, u"-30"_s, u"--button=right"_s}).status, 0);
    watcher.sync();
    QCOMPARE(watcher.pointerPosition(), QPoint(300, 70));
    QCOMPARE(kinds(watcher).remove(u'm'), u"PR"_s);
    QVERIFY2(kinds(watcher).contains(u'P' + u"m"_s.repeated(15)), qPrintable(kinds(watcher)));
    QCOMPARE(watcher.buttons().front().button, 3);
    QCOMPARE(watcher.buttons().front().position, QPoint(100, 100));
    QCOMPARE(watcher.buttons().back().position, QPoint(300, 70));
}

void tst_QuillmoteSession::nothingStaysDown_data()
{
    QTest::addColumn<int>("signal"); // 0: in time
    QTest::newRow("in time") << 0;
    QTest::newRow("Ctrl+C") << SIGINT;
    QTest::newRow("termination") << SIGTERM;
    QTest::newRow("kill") << SIGKILL;
}

void tst_QuillmoteSession::nothingStaysDown()
{
    QFETCH(int, signal);
    InputWatcher watcher(scene->session().display());
    ChildProcess program;
    start(program, {u"hold"_s, u"Shift"_s, u"w"_s, u"middle"_s,
                    signal == 0 ? u"--for=0.3"_s : u"--for=100"_s});
    QVERIFY(waitUntil(
        [&] { return watcher.keysDown().size() == 2 && (watcher.pointerMask() & 0x200) != 0; }));
    if (signal != 0) {
        kill(static_cast<pid_t>(program.processId()), signal);
    }
    QVERIFY(waitUntil([&] { return watcher.isNothingDown(); }, 5s));
    QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; }));
    QCOMPARE(program.exitCode(), signal);
}

void tst_QuillmoteSession::theClipboardKeepsEveryCharacter()
{
    QByteArray text = everyPlane(16 * 1024 * 1024).toUtf8();
    text += QByteArray(16 * 1024 * 1024 - text.size(), 'x');
    const Run copied = run({u"copy"_s}, text + '\n');
    QVERIFY2(copied.status == 0, copied.errors.constData());
    const auto seen = ClipboardOwner::read(scene->session());
    QVERIFY(seen == text);
    const Run pasted = run({u"paste"_s});
    QVERIFY2(pasted.status == 0, pasted.errors.constData());
    QVERIFY(pasted.output == text);
    const ClipboardOwner owner(scene->session(), "mine\r\n\xe2\x82\xac\n");
    QVERIFY(owner.isServing());
    QCOMPARE(run({u"paste"_s}).output, QByteArray("mine\r\n\xe2\x82\xac\n"));
}

void tst_QuillmoteSession::filesArriveAsTheyAre()
{
    QByteArray content(2'500'000, '\0');
    for (qsizetype place = 0; place < content.size(); ++place) {
        content[place] = static_cast<char>(place * 13 + place / 251);
    }
    const QString home = scene->session().home();
    QVERIFY(Folders::write(home + u"/a b \u20ac.txt"_s, content));
    QVERIFY(Folders::write(home + u"/empty.txt"_s, {}));
    opener->clear();
    const Run sent = run({u"send"_s, u"a b \u20ac.txt"_s, u"empty.txt"_s});
    QVERIFY2(sent.status == 0, sent.errors.constData());
    QCOMPARE(sent.output, QByteArray("a b \xe2\x82\xac.txt: sent\nempty.txt: sent\n"));
    QVERIFY(Folders::fileBytes(downloads() + u"/a b \u20ac.txt"_s) == content);
    QVERIFY(QFileInfo(downloads() + u"/empty.txt"_s).isFile());
    QVERIFY(waitUntil([&] { return opener->opened().size() == 2; }));
    const Run again = run({u"send"_s, u"a b \u20ac.txt"_s, u"--no-open"_s});
    QCOMPARE(again.output, QByteArray("a b \xe2\x82\xac.txt: sent as a b \xe2\x82\xac (2).txt\n"));
    QVERIFY(Folders::fileBytes(downloads() + u"/a b \u20ac (2).txt"_s) == content);
    const Run listed = run({u"get"_s, u"--json"_s});
    QStringList names;
    for (const auto &file : QJsonDocument::fromJson(listed.output).array()) {
        names += file[u"name"_s].toString();
    }
    QCOMPARE(names, (QStringList{u"a b \u20ac (2).txt"_s, u"a b \u20ac.txt"_s, u"empty.txt"_s}));
    QCOMPARE(run({u"get"_s, u"a b \u20ac (2).txt"_s, u"empty.txt"_s, u"-o"_s, u"."_s}).status, 2);
    QVERIFY(QFile::remove(home + u"/empty.txt"_s));
    const Run got = run({u"get"_s, u"a b \u20ac (2).txt"_s, u"empty.txt"_s});
    QVERIFY2(got.status == 0, got.errors.constData());
    QVERIFY(Folders::fileBytes(home + u"/a b \u20ac (2).txt"_s) == content);
    QVERIFY(QFileInfo(home + u"/empty.txt"_s).isFile());
    QCOMPARE(opener->opened().size(), 2);
}

void tst_QuillmoteSession::aKilledTransferLeavesNothing()
{
    const auto before = Folders::listing(downloads());
    const QString large = scene->session().path(u"large"_s);
    QFile file(large);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(qint64(4) * 1024 * 1024 * 1024));
    file.close();
    ChildProcess program;
    start(program, {u"send"_s, large, u"--no-open"_s});
    QVERIFY(waitUntil([&] { return Folders::listing(downloads()) != before; }));
    kill(static_cast<pid_t>(program.processId()), SIGKILL);
    QVERIFY(waitUntil([&] { return Folders::listing(downloads()) == before; }));
    QVERIFY(QFile::remove(large));
}

void tst_QuillmoteSession::changesAreReported()
{
    ChildProcess program;
    start(program, {u"watch"_s, u"--json"_s});
    QByteArray output;
    const auto reports = [&] {
        output += program.readAllStandardOutput();
        return output.contains("{\"event\":\"clipboard\"}\n");
    };
    // Nothing shows when it has begun to watch, so that the change is repeated.
    int round = 0;
    QVERIFY(waitUntil([&] {
        run({u"copy"_s, QString::number(round++)});
        return reports();
    }));
}

void tst_QuillmoteSession::theRemoteIsAKeyboardAndAMouse()
{
    const ControlsProgram controls(ControlsProgram::Kind::Qt, scene->session());
    QVERIFY(controls.isReady());
    PseudoTerminal terminal;
    ChildProcess program;
    program.setLastPreparation(terminal.asStandardStreams());
    start(program, {u"remote"_s});
    QVERIFY(waitUntil([&] { return terminal.text().contains("ready"); }));
    terminal.type("ab.\r\xf0\x9f\x98\x80\x1b[D-\x1b[200~p\rq\x1b[201~");
    QVERIFY2(waitUntil([&] { return controls.text() == u"ab.\n-p\nq\U0001f600"_s; }),
             qPrintable(controls.text()));
    terminal.type("\x01\x7f");
    QVERIFY2(waitUntil([&] { return controls.text().isEmpty(); }), qPrintable(controls.text()));
    QVERIFY(scene->user().moveTo(controls.middleOfList()));
    terminal.type("\x1b[<65;9;9M");
    QVERIFY(waitUntil([&] { return controls.listPosition() > 0; }));
    InputWatcher watcher(scene->session().display(), {0, 0, 600, 400});
    QVERIFY(scene->user().moveTo({100, 100}));
    watcher.clear();
    terminal.type("\x1b[<35;1;1M\x1b[<0;1;1M");
    for (int column = 2; column <= 11; ++column) {
        terminal.type("\x1b[<32;" + QByteArray::number(column) + ";1M");
    }
    terminal.type("\x1b[<0;11;1m");
    QVERIFY(waitUntil([&] { return kinds(watcher).endsWith(u'R'); }));
    QCOMPARE(kinds(watcher).remove(u'm'), u"PR"_s);
    QCOMPARE(watcher.pointerPosition(), QPoint(180, 100));
    terminal.type("\x1d");
    QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; }));
    QCOMPARE(program.exitCode(), 0);
}

void tst_QuillmoteSession::theServerIsFoundWithoutAvahi()
{
    const Run run = this->run({u"discover"_s});
    QCOMPARE(run.status, 0);
    const QByteArray end =
        "\t127.0.0.1\t" + QByteArray::number(scene->port()) + "\tlast used\tthis desktop\n";
    QVERIFY2(run.output.endsWith(end), run.output.constData());
    const Run info = this->run({u"info"_s});
    QVERIFY2(info.output.contains("VornaServer 1.0, port " + QByteArray::number(scene->port())),
             info.output.constData());
}

/// Both have the same user, so the same runtime folder.
void tst_QuillmoteSession::eachDisplayHasItsOwnServer()
{
    DesktopSession other;
    QCOMPARE(other.problem(), QByteArray());
    other.addVariable(u"XDG_RUNTIME_DIR"_s, scene->session().path(u"run"_s));
    ServerProcess second(other);
    QVERIFY(second.port() != 0);
    QVERIFY(second.port() != scene->port());
    const auto portAt = [&](const QProcessEnvironment &place) {
        const Run info = run({u"info"_s, u"--json"_s, u"--local"_s}, {}, place, [] {});
        return QJsonDocument::fromJson(info.output)[u"port"_s].toInt();
    };
    QVERIFY(waitUntil([&] { return portAt(other.environment()) == second.port(); }));
    QCOMPARE(portAt(environment()), int(scene->port()));
    InputWatcher here(scene->session().display());
    InputWatcher there(other.display());
    QCOMPARE(run({u"key"_s, u"q"_s, u"--local"_s}, {}, other.environment(), [] {}).status, 0);
    QVERIFY(waitUntil([&] { return there.typedText() == u"q"_s; }));
    here.sync();
    QCOMPARE(here.typedText(), QString());
}

void tst_QuillmoteSession::anotherUserCannotReachIt()
{
    if (geteuid() != 0) {
        QSKIP("Only the administrator can become another user.");
    }
    constexpr uid_t nobody = 65534;
    // The program itself may stand in a folder of this user only.
    const QString copy = QDir::tempPath() + u"/quillmote-%1"_s.arg(getpid());
    QVERIFY(QFile::copy(qEnvironmentVariable("VORNA_QUILLMOTE"), copy));
    QVERIFY(QFile::setPermissions(copy, QFile::ReadOther | QFile::ExeOther | QFile::ReadOwner |
                                            QFile::WriteOwner | QFile::ExeOwner));
    const auto removed = qScopeGuard([&] { QFile::remove(copy); });
    ChildProcess program;
    program.setProcessEnvironment(environment());
    program.setLastPreparation([] {
        if (setgid(nobody) != 0 || setuid(nobody) != 0) {
            _exit(99);
        }
    });
    program.start(copy, {u"key"_s, u"a"_s, u"--local"_s});
    QVERIFY(program.waitForFinished(20'000));
    QCOMPARE(program.exitCode(), 3);
    QVERIFY(program.readAllStandardError().contains("is VornaServer running here?"));
}

/// The fastest of several, so that other load on the machine does not count.
void tst_QuillmoteSession::theServerIsClosedToTheNetworkAndOpened()
{
    const auto said = [this](const QByteArray &where) {
        return "Listens at " + where + ", port " + QByteArray::number(scene->port()) + '\n';
    };
    QCOMPARE(run({u"listen"_s}).output, said("all addresses"));
    QCOMPARE(run({u"listen"_s, u"127.0.0.1"_s}).output, said("127.0.0.1"));
    QCOMPARE(scene->storedSetting(u"listenAddress"_s).toString(), u"127.0.0.1"_s);
    const Run noAddress = run({u"listen"_s, u"everywhere"_s});
    QCOMPARE(noAddress.status, 2);
    QVERIFY2(noAddress.errors.contains("is no address to listen at"), noAddress.errors.constData());
    const Run ofOthers = run({u"listen"_s, u"203.0.113.71"_s});
    QCOMPARE(ofOthers.status, 1);
    QVERIFY2(ofOthers.errors.contains("cannot listen at 203.0.113.71"),
             ofOthers.errors.constData());
    QCOMPARE(run({u"listen"_s}).output, said("127.0.0.1"));
    QCOMPARE(run({u"listen"_s, u"all"_s}).output, said("all addresses"));
    QCOMPARE(scene->storedSetting(u"listenAddress"_s).toString(), QString());
}

void tst_QuillmoteSession::aKeyTakesLittleTime()
{
    qint64 quickest = 60'000;
    for (int round = 0; round < 10; ++round) {
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(run({u"key"_s, u"F24"_s}).status, 0);
        quickest = std::min(quickest, timer.elapsed());
    }
    qInfo("%lld ms", static_cast<long long>(quickest));
    QVERIFY2(quickest < 400, QByteArray::number(quickest).constData());
}

QTEST_GUILESS_MAIN(tst_QuillmoteSession)
#include "tst_QuillmoteSession.moc"
