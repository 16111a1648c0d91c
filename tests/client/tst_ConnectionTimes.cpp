// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/Connection.h"

#include "client/StandInServer.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;
using namespace std::chrono_literals;
using Kind = Outcome::Kind;

namespace {

/// Records what arrives and answers nothing by itself.
class SilentServer : public StandInServer
{
public:
    SilentServer()
    {
        onRead = [this](QTcpSocket &, const QByteArray &bytes) { reads += bytes; };
    }

    /// Answers the request with that tag.
    void answer(int tag, const QByteArray &response = "OK")
    {
        socket->write("{quillmote = \"" + QByteArray::number(tag) + "\";serverResponse = \"" +
                      response + "\";}");
    }

    QList<QByteArray> reads;
};

} // namespace

/// When a Connection acts, and what it reports at the end.
class tst_ConnectionTimes : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void anIdleConnectionStaysOpen();
    void aServerThatDoesNotAcceptIsLostInTime();
    void aRepeatableRequestIsSentAgainUntilItIsAnswered();
    void otherRequestsAreSentOnce_data();
    void otherRequestsAreSentOnce();
    void anAnswerToAnEarlierTryIsNotTaken();
    void aQuestionToThePersonThereMayTakeLonger();
    void theTimeCountsForEachRequest();
    void aKeyIsAskedForOnce();
    void everyEndIsExplained();
    void anEndIsReportedOnce();
    void aCancelledConnectionRefusesWhatFollows();

private:
    void send(const Request &request);

    std::unique_ptr<SilentServer> server;
    std::unique_ptr<Connection> connection;
    std::vector<Outcome> outcomes;
};

void tst_ConnectionTimes::init()
{
    connection = std::make_unique<Connection>();
    server = std::make_unique<SilentServer>();
    outcomes.clear();
    connection->setTimeout(5s);
    QVERIFY(server->isReachedBy(*connection));
    QTRY_VERIFY(server->socket != nullptr);
}

void tst_ConnectionTimes::send(const Request &request)
{
    connection->send(request, [this](const Outcome &outcome) { outcomes.push_back(outcome); });
}

void tst_ConnectionTimes::anIdleConnectionStaysOpen()
{
    Connection idle;
    idle.setTimeout(100ms);
    QSignalSpy lost(&idle, &Connection::lost);
    idle.open(u"127.0.0.1"_s, server->serverPort());
    QTRY_VERIFY(idle.isOpen());
    QTest::qWait(400);
    QVERIFY(idle.isOpen());
    QCOMPARE(lost.count(), 0);
}

