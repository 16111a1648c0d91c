// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What the program quillmote says and leaves behind: refusals, JSON, waiting, balloons that last.

#include "support/session/ClipboardOwner.h"
#include "support/session/NotificationDesk.h"
#include "support/session/RecordingOpener.h"
#include "support/session/ServerScene.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int AcceptButton = 0;
constexpr int RejectButton = 1;

/// How a run of the program ended.
struct Run
{
    int status = -1; // -1: crashed, or not ended in time
    QByteArray output;
    QByteArray errors;
    qint64 milliseconds = 0;
};

QJsonObject jsonIn(const QByteArray &line)
{
    return QJsonDocument::fromJson(line).object();
}

/// Whether the process runs no longer (proc(5)).
bool hasEnded(pid_t process)
{
    QFile file(u"/proc/%1/stat"_s.arg(process));
    return !file.open(QIODevice::ReadOnly) || file.readAll().contains(") Z ");
}

} // namespace

class tst_QuillmoteManners : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void whatHappenedStaysToBeRead_data();
    void whatHappenedStaysToBeRead();
    void thereIsOneKeeperAtMost();
    void keysLeaveNoKeeper();
    void theBalloonIsSeenAfterTheCommand();
    void waitingForAPersonIsReported();
    void theRemoteReportsWaitingToo();
    void anAnswerAtOnceIsNotWaitedFor();
    void theIdentityIsRandomAndKept();
    void lossyTextArrives();
    void refusalsShowAWay_data();
    void refusalsShowAWay();
    void aHostNameBecomesAnAddress();
    void pasteEndsItsLineOnATerminalOnly_data();
    void pasteEndsItsLineOnATerminalOnly();
    void resultsAreJson_data();
    void resultsAreJson();
    void errorsAreJson_data();
    void errorsAreJson();

private:
    bool start(DesktopSession::Parts parts);
    void prepare(QProcess &program, const QStringList &arguments) const;
    Run finished(QProcess &program) const;
    Run at(const QStringList &arguments, const QByteArray &input = {}) const;
    /// The same as a line for a shell; its words need no quotes.
    QString commandLine(const QStringList &arguments) const;
    Run shell(const QString &line) const;
    QStringList reported() const;
    pid_t keeper() const;
    bool closePreferences() const;

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<NotificationDesk> desk;
};

void tst_QuillmoteManners::initTestCase()
{
    QVERIFY2(!qEnvironmentVariableIsEmpty("VORNA_QUILLMOTE"), "the program to test is not named");
}

void tst_QuillmoteManners::init()
{
    scene.reset();
    desk.reset();
}

void tst_QuillmoteManners::cleanup()
{
    const QByteArray problem = scene->problemAtEnd();
    // Without a server it has no connection to hold, so it exits at once.
    QVERIFY(waitUntil([this] { return keeper() == 0; }));
    desk.reset();
    scene.reset();
    QCOMPARE(problem, QByteArray());
}

/// With a session bus the server's messages go to a desk that records them, otherwise to a tray.
bool tst_QuillmoteManners::start(DesktopSession::Parts parts)
{
    scene = std::make_unique<ServerScene>(parts);
    if (!scene->session().problem().isEmpty()) {
        qWarning() << scene->session().problem();
        return false;
    }
    scene->storeSetting(u"downloadDirectory"_s, scene->session().home());
    if (!parts.testFlag(DesktopSession::SessionBus)) {
        return scene->start();
    }
    desk = std::make_unique<NotificationDesk>(scene->session().busAddress());
    scene->launch();
    return scene->port() != 0 &&
           waitUntil([this] { return reported().contains(u"Server Started..."_s); });
}

void tst_QuillmoteManners::prepare(QProcess &program, const QStringList &arguments) const
{
    program.setProcessEnvironment(scene->session().environment());
    program.setProgram(qEnvironmentVariable("VORNA_QUILLMOTE"));
    program.setArguments(arguments + QStringList{u"--host"_s, u"127.0.0.1"_s, u"--port"_s,
                                                 QString::number(scene->port())});
}

Run tst_QuillmoteManners::finished(QProcess &program) const
{
    QElapsedTimer timer;
    timer.start();
    Run run;
    // The desk lives in this thread's event loop.
    const bool hasEnded = waitUntil([&] { return program.state() == QProcess::NotRunning; });
    if (hasEnded && program.exitStatus() == QProcess::NormalExit) {
        run.status = program.exitCode();
    }
    run.milliseconds = timer.elapsed();
    run.output = program.readAllStandardOutput();
    run.errors = program.readAllStandardError();
    return run;
}

