// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/Session.h"

#include "unit/session/SessionFixture.h"

#include <QElapsedTimer>

class tst_Session : public SessionFixture
{
    Q_OBJECT

private slots:
    void answersHaveTheIdsOfTheirRequests_data();
    void answersHaveTheIdsOfTheirRequests();
    void whatIsNoRequestIsAnswered_data();
    void whatIsNoRequestIsAnswered();
    void bytesMayComeOneByOne();
    void nestingHasALimit();
    void bodiesAreSkippedWhereNoneMayBe();
    void longLinesAndBodiesAreSkipped();

    void requestsAreServedInTheirOrder();
    void eventsAreSentWhileARequestWaits();

    void whatIsHeldIsReleasedAtTheEnd();
    void theEndIsNoticedWhileARequestWaits();
    void theEndIsNoticedBehindUnreadRequests();
    void aHalfClosedSessionGetsItsAnswers();
    void requestsOfAProgramThatLeftAreCarriedOut();

    void whatASilentSessionHoldsIsReleased();
    void pingsKeepWhatIsHeld();
    void nothingIsReleasedWhileARequestWaits();

    void requestsWaitForAPeerThatDoesNotRead();
    void eventsForAPeerThatDoesNotReadDoNotPileUp();
    void bodiesThatArriveCountOverAllSessions();
    void unreadAnswersAreLimitedOverAllSessions();
    void whoeverReadsIsServedHoweverLittleOthersRead();
    void requestsGoOnWhenOtherSessionsMakeRoom_data();
    void requestsGoOnWhenOtherSessionsMakeRoom();
    void fewRequestsAreServedInARound();
    void aFloodHoldsNobodyUp();

private:
    static constexpr int longAnswer = 500'000;
    /// Lets the names of the applications have that size, and counts how often they are asked for.
    void serveLongAnswers()
    {
        served = 0;
        services.applications = [this] {
            ++served;
            return QStringList{QString(longAnswer, u'x')};
        };
        restart();
    }

    int served = 0;
};

void tst_Session::answersHaveTheIdsOfTheirRequests_data()
{
    QTest::addColumn<QByteArray>("id");
    QTest::addColumn<QByteArray>("answer");

    const auto row = [](const QByteArray &id, const QByteArray &answer) {
        QTest::newRow(id.constData()) << id << answer;
    };
    row("0", R"({"id":0,"ok":true})");
    row("7.0", R"({"id":7,"ok":true})");
    row("9007199254740991", R"({"id":9007199254740991,"ok":true})");
    row(R"("")", R"({"id":"","ok":true})");
    row(R"("a \u20ac")", R"({"id":"a €","ok":true})");
    row('"' + QByteArray(64, 'x') + '"', R"({"id":")" + QByteArray(64, 'x') + R"(","ok":true})");
}

void tst_Session::answersHaveTheIdsOfTheirRequests()
{
    QFETCH(QByteArray, id);
    QFETCH(QByteArray, answer);
    SessionClient client(path());
    client.greeting();
    client.sendBytes("{\"id\":" + id + ",\"request\":\"ping\"}\n");
    const auto message = client.next();
    QVERIFY(message);
    QCOMPARE(QJsonDocument(message->fields).toJson(QJsonDocument::Compact), answer);
}

void tst_Session::whatIsNoRequestIsAnswered_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("error");

    const auto row = [](const QByteArray &line, const QString &error) {
        QTest::newRow(line.constData()) << line << error;
    };
    for (const char *line : {"", "x", "[]", "7", "\"x\"", "null", "{", "{}}", R"({"id":1)",
                             R"({"id":1,})", "{\"id\":1,\"request\":\"ping\",\"x\":\"\xff\"}",
                             "{\"id\":1,\"request\":\"ping\",\"x\":\"\xed\xa0\x80\"}",
                             "{\"id\":1,\"request\":\"ping\",\"x\":\"\xc0\x80\"}"}) {
        row(line, u"bad-message"_s);
    }
    for (const char *line :
         {"{}", R"({"request":"ping"})", R"({"id":null,"request":"ping"})",
          R"({"id":-1,"request":"ping"})", R"({"id":0.5,"request":"ping"})",
          R"({"id":9007199254740992,"request":"ping"})", R"({"id":true,"request":"ping"})",
          R"({"id":[1],"request":"ping"})", R"({"id":"\ud800","request":"ping"})"}) {
        row(line, u"bad-request"_s);
    }
    row(R"({"id":")" + QByteArray(65, 'x') + R"(","request":"ping"})", u"bad-request"_s);
}

