// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Session.h"

#include "program/ConnectionKeeper.h"
#include "program/LastServer.h"
#include "program/Target.h"

#include <QEventLoop>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

using namespace std::chrono_literals;

/// A server that does not ask a person answers within this time.
constexpr auto answerWithoutQuestion = 300ms;

/// Whether the server shows a balloon about the command, which the end of the connection covers.
bool isShownByServer(const QString &command)
{
    return command == "open"_L1 || command == "copy"_L1 || command == "send"_L1;
}

} // namespace

Session::Session(const Target &target, const Arguments &arguments)
    : name(target.name)
    , advertisedName(target.advertisedName)
    , isShownThere(isShownByServer(arguments.command))
{
    if (isShownThere) {
        ConnectionKeeper::endEarlier();
    }
    connectTo(target, arguments);
}

Session::~Session()
{
    if (!link.hasAnswered()) {
        return;
    }
    if (!advertisedName.isEmpty()) {
        LastServer::remember(advertisedName);
    }
    if (isShownThere && link.isOpen()) {
        ConnectionKeeper::keep(link.descriptor());
    }
}

void Session::connectTo(const Target &target, const Arguments &arguments)
{
    link.setTimeout(arguments.timeout);
    QEventLoop loop;
    QString problem;
    QObject::connect(&link, &Connection::opened, &loop, [&] { loop.exit(0); });
    QObject::connect(&link, &Connection::lost, &loop, [&](const QString &why) {
        problem = why;
        loop.exit(1);
    });
    link.open(target.host, target.port);
    if (loop.exec() == 0) {
        code = ExitCode::Done;
    } else {
        Terminal::complain(
            u"%1 cannot be reached (%2); is VornaServer running there?"_s.arg(name, problem),
            "unreachable"_L1);
    }
}

ExitCode Session::run(const Request &request, Answer *answer)
{
    QEventLoop loop;
    Outcome outcome;
    if (request.asksUser) {
        QTimer::singleShot(answerWithoutQuestion, &loop, [this] {
            Terminal::note(u"Waiting for someone at %1 to accept."_s.arg(name));
        });
    }
    link.send(request, [&](const Outcome &end) {
        outcome = end;
        loop.quit();
    });
    loop.exec();
    if (answer != nullptr) {
        *answer = outcome.answer;
    }
    return report(outcome);
}

ExitCode Session::report(const Outcome &outcome)
{
    return report(outcome, u"Try a longer --timeout."_s);
}

ExitCode Session::report(const Outcome &outcome, const QString &timeoutAdvice)
{
    using Kind = Outcome::Kind;
    switch (outcome.kind) {
    case Kind::Done:
        return outcome.answer.response() == "ERROR"_L1 ? ExitCode::ServerError : ExitCode::Done;
    case Kind::Refused:
        Terminal::complain(outcome.problem, "cannot-send"_L1);
        return ExitCode::Usage;
    case Kind::TimedOut:
        Terminal::complain(outcome.problem + u' ' + timeoutAdvice, "timeout"_L1);
        return ExitCode::NoConnection;
    case Kind::Lost:
        Terminal::complain(outcome.problem + u" Is VornaServer still running there?"_s, "lost"_L1);
        return ExitCode::NoConnection;
    }
    return ExitCode::NoConnection;
}

} // namespace quillmote
