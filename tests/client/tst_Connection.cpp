// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/Connection.h"

#include "client/StandInServer.h"
#include "net/TokenText.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QPointer>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <functional>

using namespace Qt::StringLiterals;
using namespace quillmote;
using namespace std::chrono_literals;
using Kind = Outcome::Kind;

namespace {

/// Reads tokens like a real server, which takes those of one read as one token, and records what it
/// carries out.
struct RealisticReader
{
    TokenMap map;
    QStringList keys;
    QStringList all; // with the addresses that were opened

    void operator()(QTcpSocket &socket, const QByteArray &bytes)
    {
        const auto reading = TokenText::read(
            bytes, [this](const QString &key, const QVariant &value) { map.insert(key, value); });
        if (reading.result == TokenText::ReadResult::NotAToken) {
            return;
        }
        const QString function = map.value(u"fncCommand"_s).toString();
        const QString command = map.value(u"cmdType"_s).toString();
        if (command == u"KEYBOARD_CMD"_s) {
            keys += function;
            all += function;
            return;
        }
        if (command == u"URL_OPEN"_s) {
            all += function;
        }
        map.insert(u"serverResponse"_s, u"OK"_s);
        socket.write(TokenText::write(map).toLatin1());
    }
};

/// A server that reads late, after random times between two limits in milliseconds.
class LateReader
{
public:
    LateReader(StandInServer &server, int shortest, int longest)
        : random(1)
        , shortestPause(shortest)
        , longestPause(longest)
    {
        timer.callOnTimeout([this] { readAll(); });
        timer.start(shortest);
        server.onRead = [this](QTcpSocket &socket, const QByteArray &bytes) {
            peer = &socket;
            collected += bytes;
        };
    }

    QStringList keys() const { return reader.keys; }
    QStringList all() const { return reader.all; }
    int mergedReads() const { return merged; }

private:
    void readAll()
    {
        timer.setInterval(random.bounded(shortestPause, longestPause + 1));
        if (!collected.isEmpty()) {
            merged += collected.count("cmdType") > 1 ? 1 : 0;
            reader(*peer, std::exchange(collected, {}));
        }
    }

    RealisticReader reader;
    QRandomGenerator random;
    int shortestPause;
    int longestPause;
    QTimer timer;
    QPointer<QTcpSocket> peer;
    QByteArray collected;
    int merged = 0;
};

} // namespace

class tst_Connection : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void anAnsweredRequestIsDoneWithItsAnswer();
    void everyKeyIsReadOnceAndInOrder();
    void aServerThatReadsTokensTogetherLosesAndDoublesNoKey_data();
    void aServerThatReadsTokensTogetherLosesAndDoublesNoKey();
    void aKeyThatArrivesCutInTwoIsSentAgain();
    void keysAndAnsweredRequestsKeepTheirOrder();
    void anAnswerInSingleBytesIsRead();
    void aServerThatNeverAnswersTimesOut();
    void garbageEndsTheConnection();
    void aServerThatClosesAtOnceIsLost();
    void aServerThatClosesAmidRequestsFailsThemAll();
    void anEndlessAnswerTimesOut();
    void whateverTheServerSendsTheTimeIsKept_data();
    void whateverTheServerSendsTheTimeIsKept();
    void aFileThatTheServerAsksForAgainAndAgainTimesOut();
    void whatTheWireCannotCarryIsRefusedAndTheRestGoesOn();
    void noServerIsLost();
    void anAnswerToSomethingElseConfirmsNoKey();
    void aServerThatNeverConfirmsTimesOut();
    void anAnswerBehindTheTimeLimitIsNotTakenForTheNextOne();
    void ofAFileThatGrowsNoMoreIsSentThanWasAnnounced();
    void aFileThatHasBecomeShorterIsLost();

private:
    Outcome ask(const Request &request);
    bool openConnection() { return server->isReachedBy(*connection); }

    std::unique_ptr<StandInServer> server;
    std::unique_ptr<Connection> connection;
};

void tst_Connection::init()
{
    connection = std::make_unique<Connection>();
    server = std::make_unique<StandInServer>();
    connection->setTimeout(3s);
}

