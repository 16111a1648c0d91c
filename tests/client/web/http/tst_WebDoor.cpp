// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "client/web/TestCertificate.h"
#include "web/http/WebDoor.h"

#include "support/Waiting.h"
#include "support/process/DescriptorLimit.h"
#include "support/process/ProcessMemory.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QSslSocket>
#include <QTcpSocket>
#include <QTest>
#include <QtEndian>

#include <algorithm>
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

const QByteArray upgradeFields =
    "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n";

/// The head of a binary frame of a browser (RFC 6455, section 5.2).
QByteArray frameHead(quint64 size, bool isLast = true)
{
    QByteArray head(2 + 8 + 4, '\0'); // the mask of zeros changes nothing
    head[0] = static_cast<char>(isLast ? 0x82 : 0x02);
    head[1] = static_cast<char>(0x80 | 127);
    qToBigEndian(size, head.data() + 2);
    return head;
}

bool hasAddress(const QHostAddress &address)
{
    return QTcpServer().listen(address);
}

/// The time of the processor that this process has taken.
std::chrono::microseconds processorTime()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

Certificate certificate()
{
    return {QSslCertificate::fromData(TestCertificate::certificate),
            QSslKey(TestCertificate::key, QSsl::Ec)};
}

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
    void aBrokenMessageEndsItsSocketOnly();
    void aHugeFrameTakesNoMemory_data();
    void aHugeFrameTakesNoMemory();
    void whoTakesNoAnswersIsDropped();
    void aHeadHasToArriveInTime_data();
    void aHeadHasToArriveInTime();
    void aSlowReaderIsDropped();
    void aCrowdDoesNotDelayThePhone_data();
    void aCrowdDoesNotDelayThePhone();
    void aLackOfDescriptorsDoesNotSpin();
    void theDoorIsOpenOnAllAddresses_data();
    void theDoorIsOpenOnAllAddresses();
    void theLoopbackIsAlwaysOpen_data();
    void theLoopbackIsAlwaysOpen();
    void otherAddressesAreNotOpen();
    void whatCannotBeOpenedIsExplained();
    void theDoorCanBeOpenedAgain();
    void theDoorCanCloseInTheMiddle();
    void httpsIsServedWithACertificate();
    void plainHttpIsNotServedWithACertificate();

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
    QByteArray upgradeRequest() const
    {
        return request("/socket", upgradeFields + "Origin: http://" + host() + "\r\n");
    }
    QList<WebVisitor *> visitors() const { return door->findChildren<WebVisitor *>(); }
    /// Opens the door again with less patience.
    void openWith(const WebPatience &patience);
    /// Connected; its peer in the door is the last one of `handedOut`.
    std::unique_ptr<QWebSocket> openedSocket();

    std::unique_ptr<WebDoor> door;
    std::vector<std::unique_ptr<QWebSocket>> handedOut;
    bool isOnLoopback = false;
};

void tst_WebDoor::init()
{
    openWith({});
}

void tst_WebDoor::openWith(const WebPatience &patience)
{
    door = std::make_unique<WebDoor>(nullptr, patience);
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
    QCOMPARE(answer.field("cross-origin-resource-policy"), QByteArray("same-origin"));
    // Browsers complain of it without encryption.
    QCOMPARE(answer.field("cross-origin-opener-policy"), QByteArray());
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
    const QByteArray fields = upgradeFields;
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

void tst_WebDoor::aBrokenMessageEndsItsSocketOnly()
{
    const auto phone = openedSocket();
    QVERIFY(phone);
    Peer peer(door->port());
    peer.send(upgradeRequest() + "this is no frame");
    QVERIFY(peer.waitForEnd());
    QVERIFY(phone->isValid());
}

void tst_WebDoor::aHugeFrameTakesNoMemory_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<bool>("isAtOnce");

    QTest::newRow("a frame") << frameHead(64 * 1024 * 1024) << false;
    QTest::newRow("a frame behind the request") << frameHead(64 * 1024 * 1024) << true;
    QTest::newRow("a frame of one byte too many") << frameHead(256 * 1024 + 1) << false;
    // One that stays below the limit of frames, but is not the last of its message.
    const QByteArray piece = frameHead(200 * 1024, false) + QByteArray(200 * 1024, 'x');
    QByteArray next = piece;
    next[0] = '\0'; // continues
    QTest::newRow("a message of many frames") << piece + next << false;
    QTest::newRow("no end of the size") << frameHead(~quint64(0) >> 1) << false;
}