Run tst_QuillmoteManners::at(const QStringList &arguments, const QByteArray &input) const
{
    QProcess program;
    prepare(program, arguments);
    program.start();
    program.write(input);
    program.closeWriteChannel();
    return finished(program);
}

QString tst_QuillmoteManners::commandLine(const QStringList &arguments) const
{
    QProcess program;
    prepare(program, arguments);
    return program.program() + u' ' + program.arguments().join(u' ');
}

Run tst_QuillmoteManners::shell(const QString &line) const
{
    QProcess program;
    program.setProcessEnvironment(scene->session().environment());
    program.start(u"sh"_s, {u"-c"_s, line});
    program.closeWriteChannel();
    return finished(program);
}

/// What the server has shown so far, without the blanks at the ends.
QStringList tst_QuillmoteManners::reported() const
{
    QStringList bodies;
    for (const Notification &notification : desk->notifications()) {
        bodies += notification.body.trimmed();
    }
    return bodies;
}

/// The process that keeps a connection; 0 when there is none.
pid_t tst_QuillmoteManners::keeper() const
{
    const QString path = scene->session().path(u"run/quillmote-keeper"_s);
    const int file = open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC);
    struct flock lock
    {
    };
    lock.l_type = F_WRLCK;
    const bool isHeld = file >= 0 && fcntl(file, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    close(file);
    return isHeld ? lock.l_pid : 0;
}

bool tst_QuillmoteManners::closePreferences() const
{
    if (!scene->menu().choose(TrayMenu::Item::Preferences)) {
        return false;
    }
    const auto dialog = scene->waitForDialog(u"Config Dialog"_s);
    return dialog && scene->clickButton(*dialog, 0) && scene->waitUntilGone(*dialog);
}

void tst_QuillmoteManners::whatHappenedStaysToBeRead_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("body");
    QTest::newRow("open") << QStringList{u"open"_s, u"http://127.0.0.1:1/"_s}
                          << u"Opening URL:  http://127.0.0.1:1/"_s;
    QTest::newRow("copy") << QStringList{u"copy"_s, u"hello"_s}
                          << u"You have text in clipboard..."_s;
    QTest::newRow("send") << QStringList{u"send"_s, u"/etc/hostname"_s}
                          << u"Received request to save file:  hostname"_s;
}

/// The caller gets the status and all output at once, even through a pipe, and the keeper exits
/// when its time is over.
void tst_QuillmoteManners::whatHappenedStaysToBeRead()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, body);
    QVERIFY(start(DesktopSession::SessionBus));
    QElapsedTimer sinceReturn;
    const Run run = shell(commandLine(arguments) + u" 2>&1 | cat; echo end"_s);
    sinceReturn.start();
    QVERIFY2(run.output.endsWith("end\n"), run.output.constData());
    QVERIFY2(run.milliseconds < 3'000, QByteArray::number(run.milliseconds).constData());

    QVERIFY(waitUntil([&] { return reported().last().contains(body); }));
    const pid_t process = keeper();
    QVERIFY(process > 0);
    QVERIFY(waitUntil([&] { return reported().last() == u"Device Disconnected"_s; }));
    qInfo("Disconnected %lld ms after the end", static_cast<long long>(sinceReturn.elapsed()));
    QVERIFY(sinceReturn.elapsed() > 4'000 && sinceReturn.elapsed() < 8'000);
    QVERIFY(waitUntil([&] { return !QFile::exists(u"/proc/%1"_s.arg(process)); }));
}

void tst_QuillmoteManners::thereIsOneKeeperAtMost()
{
    QVERIFY(start(DesktopSession::SessionBus));
    const int before = scene->server().openDescriptors();
    QList<pid_t> keepers;
    const auto disconnected = [this] { return reported().count(u"Device Disconnected"_s); };
    for (int round = 0; round < 4; ++round) {
        QCOMPARE(at({u"copy"_s, u"text %1"_s.arg(round)}).status, 0);
        QVERIFY(waitUntil([&] { return keeper() != 0 && !keepers.contains(keeper()); }));
        keepers += keeper();
        // The earlier connection was closed for it.
        QVERIFY(waitUntil([&] { return disconnected() >= round; }));
        QCOMPARE(disconnected(), qsizetype{round});
    }
    for (const pid_t earlier : keepers.mid(0, 3)) {
        // Long before its time. Until init has collected it, its entry in /proc may stay for a
        // while.
        QVERIFY(waitUntil([&] { return hasEnded(earlier); }, 1s));
        QVERIFY(waitUntil([&] { return !QFile::exists(u"/proc/%1"_s.arg(earlier)); }));
    }
    QCOMPARE(reported().filter(u"in clipboard"_s).size(), 4);
    QCOMPARE(disconnected(), 3);
    QCOMPARE(scene->server().openDescriptors(), before + 1);
}