void tst_Session::whatIsNoRequestIsAnswered()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, error);
    SessionClient client(path());
    client.greeting();
    client.sendBytes(line + '\n');
    const auto answer = client.next();
    QVERIFY(answer);
    QCOMPARE(answer->error(), error);
    QVERIFY(answer->fields.value("id"_L1).isNull() && answer->fields.contains("id"_L1));
    QVERIFY(!answer->fields.value("message"_L1).toString().isEmpty());
    QCOMPARE(errorOf(client, u"ping"_s), u"ok"_s);
}

void tst_Session::bytesMayComeOneByOne()
{
    SessionClient client(path());
    client.greeting();
    for (const char byte : QByteArray("{\"id\":1,\"request\":\"key\",\"key\":\"€\"}\n")) {
        client.sendBytes(QByteArray(1, byte));
        QCoreApplication::processEvents();
    }
    QVERIFY(client.answer(1).isOk());
    QCOMPARE(record.calls, (QStringList{u"press €"_s, u"release €"_s}));
}

void tst_Session::nestingHasALimit()
{
    SessionClient client(path());
    client.greeting();
    const auto errorAtDepth = [&](int depth) {
        // The object itself is the first level. Brackets in a text are none.
        client.sendBytes("{\"id\":1,\"request\":\"ping\",\"t\":\"\\\"[[[[[[[[[[[[[[\",\"x\":" +
                         QByteArray(depth - 1, '[') + QByteArray(depth - 1, ']') + "}\n");
        return client.next().value_or(SessionMessage()).error();
    };
    QCOMPARE(errorAtDepth(32), QString());
    QCOMPARE(errorAtDepth(33), u"bad-message"_s);
    QCOMPARE(errorAtDepth(500'000), u"bad-message"_s);
}

void tst_Session::bodiesAreSkippedWhereNoneMayBe()
{
    SessionClient client(path());
    client.greeting();
    const QByteArray body = "{\"id\":9,\"request\":\"key\",\"key\":\"a\"}\n";
    QCOMPARE(client.ask(u"ping"_s, {}, body).error(), u"bad-request"_s);
    QCOMPARE(client.ask(u"unknown"_s, {}, body).error(), u"unknown-request"_s);
    client.sendBytes("{\"body\":" + QByteArray::number(body.size()) + "}\n" + body);
    QCOMPARE(client.next().value_or(SessionMessage()).error(), u"bad-request"_s);
    for (const char *size : {"-1", "0.5", "\"1\"", "null", "[]"}) {
        client.sendBytes("{\"id\":1,\"request\":\"ping\",\"body\":" + QByteArray(size) + "}\n");
        QCOMPARE(client.next().value_or(SessionMessage()).error(), u"bad-request"_s);
    }
    QCOMPARE(errorOf(client, u"ping"_s), u"ok"_s);
    QCOMPARE(record.calls, QStringList());
}

void tst_Session::longLinesAndBodiesAreSkipped()
{
    SessionClient client(path());
    client.greeting();
    client.sendBytes(QByteArray(3'000'000, 'x') + '\n');
    const auto answer = client.next();
    QVERIFY(answer);
    QCOMPARE(answer->error(), u"too-long"_s);
    QVERIFY(answer->fields.value("id"_L1).isNull());
    QCOMPARE(client.ask(u"ping"_s, {}, QByteArray(1'048'577, '\n')).error(), u"too-long"_s);
    QCOMPARE(client.ask(u"ping"_s, {}, QByteArray(1'048'576, '\n')).error(), u"bad-request"_s);
    QCOMPARE(errorOf(client, u"ping"_s), u"ok"_s);
}

void tst_Session::requestsAreServedInTheirOrder()
{
    record.isPrompt = false;
    SessionClient client(path());
    client.greeting();
    const int text = client.send(u"text"_s, {{u"text"_s, u"slow"_s}});
    const int key = client.send(u"key"_s, {{u"key"_s, u"a"_s}});
    const int scroll = client.send(u"scroll"_s, {{u"dx"_s, 0}, {u"dy"_s, 120}});
    QVERIFY(waitUntil([this] { return record.waiting.size() == 1; }));
    QVERIFY(!client.next(std::chrono::milliseconds(50)));
    record.completeOne();
    QCOMPARE(client.next()->fields.value("id"_L1).toInt(), text);
    QVERIFY(waitUntil([this] { return record.waiting.size() == 1; }));
    QCOMPARE(record.calls, QStringList{u"type slow"_s});
    record.completeOne();
    QCOMPARE(client.next()->fields.value("id"_L1).toInt(), key);
    QCOMPARE(client.next()->fields.value("id"_L1).toInt(), scroll);
    QCOMPARE(record.calls,
             (QStringList{u"type slow"_s, u"press a"_s, u"release a"_s, u"scroll 0 120"_s}));
}

void tst_Session::eventsAreSentWhileARequestWaits()
{
    record.isPrompt = false;
    SessionClient client(path());
    client.greeting();
    client.send(u"text"_s, {{u"text"_s, u"slow"_s}});
    QVERIFY(waitUntil([this] { return record.waiting.size() == 1; }));
    door->close();
    QVERIFY(client.event(u"goodbye"_s));
}

void tst_Session::whatIsHeldIsReleasedAtTheEnd()
{
    SessionClient client(path());
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "Alt", "action": "press"})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a", "action": "press"})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"button"_s, R"({"button": "right", "action": "press"})"), u"ok"_s);
    record.calls.clear();
    client.leave();
    QVERIFY(waitUntil([this] { return door->sessions() == 0; }));
    const QString alt = u"release #%1"_s.arg(static_cast<int>(platform::NamedKey::Alt));
    QStringList released = record.calls;
    QVERIFY(released.indexOf(u"release a"_s) < released.indexOf(alt));
    released.sort();
    QCOMPARE(released, (QStringList{u"button 2 up"_s, alt, u"release a"_s}));
}

