// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/Session.h"

#include "platform/SessionHost.h"
#include "session/SessionClipboard.h"
#include "session/SessionCommons.h"
#include "session/SessionJson.h"
#include "session/SessionRequests.h"

#include <QDeadlineTimer>
#include <QPointer>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

namespace {

/// How much is read while a request is being served. The end of the session is noticed behind it.
constexpr qsizetype mostReadAhead = 64 * 1024;

/// How many requests are served in one turn, and for how long at most one more is begun.
constexpr int mostInTurn = 16;
constexpr auto turn = 2ms;

/// How often a session reads before others have their turn.
constexpr int mostReads = 8;

constexpr auto lookForEnd = 1s;

} // namespace

Session::Session(std::unique_ptr<platform::LocalStream> opened, SessionCommons &sessionCommons)
    : commons(sessionCommons)
    , stream(std::move(opened))
{
    requests = std::make_unique<SessionRequests>(
        commons, stream.peerProgram(), [this](const QJsonObject &event) { sendEvent(event); });
    connect(&stream, &SessionStream::arrived, this, &Session::take);
    const auto goOnAnswering = [this] {
        sendLateEvents();
        goOn();
    };
    unsent.emplace(commons.unsent, goOnAnswering);
    connect(&stream, &SessionStream::sent, this, [this, goOnAnswering] {
        noteUnsent();
        goOnAnswering();
    });
    holding.setSingleShot(true);
    connect(&holding, &QTimer::timeout, this, [this] { requests->releaseHeld(); });
    connect(&endWatch, &QTimer::timeout, this, &Session::notice);
    write(SessionJson::written(requests->greeting()));
}

Session::~Session()
{
    end();
}

void Session::end(const QByteArray &farewell)
{
    holding.stop();
    endWatch.stop();
    requests.reset();
    stream.write(farewell);
    stream.close();
    unsent.reset();
    gathered.reset();
}

void Session::finish()
{
    end();
    emit over();
}

/// A body that comes as fast as it is read needs no round of the event loop for each piece.
void Session::take()
{
    for (int count = 0; count < mostReads && takeSome(); ++count) {
    }
}

/// Returns whether to read on: something has come, and nothing is left to serve before more has.
bool Session::takeSome()
{
    const std::optional<SessionStream::Received> received = stream.read(frames.place());
    frames.placed(received ? received->placed : 0);
    if (!received) {
        notice();
        return false;
    }
    frames.add(received->others);
    if (!frames.isWithinBody()) {
        serveArrived();
    }
    return frames.isWithinBody() && !received->isNothing();
}

/// The peer has ended its sending, or may have gone. What it has sent is still served, but it
/// gives up a request that takes its time.
void Session::notice()
{
    if (isPending && stream.isPeerGone()) {
        finish();
    } else {
        goOn();
    }
}

/// A request that comes alone is served at once: another round of the event loop would take longer
/// than most requests.
void Session::serveArrived()
{
    if (!mayServe() || !commons.turns.isIdle()) {
        goOn();
        return;
    }
    isTakingTurns = true;
    if (serveSome()) {
        takeTurns();
    }
}

/// Serves what has come, if nothing is in the way of that.
void Session::goOn()
{
    if (mayServe()) {
        isTakingTurns = true;
        takeTurns();
    }
    adjustReading();
}

bool Session::mayServe() const
{
    return requests != nullptr && !isPending && !isTakingTurns;
}

void Session::takeTurns()
{
    commons.turns.enter(this, [this] { return serveSome(); });
}

bool Session::serveSome()
{
    const QDeadlineTimer end(turn, Qt::PreciseTimer);
    for (int served = 0; served < mostInTurn && !end.hasExpired(); ++served) {
        if (!serveNext()) {
            isTakingTurns = false;
            finishIfDone();
            return false;
        }
    }
    adjustReading();
    return true;
}

/// Returns whether there may be another one to serve now.
bool Session::serveNext()
{
    if (requests == nullptr || isPending || !mayAnswer()) {
        return false;
    }
    const std::optional<SessionFrames::Frame> frame = frames.next();
    if (!frame) {
        return false;
    }
    handle(*frame);
    return true;
}

/// Whether more may be added to what is unsent. If not, the session goes on when it may.
bool Session::mayAnswer()
{
    const qsizetype size = stream.unsent();
    return size <= alwaysUnsent || (size <= mostUnsent && unsent->askForRoom());
}

void Session::write(const QByteArray &bytes)
{
    stream.write(bytes);
    noteUnsent();
}

void Session::noteUnsent()
{
    if (unsent) {
        unsent->hold(std::max<qint64>(0, stream.unsent() - alwaysUnsent));
    }
}

/// For a peer that does not read, only the latest event of each name is kept.
void Session::sendEvent(const QJsonObject &event)
{
    if (mayAnswer()) {
        write(SessionJson::written(event));
    } else {
        lateEvents.insert(event.value("event"_L1).toString(), event);
    }
}

