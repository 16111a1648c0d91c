// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/LocalSession.h"

#include "lib/PrintableText.h"
#include "lib/SessionPath.h"
#include "program/LastServer.h"

#include <QEventLoop>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

using namespace std::chrono_literals;
using Kind = SessionOutcome::Kind;

/// A server that does not ask a person answers within this time.
constexpr auto quickAnswer = 300ms;
/// Requests that are sent ahead of the answers.
constexpr size_t requestsAhead = 16;

ExitCode exitCodeOf(const QString &error)
{
    const bool isWrongUse =
        error == "unknown-key"_L1 || error == "bad-text"_L1 || error == "bad-request"_L1;
    return isWrongUse ? ExitCode::Usage : ExitCode::ServerError;
}

} // namespace

LocalSession::Found LocalSession::find(std::chrono::milliseconds timeout)
{
    const QString path = SessionPlace::ofEnvironment().path();
    const QString reason = SessionPlace::reasonAgainst(path);
    if (!reason.isEmpty()) {
        return {nullptr, false, reason};
    }
    auto session = std::make_unique<LocalSession>(timeout);
    const QString problem = session->openAt(path);
    if (problem.isEmpty()) {
        return {std::move(session), false, {}};
    }
    return {nullptr, !session->link.isNobodyThere(), problem};
}

QString LocalSession::openAt(const QString &path)
{
    QString problem;
    QEventLoop loop;
    bool isOver = false;
    QObject::connect(&link, &SessionConnection::opened, &loop, &QEventLoop::quit);
    QObject::connect(&link, &SessionConnection::lost, &loop, [&](const QString &why) {
        problem = why;
        isOver = true;
        loop.quit();
    });
    link.open(path);
    // A connection that is refused may be reported at once.
    if (!isOver) {
        loop.exec();
    }
    return problem;
}

LocalSession::~LocalSession()
{
    if (link.hasAnswered() && !greeting().name.isEmpty()) {
        LastServer::remember(greeting().name);
    }
}

QString LocalSession::serverName() const
{
    return greeting().name.isEmpty() ? u"this computer"_s : printable(greeting().name);
}

ExitCode LocalSession::run(const SessionMessage &message, SessionOutcome *end)
{
    QEventLoop loop;
    SessionOutcome outcome;
    if (message.asksUser) {
        QTimer::singleShot(quickAnswer, &loop,
                           [] { Terminal::note(u"Waiting for someone to accept."_s); });
    }
    link.send(message, [&](const SessionOutcome &ended) {
        outcome = ended;
        loop.quit();
    });
    loop.exec();
    if (end != nullptr) {
        *end = outcome;
    }
    return report(outcome);
}

ExitCode LocalSession::runAll(const Next &next)
{
    QEventLoop loop;
    SessionOutcome worst;
    size_t underWay = 0;
    bool isAtEnd = false;
    const std::function<void()> sendMore = [&] {
        while (underWay < requestsAhead && !isAtEnd) {
            const auto message = next();
            isAtEnd = !message;
            if (message) {
                ++underWay;
                link.send(*message, [&](const SessionOutcome &outcome) {
                    --underWay;
                    if (!outcome.isDone()) {
                        worst = worst.isDone() ? outcome : worst;
                        isAtEnd = true;
                    }
                    sendMore();
                });
            }
        }
        if (underWay == 0) {
            loop.quit();
        }
    };
    sendMore();
    if (underWay > 0) {
        loop.exec();
    }
    return report(worst);
}

ExitCode LocalSession::runAll(const std::vector<SessionMessage> &messages)
{
    size_t sent = 0;
    return runAll(
        [&] { return sent < messages.size() ? std::optional(messages[sent++]) : std::nullopt; });
}

ExitCode LocalSession::pause(std::chrono::milliseconds time)
{
    QEventLoop loop;
    SessionOutcome outcome;
    QObject::connect(&link, &SessionConnection::lost, &loop, [&](const QString &why) {
        outcome = {Kind::Lost, {}, {}, {}, why};
        loop.quit();
    });
    QTimer::singleShot(time, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
    return report(outcome);
}

ExitCode LocalSession::report(const SessionOutcome &outcome)
{
    switch (outcome.kind) {
    case Kind::Done:
        return ExitCode::Done;
    case Kind::Refused: {
        const QByteArray code = outcome.error.toLatin1();
        Terminal::complain(outcome.problem, QLatin1StringView(code));
        return exitCodeOf(outcome.error);
    }
    case Kind::Unsent:
        Terminal::complain(outcome.problem, "cannot-send"_L1);
        return ExitCode::Usage;
    case Kind::TimedOut:
        Terminal::complain(outcome.problem + u" Try a longer --timeout."_s, "timeout"_L1);
        return ExitCode::NoConnection;
    case Kind::Lost:
        Terminal::complain(outcome.problem + u" Is VornaServer still running?"_s, "lost"_L1);
        return ExitCode::NoConnection;
    }
    return ExitCode::NoConnection;
}

} // namespace quillmote
