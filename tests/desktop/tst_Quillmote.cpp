// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The program quillmote against the real server on a real desktop, and against programs that only
// pose as servers.

#include "support/session/ServerScene.h"
#include "support/x11/InputWatcher.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

#include <csignal>

#include <xkbcommon/xkbcommon-keysyms.h>

using namespace Qt::StringLiterals;

namespace {

/// How a run of the program ended.
struct Run
{
    int status = -1; // -1: crashed, or not ended in time
    QByteArray output;
    QByteArray errors;
    qint64 milliseconds = 0;
};

Run quillmote(const QStringList &arguments, const QByteArray &input = {},
              const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess program;
    program.setProcessEnvironment(environment);
    QElapsedTimer timer;
    timer.start();
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"), arguments);
    program.write(input);
    program.closeWriteChannel();
    Run run;
    if (program.waitForFinished(120'000) && program.exitStatus() == QProcess::NormalExit) {
        run.status = program.exitCode();
    }
    run.milliseconds = timer.elapsed();
    run.output = program.readAllStandardOutput();
    run.errors = program.readAllStandardError();
    return run;
}

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(60'000);
    return process.readAllStandardOutput() + process.readAllStandardError();
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

/// The letter keys that were pressed, by their positions on the US keyboard of the display. Unlike
/// the events of a window this does not depend on the focus, which balloons take.
QString lettersPressed(InputWatcher &watcher)
{
    constexpr int firstKey = 24;
    static const QString letters = u"qwertyuiop    asdfghjkl     zxcvbnm"_s;
    QString pressed;
    for (const RawInput &input : watcher.raw()) {
        if (input.kind == RawInput::Kind::KeyPress) {
            pressed += letters.mid(input.detail - firstKey, 1);
        }
    }
    return pressed;
}

/// A valid PDF 1.4 file with one page.
QByteArray smallPdf()
{
    const QByteArray text = "BT /F1 24 Tf 20 50 Td (Hello from the handheld) Tj ET";
    const QList<QByteArray> objects = {
        "<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 400 100] /Contents 4 0 R "
        "/Resources << /Font << /F1 5 0 R >> >> >>",
        "<< /Length " + QByteArray::number(text.size()) + " >>\nstream\n" + text + "\nendstream",
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"};
    QByteArray file = "%PDF-1.4\n";
    QByteArray table = "0000000000 65535 f \n";
    for (qsizetype index = 0; index < objects.size(); ++index) {
        table += QByteArray::number(file.size()).rightJustified(10, '0') + " 00000 n \n";
        file += QByteArray::number(index + 1) + " 0 obj\n" + objects[index] + "\nendobj\n";
    }
    const QByteArray start = QByteArray::number(file.size());
    return file + "xref\n0 6\n" + table + "trailer\n<< /Size 6 /Root 1 0 R >>\nstartxref\n" +
           start + "\n%%EOF\n";
}

/// A shell in a terminal of its own, which ends with this object.
class TerminalWindow
{
public:
    explicit TerminalWindow(QString socket) : socketPath(std::move(socket))
    {
        (*this)({u"-f"_s, u"/dev/null"_s, u"new-session"_s, u"-d"_s, u"-x"_s, u"100"_s, u"-y"_s,
                 u"20"_s, u"env PS1='prompt> ' sh"_s});
    }
    ~TerminalWindow() { (*this)({u"kill-server"_s}); }
    TerminalWindow(const TerminalWindow &) = delete;
    TerminalWindow &operator=(const TerminalWindow &) = delete;

    /// Runs a command of tmux in it.
    QByteArray operator()(const QStringList &arguments) const
    {
        return outputOf(u"tmux"_s, QStringList{u"-S"_s, socketPath} + arguments);
    }

    QByteArray screen() const { return (*this)({u"capture-pane"_s, u"-p"_s}); }

private:
    QString socketPath;
};

} // namespace

class tst_Quillmote : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void infoPrintsTheSizeOfTheDesktop();
    void pairIsAcceptedWhenNobodyIsAsked();
    void keysAreTyped();
    void aThousandKeysAllArriveInOrder();
    void thePointerMovesAndClicks();
    void textGoesToTheClipboardAndBack();
    void copyAndPasteWorkInPipes();
    void pasteWithoutTextIsTheServersError();
    void anAddressIsOpened();
    void receivedFilesOpenLikeTheOriginals();
    void severalFilesGoOneAfterTheOther();
    void fileThatCannotBeStoredIsReported();
    void whatCannotBeSentIsRefusedWithAReason();
    void wrongUsageHasStatusTwo_data();
    void wrongUsageHasStatusTwo();
    void everyCommandHasHelpWithExamples_data();
    void everyCommandHasHelpWithExamples();
    void noServerHasStatusThree();
    void aHostileServerNeverHangsIt_data();
    void aHostileServerNeverHangsIt();
    void theRemoteTypesMovesAndRestoresTheTerminal();
    void theRemoteEndsWhenTheServerGoes();
    void theRemoteRestoresTheTerminalWhenItCrashes();

private:
    Run at(const QStringList &arguments, const QByteArray &input = {}) const
    {
        return quillmote(arguments + QStringList{u"--host"_s, u"127.0.0.1"_s, u"--port"_s,
                                                 QString::number(scene->port())},
                         input, scene->session().environment());
    }
    QString received(const QString &name) const { return scene->session().path(u"in/"_s + name); }
    QString original(const QString &name) const { return scene->session().path(u"out/"_s + name); }

    std::unique_ptr<ServerScene> scene;
};

void tst_Quillmote::initTestCase()
{
    QVERIFY2(!qEnvironmentVariableIsEmpty("VORNA_QUILLMOTE"), "the program to test is not named");
    scene = std::make_unique<ServerScene>();
    QVERIFY2(scene->session().problem().isEmpty(), scene->session().problem().constData());
    QVERIFY(QDir().mkpath(received(QString())));
    QVERIFY(QDir().mkpath(original(QString())));
    scene->storeSetting(u"downloadDirectory"_s, scene->session().path(u"in"_s));
    QVERIFY(scene->start());
}

void tst_Quillmote::cleanupTestCase()
{
    if (scene) {
        QCOMPARE(scene->problemAtEnd(), QByteArray());
    }
}

void tst_Quillmote::infoPrintsTheSizeOfTheDesktop()
{
    const Run run = at({u"info"_s, u"--json"_s});
    QCOMPARE(run.status, 0);
    const QJsonObject reported = QJsonDocument::fromJson(run.output).object();
    const QByteArray geometry = outputOf(
        u"xwininfo"_s, {u"-display"_s, scene->session().display(), u"-root"_s, u"-stats"_s});
    const QByteArray width = "Width: " + QByteArray::number(reported.value(u"width"_s).toInt());
    const QByteArray height = "Height: " + QByteArray::number(reported.value(u"height"_s).toInt());
    QVERIFY2(geometry.contains(width + '\n') && geometry.contains(height + '\n'),
             geometry.constData());
    QCOMPARE(reported.value(u"platform"_s).toString(), u"MAC-OSX"_s);
    QVERIFY(at({u"info"_s}).output.contains(" pixels, MAC-OSX\n"));
}

void tst_Quillmote::pairIsAcceptedWhenNobodyIsAsked()
{
    const Run run = at({u"pair"_s, u"--name"_s, u"Ada's phone; blue"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.output, QByteArray("Paired as \"Ada's phone; blue\".\n"));
}

void tst_Quillmote::keysAreTyped()
{
    InputWatcher watcher(scene->session().display());
    const Run run = at({u"key"_s, u"h"_s, u"I"_s, u"Shift+1"_s, u"Space"_s, u"["_s, u";"_s});
    QCOMPARE(run.status, 0);
    QVERIFY(waitUntil([&] { return watcher.typedText().size() >= 6; }));
    QCOMPARE(watcher.typedText(), u"hi! [;"_s);
    QVERIFY(watcher.keysDown().empty());
}

void tst_Quillmote::aThousandKeysAllArriveInOrder()
{
    InputWatcher watcher(scene->session().display());
    QRandomGenerator random(1);
    QStringList keys;
    for (int number = 0; number < 1000; ++number) {
        keys += QChar(u'a' + random.bounded(26));
    }
    const Run run = at(QStringList{u"key"_s} + keys + QStringList{u"--timeout"_s, u"60"_s});
    QCOMPARE(run.status, 0);
    QVERIFY(waitUntil([&] { return lettersPressed(watcher).size() >= keys.size(); }));
    watcher.sync();
    QCOMPARE(lettersPressed(watcher), keys.join(QString()));
    qInfo("1000 keys in %lld ms", static_cast<long long>(run.milliseconds));
}

void tst_Quillmote::thePointerMovesAndClicks()
{
    InputWatcher watcher(scene->session().display(), {0, 0, 300, 300});
    QCOMPARE(at({u"move"_s, u"-5000"_s, u"-5000"_s}).status, 0);
    QCOMPARE(at({u"move"_s, u"120"_s, u"80"_s}).status, 0);
    QVERIFY(waitUntil([&] { return watcher.pointerPosition() == QPoint(120, 80); }));
    for (const QString &button : {u"left"_s, u"center"_s, u"right"_s}) {
        QCOMPARE(at({u"click"_s, button}).status, 0);
    }
    QVERIFY(waitUntil([&] { return watcher.buttons().size() >= 6; }));
    QList<int> pressed;
    for (const ButtonInput &input : watcher.buttons()) {
        if (input.isDown) {
            pressed += input.button;
        }
    }
    QCOMPARE(pressed, (QList<int>{1, 2, 3}));
}

void tst_Quillmote::textGoesToTheClipboardAndBack()
{
    QCOMPARE(at({u"copy"_s, u"see you at eight; bring {cake}"_s}).status, 0);
    const Run json = at({u"paste"_s, u"--json"_s});
    QCOMPARE(json.status, 0);
    QCOMPARE(QJsonDocument::fromJson(json.output).object().value(u"text"_s).toString(),
             u"see you at eight; bring {cake}"_s);
}

void tst_Quillmote::copyAndPasteWorkInPipes()
{
    QCOMPARE(at({u"copy"_s}, "caf\xc3\xa9 hi\n").status, 0);
    QCOMPARE(at({u"paste"_s}).output, QByteArray("caf\xc3\xa9 hi"));
}

void tst_Quillmote::pasteWithoutTextIsTheServersError()
{
    // An image is no text.
    const QString image = original(u"clip.png"_s);
    outputOf(u"convert"_s, {u"-size"_s, u"4x4"_s, u"xc:red"_s, image});
    ChildProcess owner;
    owner.setProcessEnvironment(scene->session().environment());
    owner.start(u"xclip"_s, {u"-quiet"_s, u"-selection"_s, u"clipboard"_s, u"-t"_s, u"image/png"_s,
                             u"-i"_s, image});
    QVERIFY(waitUntil([&] { return at({u"paste"_s}).status == 1; }));
    const Run run = at({u"paste"_s});
    QVERIFY(run.output.isEmpty());
    QVERIFY(run.errors.contains("no text on the server's clipboard"));
}

void tst_Quillmote::anAddressIsOpened()
{
    QCOMPARE(at({u"open"_s, u"http://127.0.0.1:1/"_s}).status, 0);
}

void tst_Quillmote::receivedFilesOpenLikeTheOriginals()
{
    const QString photo = original(u"photo.jpg"_s);
    outputOf(u"convert"_s, {u"-size"_s, u"320x200"_s, u"gradient:red-blue"_s, photo});
    writeFile(original(u"page.pdf"_s), smallPdf());
    writeFile(original(u"script.sh"_s), "#!/bin/sh\necho it ran\n");
    writeFile(original(u"page.html"_s), "<!DOCTYPE html><title>T</title><p>words\n");
    writeFile(original(u"drawing.svg"_s),
              "<?xml version=\"1.0\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\"/>\n");
    writeFile(original(u"module.py"_s), "print('it ran too')\n");
    writeFile(original(u"source.c"_s), "int main(void) { return 0; }\n");
    const Run run = at({u"send"_s, photo, original(u"page.pdf"_s), original(u"script.sh"_s),
                        original(u"page.html"_s), original(u"drawing.svg"_s),
                        original(u"module.py"_s), original(u"source.c"_s)});
    QCOMPARE(run.status, 0);
    QVERIFY2(!run.errors.contains("first line"), run.errors.constData());

    QCOMPARE(outputOf(u"compare"_s,
                      {u"-metric"_s, u"AE"_s, photo, received(u"photo.jpg"_s), u"null:"_s}),
             QByteArray("0"));
    QVERIFY(outputOf(u"pdftotext"_s, {received(u"page.pdf"_s), u"-"_s})
                .contains("Hello from the handheld"));
    QCOMPARE(outputOf(u"sh"_s, {received(u"script.sh"_s)}), QByteArray("it ran\n"));
    QCOMPARE(outputOf(u"python3"_s, {received(u"module.py"_s)}), QByteArray("it ran too\n"));
    QCOMPARE(outputOf(u"gcc"_s, {u"-fsyntax-only"_s, received(u"source.c"_s)}), QByteArray());
    QCOMPARE(outputOf(u"python3"_s, {u"-c"_s,
                                     u"import sys, xml.dom.minidom as m;"
                                     "print(m.parse(sys.argv[1]).documentElement.tagName)"_s,
                                     received(u"drawing.svg"_s)}),
             QByteArray("svg\n"));
    QVERIFY(contentOf(received(u"page.html"_s)).startsWith("<!-- { quillmote"));
    QVERIFY(contentOf(received(u"page.html"_s)).endsWith("<p>words\n"));
}

void tst_Quillmote::severalFilesGoOneAfterTheOther()
{
    writeFile(original(u"empty"_s), "");
    writeFile(original(u"one"_s), "1");
    writeFile(original(u"big"_s), QByteArray(8 * 1024 * 1024 + 3, 'b'));
    const Run run = at({u"send"_s, original(u"empty"_s), original(u"one"_s), original(u"big"_s)});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.output, QByteArray("empty: sent\none: sent\nbig: sent\n"));
    QVERIFY(contentOf(received(u"empty"_s)).endsWith("; }\n"));
    QVERIFY(contentOf(received(u"one"_s)).endsWith("; }\n1"));
    QVERIFY(contentOf(received(u"big"_s)).endsWith("; }\n" + QByteArray(8 * 1024 * 1024 + 3, 'b')));
}

void tst_Quillmote::fileThatCannotBeStoredIsReported()
{
    writeFile(original(u"kept"_s), QByteArray(5000, 'k'));
    const QString folder = scene->session().path(u"in"_s);
    const QString elsewhere = scene->session().path(u"elsewhere"_s);
    QVERIFY(QDir().rename(folder, elsewhere));
    const Run run = at({u"send"_s, original(u"kept"_s), u"--timeout"_s, u"1"_s});
    QVERIFY(QDir().rename(elsewhere, folder));
    QCOMPARE(run.status, 3);
    QVERIFY2(run.errors.contains("download directory"), run.errors.constData());
}

void tst_Quillmote::whatCannotBeSentIsRefusedWithAReason()
{
    const Run run = at({u"copy"_s, u"say \"hi\""_s});
    QCOMPARE(run.status, 2);
    QVERIFY(run.errors.contains("double quote"));
    QCOMPARE(run.errors.count('\n'), 1);
    QCOMPARE(at({u"key"_s, u"Tab"_s}).status, 2);
    QCOMPARE(at({u"send"_s, u"/nowhere/at/all"_s}).status, 2);
}

void tst_Quillmote::wrongUsageHasStatusTwo_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("nothing") << QStringList{};
    QTest::newRow("unknown command") << QStringList{u"dance"_s};
    QTest::newRow("unknown option") << QStringList{u"info"_s, u"--fast"_s};
    QTest::newRow("host alone") << QStringList{u"info"_s, u"--host"_s, u"127.0.0.1"_s};
    QTest::newRow("port 0") << QStringList{u"info"_s, u"--host"_s, u"x"_s, u"--port"_s, u"0"_s};
    QTest::newRow("port 70000") << QStringList{u"info"_s, u"--host"_s, u"x"_s, u"--port"_s,
                                               u"70000"_s};
    QTest::newRow("time out of nothing") << QStringList{u"info"_s, u"--timeout"_s, u"0"_s};
    QTest::newRow("no time out") << QStringList{u"info"_s, u"--timeout"_s, u"nan"_s};
    QTest::newRow("too few values") << QStringList{u"move"_s, u"1"_s};
    QTest::newRow("no number") << QStringList{u"move"_s, u"1"_s, u"up"_s};
    QTest::newRow("no key") << QStringList{u"key"_s};
    QTest::newRow("no button") << QStringList{u"click"_s, u"middle"_s};
    QTest::newRow("remote without a terminal") << QStringList{u"remote"_s};
}

void tst_Quillmote::wrongUsageHasStatusTwo()
{
    QFETCH(QStringList, arguments);
    const Run run = quillmote(arguments);
    QCOMPARE(run.status, 2);
    QVERIFY(run.output.isEmpty());
    QVERIFY(run.errors.startsWith("quillmote: "));
    QVERIFY2(!run.errors.contains('\x1b'), "colours are for terminals");
}

void tst_Quillmote::everyCommandHasHelpWithExamples_data()
{
    QTest::addColumn<QString>("command");
    for (const char *command : {"discover", "info", "pair", "key", "move", "click", "open", "copy",
                                "paste", "send", "type", "remote"}) {
        QTest::newRow(command) << QString::fromLatin1(command);
    }
}

void tst_Quillmote::everyCommandHasHelpWithExamples()
{
    QFETCH(QString, command);
    const Run run = quillmote({command, u"--help"_s});
    QCOMPARE(run.status, 0);
    QVERIFY(run.output.startsWith("Usage: quillmote " + command.toLatin1()));
    QVERIFY(run.output.contains("Examples:\n  quillmote " + command.toLatin1()) ||
            run.output.contains("\n  echo"));
    QVERIFY(quillmote({u"--help"_s}).output.contains("  " + command.toLatin1() + ' '));
    QCOMPARE(quillmote({u"--version"_s}).output, QByteArray("quillmote 1.0\n"));
}

void tst_Quillmote::noServerHasStatusThree()
{
    const Run unreachable =
        quillmote({u"info"_s, u"--host"_s, u"127.0.0.1"_s, u"--port"_s, u"1"_s});
    QCOMPARE(unreachable.status, 3);
    QVERIFY(unreachable.errors.contains("is VornaServer running there?"));
    // The test's environment has no discovery service.
    const Run undiscovered = quillmote({u"info"_s});
    QCOMPARE(undiscovered.status, 3);
    QVERIFY(undiscovered.errors.contains("--host"));
    QCOMPARE(quillmote({u"discover"_s}).status, 3);
}

void tst_Quillmote::aHostileServerNeverHangsIt_data()
{
    QTest::addColumn<QString>("behaviour");
    QTest::addColumn<QStringList>("arguments");
    for (const char *behaviour :
         {"garbage", "endless answer", "closes at once", "never answers", "one byte at a time"}) {
        for (const QStringList &arguments :
             {QStringList{u"info"_s}, QStringList{u"key"_s, u"A"_s}, QStringList{u"paste"_s},
              QStringList{u"send"_s, u"--force"_s, u"/bin/sh"_s}}) {
            QTest::addRow("%s, %s", behaviour, qPrintable(arguments[0]))
                << QString::fromLatin1(behaviour) << arguments;
        }
    }
}

void tst_Quillmote::aHostileServerNeverHangsIt()
{
    QFETCH(QString, behaviour);
    QFETCH(QStringList, arguments);
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    connect(&server, &QTcpServer::newConnection, this, [&] {
        QTcpSocket *socket = server.nextPendingConnection();
        auto *timer = new QTimer(socket);
        if (behaviour == u"closes at once") {
            socket->abort();
        } else if (behaviour == u"garbage") {
            connect(socket, &QTcpSocket::readyRead, socket,
                    [socket] { socket->write("\x01\xff }{ = \"; junk\r\n"); });
        } else if (behaviour == u"endless answer") {
            socket->write("{a = \"");
            connect(timer, &QTimer::timeout, socket,
                    [socket] { socket->write(QByteArray(50'000, '"')); });
            timer->start(5);
        } else if (behaviour == u"one byte at a time") {
            // Never a complete answer: it does not name the request.
            connect(timer, &QTimer::timeout, socket, [socket] { socket->write("{"); });
            timer->start(20);
        }
    });
    QProcess program;
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"),
                  arguments + QStringList{u"--timeout"_s, u"1"_s, u"--host"_s, u"127.0.0.1"_s,
                                          u"--port"_s, QString::number(server.serverPort())});
    QElapsedTimer timer;
    timer.start();
    QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; },
                      std::chrono::seconds(15)));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 3);
    QVERIFY(timer.elapsed() < 10'000);
}

void tst_Quillmote::theRemoteTypesMovesAndRestoresTheTerminal()
{
    InputWatcher watcher(scene->session().display(), {0, 0, 300, 300});
    const TerminalWindow tmux(scene->session().path(u"tmux"_s));
    const auto screen = [&] { return tmux.screen(); };
    QVERIFY(waitUntil([&] { return screen().contains("prompt>"); }));
    tmux({u"send-keys"_s,
          u"%1 remote --host 127.0.0.1 --port %2"_s.arg(qEnvironmentVariable("VORNA_QUILLMOTE"))
              .arg(scene->port()),
          u"Enter"_s});
    QVERIFY2(waitUntil([&] { return screen().contains("| paired | ready |"); }),
             screen().constData());
    const QPoint before = watcher.pointerPosition();
    tmux({u"send-keys"_s, u"-l"_s, u"Hi1"_s});
    QVERIFY(waitUntil([&] { return watcher.typedText() == u"Hi1"_s; }));
    QVERIFY(waitUntil([&] { return screen().contains("| key 1 |"); }));
    tmux({u"send-keys"_s, u"Right"_s, u"Down"_s});
    QVERIFY(waitUntil([&] { return watcher.pointerPosition() == before + QPoint(10, 10); }));
    tmux({u"send-keys"_s, u"Enter"_s});
    QVERIFY(waitUntil([&] { return screen().contains("| Return cannot be sent |"); }));
    tmux({u"send-keys"_s, u"C-]"_s});
    QVERIFY(waitUntil([&] { return screen().trimmed().endsWith("prompt>"); }));
    tmux({u"send-keys"_s, u"stty -a | tr ';' '\\n' | grep -c -- '-echo '"_s, u"Enter"_s});
    QVERIFY2(waitUntil([&] { return screen().contains("\n0\n"); }), screen().constData());
}

void tst_Quillmote::theRemoteEndsWhenTheServerGoes()
{
    ServerScene other;
    QVERIFY(other.start());
    const TerminalWindow tmux(other.session().path(u"tmux"_s));
    const auto screen = [&] { return tmux.screen(); };
    QVERIFY(waitUntil([&] { return screen().contains("prompt>"); }));
    tmux({u"send-keys"_s,
          u"%1 remote --host 127.0.0.1 --port %2; echo status $?"_s
              .arg(qEnvironmentVariable("VORNA_QUILLMOTE"))
              .arg(other.port()),
          u"Enter"_s});
    QVERIFY(waitUntil([&] { return screen().contains("| ready |"); }));
    QCOMPARE(other.problemAtEnd(), QByteArray());
    QVERIFY2(waitUntil([&] { return screen().contains("status 3"); }), screen().constData());
    QVERIFY(screen().contains("is lost"));
}

void tst_Quillmote::theRemoteRestoresTheTerminalWhenItCrashes()
{
    const TerminalWindow tmux(scene->session().path(u"tmux-crash"_s));
    const auto screen = [&] { return tmux.screen(); };
    QVERIFY(waitUntil([&] { return screen().contains("prompt>"); }));
    const QString pidFile = scene->session().path(u"crash.pid"_s);
    tmux({u"send-keys"_s,
          u"sh -c 'echo $$ >%1; exec %2 remote --host 127.0.0.1 --port %3'"_s.arg(pidFile)
              .arg(qEnvironmentVariable("VORNA_QUILLMOTE"))
              .arg(scene->port()),
          u"Enter"_s});
    QVERIFY(waitUntil([&] { return screen().contains("| ready |"); }));
    ::kill(contentOf(pidFile).trimmed().toInt(), SIGSEGV);
    QVERIFY(waitUntil([&] { return screen().trimmed().endsWith("prompt>"); }));
    tmux({u"send-keys"_s, u"stty -a | tr ';' '\\n' | grep -c -- '-echo '"_s, u"Enter"_s});
    QVERIFY2(waitUntil([&] { return screen().contains("\n0\n"); }), screen().constData());
}

QTEST_GUILESS_MAIN(tst_Quillmote)
#include "tst_Quillmote.moc"
