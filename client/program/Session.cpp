// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Session.h"

#include "lib/PrintableText.h"
#include "program/ConnectionKeeper.h"
#include "program/LastServer.h"
#include "program/ServerSearch.h"

#include <QEventLoop>
#include <QTimer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

using namespace std::chrono_literals;

/// How long to look for servers if none is named. Every server answers within this time, even if
/// its first answer is lost.
constexpr auto lookAround = 1'500ms;
/// A server that does not ask a person answers within this time.
constexpr auto quickAnswer = 300ms;

constexpr auto serverVariable = "QUILLMOTE_SERVER";

QString listed(const QList<ServerAddress> &servers)
{
    QStringList names;
    std::transform(servers.begin(), servers.end(), std::back_inserter(names),
                   [](const auto &server) { return u'"' + server.name + u'"'; });
    return printable(names.join(u", "_s));
}

/// Whether the server shows a balloon about the command, which the end of the connection covers.
bool isShownByServer(const QString &command)
{
    return command == "open"_L1 || command == "copy"_L1 || command == "send"_L1;
}

WantedServer wantedServer(const Arguments &arguments)
{
    const QString name =
        arguments.server.isEmpty() ? qEnvironmentVariable(serverVariable) : arguments.server;
    return {name, name.isEmpty() ? LastServer::name() : QString()};
}

void complainOfNone(const WantedServer &wanted, const QList<ServerAddress> &seen,
                    bool isNamedByOption)
{
    const QString source = wanted.name.isEmpty() || isNamedByOption
                               ? QString()
                               : u" (named by %1)"_s.arg(QLatin1StringView(serverVariable));
    const QString which = wanted.name.isEmpty()
                              ? QString()
                              : u" of the name \"%1\"%2"_s.arg(printable(wanted.name), source);
    const QString others =
        seen.isEmpty() ? QString() : u" These were found: %1."_s.arg(listed(seen));
    Terminal::complain(u"No server%1 was found; start VornaServer there, or give its address with "
                       "--host and --port.%2"_s.arg(which, others),
                       "no-server"_L1);
}

} // namespace

Session::Session(const Arguments &arguments) : isShownThere(isShownByServer(arguments.command))
{
    if (isShownThere) {
        ConnectionKeeper::endEarlier();
    }
    if (findServer(arguments)) {
        connectToServer(arguments);
    }
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

bool Session::findServer(const Arguments &arguments)
{
    if (arguments.host.isEmpty()) {
        return searchByName(arguments);
    }
    host = arguments.host;
    port = arguments.port;
    name = printable(u"%1:%2"_s.arg(host).arg(port));
    return true;
}

bool Session::searchByName(const Arguments &arguments)
{
    const WantedServer wanted = wantedServer(arguments);
    const auto limit = wanted.name.isEmpty()
                           ? std::min<std::chrono::milliseconds>(lookAround, arguments.timeout)
                           : arguments.timeout;
    const SearchResult result = ServerSearch(wanted).run(limit);
    if (!result.problem.isEmpty()) {
        Terminal::complain(result.problem + u" Give the server's address with --host and --port."_s,
                           "no-discovery"_L1);
        return false;
    }
    switch (result.choice.kind) {
    case ServerChoice::Kind::Clear:
        if (!wanted.lastUsed.isEmpty() && wanted.lastUsed != result.choice.server.name) {
            Terminal::note(u"The server used last, \"%1\", was not found; using \"%2\"."_s.arg(
                printable(wanted.lastUsed), printable(result.choice.server.name)));
        }
        return use(result.choice.server);
    case ServerChoice::Kind::Several:
        Terminal::complain(u"Several servers were found: %1; choose one with --server."_s.arg(
                               listed(result.choice.candidates)),
                           "several-servers"_L1);
        code = ExitCode::Usage;
        return false;
    case ServerChoice::Kind::Undecided:
    case ServerChoice::Kind::None:
        complainOfNone(wanted, result.choice.candidates, !arguments.server.isEmpty());
        return false;
    }
    return false;
}

bool Session::use(const ServerAddress &server)
{
    advertisedName = server.name;
    name = printable(server.name);
    host = server.address.toString();
    port = server.port;
    return true;
}

void Session::connectToServer(const Arguments &arguments)
{
    link.setTimeout(arguments.timeout);
    QEventLoop loop;
    QString problem;
    QObject::connect(&link, &Connection::opened, &loop, [&] { loop.exit(0); });
    QObject::connect(&link, &Connection::lost, &loop, [&](const QString &why) {
        problem = why;
        loop.exit(1);
    });
    link.open(host, port);
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
        QTimer::singleShot(quickAnswer, &loop, [this] {
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