void tst_QuillmoteManners::keysLeaveNoKeeper()
{
    QVERIFY(start(DesktopSession::SessionBus));
    for (const QStringList &arguments :
         {QStringList{u"key"_s, u"A"_s}, QStringList{u"move"_s, u"1"_s, u"1"_s},
          QStringList{u"click"_s}, QStringList{u"info"_s}, QStringList{u"paste"_s}}) {
        at(arguments);
        QVERIFY(waitUntil([&] { return reported().last() == u"Device Disconnected"_s; }));
        QCOMPARE(keeper(), 0);
    }
}

/// In a real tray.
void tst_QuillmoteManners::theBalloonIsSeenAfterTheCommand()
{
    QVERIFY(start(DesktopSession::Tray));
    const auto balloon = [this] {
        return scene->view().balloon(scene->server().processId()).value_or(SeenWindow()).place;
    };
    QCOMPARE(at({u"open"_s, u"http://127.0.0.1:1/a-page-to-read"_s}).status, 0);
    QTest::qWait(1'000);
    const QImage opening = scene->view().settledPicture(balloon());
    QTest::qWait(1'000);
    QVERIFY(scene->view().saveScreenshot(u"balloon-two-seconds-after-open"_s));
    QCOMPARE(scene->view().picture(balloon()), opening);
    QVERIFY(waitUntil([&] { return scene->view().picture(balloon()) != opening; }));
    QVERIFY(scene->view().saveScreenshot(u"balloon-six-seconds-after-open"_s));
}

void tst_QuillmoteManners::waitingForAPersonIsReported()
{
    scene = std::make_unique<ServerScene>();
    scene->storeSetting(u"pairNeedsApproval"_s, true);
    QVERIFY(scene->start());
    QVERIFY(closePreferences());
    for (const int button : {RejectButton, AcceptButton}) {
        QProcess program;
        prepare(program, {u"pair"_s, u"--name"_s, u"Ada"_s});
        program.start();
        QByteArray errors;
        QVERIFY2(waitUntil([&] {
                     return (errors += program.readAllStandardError()) ==
                            u"note: Waiting for someone at 127.0.0.1:%1 to accept.\n"_s
                                .arg(scene->port())
                                .toUtf8();
                 }),
                 errors.constData());
        QCOMPARE(program.state(), QProcess::Running);
        const auto question = scene->waitForDialog(u"VornaServer"_s);
        QVERIFY(question && scene->clickButton(*question, button));
        const Run run = finished(program);
        QCOMPARE(run.status, button == AcceptButton ? 0 : 1);
        QCOMPARE(run.output, button == AcceptButton ? "Paired as \"Ada\".\n" : "");
        QVERIFY2(run.errors.startsWith(button == AcceptButton ? "" : "quillmote: "),
                 run.errors.constData());
    }
}

void tst_QuillmoteManners::theRemoteReportsWaitingToo()
{
    scene = std::make_unique<ServerScene>();
    scene->storeSetting(u"pairNeedsApproval"_s, true);
    QVERIFY(scene->start());
    QVERIFY(closePreferences());
    // script(1) gives it a terminal.
    QProcess terminal;
    terminal.setProcessEnvironment(scene->session().environment());
    terminal.start(u"script"_s,
                   {u"-qec"_s, u"stty cols 100; "_s + commandLine({u"remote"_s}), u"/dev/null"_s});
    QByteArray screen;
    const auto isShown = [&](const QByteArray &text) {
        return waitUntil([&] { return (screen += terminal.readAll()).contains(text); });
    };
    QVERIFY2(
        isShown(u"Waiting for someone at 127.0.0.1:%1 to accept."_s.arg(scene->port()).toUtf8()),
        screen.constData());
    const auto question = scene->waitForDialog(u"VornaServer"_s);
    QVERIFY(question && scene->clickButton(*question, RejectButton));
    QVERIFY2(isShown("| not paired | ready |"), screen.constData());
    terminal.write("\x1d");
    QCOMPARE(finished(terminal).status, 0);
}

void tst_QuillmoteManners::anAnswerAtOnceIsNotWaitedFor()
{
    QVERIFY(start(DesktopSession::Tray));
    const Run run = at({u"pair"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
}

void tst_QuillmoteManners::theIdentityIsRandomAndKept()
{
    QVERIFY(start(DesktopSession::Tray));
    QCOMPARE(at({u"pair"_s, u"--name"_s, u"Ada"_s}).status, 0);
    QCOMPARE(at({u"pair"_s, u"--name"_s, u"Bob"_s}).status, 0);
    QFile file(scene->session().path(u"config/quillmote/identity"_s));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString identity = QString::fromLatin1(file.readAll().trimmed());
    QVERIFY(scene->server().end() == 0);
    QCOMPARE(scene->storedSetting(u"pairedDeviceList"_s).toStringList(), QStringList{identity});
    QVERIFY(!identity.contains(QSysInfo::machineHostName()));
}

void tst_QuillmoteManners::lossyTextArrives()
{
    QVERIFY(start(DesktopSession::Tray));
    const Run run =
        at({u"copy"_s, u"--lossy"_s}, "\xe2\x80\x9cHi\xe2\x80\x9d,\n  \"you\" \xf0\x9f\x98\x80\n");
    QCOMPARE(run.status, 0);
    QCOMPARE(
        run.errors,
        QByteArray("note: The text is changed: \xe2\x80\x9c to ', \xe2\x80\x9d to ', line break "
                   "to a blank, \" to ' (2 times), \xf0\x9f\x98\x80 to ?, blanks in a row or "
                   "at an end left out.\n"));
    QCOMPARE(at({u"paste"_s}).output, QByteArray("'Hi', 'you' ?"));
    QCOMPARE(at({u"copy"_s, u"--lossy"_s, u"plain"_s}).errors, QByteArray());
}

void tst_QuillmoteManners::refusalsShowAWay_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("shown");
    QTest::newRow("quotes") << QStringList{u"copy"_s, u"a \"b\""_s} << QByteArray("--lossy");
    QTest::newRow("line break") << QStringList{u"copy"_s, u"a\nb"_s} << QByteArray("a\\nb");
    QTest::newRow("two blanks") << QStringList{u"copy"_s, u"a  b"_s}
                                << QByteArray("quillmote send");
    QTest::newRow("emoji") << QStringList{u"copy"_s, u"a\U0001f600b"_s}
                           << QByteArray("the character \xf0\x9f\x98\x80,");
    QTest::newRow("escape") << QStringList{u"copy"_s, u"\x1b[2J\u017e"_s}
                            << QByteArray("\\u001b[2J");
    QTest::newRow("escape in a command")
        << QStringList{u"\x1b[2J\u202e"_s} << QByteArray("command \"\\u001b[2J\\u202e\"");
    QTest::newRow("file") << QStringList{u"open"_s, u"/etc/hostname"_s}
                          << QByteArray("Use quillmote send.");
    QTest::newRow("command") << QStringList{u"sned"_s, u"x"_s} << QByteArray("Did you mean send?");
    QTest::newRow("no command's help")
        << QStringList{u"twirl"_s, u"--help"_s} << QByteArray("There is no command \"twirl\"");
    QTest::newRow("two words") << QStringList{u"copy"_s, u"two"_s, u"words"_s}
                               << QByteArray("quote the text: quillmote copy 'two words'");
    QTest::newRow("option") << QStringList{u"--sevrer"_s, u"den"_s, u"info"_s}
                            << QByteArray("Unknown option \"--sevrer\". Did you mean --server?");
}

/// The refusal comes before any search for a server: there is none here.
void tst_QuillmoteManners::refusalsShowAWay()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, shown);
    scene = std::make_unique<ServerScene>(DesktopSession::NoParts);
    QProcess program;
    program.setProcessEnvironment(scene->session().environment());
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"), arguments);
    const Run run = finished(program);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.output, QByteArray());
    QVERIFY2(run.errors.contains(shown), run.errors.constData());
    QCOMPARE(run.errors.count('\n'), 1);
    QVERIFY(!run.errors.contains('\x1b'));
}