void tst_Session::theEndIsNoticedWhileARequestWaits()
{
    SessionClient client(path());
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a", "action": "press"})"), u"ok"_s);
    record.isPrompt = false;
    client.send(u"text"_s, {{u"text"_s, u"slow"_s}});
    QVERIFY(waitUntil([this] { return record.waiting.size() == 1; }));
    client.leave();
    QVERIFY(waitUntil([this] { return record.calls.contains(u"release a"_s); }));
    QCOMPARE(door->sessions(), 0u);
    record.completeOne();
    QVERIFY(!record.calls.contains(u"type slow"_s));
}

void tst_Session::theEndIsNoticedBehindUnreadRequests()
{
    SessionClient client(path());
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a", "action": "press"})"), u"ok"_s);
    record.isPrompt = false;
    client.send(u"text"_s, {{u"text"_s, u"slow"_s}});
    QVERIFY(waitUntil([this] { return record.waiting.size() == 1; }));
    client.sendBytes(QByteArray(600'000, '\n'));
    QTest::qWait(100); // The server reads as much as it will.
    client.leave();
    QVERIFY(waitUntil([this] { return record.calls.contains(u"release a"_s); }));
    QCOMPARE(door->sessions(), 0u);
}

void tst_Session::aHalfClosedSessionGetsItsAnswers()
{
    record.isPrompt = false;
    SessionClient client(path());
    client.greeting();
    const int text = client.send(u"text"_s, {{u"text"_s, u"slow"_s}});
    const int ping = client.send(u"ping"_s);
    client.endSending();
    QVERIFY(waitUntil([this] { return record.waiting.size() == 1; }));
    record.completeOne();
    QCOMPARE(client.next()->fields.value("id"_L1).toInt(), text);
    QCOMPARE(client.next()->fields.value("id"_L1).toInt(), ping);
    QVERIFY(client.waitUntilClosed());
    QVERIFY(waitUntil([this] { return door->sessions() == 0; }));
}

void tst_Session::requestsOfAProgramThatLeftAreCarriedOut()
{
    SessionClient client(path());
    for (int i = 0; i < 100; ++i) {
        client.send(u"scroll"_s, {{u"dx"_s, 0}, {u"dy"_s, i}});
    }
    client.leave();
    QVERIFY(waitUntil([this] { return record.calls.size() == 100; }));
    QVERIFY(waitUntil([this] { return door->sessions() == 0; }));
}

void tst_Session::whatASilentSessionHoldsIsReleased()
{
    services.holdingTime = std::chrono::milliseconds(100);
    restart();
    SessionClient client(path());
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a", "action": "press"})"), u"ok"_s);
    QCOMPARE(errorOf(client, u"button"_s, R"({"action": "press"})"), u"ok"_s);
    QVERIFY(waitUntil([this] { return record.calls.contains(u"release a"_s); }));
    QVERIFY(record.calls.contains(u"button 0 up"_s));
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a"})"), u"ok"_s); // The session goes on.
}

