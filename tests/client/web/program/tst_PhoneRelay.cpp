// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "client/StandInSessionServer.h"
#include "client/web/TestCertificate.h"
#include "support/web/WebPhone.h"
#include "web/http/AttemptGuard.h"
#include "web/program/WebService.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <QTest>
#include <QWebSocketServer>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;
using namespace quillmote;

namespace {

WebArguments onLoopback()
{
    WebArguments arguments;
    arguments.port = 0;
    arguments.addresses = {QHostAddress(QHostAddress::LocalHost)};
    return arguments;
}

struct Secret
{
    QByteArray id;
    QByteArray bytes;
};

Secret secretIn(const QJsonObject &hello)
{
    const QJsonObject phone = hello.value("phone"_L1).toObject();
    return {QByteArray::fromHex(phone.value("id"_L1).toString().toLatin1()),
            QByteArray::fromBase64(phone.value("secret"_L1).toString().toLatin1())};
}

QString errorOf(const WireText &answer)
{
    return answer.object.value("error"_L1).toString();
}

/// The next state that a window is told and that is as wanted; empty if none comes.
template <typename Condition> QJsonObject nextState(WebPhone &window, Condition isWanted)
{
    QJsonObject told;
    do {
        told = window.nextEvent(u"state"_s);
    } while (!told.isEmpty() && !isWanted(told));
    return told;
}

} // namespace

/// From a phone's connection to the session socket and back, with everything between them.
class tst_PhoneRelay : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir config;
    std::optional<StandInSessionServer> server;
    std::unique_ptr<WebService> service;

    quint16 port() const { return service->pageAddress().port; }

    bool startService()
    {
        service = std::make_unique<WebService>(onLoopback());
        return service->open().isEmpty();
    }

    /// A phone that comes in by a code.
    std::unique_ptr<WebPhone> newPhone(QJsonObject *hello = nullptr)
    {
        auto phone = std::make_unique<WebPhone>(port());
        if (!phone->enterByCode(service->pairingCodes().make())) {
            return nullptr;
        }
        const QJsonObject answer = phone->sayHello();
        if (hello) {
            *hello = answer;
        }
        return phone;
    }
    std::unique_ptr<WebPhone> knownPhone(const Secret &secret)
    {
        auto phone = std::make_unique<WebPhone>(port());
        return phone->enter(Credential::Phone, secret.id, secret.bytes) ? std::move(phone)
                                                                        : nullptr;
    }
    std::unique_ptr<WebPhone> deskWindow()
    {
        auto window = std::make_unique<WebPhone>(port());
        return window->enter(Credential::Desk, {}, service->deskSecret()) ? std::move(window)
                                                                          : nullptr;
    }
    WebArguments withCertificate(const QByteArray &certificate) const
    {
        WebArguments arguments = onLoopback();
        for (const auto &[path, content] : {std::pair(&arguments.certificateFile, certificate),
                                            std::pair(&arguments.keyFile, TestCertificate::key)}) {
            *path = config.filePath(QString::number(content.size()) + u".pem"_s);
            QFile file(*path);
            if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
                qFatal("The certificate cannot be written.");
            }
        }
        return arguments;
    }
    bool hasRequest(const QString &request) const
    {
        for (const auto &asked : server->requests) {
            if (asked.fields.value("request"_L1).toString() == request) {
                return true;
            }
        }
        return false;
    }