void tst_WebDoor::aHugeFrameTakesNoMemory()
{
    QFETCH(QByteArray, frame);
    QFETCH(bool, isAtOnce);
    Peer peer(door->port());
    peer.send(upgradeRequest() + (isAtOnce ? frame : QByteArray()));
    QVERIFY(waitUntil([&] { return handedOut.size() == 1; }));
    QSignalSpy ended(handedOut.back().get(), &QWebSocket::disconnected);
    const qint64 before = ProcessMemory::resident(QCoreApplication::applicationPid());
    if (!isAtOnce) {
        peer.send(frame);
    }
    const QByteArray content(64 * 1024, 'x');
    qsizetype sent = 0;
    while (sent < 64 * 1024 * 1024 && !peer.isEnded()) {
        peer.send(content);
        sent += content.size();
        QVERIFY(waitUntil([&] { return peer.socket.bytesToWrite() == 0 || peer.isEnded(); },
                          GenerousLimit, 0ms));
    }
    QVERIFY(waitUntil([&] { return ended.count() == 1; }));
    QCOMPARE(handedOut.back()->closeCode(), QWebSocketProtocol::CloseCodeTooMuchData);
    const qint64 growth = ProcessMemory::resident(QCoreApplication::applicationPid()) - before;
    QVERIFY2(growth < 8 * 1024 * 1024, qPrintable(QString::number(growth)));
}

void tst_WebDoor::whoTakesNoAnswersIsDropped()
{
    Peer peer(door->port());
    peer.socket.setReadBufferSize(1024);
    peer.send(upgradeRequest());
    QVERIFY(waitUntil([&] { return handedOut.size() == 1; }));
    QSignalSpy ended(handedOut.back().get(), &QWebSocket::disconnected);
    QByteArray ping(6 + 125, '\0'); // the largest one
    ping[0] = static_cast<char>(0x89);
    ping[1] = static_cast<char>(0x80 | 125);
    qint64 most = 0;
    QVERIFY(waitUntil(
        [&] {
            if (!peer.isEnded() && peer.socket.bytesToWrite() < 64 * 1024) {
                peer.send(ping.repeated(1000));
            }
            most = std::max(most, handedOut.back()->bytesToWrite());
            return ended.count() == 1;
        },
        GenerousLimit, 0ms));
    QVERIFY2(most < WebDoor::mostUntaken + 1024 * 1024, qPrintable(QString::number(most)));
}

void tst_WebDoor::aHeadHasToArriveInTime_data()
{
    QTest::addColumn<QByteArray>("beginning");
    QTest::addColumn<int>("status");

    QTest::newRow("nothing") << QByteArray() << 0;
    QTest::newRow("half a request") << QByteArray("GET / HTTP/1.1\r\nHost: ") << 408;
}

void tst_WebDoor::aHeadHasToArriveInTime()
{
    QFETCH(QByteArray, beginning);
    QFETCH(int, status);
    openWith({200ms, 10s, 100ms});
    QElapsedTimer timer;
    timer.start();
    Peer peer(door->port());
    peer.send(beginning);
    // Bytes that go on arriving do not help.
    QTimer dribble;
    dribble.callOnTimeout([&] { peer.send(beginning.isEmpty() ? "" : "x"); });
    dribble.start(20);
    QCOMPARE(peer.answer().status, status);
    QVERIFY(timer.elapsed() >= 180);
    QVERIFY(peer.waitForEnd());
}

void tst_WebDoor::aSlowReaderIsDropped()
{
    openWith({5s, 300ms, 100ms});
    // More than the system takes.
    const QByteArray large = QByteArray(32 * 1024 * 1024, 'x');
    door->addFile({"/large", "text/plain", large, false});
    Peer peer(door->port());
    peer.socket.setReadBufferSize(1024);
    peer.send(request("/large"));
    QVERIFY(waitUntil([&] { return visitors().size() == 1 && peer.socket.bytesAvailable() > 0; }));
    QVERIFY(waitUntil([&] { return visitors().size() == 0; }));
    // A quick one gets all of it.
    openWith({5s, 20s, 100ms});
    door->addFile({"/large", "text/plain", large, false});
    QCOMPARE(asked(request("/large")).content.size(), large.size());
}

void tst_WebDoor::aCrowdDoesNotDelayThePhone_data()
{
    QTest::addColumn<QByteArray>("beginning");
    QTest::newRow("silent") << QByteArray();
    QTest::newRow("half a request") << QByteArray("GET / HTTP/1.1\r\nHost: x");
    QTest::newRow("a whole one of a kind that is refused") << QByteArray("POST / HTTP/1.1\r\n");
}