void tst_Session::pingsKeepWhatIsHeld()
{
    services.holdingTime = std::chrono::milliseconds(500);
    restart();
    SessionClient client(path());
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a", "action": "press"})"), u"ok"_s);
    QElapsedTimer time;
    time.start();
    while (time.elapsed() < 1'500) {
        QCOMPARE(errorOf(client, u"ping"_s), u"ok"_s);
        QTest::qWait(50);
    }
    QCOMPARE(record.calls, QStringList{u"press a"_s});
    QVERIFY(waitUntil([this] { return record.calls.contains(u"release a"_s); }));
}

void tst_Session::nothingIsReleasedWhileARequestWaits()
{
    services.holdingTime = std::chrono::milliseconds(100);
    restart();
    SessionClient client(path());
    client.greeting();
    QCOMPARE(errorOf(client, u"key"_s, R"({"key": "a", "action": "press"})"), u"ok"_s);
    record.isPrompt = false;
    client.send(u"text"_s, {{u"text"_s, u"slow"_s}});
    QVERIFY(waitUntil([this] { return record.waiting.size() == 1; }));
    QVERIFY(!client.next(std::chrono::milliseconds(400)));
    QCOMPARE(record.calls, QStringList{u"press a"_s});
    record.completeOne();
    QVERIFY(waitUntil([this] { return record.calls.contains(u"release a"_s); }));
}

void tst_Session::requestsWaitForAPeerThatDoesNotRead()
{
    serveLongAnswers();
    QLocalSocket deaf;
    deaf.setReadBufferSize(1);
    deaf.connectToServer(path());
    QVERIFY(waitUntil([&] { return door->sessions() == 1; }));
    for (int id = 0; id < 100; ++id) {
        deaf.write("{\"id\":1,\"request\":\"applications\"}\n");
    }
    deaf.flush();
    QVERIFY(waitUntil([&] { return served >= 3; }));
    QTest::qWait(200);
    QVERIFY2(served <= 5, qPrintable(QString::number(served)));
    // Others are served.
    SessionClient other(path());
    QCOMPARE(errorOf(other, u"ping"_s), u"ok"_s);
    deaf.setReadBufferSize(0);
    QVERIFY(waitUntil([&] {
        deaf.readAll();
        return served == 100;
    }));
}