void tst_QuillmoteManners::aHostNameBecomesAnAddress()
{
    scene = std::make_unique<ServerScene>();
    const RecordingOpener opener(scene->session());
    QVERIFY(scene->start());
    // One after the other: the programs that open them run side by side.
    QCOMPARE(at({u"open"_s, u"www.example.org"_s}).status, 0);
    QStringList expected = {u"https://www.example.org"_s};
    QVERIFY(waitUntil([&] { return opener.opened() == expected; }));
    QCOMPARE(at({u"open"_s, u"localhost:8080/x"_s}).status, 0);
    expected += u"http://localhost:8080/x"_s;
    QVERIFY(waitUntil([&] { return opener.opened() == expected; }));
}

void tst_QuillmoteManners::pasteEndsItsLineOnATerminalOnly_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("shown");
    QTest::newRow("line") << QByteArray("hello") << QByteArray("hello\r\n");
    QTest::newRow("ended line") << QByteArray("hello\n") << QByteArray("hello\r\n");
    QTest::newRow("escape") << QByteArray("a\x1b[2Jb\tc") << QByteArray("a\\u001b[2Jb\tc\r\n");
}

void tst_QuillmoteManners::pasteEndsItsLineOnATerminalOnly()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, shown);
    QVERIFY(start(DesktopSession::Tray));
    const ClipboardOwner owner(scene->session(), text);
    QVERIFY(owner.isServing());
    QCOMPARE(at({u"paste"_s}).output, text);
    // script(1) gives it a terminal.
    const Run run = shell(u"script -qec '%1' /dev/null"_s.arg(commandLine({u"paste"_s})));
    QCOMPARE(run.output, shown);
}

