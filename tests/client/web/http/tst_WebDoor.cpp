// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/WebDoor.h"

#include "support/Waiting.h"
#include "support/process/ProcessMemory.h"
#include "web/http/WebVisitor.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>
#include <QtEndian>

#include <map>

using namespace Qt::StringLiterals;
using namespace quillmote;
using namespace std::chrono_literals;

namespace {

/// An answer in its parts.
struct Answer
{
    int status = 0;
    std::map<QByteArray, QByteArray> fields; // by their names in lowercase
    QByteArray content;

    QByteArray field(const QByteArray &name) const
    {
        const auto found = fields.find(name);
        return found == fields.end() ? QByteArray() : found->second;
    }
};

Answer parsed(const QByteArray &bytes)
{
    Answer answer;
    const qsizetype end = bytes.indexOf("\r\n\r\n");
    if (end < 0) {
        return answer;
    }
    QList<QByteArray> lines = bytes.first(end).replace("\r\n", "\n").split('\n');
    const QByteArray first = lines.takeFirst();
    answer.status = first.startsWith("HTTP/1.1 ") ? first.mid(9, 3).toInt() : 0;
    for (const QByteArray &line : lines) {
        const qsizetype colon = line.indexOf(": ");
        answer.fields[line.first(colon).toLower()] = line.mid(colon + 2);
    }
    answer.content = bytes.sliced(end + 4);
    return answer;
}

/// A peer that sends what it likes.
class Peer
{
public:
    explicit Peer(quint16 port, const QHostAddress &address = QHostAddress(QHostAddress::LocalHost))
    {
        socket.connectToHost(address, port);
    }

    bool isConnected()
    {
        return waitUntil([this] { return socket.state() == QAbstractSocket::ConnectedState; });
    }
    void send(const QByteArray &bytes) { socket.write(bytes); }
    bool isEnded() const { return socket.state() == QAbstractSocket::UnconnectedState; }
    bool waitForEnd()
    {
        return waitUntil([this] { return isEnded(); }, GenerousLimit, 1ms);
    }
    /// What has come when all of it has, or the door has ended the connection.
    Answer answer()
    {
        waitUntil([this] { return isComplete() || isEnded(); }, GenerousLimit, 1ms);
        return parsed(received);
    }

    QTcpSocket socket;

private:
    bool isComplete()
    {
        received += socket.readAll();
        const Answer answer = parsed(received);
        return !answer.field("content-length").isEmpty() &&
               answer.field("content-length").toLongLong() == answer.content.size();
    }

    QByteArray received;
};

const QByteArray script =
    QByteArray("export const touchpad = \"moved by a finger\";\n").repeated(40);

} // namespace

class tst_WebDoor : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void filesAreServed();
    void filesAreCompressedForThoseWhoTakeIt();
    void headHasTheFieldsOnly();
    void aSmallFileIsNotCompressed();
    void whatIsNotThereIsNotFound();
    void aliveIsAnsweredWithoutContent();
    void everyAnswerGuardsItsPage_data();
    void everyAnswerGuardsItsPage();
    void foreignHostsAndOriginsAreRefused_data();
    void foreignHostsAndOriginsAreRefused();
    void filesOfTheDesktopAreServedOnTheLoopbackOnly();
    void aRefusedRequestWithABodyIsToldWhy();
    void socketsAreHandedOut();
    void socketsOfForeignPagesAreRefused_data();
    void socketsOfForeignPagesAreRefused();

private:
    QByteArray host() const { return "127.0.0.1:" + QByteArray::number(door->port()); }
    QByteArray request(const QByteArray &path, const QByteArray &fields = {},
                       const QByteArray &method = "GET") const
    {
        return method + " " + path + " HTTP/1.1\r\nHost: " + host() + "\r\n" + fields + "\r\n";
    }
    Answer asked(const QByteArray &bytes) const
    {
        Peer peer(door->port());
        peer.send(bytes);
        return peer.answer();
    }
    /// Connected; its peer in the door is the last one of `handedOut`.
    std::unique_ptr<QWebSocket> openedSocket();

    std::unique_ptr<WebDoor> door;
    std::vector<std::unique_ptr<QWebSocket>> handedOut;
    bool isOnLoopback = false;
};