void tst_Session::eventsForAPeerThatDoesNotReadDoNotPileUp()
{
    screens.screens = {{QString(100'000, u'x'), QRect(0, 0, 1, 1), 1}};
    QLocalSocket deaf;
    deaf.setReadBufferSize(1);
    deaf.connectToServer(path());
    deaf.write("{\"id\":1,\"request\":\"watch\"}\n");
    QVERIFY(waitUntil([&] { return bool(screens.changed); }));
    for (int i = 0; i < 200; ++i) {
        screens.screens.first().scale = i;
        screens.changed();
    }
    deaf.setReadBufferSize(0);
    int events = 0;
    QByteArray line;
    QVERIFY(waitUntil([&] {
        while (deaf.canReadLine()) {
            line = deaf.readLine();
            events += line.contains("\"screens\"") ? 1 : 0;
        }
        return line.contains("\"scale\":199");
    }));
    // 1 MiB, what the system takes, and the latest one.
    QVERIFY2(events > 10 && events < 30, qPrintable(QString::number(events)));
}

namespace {

/// Sessions that ask several times for the applications, and read nothing for now.
class DeafCrowd
{
public:
    DeafCrowd(const QString &path, int size, int requests)
    {
        while (sockets.size() < static_cast<size_t>(size)) {
            auto socket = std::make_unique<QLocalSocket>();
            socket->setReadBufferSize(1);
            socket->connectToServer(path);
            socket->write(
                QByteArray("{\"id\":1,\"request\":\"applications\"}\n").repeated(requests));
            socket->flush();
            sockets.push_back(std::move(socket));
        }
    }

    void read()
    {
        for (const auto &socket : sockets) {
            socket->setReadBufferSize(0);
            socket->readAll();
        }
    }
    void leave() { sockets.clear(); }

private:
    std::vector<std::unique_ptr<QLocalSocket>> sockets;
};

/// Runs the event loop until the number has not changed for a while.
void waitUntilSettled(const int &number)
{
    int before = -1;
    while (before != number) {
        before = number;
        QTest::qWait(200);
    }
}

} // namespace

void tst_Session::bodiesThatArriveCountOverAllSessions()
{
    const QByteArray body(1'048'576, 'x');
    std::vector<std::unique_ptr<SessionClient>> others;
    for (int i = 0; i < 64; ++i) {
        others.push_back(std::make_unique<SessionClient>(path()));
        others.back()->greeting();
        others.back()->sendBytes(R"({"id":1,"request":"clipboard.set","body":1048576})"
                                 "\n");
    }
    SessionClient client(path());
    client.greeting();
    QVERIFY(waitUntil(
        [&] { return client.ask(u"clipboard.set"_s, {}, body).error() == u"too-much"_s; }));
    QCOMPARE(errorOf(client, u"ping"_s), u"ok"_s);
    others.pop_back();
    QVERIFY(waitUntil([&] { return client.ask(u"clipboard.set"_s, {}, body).isOk(); }));
    QCOMPARE(clipboard.content->size(), body.size());
}

/// Each answer has half a MB: each session may have one unread, and some a second or a third.
void tst_Session::unreadAnswersAreLimitedOverAllSessions()
{
    serveLongAnswers();
    const DeafCrowd crowd(path(), 100, 5);
    QVERIFY(waitUntil([this] { return served >= 100; }));
    waitUntilSettled(served);
    // Less is unsent: the system has taken something of each.
    const qint64 answers = qint64(served) * longAnswer;
    QVERIFY2(answers > Session::unsentOfAllSessions, qPrintable(QString::number(served)));
    QVERIFY2(answers < Session::unsentOfAllSessions * 3 / 2, qPrintable(QString::number(served)));
}

void tst_Session::whoeverReadsIsServedHoweverLittleOthersRead()
{
    serveLongAnswers();
    const DeafCrowd crowd(path(), 100, 5);
    QVERIFY(waitUntil([this] { return served >= 100; }));
    waitUntilSettled(served);
    SessionClient other(path());
    other.greeting();
    for (int i = 0; i < 20; ++i) {
        other.send(u"applications"_s);
    }
    for (int i = 0; i < 20; ++i) {
        QVERIFY(other.next());
    }
}

void tst_Session::requestsGoOnWhenOtherSessionsMakeRoom_data()
{
    QTest::addColumn<bool>("areGone");
    QTest::newRow("they read") << false;
    QTest::newRow("they leave") << true;
}

/// The sessions that wait read nothing, so their own answers do not wake them.
void tst_Session::requestsGoOnWhenOtherSessionsMakeRoom()
{
    QFETCH(bool, areGone);
    serveLongAnswers();
    DeafCrowd others(path(), 60, 3);
    QVERIFY(waitUntil([this] { return served >= 120; }));
    waitUntilSettled(served);
    const DeafCrowd waiting(path(), 20, 3);
    waitUntilSettled(served);
    QVERIFY2(served < 3 * 80 - 20, qPrintable(QString::number(served)));
    areGone ? others.leave() : others.read();
    QVERIFY2(waitUntil([this] { return served == 3 * 80; }), qPrintable(QString::number(served)));
}

void tst_Session::fewRequestsAreServedInARound()
{
    SessionClient flooding(path());
    flooding.greeting();
    QByteArray flood;
    for (int i = 0; i < 2'000; ++i) {
        flood += "{\"id\":1,\"request\":\"scroll\",\"dx\":0,\"dy\":1}\n";
    }
    flooding.sendBytes(flood);
    qsizetype before = 0;
    qsizetype most = 0;
    while (before < 2'000) {
        QCoreApplication::processEvents();
        most = std::max(most, record.calls.size() - before);
        before = record.calls.size();
    }
    QVERIFY2(most <= 32, qPrintable(QString::number(most)));
}

void tst_Session::aFloodHoldsNobodyUp()
{
    SessionClient flooding(path());
    flooding.greeting();
    SessionClient other(path());
    other.greeting();
    QByteArray flood;
    for (int i = 0; i < 100'000; ++i) {
        flood += "{\"id\":1,\"request\":\"scroll\",\"dx\":0,\"dy\":1}\n";
    }
    flooding.sendBytes(flood);
    QVERIFY(waitUntil([this] { return !record.calls.isEmpty(); }));
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < 5; ++i) {
        QCOMPARE(errorOf(other, u"ping"_s), u"ok"_s);
    }
    const auto took = time.elapsed();
    QVERIFY2(record.calls.size() < 90'000, qPrintable(QString::number(record.calls.size())));
    QVERIFY2(took < 2'000, qPrintable(QString::number(took)));
}

QTEST_GUILESS_MAIN(tst_Session)
#include "tst_Session.moc"