void tst_QuillmoteManners::resultsAreJson_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QJsonObject>("result");
    const QJsonObject done = {{u"ok"_s, true}};
    QTest::newRow("pair") << QStringList{u"pair"_s} << done;
    QTest::newRow("key") << QStringList{u"key"_s, u"A"_s} << done;
    QTest::newRow("move") << QStringList{u"move"_s, u"1"_s, u"1"_s} << done;
    QTest::newRow("click") << QStringList{u"click"_s} << done;
    QTest::newRow("open") << QStringList{u"open"_s, u"localhost:1"_s}
                          << QJsonObject{{u"ok"_s, true}, {u"url"_s, u"http://localhost:1"_s}};
    QTest::newRow("copy") << QStringList{u"copy"_s, u"hi"_s}
                          << QJsonObject{{u"ok"_s, true}, {u"text"_s, u"hi"_s}};
}

void tst_QuillmoteManners::resultsAreJson()
{
    QFETCH(QStringList, arguments);
    QFETCH(QJsonObject, result);
    QVERIFY(start(DesktopSession::Tray));
    const Run run = at(arguments + QStringList{u"--json"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.output.count('\n'), 1);
    QCOMPARE(jsonIn(run.output), result);
}

void tst_QuillmoteManners::errorsAreJson_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("error");
    const auto nobody = QStringList{u"--host"_s, u"127.0.0.1"_s, u"--port"_s, u"1"_s};
    QTest::newRow("nothing") << QStringList{} << 2 << u"usage"_s;
    QTest::newRow("command") << QStringList{u"sned"_s} << 2 << u"unknown-command"_s;
    QTest::newRow("option") << QStringList{u"info"_s, u"--fast"_s} << 2 << u"unknown-option"_s;
    QTest::newRow("values") << QStringList{u"move"_s, u"1"_s} << 2 << u"usage"_s;
    QTest::newRow("key") << QStringList{u"key"_s, u"Tab"_s} << 2 << u"usage"_s;
    QTest::newRow("text") << QStringList{u"copy"_s, u"a\nb"_s} << 2 << u"cannot-send"_s;
    QTest::newRow("address") << QStringList{u"open"_s, u"nothing"_s} << 2 << u"cannot-send"_s;
    QTest::newRow("remote") << QStringList{u"remote"_s} << 2 << u"usage"_s;
    QTest::newRow("no discovery") << QStringList{u"info"_s} << 3 << u"no-discovery"_s;
    QTest::newRow("discover") << QStringList{u"discover"_s} << 3 << u"no-discovery"_s;
    QTest::newRow("unreachable") << QStringList{u"info"_s} + nobody << 3 << u"unreachable"_s;
    QTest::newRow("file") << QStringList{u"send"_s, u"/etc/hostname"_s} + nobody << 3
                          << u"unreachable"_s;
}

void tst_QuillmoteManners::errorsAreJson()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QString, error);
    scene = std::make_unique<ServerScene>(DesktopSession::NoParts);
    QProcess program;
    program.setProcessEnvironment(scene->session().environment());
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"), arguments + QStringList{u"--json"_s});
    const Run run = finished(program);
    QCOMPARE(run.status, status);
    QCOMPARE(run.output, QByteArray());
    QCOMPARE(run.errors.count('\n'), 1);
    QCOMPARE(jsonIn(run.errors).value(u"error"_s).toString(), error);
    QVERIFY(!jsonIn(run.errors).value(u"message"_s).toString().isEmpty());
}

QTEST_GUILESS_MAIN(tst_QuillmoteManners)
#include "tst_QuillmoteManners.moc"
