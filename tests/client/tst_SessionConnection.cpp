// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/SessionConnection.h"

#include "client/StandInSessionServer.h"
#include "support/Waiting.h"

#include <QBuffer>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace quillmote;
using Kind = SessionOutcome::Kind;

namespace {

using Request = StandInSessionServer::Request;
using Answer = StandInSessionServer::Answer;

Answer done(const QJsonObject &more)
{
    QJsonObject fields = more;
    fields.insert(u"ok"_s, true);
    return {fields, {}};
}

/// A client that keeps the ends of its requests.
struct Client
{
    SessionConnection link;
    QSignalSpy opened{&link, &SessionConnection::opened};
    QSignalSpy lost{&link, &SessionConnection::lost};
    std::vector<SessionOutcome> ends;

    bool open(const StandInSessionServer &server)
    {
        link.open(server.path());
        return waitUntil([&] { return opened.size() == 1; });
    }
    void send(const SessionMessage &message)
    {
        link.send(message, [this](const SessionOutcome &end) { ends.push_back(end); });
    }
    void sendFile(const QByteArray &content, quint64 size)
    {
        auto body = std::make_shared<QBuffer>();
        body->setData(content);
        body->open(QIODevice::ReadOnly);
        link.sendFile(u"a"_s, body, size, true, {},
                      [this](const SessionOutcome &end) { ends.push_back(end); });
    }
    bool hasEnds(size_t count) const
    {
        return waitUntil([&] { return ends.size() >= count; });
    }
};

/// Stores what it is sent as the server does.
struct FileStore
{
    QByteArray content;
    qint64 size = -1;
    qsizetype longestPiece = 0;

    Answer operator()(const Request &request)
    {
        if (request.fields.contains("size"_L1)) {
            size = request.fields.value("size"_L1).toInteger();
            return done({{u"file"_s, 7}});
        }
        content += request.body;
        longestPiece = std::max(longestPiece, request.body.size());
        QJsonObject fields{{u"received"_s, content.size()}};
        if (content.size() == size) {
            fields.insert(u"complete"_s, true);
            fields.insert(u"name"_s, u"a (2)"_s);
        }
        return done(fields);
    }
};

} // namespace

class tst_SessionConnection : public QObject
{
    Q_OBJECT

private slots:
    void theGreetingIsRead();
    void manyRequestsAreUnderWayAtOnce();
    void bodiesGoBothWays();
    void aRefusalHasItsWordAndSentence();
    void eventsComeBetweenAnswers();
    void whatIsTooLongIsNotSent();
    void anAnswerThatDoesNotComeEndsTheSession();
    void aPersonHasMoreTime();
    void whatListensButDoesNotGreetIsTold_data();
    void whatListensButDoesNotGreetIsTold();
    void whatAnswersNothingEndsTheSession_data();
    void whatAnswersNothingEndsTheSession();
    void aFarewellIsTheReason();
    void nobodyThereIsTold();
    void filesArriveExactly_data();
    void filesArriveExactly();
    void aFileThatBecomesShorterIsTakenBack();
    void aFileThatIsRefusedEndsOnce();
    void requestsAfterTheEndAreLost();
};

void tst_SessionConnection::theGreetingIsRead()
{
    StandInSessionServer server;
    Client client;
    QVERIFY(!client.link.isOpen());
    QVERIFY(client.open(server));
    QVERIFY(client.link.isOpen());
    QCOMPARE(client.link.greeting().name, u"den"_s);
    QCOMPARE(client.link.greeting().port, quint16(49152));
    QCOMPARE(client.link.greeting().can, (QStringList{u"key"_s, u"text"_s, u"clipboard.watch"_s}));
    QVERIFY(!client.link.hasAnswered());
}

void tst_SessionConnection::manyRequestsAreUnderWayAtOnce()
{
    StandInSessionServer server;
    QByteArray received;
    server.onBytes = [&](QLocalSocket &peer) { received += peer.readAll(); };
    Client client;
    QVERIFY(client.open(server));
    for (int number = 0; number < 100; ++number) {
        client.send(SessionMessage::ping());
    }
    QVERIFY(waitUntil([&] { return received.count('\n') == 100; }));
    QCOMPARE(client.link.underWay(), size_t(100));
    for (int id = 1; id <= 100; ++id) {
        server.socket->write("{\"id\":" + QByteArray::number(id) + ",\"ok\":true}\n");
    }
    QVERIFY(client.hasEnds(100));
    QVERIFY(client.link.hasAnswered());
    QCOMPARE(client.link.underWay(), size_t(0));
}

void tst_SessionConnection::bodiesGoBothWays()
{
    StandInSessionServer server;
    QByteArray all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    const QByteArray pages = all.repeated(4096);
    server.onRequest = [&](const Request &request) {
        return Answer{{{u"ok"_s, true}}, request.body};
    };
    Client client;
    QVERIFY(client.open(server));
    client.send(SessionMessage::setClipboard(pages, true));
    client.send(SessionMessage::setClipboard(all, false));
    QVERIFY(client.hasEnds(2));
    QVERIFY(client.ends[0].body == pages);
    QCOMPARE(client.ends[1].body, all);
    QVERIFY(server.requests[0].fields.value("more"_L1).toBool());
}