void tst_WebDoor::aCrowdDoesNotDelayThePhone()
{
    QFETCH(QByteArray, beginning);
    const auto phone = openedSocket();
    QVERIFY(phone);
    std::vector<std::unique_ptr<Peer>> crowd;
    for (int i = 0; i < 500; ++i) {
        crowd.push_back(std::make_unique<Peer>(door->port()));
        crowd.back()->send(beginning);
    }
    QVERIFY(waitUntil([&] {
        return std::all_of(crowd.begin(), crowd.end(), [](const auto &peer) {
            return peer->socket.state() == QAbstractSocket::ConnectedState || peer->isEnded();
        });
    }));
    std::vector<std::chrono::nanoseconds> times;
    for (int i = 0; i < 9; ++i) {
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(asked(request("/touchpad.js")).status, 200);
        times.push_back(std::chrono::nanoseconds(timer.nsecsElapsed()));
    }
    std::nth_element(times.begin(), times.begin() + 4, times.end());
    QVERIFY2(times[4] < 50ms, qPrintable(QString::number(times[4].count())));
    QVERIFY(visitors().size() <= qsizetype(WebDoor::mostVisitors));
    QSignalSpy arrived(handedOut.back().get(), &QWebSocket::binaryMessageReceived);
    phone->sendBinaryMessage("move");
    QVERIFY(waitUntil([&] { return arrived.count() == 1; }));
}

void tst_WebDoor::aLackOfDescriptorsDoesNotSpin()
{
    // The sanitizer needs descriptors when it sees a kind of object for the first time.
    QCOMPARE(asked(request("/small.css")).status, 200);
    QVERIFY(waitUntil([this] { return visitors().isEmpty(); }));
    Peer first(door->port());
    Peer second(door->port());
    Peer third(door->port());
    {
        const DescriptorLimit limit(1);
        QVERIFY(waitUntil([this] { return visitors().size() == 1; }));
        const auto before = processorTime();
        runEventLoop(400ms);
        QVERIFY(processorTime() - before < 200ms);
        QCOMPARE(visitors().size(), 1);
    }
    third.send(request("/small.css"));
    QCOMPARE(third.answer().status, 200);
}

void tst_WebDoor::theDoorIsOpenOnAllAddresses_data()
{
    QTest::addColumn<QHostAddress>("loopback");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("IPv4") << QHostAddress(QHostAddress::LocalHost) << QByteArray("127.0.0.1");
    QTest::newRow("IPv6") << QHostAddress(QHostAddress::LocalHostIPv6) << QByteArray("[::1]");
}

void tst_WebDoor::theDoorIsOpenOnAllAddresses()
{
    QFETCH(QHostAddress, loopback);
    QFETCH(QByteArray, name);
    if (!hasAddress(loopback)) {
        QSKIP("This machine has no IPv6.");
    }
    Peer peer(door->port(), loopback);
    peer.send("GET /desk HTTP/1.1\r\nHost: " + name + ":" + QByteArray::number(door->port()) +
              "\r\n\r\n");
    QCOMPARE(peer.answer().content, QByteArray("for the desktop"));
}

void tst_WebDoor::theLoopbackIsAlwaysOpen_data()
{
    theDoorIsOpenOnAllAddresses_data();
}

void tst_WebDoor::theLoopbackIsAlwaysOpen()
{
    QFETCH(QHostAddress, loopback);
    if (!hasAddress(loopback)) {
        QSKIP("This machine has no IPv6.");
    }
    WebDoorOptions options;
    options.port = 0;
    const QList<QHostAddress> others{QHostAddress(u"127.0.0.5"_s),
                                     QHostAddress(QHostAddress::AnyIPv4)};
    for (const QHostAddress &address : others) {
        options.addresses = {address};
        QCOMPARE(door->open(options), QString());
        QVERIFY(Peer(door->port(), QHostAddress(u"127.0.0.5"_s)).isConnected());
        QVERIFY(Peer(door->port(), loopback).isConnected());
    }
}

void tst_WebDoor::otherAddressesAreNotOpen()
{
    WebDoorOptions options;
    options.port = 0;
    options.addresses = {QHostAddress(u"127.0.0.5"_s)};
    QCOMPARE(door->open(options), QString());
    Peer other(door->port(), QHostAddress(u"127.0.0.6"_s));
    QVERIFY(waitUntil([&] { return other.socket.error() == QTcpSocket::ConnectionRefusedError; }));
}