Outcome tst_Connection::ask(const Request &request)
{
    std::optional<Outcome> outcome;
    connection->send(request, [&](const Outcome &end) { outcome = end; });
    if (!QTest::qWaitFor([&] { return outcome.has_value(); }, 10'000)) {
        qFatal("no outcome at all");
    }
    return *outcome;
}

void tst_Connection::anAnsweredRequestIsDoneWithItsAnswer()
{
    server->onRead = RealisticReader();
    QVERIFY(openConnection());
    QVERIFY(!connection->hasAnswered());
    const Outcome outcome = ask(Request::openUrl(u"http://x"_s));
    QCOMPARE(outcome.kind, Kind::Done);
    QVERIFY(connection->hasAnswered());
    QCOMPARE(outcome.answer.response(), u"OK"_s);
    QCOMPARE(outcome.answer.entries.value(u"fncCommand"_s).toString(), u"http://x"_s);
}

void tst_Connection::everyKeyIsReadOnceAndInOrder()
{
    RealisticReader reader;
    server->onRead = std::ref(reader);
    QVERIFY(openConnection());
    QStringList sent;
    int done = 0;
    for (int number = 0; number < 500; ++number) {
        sent += u"Shift+%1"_s.arg(number);
        connection->send(Request::key(sent.last()),
                         [&](const Outcome &end) { done += end.kind == Kind::Done ? 1 : 0; });
    }
    QTRY_COMPARE_WITH_TIMEOUT(done, 500, 60'000);
    QCOMPARE(reader.keys, sent);
}

void tst_Connection::aServerThatReadsTokensTogetherLosesAndDoublesNoKey_data()
{
    QTest::addColumn<int>("shortest");
    QTest::addColumn<int>("longest");
    QTest::addColumn<int>("count");
    QTest::newRow("every 30 ms") << 30 << 30 << 15;
    QTest::newRow("every 0 to 5 ms") << 0 << 5 << 200;
    QTest::newRow("every 0 to 60 ms") << 0 << 60 << 20;
}

void tst_Connection::aServerThatReadsTokensTogetherLosesAndDoublesNoKey()
{
    QFETCH(int, shortest);
    QFETCH(int, longest);
    QFETCH(int, count);
    LateReader reader(*server, shortest, longest);
    connection->setTimeout(30s);
    QVERIFY(openConnection());
    QStringList sent;
    int done = 0;
    for (int number = 0; number < count; ++number) {
        sent += u"F%1"_s.arg(number);
        connection->send(Request::key(sent.last()),
                         [&](const Outcome &end) { done += end.kind == Kind::Done ? 1 : 0; });
    }
    QTRY_COMPARE_WITH_TIMEOUT(done, count, 60'000);
    QCOMPARE(reader.keys(), sent);
    QVERIFY2(reader.mergedReads() > 0, "the test has not tried what it is for");
}

void tst_Connection::aKeyThatArrivesCutInTwoIsSentAgain()
{
    RealisticReader reader;
    int reads = 0;
    server->onRead = [&](QTcpSocket &socket, const QByteArray &bytes) {
        if (++reads == 1) {
            reader(socket, bytes.first(bytes.size() / 2));
            reader(socket, bytes.sliced(bytes.size() / 2));
        } else {
            reader(socket, bytes);
        }
    };
    QVERIFY(openConnection());
    QCOMPARE(ask(Request::key(u"A"_s)).kind, Kind::Done);
    QCOMPARE(reader.keys, QStringList{u"A"_s});
}

void tst_Connection::keysAndAnsweredRequestsKeepTheirOrder()
{
    LateReader reader(*server, 0, 3);
    QVERIFY(openConnection());
    QStringList sent;
    QStringList ended;
    for (int number = 0; number < 50; ++number) {
        const QString name = QString::number(number);
        sent += name;
        connection->send(number % 3 == 0 ? Request::openUrl(name) : Request::key(name),
                         [&ended, name](const Outcome &) { ended += name; });
    }
    QTRY_COMPARE_WITH_TIMEOUT(ended.size(), sent.size(), 60'000);
    QCOMPARE(ended, sent);
    QCOMPARE(reader.all(), sent);
}

void tst_Connection::anAnswerInSingleBytesIsRead()
{
    server->onRead = [](QTcpSocket &socket, const QByteArray &) {
        for (const char byte : QByteArray("{quillmote = \"1\";serverResponse = \"OK\";}")) {
            socket.write(&byte, 1);
            socket.flush();
        }
    };
    QVERIFY(openConnection());
    QCOMPARE(ask(Request::openUrl(u"a"_s)).kind, Kind::Done);
}

void tst_Connection::aServerThatNeverAnswersTimesOut()
{
    connection->setTimeout(400ms);
    QVERIFY(openConnection());
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(ask(Request::key(u"A"_s)).kind, Kind::TimedOut);
    QVERIFY(timer.elapsed() < 5'000);
    QVERIFY(!connection->hasAnswered());
}

void tst_Connection::garbageEndsTheConnection()
{
    server->onRead = [](QTcpSocket &socket, const QByteArray &) {
        socket.write("HTTP/1.1 400 Bad Request\r\n");
    };
    QVERIFY(openConnection());
    QCOMPARE(ask(Request::serverInfo()).kind, Kind::Lost);
    QVERIFY(!connection->isOpen());
}

void tst_Connection::aServerThatClosesAtOnceIsLost()
{
    server->onConnected = [](QTcpSocket &socket) { socket.abort(); };
    QSignalSpy lost(connection.get(), &Connection::lost);
    connection->open(u"127.0.0.1"_s, server->serverPort());
    QVERIFY(lost.wait(5'000));
    QCOMPARE(ask(Request::serverInfo()).kind, Kind::Lost);
}

void tst_Connection::aServerThatClosesAmidRequestsFailsThemAll()
{
    server->onRead = [](QTcpSocket &socket, const QByteArray &) { socket.close(); };
    QVERIFY(openConnection());
    int lost = 0;
    for (int number = 0; number < 5; ++number) {
        connection->send(Request::key(u"A"_s),
                         [&](const Outcome &end) { lost += end.kind == Kind::Lost ? 1 : 0; });
    }
    QTRY_COMPARE_WITH_TIMEOUT(lost, 5, 10'000);
}

void tst_Connection::anEndlessAnswerTimesOut()
{
    connection->setTimeout(700ms);
    QTimer more;
    server->onRead = [&](QTcpSocket &socket, const QByteArray &) {
        socket.write("{a = \"");
        connect(&more, &QTimer::timeout, &socket,
                [&socket] { socket.write(QByteArray(1000, 'x')); });
        more.start(1);
    };
    QVERIFY(openConnection());
    QCOMPARE(ask(Request::openUrl(u"a"_s)).kind, Kind::TimedOut);
}

void tst_Connection::whateverTheServerSendsTheTimeIsKept_data()
{
    QTest::addColumn<QByteArray>("beginning");
    QTest::addColumn<QByteArray>("repeated");
    QByteArray retries;
    for (int tag = 1; tag <= 50'000; ++tag) {
        retries += "{}{ question = \"" + QByteArray::number(tag) + "\";}";
    }
    QTest::newRow("endings of texts") << QByteArray("{a = \"") << QByteArray("\";a ");
    QTest::newRow("endings of lists") << QByteArray("{a = (\"") << QByteArray("\" );a ");
    QTest::newRow("ends of answers") << QByteArray("{a = \"") << QByteArray("\";}x");
    QTest::newRow("calls for another try") << QByteArray("{") << retries.sliced(1);
}

/// Sends for ever, in pieces of 1.6 MB, as fast as they are read.
void tst_Connection::whateverTheServerSendsTheTimeIsKept()
{
    QFETCH(QByteArray, beginning);
    QFETCH(QByteArray, repeated);
    const QByteArray piece = repeated.repeated(1'600'000 / repeated.size() + 1) + ";}x";
    server->onConnected = [&](QTcpSocket &socket) {
        socket.write(beginning + piece);
        connect(&socket, &QTcpSocket::bytesWritten, &socket, [&] {
            if (socket.bytesToWrite() < piece.size()) {
                socket.write(piece);
            }
        });
    };
    connection->setTimeout(500ms);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(openConnection());
    QVERIFY(ask(Request::key(u"A"_s)).kind != Kind::Done);
    QVERIFY2(timer.elapsed() < 5'000, QByteArray::number(timer.elapsed()).constData());
}

void tst_Connection::aFileThatTheServerAsksForAgainAndAgainTimesOut()
{
    connection->setTimeout(500ms);
    QTimer again;
    server->onRead = [&](QTcpSocket &socket, const QByteArray &) {
        connect(&again, &QTimer::timeout, &socket, [&socket] {
            socket.write(R"({quillmote = "5";serverResponse = "START_BINARY_TRANSFER";})");
        });
        again.start(50);
    };
    QVERIFY(openConnection());
    const auto body = std::make_shared<QBuffer>();
    body->setData(QByteArray(1'000, 'b'));
    QVERIFY(body->open(QIODevice::ReadOnly));
    std::optional<Outcome> end;
    connection->sendFile("{ announcement }", 5, body, 1'000, {},
                         [&](const Outcome &outcome) { end = outcome; });
    QTRY_VERIFY_WITH_TIMEOUT(end.has_value(), 10'000);
    QCOMPARE(end->kind, Kind::TimedOut);
}

void tst_Connection::whatTheWireCannotCarryIsRefusedAndTheRestGoesOn()
{
    server->onRead = RealisticReader();
    QVERIFY(openConnection());
    const Outcome refused = ask(Request::copy(u"a\"b"_s));
    QCOMPARE(refused.kind, Kind::Refused);
    QVERIFY(refused.problem.contains(u"double quote"_s));
    QVERIFY(!connection->hasAnswered());
    QCOMPARE(ask(Request::copy(u"ab"_s)).kind, Kind::Done);
}

void tst_Connection::noServerIsLost()
{
    server->close();
    QSignalSpy lost(connection.get(), &Connection::lost);
    connection->open(u"127.0.0.1"_s, 1);
    QVERIFY(lost.wait(5'000));
}

void tst_Connection::anAnswerToSomethingElseConfirmsNoKey()
{
    connection->setTimeout(500ms);
    server->onRead = [](QTcpSocket &socket, const QByteArray &) {
        socket.write("{quillmote = \"1\";}{question = \"0\";quillmote = \"1\";}");
    };
    QVERIFY(openConnection());
    QCOMPARE(ask(Request::key(u"A"_s)).kind, Kind::TimedOut);
}

void tst_Connection::aServerThatNeverConfirmsTimesOut()
{
    // It always answers that the question was read together with the key.
    connection->setTimeout(700ms);
    server->onRead = [](QTcpSocket &socket, const QByteArray &bytes) {
        QByteArray tag = bytes.mid(bytes.indexOf("question = ") + 11);
        tag.truncate(tag.indexOf(';'));
        socket.write("{}{ question = \"" + tag + "\";}");
    };
    QVERIFY(openConnection());
    QCOMPARE(ask(Request::key(u"A"_s)).kind, Kind::TimedOut);
}

void tst_Connection::anAnswerBehindTheTimeLimitIsNotTakenForTheNextOne()
{
    connection->setTimeout(200ms);
    QVERIFY(openConnection());
    QCOMPARE(ask(Request::openUrl(u"a"_s)).kind, Kind::TimedOut);
    QCOMPARE(ask(Request::openUrl(u"b"_s)).kind, Kind::Lost);
    QVERIFY(!connection->isOpen());
}

void tst_Connection::ofAFileThatGrowsNoMoreIsSentThanWasAnnounced()
{
    const auto body = std::make_shared<QBuffer>();
    body->setData(QByteArray(700'000, 'b'));
    QVERIFY(body->open(QIODevice::ReadOnly));
    constexpr quint64 size = 600'000;
    QByteArray announcement;
    QByteArray received;
    server->onRead = [&](QTcpSocket &socket, const QByteArray &bytes) {
        if (announcement.isEmpty()) {
            announcement = bytes;
            socket.write(R"({quillmote = "5";serverResponse = "START_BINARY_TRANSFER";})");
            return;
        }
        received += bytes;
        if (received.size() == size) {
            socket.write(R"({quillmote = "5";serverResponse = "OK";})");
        }
    };
    QVERIFY(openConnection());
    std::optional<Outcome> end;
    quint64 reported = 0;
    connection->sendFile(
        "{ announcement }", 5, body, size, [&](quint64, quint64 total) { reported = total; },
        [&](const Outcome &outcome) { end = outcome; });
    QTRY_VERIFY(end.has_value());
    QCOMPARE(end->kind, Kind::Done);
    QCOMPARE(announcement, QByteArray("{ announcement }"));
    QCOMPARE(quint64(received.size()), size);
    QCOMPARE(reported, size);
}

void tst_Connection::aFileThatHasBecomeShorterIsLost()
{
    const auto body = std::make_shared<QBuffer>();
    body->setData("short");
    QVERIFY(body->open(QIODevice::ReadOnly));
    server->onRead = [&](QTcpSocket &socket, const QByteArray &) {
        socket.write(R"({quillmote = "5";serverResponse = "START_BINARY_TRANSFER";})");
    };
    QVERIFY(openConnection());
    std::optional<Outcome> end;
    connection->sendFile("{ announcement }", 5, body, 600, {},
                         [&](const Outcome &outcome) { end = outcome; });
    QTRY_VERIFY(end.has_value());
    QCOMPARE(end->kind, Kind::Lost);
    QVERIFY2(end->problem.contains(u"shorter"_s), qPrintable(end->problem));
}

QTEST_GUILESS_MAIN(tst_Connection)
#include "tst_Connection.moc"
