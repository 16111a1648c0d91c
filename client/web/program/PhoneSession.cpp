// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/PhoneSession.h"

#include "lib/SessionPath.h"
#include "web/program/PhoneRequests.h"

#include <QHash>
#include <QJsonArray>
#include <QPointer>

#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

using namespace std::chrono_literals;

/// While more is unsent, the next request waits: a phone that does not read costs no memory.
constexpr qint64 mostUnsent = 1024 * 1024;
/// A long text takes its time to type.
constexpr auto patience = 10min;
/// A server that need not ask anybody answers earlier.
constexpr auto pauseBeforeAsking = 300ms;

/// What the phone needs to identify a request.
bool isUsableId(const QJsonValue &id)
{
    return id.isDouble() || (id.isString() && id.toString().size() <= 64);
}

} // namespace

PhoneSession::PhoneSession(std::unique_ptr<SecureSocket> browser, KnownPhone phone,
                           QString socketPath)
    : socket(std::move(browser))
    , known(std::move(phone))
    , path(std::move(socketPath))
{
    askingLong.setSingleShot(true);
    askingLong.setInterval(pauseBeforeAsking);
    connect(&askingLong, &QTimer::timeout, this, [this] { setState(State::Asking); });
    connect(socket.get(), &SecureSocket::received, this, &PhoneSession::take);
    connect(socket.get(), &SecureSocket::taken, this, &PhoneSession::passOn);
    connect(socket.get(), &SecureSocket::ended, this, &PhoneSession::ended);
}

/// The server releases what the phone holds.
PhoneSession::~PhoneSession()
{
    if (server) {
        server->disconnect(this);
        // The answers to what it waits for go to a connection that is closed.
        server->cancel();
        server.release()->deleteLater(); // it may be emitting a signal
    }
}

QJsonObject PhoneSession::serverState() const
{
    static const QHash<State, QString> words{
        {State::Missing, u"missing"_s}, {State::Asking, u"asking"_s}, {State::Ready, u"ready"_s}};
    QJsonObject told{{u"state"_s, words[state]}};
    if (!obstacle.isEmpty()) {
        told.insert(u"message"_s, obstacle);
    }
    if (server && server->isOpen()) {
        told.insert(u"name"_s, server->greeting().name);
        told.insert(u"can"_s, QJsonArray::fromStringList(server->greeting().can));
    }
    return told;
}

void PhoneSession::welcome(const QJsonValue &id, const QJsonObject &fields)
{
    QJsonObject answered = fields;
    answered.insert(u"id"_s, id);
    answered.insert(u"ok"_s, true);
    answered.insert(u"server"_s, serverState());
    socket->send(answered);
    isWelcome = true;
    tryServer();
}

void PhoneSession::tryServer()
{
    if (server || !SessionPlace::reasonAgainst(path).isEmpty()) {
        return;
    }
    server = std::make_unique<SessionConnection>();
    server->setTimeout(patience);
    connect(server.get(), &SessionConnection::opened, this, &PhoneSession::askForPairing);
    connect(server.get(), &SessionConnection::lost, this, &PhoneSession::loseServer);
    connect(server.get(), &SessionConnection::happened, this, [this](const QJsonObject &event) {
        if (state == State::Ready) {
            socket->send(event);
        }
    });
    server->open(path);
}

void PhoneSession::askForPairing()
{
    askingLong.start();
    server->send(
        SessionMessage::pair(known.name, u"phone "_s + QLatin1StringView(known.id.toHex())),
        [this](const SessionOutcome &outcome) { takeDecision(outcome); });
}

void PhoneSession::takeDecision(const SessionOutcome &outcome)
{
    askingLong.stop();
    if (outcome.isDone()) {
        setState(State::Ready);
    } else if (outcome.kind == SessionOutcome::Kind::Refused && outcome.error == "refused"_L1) {
        socket->send({{u"event"_s, u"server"_s}, {u"state"_s, u"refused"_s}});
        emit refused();
    } else if (outcome.kind == SessionOutcome::Kind::Refused) {
        setState(State::Missing, outcome.problem);
    }
}

void PhoneSession::setState(State next, const QString &why)
{
    const bool isNews = std::exchange(state, next) != next || obstacle != why;
    obstacle = why;
    if (isNews && isWelcome) {
        QJsonObject event = serverState();
        event.insert(u"event"_s, u"server"_s);
        socket->send(event);
    }
}

void PhoneSession::loseServer(const QString &problem)
{
    askingLong.stop();
    server->disconnect(this);
    server.release()->deleteLater(); // it is emitting the signal
    setState(State::Missing, problem);
}