void tst_SessionConnection::aRefusalHasItsWordAndSentence()
{
    StandInSessionServer server;
    server.onRequest = [](const Request &) {
        return StandInSessionServer::refusal(u"unknown-key"_s, u"There is no key \"x\"."_s);
    };
    Client client;
    QVERIFY(client.open(server));
    client.send(SessionMessage::key(u"x"_s));
    QVERIFY(client.hasEnds(1));
    QCOMPARE(client.ends[0].kind, Kind::Refused);
    QCOMPARE(client.ends[0].error, u"unknown-key"_s);
    QCOMPARE(client.ends[0].problem, u"There is no key \"x\"."_s);
    QVERIFY(client.link.isOpen());
}

void tst_SessionConnection::eventsComeBetweenAnswers()
{
    StandInSessionServer server;
    Client client;
    QVERIFY(client.open(server));
    QSignalSpy happened(&client.link, &SessionConnection::happened);
    server.socket->write("{\"event\":\"clipboard\"}\n{\"event\":\"screens\",\"screens\":[]}\n");
    client.send(SessionMessage::ping());
    QVERIFY(client.hasEnds(1));
    QVERIFY(client.ends[0].isDone());
    QCOMPARE(happened.size(), 2);
    QCOMPARE(happened[1][0].toJsonObject().value("event"_L1).toString(), u"screens"_s);
}

void tst_SessionConnection::whatIsTooLongIsNotSent()
{
    StandInSessionServer server;
    Client client;
    QVERIFY(client.open(server));
    client.send(SessionMessage::text(QString(longestSessionPart, u'x')));
    client.send(SessionMessage::setClipboard(QByteArray(longestSessionPart + 1, 'x'), false));
    QCOMPARE(client.ends.size(), size_t(0));
    QVERIFY(client.hasEnds(2));
    QCOMPARE(client.ends[0].kind, Kind::Unsent);
    QCOMPARE(client.ends[1].kind, Kind::Unsent);
    client.send(SessionMessage::ping());
    QVERIFY(client.hasEnds(3));
    QCOMPARE(server.requests.size(), size_t(1));
}

void tst_SessionConnection::anAnswerThatDoesNotComeEndsTheSession()
{
    StandInSessionServer server;
    server.onBytes = [](QLocalSocket &peer) { peer.readAll(); };
    Client client;
    client.link.setTimeout(50ms);
    QVERIFY(client.open(server));
    client.send(SessionMessage::ping());
    client.send(SessionMessage::ping());
    QVERIFY(client.hasEnds(2));
    QCOMPARE(client.ends[0].kind, Kind::TimedOut);
    QCOMPARE(client.ends[1].kind, Kind::TimedOut);
    QCOMPARE(client.lost.size(), 1);
    QVERIFY(!client.link.isOpen());
}

void tst_SessionConnection::aPersonHasMoreTime()
{
    StandInSessionServer server;
    server.onBytes = [](QLocalSocket &peer) { peer.readAll(); };
    Client client;
    client.link.setTimeout(50ms);
    QVERIFY(client.open(server));
    client.send(SessionMessage::pair(u"a"_s, u"b"_s));
    QVERIFY(!client.lost.wait(300));
    server.socket->write("{\"id\":1,\"ok\":true}\n");
    QVERIFY(client.hasEnds(1));
    QVERIFY(client.ends[0].isDone());
}

void tst_SessionConnection::whatListensButDoesNotGreetIsTold_data()
{
    QTest::addColumn<QByteArray>("greeting");
    QTest::addColumn<QString>("problem");
    QTest::newRow("silence") << QByteArray() << u"The server did not answer in time."_s;
    QTest::newRow("another language")
        << QByteArray("220 hello\n") << u"What the server sent is not an answer."_s;
    QTest::newRow("another program")
        << QByteArray("{\"event\":\"hello\"}\n") << u"What listens there is not VornaServer."_s;
    QTest::newRow("an answer") << QByteArray("{\"id\":1,\"ok\":true}\n")
                               << u"What the server sent answers nothing that was asked."_s;
    QTest::newRow("full") << QByteArray("{\"event\":\"goodbye\",\"message\":\"Too many.\"}\n")
                          << u"Too many."_s;
}

void tst_SessionConnection::whatListensButDoesNotGreetIsTold()
{
    QFETCH(QByteArray, greeting);
    QFETCH(QString, problem);
    StandInSessionServer server;
    server.greeting = greeting;
    Client client;
    client.link.setTimeout(greeting.isEmpty() ? 50ms : 10'000ms);
    client.link.open(server.path());
    QVERIFY(waitUntil([&] { return client.lost.size() == 1; }));
    QCOMPARE(client.lost[0][0].toString(), problem);
    QVERIFY(client.opened.isEmpty());
    QVERIFY(!client.link.isNobodyThere());
}

void tst_SessionConnection::whatAnswersNothingEndsTheSession_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("another id") << QByteArray("{\"id\":2,\"ok\":true}\n");
    QTest::newRow("a text for an id") << QByteArray("{\"id\":\"1\",\"ok\":true}\n");
    QTest::newRow("no id") << QByteArray("{\"id\":null,\"error\":\"bad-message\"}\n");
    QTest::newRow("no JSON") << QByteArray("ok\n");
    QTest::newRow("an endless line") << QByteArray(longestSessionPart + 1, 'x');
}