void tst_WebDoor::init()
{
    door = std::make_unique<WebDoor>();
    door->addFile({"/touchpad.js", "text/javascript; charset=utf-8", script, false});
    door->addFile({"/small.css", "text/css", "a{}", false});
    door->addFile({"/desk", "text/html", "for the desktop", true});
    door->onSocket = [this](std::unique_ptr<QWebSocket> socket, bool isLoopback) {
        isOnLoopback = isLoopback;
        handedOut.push_back(std::move(socket));
    };
    WebDoorOptions options;
    options.port = 0;
    options.hostNames = {u"den.example"_s};
    QCOMPARE(door->open(options), QString());
    QVERIFY(door->port() != 0);
}

void tst_WebDoor::cleanup()
{
    handedOut.clear();
    door.reset();
}

std::unique_ptr<QWebSocket> tst_WebDoor::openedSocket()
{
    auto socket = std::make_unique<QWebSocket>(u"http://"_s + QString::fromLatin1(host()));
    const size_t before = handedOut.size();
    socket->open(QUrl(u"ws://"_s + QString::fromLatin1(host()) + u"/socket"_s));
    const bool isThere = waitUntil([&] {
        return socket->state() == QAbstractSocket::ConnectedState && handedOut.size() > before;
    });
    return isThere ? std::move(socket) : nullptr;
}

void tst_WebDoor::filesAreServed()
{
    const Answer answer = asked(request("/touchpad.js?v=2"));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.content, script);
    QCOMPARE(answer.field("content-type"), QByteArray("text/javascript; charset=utf-8"));
    QCOMPARE(answer.field("content-length").toLongLong(), script.size());
    QCOMPARE(answer.field("content-encoding"), QByteArray());
    QCOMPARE(answer.field("connection"), QByteArray("close"));
    QCOMPARE(answer.field("cache-control"), QByteArray("no-store"));
}

void tst_WebDoor::filesAreCompressedForThoseWhoTakeIt()
{
    const Answer answer = asked(request("/touchpad.js", "Accept-Encoding: gzip, deflate\r\n"));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.field("content-encoding"), QByteArray("deflate"));
    QCOMPARE(answer.field("content-length").toLongLong(), answer.content.size());
    QVERIFY(answer.content.size() * 4 < script.size());
    // The toolkit wants the size of the content in front.
    QByteArray sized(4, '\0');
    qToBigEndian(static_cast<quint32>(script.size()), sized.data());
    QCOMPARE(qUncompress(sized + answer.content), script);
}

void tst_WebDoor::headHasTheFieldsOnly()
{
    const Answer answer = asked(request("/touchpad.js", {}, "HEAD"));
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.field("content-length").toLongLong(), script.size());
    QCOMPARE(answer.content, QByteArray());
}

void tst_WebDoor::aSmallFileIsNotCompressed()
{
    const Answer answer = asked(request("/small.css", "Accept-Encoding: deflate\r\n"));
    QCOMPARE(answer.field("content-encoding"), QByteArray());
    QCOMPARE(answer.content, QByteArray("a{}"));
}

void tst_WebDoor::whatIsNotThereIsNotFound()
{
    for (const char *path : {"/", "/touchpad.js/", "/Touchpad.js", "//touchpad.js",
                             "/%74ouchpad.js", "/../etc/passwd"}) {
        QCOMPARE(asked(request(path)).status, 404);
    }
    const Answer answer = asked(request("/nothing"));
    QCOMPARE(answer.field("content-type"), QByteArray("text/plain; charset=utf-8"));
    QVERIFY(!answer.content.contains("nothing"));
}