void PhoneSession::take(const WireText &text)
{
    const QJsonValue id = text.object.value("id"_L1);
    if (!isUsableId(id) || !text.object.value("request"_L1).isString()) {
        close(CloseCode::BrokenMessage);
        emit ended();
        return;
    }
    if (text.object.value("request"_L1).toString() == "ping"_L1) {
        answerPing(id);
        return;
    }
    waitingBytes += text.body.size();
    if (requests.size() >= mostWaiting || waitingBytes > mostWaitingBytes) {
        close(CloseCode::TooMany);
        emit ended();
        return;
    }
    auto request = std::make_shared<Request>();
    request->id = id;
    request->asked = text;
    request->size = text.body.size();
    requests.push_back(std::move(request));
    passOn();
}

/// At once, so that the phone knows that the connection works while a long text is typed. The
/// server gets it, too, as the sign that the phone is there.
void PhoneSession::answerPing(const QJsonValue &id)
{
    if (!pingClock.isValid() || pingClock.hasExpired(1000)) {
        pingClock.start();
        pings = 0;
    }
    if (++pings > mostPings) {
        close(CloseCode::TooMany);
        emit ended();
        return;
    }
    if (state == State::Ready) {
        server->send(SessionMessage::ping(), {});
    }
    socket->send({{u"id"_s, id}, {u"ok"_s, true}});
}

void PhoneSession::passOn()
{
    // Serving one may answer others and so shorten the list.
    const std::vector<std::shared_ptr<Request>> listed(requests.begin(), requests.end());
    for (const auto &request : listed) {
        if (!socket->isOpen() || socket->unsent() > mostUnsent) {
            return;
        }
        if (!std::exchange(request->isPassedOn, true)) {
            serve(request);
        }
    }
}

void PhoneSession::serve(const std::shared_ptr<Request> &request)
{
    const QString name = request->asked.object.value("request"_L1).toString();
    if (name == "rename"_L1) {
        known.name = WebStore::cleaned(request->asked.object.value("name"_L1).toString());
        emit renamed(known.name);
        answer(request, {{u"name"_s, known.name}});
    } else if (name == "leave"_L1) {
        answer(request, {});
        emit left();
    } else if (!PhoneRequests::isAllowed(name)) {
        refuse(request, u"unknown-request"_s, u"Phones cannot ask for that."_s);
    } else if (state != State::Ready) {
        refuse(request, u"not-ready"_s, u"VornaServer cannot be used now."_s);
    } else if (!answerFromCache(request)) {
        forward(request);
    }
}

bool PhoneSession::answerFromCache(const std::shared_ptr<Request> &request)
{
    const QJsonObject &asked = request->asked.object;
    if (asked.value("request"_L1).toString() != "clipboard.get"_L1) {
        return false;
    }
    const auto part = clipboard.part(asked.value("offset"_L1).toInteger(), WireText::longestPiece);
    if (part) {
        answer(request, {{u"size"_s, part->size}}, part->bytes);
    }
    return part.has_value();
}

void PhoneSession::forward(const std::shared_ptr<Request> &request)
{
    const SessionMessage sent = PhoneRequests::forServer(request->asked);
    const qint64 offset = sent.fields.value("offset"_L1).toInteger();
    // The session's end ends its requests, and a request's end may end the session.
    const QPointer<PhoneSession> self(this);
    server->send(sent, [this, self, request, offset](const SessionOutcome &outcome) {
        if (self) {
            takeOutcome(request, offset, outcome);
        }
    });
    request->asked.body.clear();
}

void PhoneSession::takeOutcome(const std::shared_ptr<Request> &request, qint64 offset,
                               const SessionOutcome &outcome)
{
    using Kind = SessionOutcome::Kind;
    if (outcome.kind == Kind::Refused) {
        refuse(request, outcome.error, outcome.problem);
    } else if (!outcome.isDone()) {
        refuse(request, u"not-ready"_s, outcome.problem);
    } else if (request->asked.object.value("request"_L1).toString() == "clipboard.get"_L1) {
        clipboard.keep(offset, outcome.body, outcome.fields.value("size"_L1).toInteger());
        answer(request, outcome.fields, outcome.body.left(WireText::longestPiece));
    } else {
        answer(request, outcome.fields, outcome.body);
    }
}

void PhoneSession::answer(const std::shared_ptr<Request> &request, const QJsonObject &fields,
                          const QByteArray &body)
{
    request->answer = {fields, body};
    request->answer.object.insert(u"id"_s, request->id);
    request->answer.object.insert(u"ok"_s, true);
    request->answer.object.remove("body"_L1); // what follows the line is the body
    finish(request);
}

void PhoneSession::refuse(const std::shared_ptr<Request> &request, const QString &error,
                          const QString &why)
{
    request->answer.object = {{u"id"_s, request->id}, {u"error"_s, error}, {u"message"_s, why}};
    finish(request);
}

void PhoneSession::finish(const std::shared_ptr<Request> &request)
{
    request->isAnswered = true;
    waitingBytes -= std::exchange(request->size, 0);
    while (!requests.empty() && requests.front()->isAnswered) {
        const WireText &next = requests.front()->answer;
        socket->send(next.object, next.body);
        requests.pop_front();
    }
}

} // namespace quillmote