void Session::sendLateEvents()
{
    if (!lateEvents.isEmpty() && mayAnswer()) {
        for (const QJsonObject &event : std::exchange(lateEvents, {})) {
            write(SessionJson::written(event));
        }
    }
}

void Session::finishIfDone()
{
    const bool isIdle = requests != nullptr && !isPending && stream.unsent() == 0;
    if (isIdle && stream.hasEnded()) {
        finish();
    } else {
        adjustReading();
    }
}

/// Reads on while there is room, or while something is still incomplete.
void Session::adjustReading()
{
    const bool isHeldUp = isPending || isTakingTurns || !mayAnswer();
    stream.setReading(requests != nullptr && (!isHeldUp || frames.stored() < mostReadAhead));
    const bool isBlind = requests != nullptr && !stream.isReading();
    if (isBlind != endWatch.isActive()) {
        isBlind ? endWatch.start(lookForEnd) : endWatch.stop();
    }
}

void Session::handle(const SessionFrames::Frame &frame)
{
    switch (frame.kind) {
    case SessionFrames::Kind::Line:
    case SessionFrames::Kind::LongLine:
        handleLine(frame);
        break;
    case SessionFrames::Kind::Part:
        requests->takePart(announced->request, frame.bytes);
        break;
    case SessionFrames::Kind::Body:
        gathered.reset();
        announced->request.body = frame.bytes;
        serve(*std::exchange(announced, std::nullopt));
        break;
    case SessionFrames::Kind::LongBody:
        serve(withFault(announced->request.id, u"too-long"_s, u"The body is too long."_s));
        announced.reset();
        break;
    }
}

void Session::handleLine(const SessionFrames::Frame &frame)
{
    watchHeld();
    Incoming incoming = frame.kind == SessionFrames::Kind::Line
                            ? understand(frame.bytes)
                            : withFault({}, u"too-long"_s, u"The line is too long."_s);
    if (incoming.bodySize) {
        expectBody(std::move(incoming));
    } else {
        serve(incoming);
    }
}

/// What nobody needs as a whole is not gathered.
void Session::expectBody(Incoming incoming)
{
    const qint64 size = *incoming.bodySize;
    bool isWhole = needsWholeBody(incoming);
    if (isWhole && !gathered.emplace(commons.texts).resize(size)) {
        incoming.fault = SessionClipboard::tooMuchText();
        isWhole = false;
    }
    frames.expectBody(size,
                      isWhole ? SessionFrames::Delivery::Whole : SessionFrames::Delivery::InParts);
    announced = std::move(incoming);
}

bool Session::needsWholeBody(const Incoming &incoming) const
{
    return !incoming.fault && *incoming.bodySize <= SessionFrames::longest &&
           requests->needsWholeBody(incoming.request);
}

Session::Incoming Session::withFault(const QJsonValue &id, const QString &error,
                                     const QString &message)
{
    return {{id, {}, {}, {}}, SessionReply::refused(error, message), {}};
}

Session::Incoming Session::understand(const QByteArray &line)
{
    const std::optional<QJsonObject> fields = SessionJson::read(line);
    if (!fields) {
        return withFault({}, u"bad-message"_s, u"This is no JSON object in UTF-8."_s);
    }
    Incoming incoming;
    readHead(incoming, *fields);
    return incoming;
}

/// A body that was announced comes, whatever else is wrong.
void Session::readHead(Incoming &incoming, const QJsonObject &fields)
{
    const auto refuse = [&](const QString &message) {
        incoming.fault = SessionReply::refused(u"bad-request"_s, message);
    };
    incoming.request = {SessionJson::idOf(fields), fields.value("request"_L1).toString(), fields,
                        std::nullopt};
    incoming.bodySize = SessionJson::sizeOfBody(fields);
    if (fields.contains("body"_L1) && !incoming.bodySize) {
        refuse(u"\"body\" must be a whole number."_s);
    } else if (!fields.value("request"_L1).isString()) {
        refuse(u"\"request\" must be a text."_s);
    } else if (incoming.request.id.isNull()) {
        refuse(u"\"id\" must be a whole number or a short text."_s);
    }
}

void Session::serve(const Incoming &incoming)
{
    const QJsonValue id = incoming.request.id;
    isPending = true;
    if (incoming.fault) {
        answered(id, *incoming.fault);
        return;
    }
    holding.stop();
    requests->serve(incoming.request, [self = QPointer(this), id](const SessionReply &reply) {
        if (!self.isNull()) {
            self->answered(id, reply);
        }
    });
}

void Session::answered(const QJsonValue &id, const SessionReply &reply)
{
    isPending = false;
    write(SessionJson::answer(id, reply));
    watchHeld();
    goOn();
}

/// The time begins anew.
void Session::watchHeld()
{
    if (requests != nullptr && requests->isHolding()) {
        holding.start(commons.services.holdingTime);
    } else {
        holding.stop();
    }
}