void tst_WebDoor::aliveIsAnsweredWithoutContent()
{
    const Answer answer = asked(request("/alive"));
    QCOMPARE(answer.status, 204);
    QCOMPARE(answer.content, QByteArray());
    QCOMPARE(answer.field("content-length"), QByteArray());
    QCOMPARE(answer.field("cache-control"), QByteArray("no-store"));
}

void tst_WebDoor::everyAnswerGuardsItsPage_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<bool>("hasSockets");
    QTest::newRow("a file") << QByteArray("/touchpad.js") << true;
    QTest::newRow("not found") << QByteArray("/x") << true;
    QTest::newRow("alive") << QByteArray("/alive") << false;
    QTest::newRow("refused") << QByteArray("x") << false;
}

void tst_WebDoor::everyAnswerGuardsItsPage()
{
    QFETCH(QByteArray, path);
    QFETCH(bool, hasSockets);
    const Answer answer = asked(request(path));
    const QByteArray sockets = hasSockets ? "ws://" + host() : QByteArray();
    QCOMPARE(answer.field("content-security-policy"),
             "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; "
             "manifest-src 'self'; connect-src 'self' " +
                 sockets + "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    QCOMPARE(answer.field("x-content-type-options"), QByteArray("nosniff"));
    QCOMPARE(answer.field("referrer-policy"), QByteArray("no-referrer"));
    QCOMPARE(answer.field("cross-origin-opener-policy"), QByteArray("same-origin"));
    QVERIFY(answer.field("permissions-policy").contains("camera=()"));
    QVERIFY(answer.field("date").endsWith(" GMT"));
}

void tst_WebDoor::foreignHostsAndOriginsAreRefused_data()
{
    QTest::addColumn<QByteArray>("host"); // "PORT" stands for the door's
    QTest::addColumn<QByteArray>("origin");
    QTest::addColumn<int>("status");

    const auto row = [](const char *host, const char *origin, int status) {
        QTest::addRow("%s from \"%s\"", host, origin)
            << QByteArray(host) << QByteArray(origin) << status;
    };
    row("127.0.0.1:PORT", "http://127.0.0.1:PORT", 200);
    row("localhost:PORT", "", 200);
    row("den.example:PORT", "http://den.example:PORT", 200);
    row("evil.example:PORT", "", 421);
    row("evil.example:PORT", "http://evil.example:PORT", 421);
    row("127.0.0.1", "", 421);
    row("127.0.0.1:PORT", "http://evil.example", 403);
    row("127.0.0.1:PORT", "http://localhost:PORT", 403);
    row("127.0.0.1:PORT", "https://127.0.0.1:PORT", 403);
    row("127.0.0.1:PORT", "http://127.0.0.1:PORT/", 403);
    row("127.0.0.1:PORT", "null", 403);
}

void tst_WebDoor::foreignHostsAndOriginsAreRefused()
{
    QFETCH(QByteArray, host);
    QFETCH(QByteArray, origin);
    QFETCH(int, status);
    QByteArray bytes = "GET /small.css HTTP/1.1\r\nHost: " + host + "\r\n";
    bytes += origin.isEmpty() ? "" : "Origin: " + origin + "\r\n";
    bytes.replace("PORT", QByteArray::number(door->port()));
    const Answer answer = asked(bytes + "\r\n");
    QCOMPARE(answer.status, status);
    QCOMPARE(answer.content == "a{}", status == 200);
}

/// An address of this machine beyond the loopback is not needed: that of the test network differs.
void tst_WebDoor::filesOfTheDesktopAreServedOnTheLoopbackOnly()
{
    QCOMPARE(asked(request("/desk")).content, QByteArray("for the desktop"));
    StaticFiles files;
    files.add({"/desk", "text/html", "for the desktop", true});
    QCOMPARE(files.answer("/desk", false, true).status, 200);
    QCOMPARE(files.answer("/desk", false, false).status, 404);
    const QHostAddress loopback(QHostAddress::LocalHost);
    const QHostAddress lan(u"192.0.2.1"_s);
    QVERIFY((WebPassage{loopback, QHostAddress(u"::ffff:127.0.0.1"_s)}.isLoopback()));
    QVERIFY((!WebPassage{loopback, lan}.isLoopback()));
    QVERIFY((!WebPassage{lan, loopback}.isLoopback()));
    QVERIFY((!WebPassage{lan, lan}.isLoopback()));
}

void tst_WebDoor::aRefusedRequestWithABodyIsToldWhy()
{
    const Answer answer = asked(request("/small.css", {}, "POST") + QByteArray(200'000, 'x'));
    QCOMPARE(answer.status, 405);
    QVERIFY(answer.content.contains("GET"));
}

void tst_WebDoor::socketsAreHandedOut()
{
    const auto phone = openedSocket();
    QVERIFY(phone);
    QVERIFY(isOnLoopback);
    QWebSocket &computer = *handedOut.back();
    QSignalSpy arrived(&computer, &QWebSocket::binaryMessageReceived);
    QSignalSpy answered(phone.get(), &QWebSocket::binaryMessageReceived);
    phone->sendBinaryMessage("move");
    QVERIFY(waitUntil([&] { return arrived.count() == 1; }));
    QCOMPARE(arrived[0][0].toByteArray(), QByteArray("move"));
    const QByteArray longest(256 * 1024, 'x');
    phone->sendBinaryMessage(longest);
    QVERIFY(waitUntil([&] { return arrived.count() == 2; }));
    QCOMPARE(arrived[1][0].toByteArray(), longest);
    computer.sendBinaryMessage("moved");
    QVERIFY(waitUntil([&] { return answered.count() == 1; }));
    // The door's end does not end them.
    door->close();
    computer.sendBinaryMessage("moved again");
    QVERIFY(waitUntil([&] { return answered.count() == 2; }));
    QSignalSpy ended(phone.get(), &QWebSocket::disconnected);
    handedOut.clear();
    QVERIFY(waitUntil([&] { return ended.count() == 1; }));
}

void tst_WebDoor::socketsOfForeignPagesAreRefused_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("host");
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<int>("status");

    const QByteArray ours = "127.0.0.1:PORT";
    const QByteArray fields =
        "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
        "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";
    const QByteArray origin = "Origin: http://127.0.0.1:PORT\r\n";
    QTest::newRow("another page's")
        << QByteArray("/socket") << ours << fields + "Origin: http://evil.example\r\n"
        << 403;
    QTest::newRow("no page's") << QByteArray("/socket") << ours << fields << 403;
    QTest::newRow("another host") << QByteArray("/socket") << QByteArray("evil.example:PORT")
                                  << fields + "Origin: http://evil.example:PORT\r\n"
                                  << 421;
    QTest::newRow("another path") << QByteArray("/touchpad.js") << ours << fields + origin << 404;
    QTest::newRow("no upgrade") << QByteArray("/socket") << ours << origin << 426;
    QTest::newRow("another version")
        << QByteArray("/socket") << ours
        << QByteArray(fields).replace("Version: 13", "Version: 7") + origin << 426;
    QTest::newRow("no key") << QByteArray("/socket") << ours
                            << QByteArray(fields).replace("Sec-WebSocket-Key", "X") + origin << 400;
}

void tst_WebDoor::socketsOfForeignPagesAreRefused()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, host);
    QFETCH(QByteArray, fields);
    QFETCH(int, status);
    QByteArray bytes = "GET " + path + " HTTP/1.1\r\nHost: " + host + "\r\n" + fields + "\r\n";
    bytes.replace("PORT", QByteArray::number(door->port()));
    const Answer answer = asked(bytes);
    QCOMPARE(answer.status, status);
    QCOMPARE(answer.field("sec-websocket-version"),
             status == 426 ? QByteArray("13") : QByteArray());
    QCOMPARE(handedOut.size(), size_t(0));
}

QTEST_GUILESS_MAIN(tst_WebDoor)
#include "tst_WebDoor.moc"
