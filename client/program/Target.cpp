// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Target.h"

#include "lib/PrintableText.h"
#include "program/Arguments.h"
#include "program/LastServer.h"
#include "program/ServerChoice.h"
#include "program/ServerSearch.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

using namespace std::chrono_literals;

/// How long to look for servers if none is named. Every server answers within this time, even if
/// its first answer is lost.
constexpr auto lookAround = 1'500ms;

constexpr auto serverVariable = "QUILLMOTE_SERVER";

QString listed(const QList<ServerAddress> &servers)
{
    QStringList names;
    std::transform(servers.begin(), servers.end(), std::back_inserter(names),
                   [](const auto &server) { return u'"' + server.name + u'"'; });
    return printable(names.join(u", "_s));
}

WantedServer wantedServer(const Arguments &arguments)
{
    const QString name =
        arguments.server.isEmpty() ? qEnvironmentVariable(serverVariable) : arguments.server;
    return {name, name.isEmpty() ? LastServer::name() : QString()};
}

void complainOfNone(const WantedServer &wanted, const QList<ServerAddress> &seen,
                    bool isNamedByOption, const QString &advice)
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
                       "--host and --port.%2%3"_s.arg(which, others, advice),
                       "no-server"_L1);
}

Target failed(ExitCode code = ExitCode::NoConnection)
{
    Target none;
    none.code = code;
    return none;
}

Target by(std::unique_ptr<LocalSession> session)
{
    Target target;
    target.code = ExitCode::Done;
    target.name = session->serverName();
    target.local = std::move(session);
    return target;
}

Target at(const ServerAddress &server)
{
    return {ExitCode::Done, nullptr, printable(server.name), server.name, server.address.toString(),
            server.port};
}

Target atGivenAddress(const Arguments &arguments)
{
    return {ExitCode::Done,
            nullptr,
            printable(u"%1:%2"_s.arg(arguments.host).arg(arguments.port)),
            {},
            arguments.host,
            arguments.port};
}

Target onlyHere(LocalSession::Found found)
{
    if (found.session) {
        return by(std::move(found.session));
    }
    Terminal::complain(u"The server of this desktop cannot be reached (%1); is VornaServer running "
                       "here?"_s.arg(found.problem),
                       found.isBroken ? "unreachable"_L1 : "no-server"_L1);
    return failed();
}

/// Whether the user means the server of this desktop, whatever else is on the network.
bool isMeant(const WantedServer &wanted, const LocalSession &session)
{
    const QString name = session.greeting().name;
    return wanted.name.isEmpty() ? wanted.lastUsed.isEmpty() || wanted.lastUsed == name
                                 : wanted.name == name;
}

/// A server in other letters is taken if the network has no better one.
bool isMeantPerhaps(const WantedServer &wanted, const LocalSession &session)
{
    return !wanted.name.isEmpty() &&
           wanted.name.compare(session.greeting().name, Qt::CaseInsensitive) == 0;
}

QString localAdvice(const LocalSession *session)
{
    return session != nullptr ? u" --local uses the server of this desktop."_s : QString();
}

Target chosen(const WantedServer &wanted, const ServerAddress &server,
              std::unique_ptr<LocalSession> session)
{
    if (!wanted.lastUsed.isEmpty() && wanted.lastUsed != server.name) {
        Terminal::note(u"The server used last, \"%1\", was not found; using \"%2\"."_s.arg(
            printable(wanted.lastUsed), printable(server.name)));
    }
    const bool isHere = session && session->greeting().name == server.name;
    return isHere ? by(std::move(session)) : at(server);
}

Target onNetwork(const Arguments &arguments, const WantedServer &wanted,
                 std::unique_ptr<LocalSession> session)
{
    const auto limit = wanted.name.isEmpty()
                           ? std::min<std::chrono::milliseconds>(lookAround, arguments.timeout)
                           : arguments.timeout;
    const SearchResult result = ServerSearch(wanted).run(limit);
    if (result.choice.kind == ServerChoice::Kind::Clear) {
        return chosen(wanted, result.choice.server, std::move(session));
    }
    if (result.choice.kind == ServerChoice::Kind::Several) {
        Terminal::complain(u"Several servers were found: %1; choose one with --server."_s.arg(
                               listed(result.choice.candidates)),
                           "several-servers"_L1);
        return failed(ExitCode::Usage);
    }
    if (session && isMeantPerhaps(wanted, *session)) {
        return by(std::move(session));
    }
    if (!result.problem.isEmpty()) {
        Terminal::complain(result.problem +
                               u" Give the server's address with --host and --port."_s +
                               localAdvice(session.get()),
                           "no-discovery"_L1);
    } else {
        complainOfNone(wanted, result.choice.candidates, !arguments.server.isEmpty(),
                       localAdvice(session.get()));
    }
    return failed();
}

/// For a command that this server could carry out, were it not on the network.
Target unable(const Arguments &arguments, const QString &name)
{
    Terminal::complain(u"%1 is on the network, which has no words for %2; only the server of this "
                       "desktop can do that (--local)."_s.arg(name, arguments.command),
                       "unsupported"_L1);
    return failed(ExitCode::Usage);
}

Target checked(Target target, const Target::Check &check)
{
    if (target.isFound() && !target.local && check) {
        target.code = check();
    }
    return target;
}

/// Whether no other server can be meant, whether or not this one can be reached.
bool isOnlyHere(const Arguments &arguments, const WantedServer &wanted,
                const LocalSession::Found &found)
{
    return arguments.isLocal ||
           (found.isBroken && wanted.name.isEmpty() && wanted.lastUsed.isEmpty());
}

} // namespace

Target Target::find(const Arguments &arguments, const Check &check)
{
    if (!arguments.host.isEmpty()) {
        return checked(atGivenAddress(arguments), check);
    }
    LocalSession::Found found = LocalSession::find(arguments.timeout);
    const WantedServer wanted = wantedServer(arguments);
    if (isOnlyHere(arguments, wanted, found)) {
        return onlyHere(std::move(found));
    }
    if (found.session && isMeant(wanted, *found.session)) {
        return by(std::move(found.session));
    }
    const ExitCode code = !found.session && check ? check() : ExitCode::Done;
    if (code != ExitCode::Done) {
        return failed(code);
    }
    const bool isCheckedLater = found.session != nullptr;
    return checked(onNetwork(arguments, wanted, std::move(found.session)),
                   isCheckedLater ? check : Check());
}

Target Target::findLocal(const Arguments &arguments)
{
    if (!arguments.host.isEmpty()) {
        return unable(arguments, atGivenAddress(arguments).name);
    }
    LocalSession::Found found = LocalSession::find(arguments.timeout);
    const WantedServer wanted = wantedServer(arguments);
    const bool isHere = !found.session || arguments.isLocal || isMeant(wanted, *found.session) ||
                        isMeantPerhaps(wanted, *found.session);
    return isHere ? onlyHere(std::move(found))
                  : unable(arguments, u'"' + printable(wanted.name + wanted.lastUsed) + u'"');
}

} // namespace quillmote