void tst_ConnectionTimes::aServerThatDoesNotAcceptIsLostInTime()
{
    // The queue is full: the next connection waits for ever.
    QTcpServer full;
    full.setListenBacklogSize(1);
    QVERIFY(full.listen(QHostAddress::LocalHost));
    full.pauseAccepting();
    std::vector<std::unique_ptr<QTcpSocket>> queued;
    for (int i = 0; i < 5; ++i) {
        queued.push_back(std::make_unique<QTcpSocket>());
        queued.back()->connectToHost(full.serverAddress(), full.serverPort());
    }
    QTest::qWait(100);
    Connection late;
    late.setTimeout(300ms);
    QSignalSpy lost(&late, &Connection::lost);
    late.open(u"127.0.0.1"_s, full.serverPort());
    QVERIFY(lost.wait(3'000));
    QCOMPARE(lost[0][0].toString(), u"The server did not react in time."_s);
}

void tst_ConnectionTimes::aRepeatableRequestIsSentAgainUntilItIsAnswered()
{
    for (const Request &request :
         {Request::serverInfo(), Request::copy(u"a"_s), Request::paste()}) {
        QVERIFY(request.isRepeatable);
    }
    send(Request::serverInfo());
    QTRY_COMPARE(server->reads.size(), 3);
    QVERIFY(server->reads[0].contains("quillmote = 1;"));
    QVERIFY(server->reads[1].contains("quillmote = 2;"));
    QVERIFY(server->reads[2].contains("quillmote = 3;"));
    server->answer(3);
    QTRY_COMPARE(outcomes.size(), size_t(1));
    QCOMPARE(outcomes[0].kind, Kind::Done);
    QTest::qWait(1'300);
    QCOMPARE(server->reads.size(), 3);
}

void tst_ConnectionTimes::otherRequestsAreSentOnce_data()
{
    QTest::addColumn<QString>("command");
    for (const char *command : {"URL_OPEN", "SERVER_PAIR", "FILE_TRANSFER_AND_OPEN"}) {
        QTest::newRow(command) << command;
    }
}

void tst_ConnectionTimes::otherRequestsAreSentOnce()
{
    QFETCH(QString, command);
    for (const Request &request :
         {Request::openUrl(u"a"_s), Request::pair(u"a"_s, u"b"_s), Request::sendFile(u"a"_s, 1)}) {
        if (request.command == command) {
            send(request);
        }
    }
    QTRY_COMPARE(server->reads.size(), 1);
    QTest::qWait(1'300);
    QCOMPARE(server->reads.size(), 1);
}

void tst_ConnectionTimes::anAnswerToAnEarlierTryIsNotTaken()
{
    send(Request::serverInfo());
    QTRY_COMPARE(server->reads.size(), 2);
    server->answer(1, "OLD");
    QTest::qWait(100);
    QVERIFY(outcomes.empty());
    server->answer(2, "NEW");
    QTRY_COMPARE(outcomes.size(), size_t(1));
    QCOMPARE(outcomes[0].answer.response(), u"NEW"_s);
}

void tst_ConnectionTimes::aQuestionToThePersonThereMayTakeLonger()
{
    connection->setTimeout(200ms);
    send(Request::pair(u"id"_s, u"name"_s));
    QTRY_COMPARE(server->reads.size(), 1);
    QTest::qWait(700);
    QVERIFY(outcomes.empty());
    server->answer(1);
    QTRY_COMPARE(outcomes.size(), size_t(1));
    QCOMPARE(outcomes[0].kind, Kind::Done);
}

/// The time counts from the sending of each request, not of the first.
void tst_ConnectionTimes::theTimeCountsForEachRequest()
{
    connection->setTimeout(700ms);
    for (int tag = 1; tag <= 3; ++tag) {
        send(Request::openUrl(u"a"_s));
    }
    for (int tag = 1; tag <= 3; ++tag) {
        QTRY_COMPARE(server->reads.size(), tag);
        QTest::qWait(400);
        server->answer(tag);
    }
    QTRY_COMPARE(outcomes.size(), size_t(3));
    for (const Outcome &outcome : outcomes) {
        QCOMPARE(outcome.kind, Kind::Done);
    }
}

void tst_ConnectionTimes::aKeyIsAskedForOnce()
{
    send(Request::key(u"A"_s));
    QTRY_VERIFY(server->reads.join().contains("question = 1;"));
    QTest::qWait(1'300);
    QCOMPARE(server->reads.join().count("question"), 1);
    QCOMPARE(server->reads.join().count("KEYBOARD_CMD"), 1);
    server->socket->write("{quillmote = \"1\";question = \"1\";serverResponse = \"OK\";}");
    QTRY_COMPARE(outcomes.size(), size_t(1));
    QCOMPARE(outcomes[0].kind, Kind::Done);
}

void tst_ConnectionTimes::everyEndIsExplained()
{
    QSignalSpy lost(connection.get(), &Connection::lost);
    connection->setTimeout(200ms);
    send(Request::openUrl(u"a"_s));
    send(Request::openUrl(u"b"_s));
    QTRY_COMPARE(outcomes.size(), size_t(2));
    QCOMPARE(outcomes[0].kind, Kind::TimedOut);
    QVERIFY(outcomes[0].problem.contains(u"in time"_s));
    QCOMPARE(outcomes[1].kind, Kind::Lost);
    QVERIFY(outcomes[1].problem.contains(u"lost"_s));
    QCOMPARE(lost.count(), 1);
    QVERIFY(lost[0][0].toString().contains(u"in time"_s));
}

void tst_ConnectionTimes::anEndIsReportedOnce()
{
    QSignalSpy lost(connection.get(), &Connection::lost);
    send(Request::openUrl(u"a"_s));
    QTRY_COMPARE(server->reads.size(), 1);
    server->socket->write("HTTP/1.1 400 Bad Request\r\n");
    server->socket->disconnectFromHost();
    QTRY_COMPARE(outcomes.size(), size_t(1));
    QCOMPARE(outcomes[0].kind, Kind::Lost);
    QVERIFY(outcomes[0].problem.contains(u"not an answer"_s));
    QTest::qWait(100);
    connection->cancel();
    QCOMPARE(lost.count(), 1);
    QVERIFY(lost[0][0].toString().contains(u"not an answer"_s));
}

void tst_ConnectionTimes::aCancelledConnectionRefusesWhatFollows()
{
    QSignalSpy lost(connection.get(), &Connection::lost);
    connection->cancel();
    send(Request::serverInfo());
    QTRY_COMPARE(outcomes.size(), size_t(1));
    QCOMPARE(outcomes[0].kind, Kind::Lost);
    QTRY_COMPARE(server->socket->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(server->reads, QList<QByteArray>());
    QCOMPARE(lost.count(), 1);
}

QTEST_GUILESS_MAIN(tst_ConnectionTimes)
#include "tst_ConnectionTimes.moc"