void tst_WebDoor::whatCannotBeOpenedIsExplained()
{
    WebDoor second;
    WebDoorOptions options;
    options.port = door->port();
    QCOMPARE(second.open(options),
             u"Port %1 is in use by another program. Choose another one with --port."_s.arg(
                 door->port()));
    QVERIFY(!second.isOpen());
    QCOMPARE(second.port(), quint16(0));
    options.addresses = {QHostAddress(u"192.0.2.7"_s)}; // for documents, no computer has it
    QCOMPARE(second.open(options), u"This computer does not have the address 192.0.2.7."_s);
    options.port = 0;
    options.addresses.clear();
    QCOMPARE(second.open(options), QString());
    QVERIFY(second.isOpen());
}

void tst_WebDoor::theDoorCanBeOpenedAgain()
{
    const quint16 port = door->port();
    QCOMPARE(asked(request("/small.css")).status, 200);
    WebDoorOptions options;
    options.port = port;
    QCOMPARE(door->open(options), QString());
    QCOMPARE(door->port(), port);
    QCOMPARE(asked(request("/small.css")).status, 200);
    door->close();
    Peer peer(port);
    QVERIFY(waitUntil([&] { return peer.socket.error() == QTcpSocket::ConnectionRefusedError; }));
}

void tst_WebDoor::theDoorCanCloseInTheMiddle()
{
    Peer half(door->port());
    half.send("GET / HT");
    QVERIFY(waitUntil([this] { return visitors().size() == 1; }));
    Peer upgrading(door->port());
    upgrading.send(upgradeRequest());
    QVERIFY(waitUntil([this] { return visitors().size() == 2; }, GenerousLimit, 0ms));
    // The door has passed it on by then, and the toolkit reads it in the next turn.
    connect(visitors().back(), &WebVisitor::upgrading, door.get(), [this] { door->close(); });
    QVERIFY(half.waitForEnd());
    QVERIFY(upgrading.waitForEnd());
    QVERIFY(handedOut.empty());
}

void tst_WebDoor::httpsIsServedWithACertificate()
{
    WebDoorOptions options;
    options.port = 0;
    options.certificate = certificate();
    QVERIFY(!options.certificate->key.isNull());
    QCOMPARE(door->open(options), QString());
    const QByteArray name = "den.phones.example:" + QByteArray::number(door->port());
    const auto connected = [&] {
        auto socket = std::make_unique<QSslSocket>();
        socket->setPeerVerifyMode(QSslSocket::VerifyNone);
        socket->connectToHostEncrypted(u"127.0.0.1"_s, door->port());
        return waitUntil([&] { return socket->isEncrypted(); }) ? std::move(socket) : nullptr;
    };
    const auto socket = connected();
    QVERIFY(socket);
    QCOMPARE(socket->peerCertificate(), options.certificate->chain.first());
    socket->write("GET /small.css HTTP/1.1\r\nHost: " + name + "\r\n\r\n");
    QVERIFY(waitUntil([&] { return socket->state() == QAbstractSocket::UnconnectedState; }));
    const Answer answer = parsed(socket->readAll());
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.content, QByteArray("a{}"));
    QVERIFY(answer.field("content-security-policy").contains("'self' wss://" + name + ";"));
    QCOMPARE(answer.field("cross-origin-opener-policy"), QByteArray("same-origin"));

    const auto phone = connected();
    QVERIFY(phone);
    phone->write("GET /socket HTTP/1.1\r\nHost: " + name + "\r\n" + upgradeFields +
                 "Origin: https://" + name + "\r\n\r\n");
    QVERIFY(waitUntil([&] { return handedOut.size() == 1; }));
    QSignalSpy arrived(handedOut.back().get(), &QWebSocket::binaryMessageReceived);
    phone->write(QByteArray("\x82\x84\0\0\0\0move", 10));
    QVERIFY(waitUntil([&] { return arrived.count() == 1; }));
    QCOMPARE(arrived[0][0].toByteArray(), QByteArray("move"));
}

void tst_WebDoor::plainHttpIsNotServedWithACertificate()
{
    openWith({300ms, 10s, 100ms});
    WebDoorOptions options;
    options.port = 0;
    options.certificate = certificate();
    QCOMPARE(door->open(options), QString());
    Peer plain(door->port());
    plain.send(request("/small.css"));
    QVERIFY(plain.waitForEnd());
    QVERIFY(!plain.socket.readAll().contains("HTTP"));
    // A handshake that never ends is given up as well.
    Peer silent(door->port());
    silent.send("\x16\x03\x01");
    QVERIFY(silent.waitForEnd());
}

QTEST_GUILESS_MAIN(tst_WebDoor)
#include "tst_WebDoor.moc"
