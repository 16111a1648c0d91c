// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// That neither a server nor an argument can control the terminal in which quillmote runs.

#include "support/Waiting.h"
#include "support/process/ChildProcess.h"
#include "support/process/PseudoTerminal.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Sets the clipboard, clears the screen, goes back, deletes, colours by one byte, breaks the line.
const QByteArray Evil = "a\x1b]52;c;ZXZpbA==\x07\x1b[2J\r\b\x7f\x9b"
                        "31mz";

/// The same as an argument, with characters that change the direction of text.
const QString EvilArgument = QString::fromLatin1(Evil) + u"\u202e\u2066"_s;

/// A server that answers whatever is asked, with its own texts in it.
class HostileServer : public QTcpServer
{
public:
    explicit HostileServer(const QByteArray &wantedResponse) : response(wantedResponse)
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { answer(*socket); });
        });
    }

private:
    void answer(QTcpSocket &socket) const
    {
        static const QRegularExpression form(u"quillmote = \"?([0-9]+)"_s);
        const QString text = QString::fromLatin1(socket.readAll());
        const auto match = form.match(text);
        const QByteArray tag = match.captured(1).toLatin1();
        socket.write("{quillmote = \"" + tag + "\";question = \"" + tag + "\";serverResponse = \"" +
                     response + "\";cmdParameters = (\"" + Evil + "\", \"" + Evil + "\", \"" +
                     Evil + "\" );}");
    }

    QByteArray response;
};

/// What the terminal has received, without the program's own escape sequences.
QByteArray withoutOwn(QByteArray text)
{
    for (const char *own :
         {"\x1b[1;31m", "\x1b[1;33m", "\x1b[0m", "\r\x1b[K", "\x1b[?1049h", "\x1b[?1003h",
          "\x1b[?1006h", "\x1b[2J\x1b[H", "\x1b[?1006l", "\x1b[?1003l", "\x1b[?1049l", "\r\n"}) {
        text.replace(own, "");
    }
    return text;
}

/// The first character that a terminal obeys; a null one when there is none.
QChar obeyedIn(const QByteArray &text)
{
    for (const QChar character : QString::fromUtf8(text)) {
        const bool isControl = character.category() == QChar::Other_Control && character != u'\t';
        if (isControl || character.category() == QChar::Other_Format) {
            return character;
        }
    }
    return {};
}

} // namespace

class tst_QuillmoteTerminal : public QObject
{
    Q_OBJECT

private slots:
    void noTextReachesTheTerminalAsACommand_data();
    void noTextReachesTheTerminalAsACommand();
    void theRemotesScreenIsItsOwn();
    void aPipeGetsTheTextAsItIs();
    void theTimeLimitHolds();

private:
    static QStringList at(const QTcpServer &server, const QStringList &arguments)
    {
        return QStringList{u"--host=127.0.0.1"_s, u"--port=%1"_s.arg(server.serverPort())} +
               arguments;
    }
};

void tst_QuillmoteTerminal::noTextReachesTheTerminalAsACommand_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("response");
    const QStringList json = {u"--json"_s};
    for (const char *response : {"OK", "ERROR", Evil.constData()}) {
        const auto add = [&](const char *name, const QStringList &arguments) {
            QTest::addRow("%s, %s", name, response) << arguments << QByteArray(response);
            QTest::addRow("%s, %s, JSON", name, response)
                << arguments + json << QByteArray(response);
        };
        add("info", {u"info"_s});
        add("paste", {u"paste"_s});
        add("pair", {u"pair"_s, u"--name"_s, EvilArgument});
        add("copy", {u"copy"_s, u"--lossy"_s, EvilArgument});
        add("copy as it is", {u"copy"_s, EvilArgument});
        add("open", {u"open"_s, u"http://127.0.0.1/"_s + EvilArgument});
        add("type", {u"type"_s, EvilArgument});
    }
    const auto add = [&](const char *name, const QStringList &arguments) {
        QTest::newRow(name) << arguments << QByteArray("OK");
    };
    add("key", {u"key"_s, EvilArgument});
    add("click", {u"click"_s, EvilArgument});
    add("send", {u"send"_s, EvilArgument});
    add("name of a file", {u"send"_s, u"/etc/hostname"_s, u"--as"_s, EvilArgument});
    add("command", {EvilArgument});
    add("option", {u"info"_s, u"--"_s + EvilArgument});
    add("number", {u"move"_s, EvilArgument, u"1"_s});
    add("help", {u"help"_s, EvilArgument});
}

void tst_QuillmoteTerminal::noTextReachesTheTerminalAsACommand()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, response);
    const HostileServer server(response);
    PseudoTerminal terminal;
    ChildProcess program;
    program.setLastPreparation(terminal.asStandardStreams());
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"), at(server, arguments));
    QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; }));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    const QByteArray text = withoutOwn(terminal.text());
    QCOMPARE(QString::number(obeyedIn(text).unicode(), 16), u"0"_s);
}

void tst_QuillmoteTerminal::theRemotesScreenIsItsOwn()
{
    const HostileServer server("OK");
    PseudoTerminal terminal;
    ChildProcess program;
    program.setLastPreparation(terminal.asStandardStreams());
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"), at(server, {u"remote"_s}));
    QVERIFY(waitUntil([&] { return terminal.text().contains("ready"); }));
    terminal.type(EvilArgument.toUtf8());
    QVERIFY(waitUntil([&] { return terminal.text().contains("cannot be sent"); }));
    terminal.type("\x1d");
    QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; }));
    QCOMPARE(program.exitCode(), 0);
    QVERIFY(terminal.text().contains("Keys typed here are typed on 127.0.0.1"));
    QCOMPARE(QString::number(obeyedIn(withoutOwn(terminal.text())).unicode(), 16), u"0"_s);
}

void tst_QuillmoteTerminal::aPipeGetsTheTextAsItIs()
{
    const HostileServer server("OK");
    ChildProcess program;
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"), at(server, {u"paste"_s}));
    QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; }));
    QCOMPARE(program.readAllStandardOutput(), QString::fromLatin1(Evil).toUtf8());
}

/// Even if a server sends without end what is expensive to read.
void tst_QuillmoteTerminal::theTimeLimitHolds()
{
    const QByteArray flood = QByteArray("\";a ").repeated(400'000) + ";}x";
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    connect(&server, &QTcpServer::newConnection, &server, [&] {
        QTcpSocket *socket = server.nextPendingConnection();
        socket->write("{a = \"" + flood);
        connect(socket, &QTcpSocket::bytesWritten, socket, [&flood, socket] {
            if (socket->bytesToWrite() < flood.size()) {
                socket->write(flood);
            }
        });
    });
    ChildProcess program;
    QElapsedTimer timer;
    timer.start();
    program.start(qEnvironmentVariable("VORNA_QUILLMOTE"),
                  at(server, {u"info"_s, u"--timeout=1"_s}));
    QVERIFY(waitUntil([&] { return program.state() == QProcess::NotRunning; }));
    QCOMPARE(program.exitCode(), 3);
    QVERIFY2(timer.elapsed() < 8'000, QByteArray::number(timer.elapsed()).constData());
}

QTEST_GUILESS_MAIN(tst_QuillmoteTerminal)
#include "tst_QuillmoteTerminal.moc"
