// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Session.h"

#include "program/Discovery.h"

#include <QEventLoop>

#include <algorithm>

using namespace Qt::StringLiterals;
using Terminal::ExitCode;

namespace {

using namespace std::chrono_literals;

/// How long to look for servers when none is named: one that is there answers within this time.
constexpr auto lookAround = 1'500ms;

QString listed(const QList<quillmote::ServerAddress> &servers)
{
    QStringList names;
    std::transform(servers.begin(), servers.end(), std::back_inserter(names),
                   [](const auto &server) { return u'"' + server.name + u'"'; });
    return names.join(u", "_s);
}

} // namespace

Session::Session(const Arguments &arguments)
{
    if (findServer(arguments)) {
        connectToServer(arguments);
    }
}

bool Session::findServer(const Arguments &arguments)
{
    if (arguments.host.isEmpty()) {
        return chooseServer(arguments);
    }
    host = arguments.host;
    port = arguments.port;
    name = u"%1:%2"_s.arg(host).arg(port);
    return true;
}

bool Session::chooseServer(const Arguments &arguments)
{
    const DiscoveredServers seen =
        arguments.server.isEmpty()
            ? discoverServers(std::min<std::chrono::milliseconds>(lookAround, arguments.timeout))
            : discoverServer(arguments.server, arguments.timeout);
    const auto chosen = std::find_if(
        seen.servers.begin(), seen.servers.end(), [&](const quillmote::ServerAddress &server) {
            return arguments.server.isEmpty() || server.name == arguments.server;
        });
    if (!seen.problem.isEmpty()) {
        Terminal::complain(seen.problem + u" Give the server's address with --host and --port."_s);
    } else if (chosen == seen.servers.end()) {
        Terminal::complain(
            u"No server%1 was found; start VornaServer there, or give its address "
            "with --host and --port."_s.arg(arguments.server.isEmpty()
                                                ? QString()
                                                : u" of the name \"%1\""_s.arg(arguments.server)));
    } else if (arguments.server.isEmpty() && seen.servers.size() > 1) {
        Terminal::complain(u"Several servers were found: %1; choose one with --server."_s.arg(
            listed(seen.servers)));
        code = ExitCode::Usage;
    } else {
        name = chosen->name;
        host = chosen->address.toString();
        port = chosen->port;
        return true;
    }
    return false;
}

void Session::connectToServer(const Arguments &arguments)
{
    link.setTimeout(arguments.timeout);
    QEventLoop loop;
    QString problem;
    QObject::connect(&link, &quillmote::Connection::opened, &loop, [&] { loop.exit(0); });
    QObject::connect(&link, &quillmote::Connection::lost, &loop, [&](const QString &why) {
        problem = why;
        loop.exit(1);
    });
    link.open(host, port);
    if (loop.exec() == 0) {
        code = ExitCode::Done;
    } else {
        Terminal::complain(
            u"%1 cannot be reached (%2); is VornaServer running there?"_s.arg(name, problem));
    }
}

ExitCode Session::run(const quillmote::Request &request, quillmote::Answer *answer)
{
    QEventLoop loop;
    quillmote::Outcome outcome;
    link.send(request, [&](const quillmote::Outcome &end) {
        outcome = end;
        loop.quit();
    });
    loop.exec();
    if (answer != nullptr) {
        *answer = outcome.answer;
    }
    return report(outcome);
}

ExitCode Session::report(const quillmote::Outcome &outcome, const QString &timeoutAdvice)
{
    using Kind = quillmote::Outcome::Kind;
    switch (outcome.kind) {
    case Kind::Done:
        return outcome.answer.response() == "ERROR"_L1 ? ExitCode::ServerError : ExitCode::Done;
    case Kind::Refused:
        Terminal::complain(outcome.problem);
        return ExitCode::Usage;
    case Kind::TimedOut:
        Terminal::complain(outcome.problem + u' ' + timeoutAdvice);
        return ExitCode::NoConnection;
    case Kind::Lost:
        Terminal::complain(outcome.problem + u" Is VornaServer still running there?"_s);
        return ExitCode::NoConnection;
    }
    return ExitCode::NoConnection;
}