void tst_SessionConnection::whatAnswersNothingEndsTheSession()
{
    QFETCH(QByteArray, bytes);
    StandInSessionServer server;
    server.onBytes = [&](QLocalSocket &peer) {
        peer.readAll();
        peer.write(bytes);
    };
    Client client;
    QVERIFY(client.open(server));
    client.send(SessionMessage::ping());
    QVERIFY(client.hasEnds(1));
    QCOMPARE(client.ends[0].kind, Kind::Lost);
    QCOMPARE(client.lost.size(), 1);
}

void tst_SessionConnection::aFarewellIsTheReason()
{
    StandInSessionServer server;
    server.onBytes = [](QLocalSocket &peer) {
        peer.write("{\"event\":\"goodbye\",\"error\":\"stopped\",\"message\":\"Bye.\"}\n");
        peer.disconnectFromServer();
    };
    Client client;
    QVERIFY(client.open(server));
    client.send(SessionMessage::ping());
    QVERIFY(client.hasEnds(1));
    QCOMPARE(client.ends[0].problem, u"Bye."_s);
}

void tst_SessionConnection::nobodyThereIsTold()
{
    StandInSessionServer server;
    const QString path = server.path();
    server.close();
    Client client;
    client.link.open(path);
    QVERIFY(waitUntil([&] { return client.lost.size() == 1; }));
    QVERIFY(client.link.isNobodyThere());
}

void tst_SessionConnection::filesArriveExactly_data()
{
    QTest::addColumn<qsizetype>("size");
    for (const int size : {0, 1, 512 * 1024, 512 * 1024 + 1, 5'000'000}) {
        QTest::addRow("%d bytes", size) << qsizetype(size);
    }
}

void tst_SessionConnection::filesArriveExactly()
{
    QFETCH(qsizetype, size);
    QByteArray content(size, '\0');
    for (qsizetype place = 0; place < size; ++place) {
        content[place] = static_cast<char>(place * 7 + place / 251);
    }
    StandInSessionServer server;
    FileStore store;
    server.onRequest = [&](const Request &request) { return store(request); };
    Client client;
    QVERIFY(client.open(server));
    client.sendFile(content, static_cast<quint64>(size));
    QVERIFY(client.hasEnds(1));
    QVERIFY2(client.ends[0].isDone(), qPrintable(client.ends[0].problem));
    QCOMPARE(client.ends[0].fields.value("name"_L1).toString(), u"a (2)"_s);
    QVERIFY(store.content == content);
    QVERIFY(store.longestPiece <= longestSessionPart);
    QVERIFY(server.requests[0].fields.value("open"_L1).toBool());
}

void tst_SessionConnection::aFileThatBecomesShorterIsTakenBack()
{
    StandInSessionServer server;
    FileStore store;
    server.onRequest = [&](const Request &request) { return store(request); };
    Client client;
    QVERIFY(client.open(server));
    client.sendFile(QByteArray(1000, 'x'), 2000);
    QVERIFY(client.hasEnds(1));
    QCOMPARE(client.ends[0].kind, Kind::Unsent);
    QVERIFY(client.ends[0].problem.contains("shorter"_L1));
    client.send(SessionMessage::ping());
    QVERIFY(client.hasEnds(2));
    const QByteArray spoken = server.spoken();
    QVERIFY2(spoken.contains("{\"file\":7,\"request\":\"file.cancel\"}"), spoken.constData());
    QCOMPARE(client.ends.size(), size_t(2));
}

void tst_SessionConnection::aFileThatIsRefusedEndsOnce()
{
    StandInSessionServer server;
    server.onRequest = [&](const Request &request) {
        return request.fields.contains("size"_L1)
                   ? done({{u"file"_s, 1}})
                   : StandInSessionServer::refusal(u"failed"_s, u"The disk is full."_s);
    };
    Client client;
    QVERIFY(client.open(server));
    client.sendFile(QByteArray(5'000'000, 'x'), 5'000'000);
    QVERIFY(client.hasEnds(1));
    QCOMPARE(client.ends[0].problem, u"The disk is full."_s);
    client.send(SessionMessage::ping());
    QVERIFY(client.hasEnds(2));
    QCOMPARE(client.ends.size(), size_t(2));
    // Those that were ahead, and none behind the refusal.
    QVERIFY(server.requests.size() <= 6);
}

void tst_SessionConnection::requestsAfterTheEndAreLost()
{
    StandInSessionServer server;
    Client client;
    QVERIFY(client.open(server));
    client.link.cancel();
    client.send(SessionMessage::ping());
    QVERIFY(client.hasEnds(1));
    QCOMPARE(client.ends[0].kind, Kind::Lost);
}

QTEST_GUILESS_MAIN(tst_SessionConnection)
#include "tst_SessionConnection.moc"