private slots:
    void init()
    {
        server.emplace();
        qputenv("XDG_RUNTIME_DIR", server->runtimeFolder().toLocal8Bit());
        QFile::remove(WebStore::usualPath());
        QVERIFY(startService());
    }

    void cleanup()
    {
        service.reset();
        server.reset();
    }

    void aCodeBringsASecretOfItsOwn()
    {
        QJsonObject hello;
        const auto phone = newPhone(&hello);
        QVERIFY(phone);
        QVERIFY(phone->receivedPayload.contains("\"computer\""));
        QVERIFY(!hello.value("computer"_L1).toString().isEmpty());
        const Secret secret = secretIn(hello);
        QCOMPARE(secret.id.size(), 16);
        QCOMPARE(secret.bytes.size(), 32);
        const auto again = knownPhone(secret);
        QVERIFY(again);
        const QJsonObject second = again->sayHello();
        QVERIFY(second.value("ok"_L1).toBool());
        QVERIFY(!second.contains("phone"_L1));
    }

    void aCodeWorksOnce()
    {
        const OneTimeCode code = service->pairingCodes().make();
        WebPhone first(port());
        QVERIFY(first.enterByCode(code));
        WebPhone second(port());
        QVERIFY(second.enterByCode(code)); // both have answered the handshake with it
        QVERIFY(first.sayHello().contains("phone"_L1));
        second.send("hello");
        QCOMPARE(second.closeCode(), 4001);
        WebPhone third(port());
        QVERIFY(!third.enterByCode(code));
        QCOMPARE(third.closeCode(), 4001);
    }

    void aRecordedHandshakeUsesUpNoCode()
    {
        const OneTimeCode code = service->pairingCodes().make();
        WebPhone phone(port());
        QVERIFY(phone.enterByCode(code));
        WebPhone replayer(port());
        QVERIFY(replayer.waitUntilOpen());
        replayer.socket.sendBinaryMessage(phone.sentFirst);
        replayer.socket.sendBinaryMessage(QByteArray("x") + QByteArray(40, 'y'));
        QCOMPARE(replayer.closeCode(), 4000);
        QVERIFY(phone.sayHello().contains("phone"_L1));
    }

    void aRecordedConnectionCannotBeRepeated()
    {
        QJsonObject hello;
        newPhone(&hello);
        const auto phone = knownPhone(secretIn(hello));
        QVERIFY(phone);
        phone->sayHello();
        const QByteArray recordedHello = phone->sentLast;
        QVERIFY(phone->waitForServer(u"ready"_s));
        phone->ask("key", {{u"key"_s, u"a"_s}});
        const QByteArray recordedKey = phone->sentLast;
        server->requests.clear();
        WebPhone replayer(port());
        QVERIFY(replayer.waitUntilOpen());
        for (const QByteArray &recorded : {phone->sentFirst, recordedHello, recordedKey}) {
            replayer.socket.sendBinaryMessage(recorded);
        }
        QCOMPARE(replayer.closeCode(), 4000);
        QVERIFY(!hasRequest(u"key"_s));
        // Nor within the connection itself.
        phone->socket.sendBinaryMessage(recordedKey);
        QCOMPARE(phone->closeCode(), 4000);
        QVERIFY(!hasRequest(u"key"_s));
    }

    void requestsReachTheServerAndAnswersThePhone()
    {
        const auto phone = newPhone();
        QVERIFY(phone->waitForServer(u"ready"_s));
        server->onRequest = [](const StandInSessionServer::Request &request) {
            const QString name = request.fields.value("request"_L1).toString();
            if (name == "file.get"_L1) {
                return StandInSessionServer::Answer{{{u"ok"_s, true}, {u"size"_s, 3}}, "a\nb"};
            }
            return name == "open"_L1 ? StandInSessionServer::refusal(u"not-found"_s, u"No."_s)
                                     : StandInSessionServer::Answer();
        };
        QVERIFY(phone->ask("key", {{u"key"_s, u"Enter"_s}}).object.value("ok"_L1).toBool());
        QCOMPARE(server->requests.back().fields,
                 (QJsonObject{{u"request"_s, u"key"_s}, {u"key"_s, u"Enter"_s}}));
        const WireText file = phone->ask("file.get", {{u"name"_s, u"a"_s}});
        QCOMPARE(file.body, QByteArray("a\nb"));
        QCOMPARE(file.object.value("size"_L1).toInt(), 3);
        const WireText refused = phone->ask("open", {{u"address"_s, u"x"_s}});
        QCOMPARE(errorOf(refused), u"not-found"_s);
        QCOMPARE(refused.object.value("message"_L1).toString(), u"No."_s);
        const QByteArray piece("x\0y", 3);
        phone->ask("file.put", {{u"file"_s, 1}}, piece);
        QCOMPARE(server->requests.back().body, piece);
    }

    void eventsReachThePhone()
    {
        const auto phone = newPhone();
        QVERIFY(phone->waitForServer(u"ready"_s));
        server->socket->write("{\"event\":\"clipboard\"}\n");
        QVERIFY(!phone->nextEvent(u"clipboard"_s).isEmpty());
    }

    void answersKeepTheOrderOfTheRequests()
    {
        const auto phone = newPhone();
        QVERIFY(phone->waitForServer(u"ready"_s));
        const int first = phone->send("key", {{u"key"_s, u"a"_s}});
        const int second = phone->send("listen"); // is refused at once
        QList<int> order;
        QVERIFY(errorOf(phone->answerTo(second)) == u"unknown-request"_s);
        QVERIFY(phone->answerTo(first).object.contains("ok"_L1));
        phone->received.clear();
        const QList<int> sent{phone->send("key", {{u"key"_s, u"b"_s}}), phone->send("listen"),
                              phone->send("key", {{u"key"_s, u"c"_s}})};
        QTRY_COMPARE(phone->received.size(), 3U);
        for (const WireText &text : phone->received) {
            order += text.object.value("id"_L1).toInt();
        }
        QCOMPARE(order, sent);
    }

    void pingsAreAnsweredAtOnceAndReachTheServer()
    {
        const auto phone = newPhone();
        QVERIFY(phone->waitForServer(u"ready"_s));
        phone->received.clear();
        QByteArray asked;
        server->onBytes = [&asked](QLocalSocket &peer) { asked += peer.readAll(); };
        const int text = phone->send("text", {{u"text"_s, u"long"_s}});
        QVERIFY(phone->ask("ping").object.value("ok"_L1).toBool());
        QTRY_VERIFY(asked.contains("\"ping\""));
        QVERIFY(phone->received.empty());
        server->onBytes = {};
        server->socket->write("{\"id\":2,\"ok\":true}\n{\"id\":3,\"ok\":true}\n");
        QVERIFY(phone->answerTo(text).object.value("ok"_L1).toBool());
    }

    void phonesCannotAskForMoreThanAHandNeeds()
    {
        const auto phone = newPhone();
        QVERIFY(phone->waitForServer(u"ready"_s));
        for (const char *request : {"listen", "pair", "remove", "startServer", "code", "quit"}) {
            QCOMPARE(errorOf(phone->ask(request)), u"unknown-request"_s);
        }
        QVERIFY(!hasRequest(u"remove"_s));
        QVERIFY(phone->isOpen());
    }

    void eachPhoneHasASessionThatEndsWithIt()
    {
        auto phone = newPhone();
        QVERIFY(phone->waitForServer(u"ready"_s));
        const QPointer<QLocalSocket> session = server->socket;
        QVERIFY(session);
        phone.reset();
        QTRY_VERIFY(!session || session->state() == QLocalSocket::UnconnectedState);
    }

    void aPhoneThatComesAgainTakesThePlaceOfItsConnection()
    {
        QJsonObject hello;
        const auto phone = newPhone(&hello);
        QVERIFY(phone->waitForServer(u"ready"_s));
        const QPointer<QLocalSocket> session = server->socket;
        const auto other = newPhone();
        QVERIFY(other->waitForServer(u"ready"_s));
        const auto again = knownPhone(secretIn(hello));
        QElapsedTimer clock;
        clock.start();
        again->sayHello();
        QCOMPARE(phone->closeCode(), 4006);
        QVERIFY(clock.elapsed() < 5000); // half of the time that a silent phone has
        QTRY_VERIFY(!session || session->state() == QLocalSocket::UnconnectedState);
        QVERIFY(again->waitForServer(u"ready"_s));
        QVERIFY(again->ask("ping").object.value("ok"_L1).toBool());
        QVERIFY(other->ask("ping").object.value("ok"_L1).toBool());
    }

    void thePhoneIsToldWhenTheServerGoesAndComes()
    {
        const auto phone = newPhone();
        QVERIFY(phone->waitForServer(u"ready"_s));
        server.reset();
        QVERIFY(phone->waitForServer(u"missing"_s));
        QCOMPARE(errorOf(phone->ask("key", {{u"key"_s, u"a"_s}})), u"not-ready"_s);
        QVERIFY(phone->ask("ping").object.value("ok"_L1).toBool());
    }

    void theUserMayRefuseAPhone()
    {
        server->onRequest = [](const StandInSessionServer::Request &request) {
            return request.fields.value("request"_L1).toString() == "pair"_L1
                       ? StandInSessionServer::refusal(u"refused"_s, u"No."_s)
                       : StandInSessionServer::Answer();
        };
        QJsonObject hello;
        const auto phone = newPhone(&hello);
        QCOMPARE(phone->closeCode(), 4005);
        QCOMPARE(phone->serverState, u"refused"_s);
        WebPhone again(port());
        const Secret secret = secretIn(hello);
        QVERIFY(!again.enter(Credential::Phone, secret.id, secret.bytes));
        QCOMPARE(again.closeCode(), 4001);
    }

    void aPhoneCanLeaveAndBeNamed()
    {
        QJsonObject hello;
        const auto phone = newPhone(&hello);
        QCOMPARE(phone->ask("rename", {{u"name"_s, u"Ana's"_s}}).object.value("name"_L1).toString(),
                 u"Ana's"_s);
        QCOMPARE(WebStore(WebStore::usualPath()).phones().first().name, u"Ana's"_s);
        QVERIFY(phone->ask("leave").object.value("ok"_L1).toBool());
        QCOMPARE(phone->closeCode(), 4004);
        QVERIFY(WebStore(WebStore::usualPath()).phones().isEmpty());
    }

    void withoutAHelloNothingIsDone()
    {
        WebPhone phone(port());
        QVERIFY(phone.enterByCode(service->pairingCodes().make()));
        phone.send("key", {{u"key"_s, u"a"_s}});
        QCOMPARE(phone.closeCode(), 4000);
        QVERIFY(!hasRequest(u"key"_s));
    }

    void wrongSecretsAreShutOut()
    {
        for (int attempt = 0; attempt < AttemptGuard::freeAttempts; ++attempt) {
            WebPhone phone(port());
            QVERIFY(!phone.enter(Credential::Phone, QByteArray(16, 'i'), QByteArray(32, 's')));
            QCOMPARE(phone.closeCode(), 4001);
        }
        QElapsedTimer clock;
        clock.start();
        WebPhone late(port());
        QVERIFY(!late.enter(Credential::Phone, QByteArray(16, 'i'), QByteArray(32, 's')));
        QVERIFY2(clock.elapsed() >= 1000, qPrintable(QString::number(clock.elapsed())));
        // More at once do not get around the pause: they count, and the address is shut out.
        std::vector<std::unique_ptr<WebPhone>> crowd;
        for (int further = 0; further < AttemptGuard::mostAttempts; ++further) {
            crowd.push_back(std::make_unique<WebPhone>(port()));
            QVERIFY(crowd.back()->waitUntilOpen());
            crowd.back()->socket.sendBinaryMessage(
                Initiator(Credential::Phone, QByteArray(16, 'i'), QByteArray(32, 's')).first("{}"));
        }
        QCOMPARE(crowd.back()->closeCode(), 4002);
        WebPhone known(port());
        QVERIFY(!known.enterByCode(service->pairingCodes().make()));
        QCOMPARE(known.closeCode(), 4002);
        QVERIFY(known.socket.closeReason().toInt() > 500);
        // Who did that may be another user of this computer.
        QVERIFY(deskWindow());
    }

    void malformedMessagesCloseTheConnection_data()
    {
        QTest::addColumn<QByteArray>("plain");
        QTest::newRow("no object") << QByteArray("[]\n");
        QTest::newRow("no line feed") << QByteArray("{}");
        QTest::newRow("no id") << QByteArray("{\"request\":\"ping\"}\n");
        QTest::newRow("an object as id") << QByteArray("{\"id\":{},\"request\":\"ping\"}\n");
        QTest::newRow("a long id")
            << "{\"id\":\"" + QByteArray(65, 'x') + "\",\"request\":\"ping\"}\n";
        QTest::newRow("no request") << QByteArray("{\"id\":1}\n");
    }

    void malformedMessagesCloseTheConnection()
    {
        QFETCH(QByteArray, plain);
        const auto phone = newPhone();
        phone->sendPlain(plain);
        QCOMPARE(phone->closeCode(), 4000);
    }

    void aPhoneThatAsksWithoutEndIsClosed()
    {
        const auto phone = newPhone();
        QVERIFY(phone->waitForServer(u"ready"_s));
        server->onBytes = [](QLocalSocket &) {}; // never answers from now on
        for (size_t count = 0; count <= PhoneSession::mostWaiting; ++count) {
            phone->send("key", {{u"key"_s, u"a"_s}});
        }
        QCOMPARE(phone->closeCode(), 4003);
    }

    void aPhoneThatPingsWithoutEndIsClosed()
    {
        const auto phone = newPhone();
        for (int count = 0; count < PhoneSession::mostPings; ++count) {
            phone->send("ping");
        }
        phone->ask("rename", {{u"name"_s, u"x"_s}});
        QVERIFY(phone->isOpen());
        for (int count = 0; count <= PhoneSession::mostPings; ++count) {
            phone->send("ping");
        }
        QCOMPARE(phone->closeCode(), 4003);
    }

    void aPhoneThatSendsMoreThanIsTakenIsClosed()
    {
        const auto phone = newPhone();
        QVERIFY(phone->waitForServer(u"ready"_s));
        server->onBytes = [](QLocalSocket &) {};
        const QByteArray piece(WireText::longestPiece, 'x');
        for (qint64 sent = 0; sent <= PhoneSession::mostWaitingBytes; sent += piece.size()) {
            phone->send("file.put", {{u"file"_s, 1}}, piece);
        }
        QCOMPARE(phone->closeCode(), 4003);
    }

    void theDesktopsPageShowsAndRemovesPhones()
    {
        const auto window = deskWindow();
        QVERIFY(window);
        QVERIFY(window->nextEvent(u"state"_s).value("phones"_L1).toArray().isEmpty());
        QVERIFY(window->ask("code").object.value("ok"_L1).toBool());
        const QJsonObject shown = window->nextEvent(u"state"_s);
        const QJsonObject code = shown.value("code"_L1).toObject();
        QVERIFY(code.value("url"_L1).toString().endsWith(
            u'#' + code.value("text"_L1).toString().remove(u'-')));
        QVERIFY(code.value("expires"_L1).toInt() > 100'000);
        const auto text = OneTimeCode::fromText(code.value("text"_L1).toString());
        QVERIFY(text);
        window->received.clear();
        WebPhone phone(port());
        QVERIFY(phone.enterByCode(*text));
        phone.sayHello(u"Ana's phone"_s);
        const QJsonObject state = nextState(*window, [](const QJsonObject &told) {
            return !told.value("phones"_L1).toArray().isEmpty();
        });
        const QJsonObject known = state.value("phones"_L1).toArray().at(0).toObject();
        QCOMPARE(known.value("name"_L1).toString(), u"Ana's phone"_s);
        QVERIFY(known.value("connected"_L1).toBool());
        QVERIFY(!QJsonDocument(known).toJson().contains("secret"));
        QVERIFY(window->ask("remove", {{u"phone"_s, known.value("id"_L1)}})
                    .object.value("ok"_L1)
                    .toBool());
        QCOMPARE(phone.closeCode(), 4004);
        QVERIFY(!nextState(*window, [](const QJsonObject &told) {
                     return told.value("phones"_L1).toArray().isEmpty();
                 }).isEmpty());
    }

    void onlyTheDesktopsSecretOpensItsPage()
    {
        QJsonObject hello;
        newPhone(&hello);
        WebPhone window(port());
        QVERIFY(!window.enter(Credential::Desk, {}, secretIn(hello).bytes));
        QCOMPARE(window.closeCode(), 4001);
    }

    void theDesktopsSecretIsNoUseElsewhere()
    {
        const WebStore store(WebStore::usualPath());
        const PairingCodes codes;
        Reception reception(store, codes, service->deskSecret());
        reception.onGuest = [](const Guest &) { QFAIL("A guest from elsewhere was let in."); };
        QWebSocketServer elsewhere(u"test"_s, QWebSocketServer::NonSecureMode);
        QVERIFY(elsewhere.listen(QHostAddress::LocalHost));
        connect(&elsewhere, &QWebSocketServer::newConnection, this, [&] {
            reception.receive(std::unique_ptr<QWebSocket>(elsewhere.nextPendingConnection()),
                              false);
        });
        WebPhone window(elsewhere.serverPort());
        QVERIFY(!window.enter(Credential::Desk, {}, service->deskSecret()));
        QCOMPARE(window.closeCode(), 4001);
    }

    void whoeverShowsNoSecretIsSentAway()
    {
        WebPhone stranger(port());
        QVERIFY(stranger.waitUntilOpen());
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(stranger.closeCode(), 4000);
        QVERIFY(clock.elapsed() < 3 * 5000);
    }

    void theOldestStrangerMakesRoom()
    {
        WebPhone first(port());
        QVERIFY(first.waitUntilOpen());
        std::vector<std::unique_ptr<WebPhone>> crowd;
        for (size_t count = 0; count < Reception::mostStrangers; ++count) {
            crowd.push_back(std::make_unique<WebPhone>(port()));
            QVERIFY(crowd.back()->waitUntilOpen());
        }
        QCOMPARE(first.closeCode(), 4003);
        QVERIFY(newPhone());
    }

    void aSilentPhoneIsClosed()
    {
        WebPhone mute(port());
        QVERIFY(mute.enterByCode(service->pairingCodes().make()));
        auto phone = newPhone();
        QVERIFY(phone->waitForServer(u"ready"_s));
        const QPointer<QLocalSocket> session = server->socket;
        QCOMPARE(phone->closeCode(), 1001);
        QCOMPARE(mute.closeCode(), 1001);
        QTRY_VERIFY(!session || session->state() == QLocalSocket::UnconnectedState);
    }

    void aClosedWindowTakesItsCodeBack()
    {
        auto window = deskWindow();
        window->ask("code");
        QCOMPARE(service->pairingCodes().valid().size(), 1U);
        window.reset();
        QTRY_VERIFY(service->pairingCodes().valid().empty());
    }

    void theServersAddressIsSwitchedFromTheDesktopsPage()
    {
        server->onRequest = [](const StandInSessionServer::Request &request) {
            StandInSessionServer::Answer answer;
            answer.fields.insert(u"address"_s, request.fields.value("address"_L1).toString());
            return answer;
        };
        const auto window = deskWindow();
        QVERIFY(
            window->ask("listen", {{u"address"_s, u"127.0.0.1"_s}}).object.value("ok"_L1).toBool());
        QVERIFY(!nextState(*window, [](const QJsonObject &told) {
                     const QJsonObject shown = told.value("server"_L1).toObject();
                     return shown.value("listenAddress"_L1).toString() == "127.0.0.1"_L1;
                 }).isEmpty());
        QVERIFY(hasRequest(u"listen"_s));
    }

    void theNameInTheCertificateIsOffered()
    {
        service = std::make_unique<WebService>(withCertificate(TestCertificate::certificate));
        QCOMPARE(service->open(), QString());
        QVERIFY(service->deskPort() != port());
        auto window = std::make_unique<WebPhone>(service->deskPort());
        QVERIFY(window->enter(Credential::Desk, {}, service->deskSecret()));
        const QJsonObject state = window->nextEvent(u"state"_s);
        QVERIFY(state.value("https"_L1).toBool());
        const QString url = u"https://phones.example:%1/"_s.arg(port());
        QCOMPARE(state.value("addresses"_L1).toArray().at(0).toObject().value("url"_L1).toString(),
                 url);
        WebPhone plain(port());
        QVERIFY(!plain.waitUntilOpen());
    }

    void certificatesThatCannotBeUsedAreExplained()
    {
        WebService broken(withCertificate("no certificate"));
        QVERIFY2(broken.open().contains("no certificate"_L1), qPrintable(broken.open()));
        WebArguments withoutKey = withCertificate(TestCertificate::certificate);
        withoutKey.keyFile = withoutKey.certificateFile;
        WebService keyless(withoutKey);
        QVERIFY2(keyless.open().contains("no key"_L1), qPrintable(keyless.open()));
    }

    void phonesSurviveARestart()
    {
        QJsonObject hello;
        auto phone = newPhone(&hello);
        service.reset();
        QCOMPARE(phone->closeCode(), 1001);
        QVERIFY(startService());
        const auto again = knownPhone(secretIn(hello));
        QVERIFY(again);
        QVERIFY(again->sayHello().value("ok"_L1).toBool());
        QVERIFY(again->waitForServer(u"ready"_s));
    }
};

QTEST_GUILESS_MAIN(tst_PhoneRelay)
#include "tst_PhoneRelay.moc"
