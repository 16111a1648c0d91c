// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The commands that ask questions or transfer text: discover, info, pair, open, copy, paste.

#include "lib/LossyText.h"
#include "lib/PrintableText.h"
#include "lib/RequestWriter.h"
#include "program/Commands.h"
#include "program/DeviceIdentity.h"
#include "program/Discovery.h"
#include "program/JsonOutput.h"
#include "program/LastServer.h"
#include "program/LocalCommands.h"
#include "program/Session.h"
#include "program/StandardInput.h"
#include "program/Target.h"
#include "program/WebAddress.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds discoveryTime = 2s;
/// A server that is not hung greets within this time.
constexpr std::chrono::milliseconds greetingTime = 1s;
/// Longer texts do not fit into one packet of most networks.
constexpr qsizetype packetTextLength = 1'300;

QJsonObject asJson(const ServerAddress &server)
{
    return {{u"name"_s, server.name},
            {u"host"_s, server.hostName},
            {u"address"_s, server.address.toString()},
            {u"port"_s, server.port}};
}

QString asLine(const ServerAddress &server)
{
    return u"%1\t%2\t%3"_s.arg(printable(server.name), server.address.toString()).arg(server.port);
}

/// A server with what `discover` says about it.
struct Listed
{
    ServerAddress address;
    bool isLastUsed = false;
    bool isLocal = false; ///< the one of this desktop
};

void showServers(const QList<Listed> &servers, bool wantsJson)
{
    QJsonArray all;
    for (const Listed &server : servers) {
        QJsonObject object = asJson(server.address);
        object.insert(u"lastUsed"_s, server.isLastUsed);
        if (server.isLocal) {
            object.insert(u"local"_s, true);
        }
        all.append(object);
        if (!wantsJson) {
            Terminal::printLine(asLine(server.address) +
                                (server.isLastUsed ? u"\tlast used"_s : QString()) +
                                (server.isLocal ? u"\tthis desktop"_s : QString()));
        }
    }
    if (wantsJson) {
        JsonOutput::print(all);
    }
}

/// Marks the server that commands go to by default, and adds the one of this desktop if the network
/// does not show it.
QList<Listed> listOf(QList<ServerAddress> servers, const LocalSession *local)
{
    const QString name = local != nullptr ? local->greeting().name : QString();
    const auto isHere = [&](const ServerAddress &server) {
        return local != nullptr && server.name == name;
    };
    if (local != nullptr && std::none_of(servers.begin(), servers.end(), isHere)) {
        servers.prepend(
            {name, u"localhost"_s, QHostAddress(QHostAddress::LocalHost), local->greeting().port});
    }
    const QString lastUsed = LastServer::name();
    QList<Listed> all;
    for (const ServerAddress &server : servers) {
        all += {server, server.name == lastUsed, isHere(server)};
    }
    return all;
}

/// The servers on the network, as far as they are wanted.
DiscoveredServers seenOnNetwork(const Arguments &arguments)
{
    return arguments.isLocal
               ? DiscoveredServers()
               : discoverServers(arguments.isTimeoutGiven ? arguments.timeout : discoveryTime);
}

ExitCode discoveryFailed(const QString &problem)
{
    Terminal::complain(problem + u" Start it, or use --host and --port."_s, "no-discovery"_L1);
    return ExitCode::NoConnection;
}

/// Prints a line for each server that appears or disappears.
ExitCode watchNetwork(const Arguments &arguments)
{
    const auto show = [&](const QString &event, const QString &line, QJsonObject object) {
        object.insert(u"event"_s, event);
        arguments.wantsJson ? JsonOutput::print(object) : Terminal::printLine(event + u'\t' + line);
    };
    const QString problem = watchServers(
        arguments.isTimeoutGiven ? std::optional(arguments.timeout) : std::nullopt,
        [&](const ServerAddress &server) { show(u"found"_s, asLine(server), asJson(server)); },
        [&](const QString &name) {
            show(u"gone"_s, printable(name), {{u"name"_s, name}});
        });
    return problem.isEmpty() ? ExitCode::Done : discoveryFailed(problem);
}

/// Connects and sends the request.
ExitCode ask(const Target &target, const Arguments &arguments, const Request &request,
             Answer &answer)
{
    Session session(target, arguments);
    return session.isOpen() ? session.run(request, &answer) : session.exitCode();
}

QString textFromInput(const Arguments &arguments)
{
    QString text = standardInput();
    if (!arguments.keepsLineBreak && text.endsWith(u'\n')) {
        text.chop(1);
    }
    return text;
}

/// The text as it is sent. A note lists the changes.
QString withLosses(const QString &text)
{
    const auto lossy = LossyText::of(text);
    if (!lossy.changes.isEmpty()) {
        Terminal::note(u"The text is changed: %1."_s.arg(lossy.changes.join(u", "_s)));
    }
    return lossy.text;
}

/// On a terminal the text ends its line, so that the next prompt begins one.
QString shownText(const QString &text)
{
    const bool isLineOpen =
        Terminal::outputIsTerminal() && !text.isEmpty() && !text.endsWith(u'\n');
    return isLineOpen ? text + u'\n' : text;
}

ExitCode infoOnNetwork(const Target &target, const Arguments &arguments)
{
    Answer answer;
    const ExitCode code = ask(target, arguments, Request::serverInfo(), answer);
    if (code != ExitCode::Done) {
        return code;
    }
    // The height comes first.
    const QString height = answer.parameters().value(0);
    const QString width = answer.parameters().value(1);
    const QString platform = answer.parameters().value(2);
    if (arguments.wantsJson) {
        JsonOutput::print(QJsonObject{
            {u"width"_s, width.toInt()}, {u"height"_s, height.toInt()}, {u"platform"_s, platform}});
    } else {
        Terminal::printLine(printable(u"%1 x %2 pixels, %3"_s.arg(width, height, platform)));
    }
    return code;
}

ExitCode pairOnNetwork(const Target &target, const Arguments &arguments)
{
    Answer answer;
    const DeviceIdentity identity = DeviceIdentity::get(arguments.deviceName);
    if (!identity.problem.isEmpty()) {
        Terminal::note(u"The identity of this device cannot be kept (%1); the server will not know "
                       "it again."_s.arg(identity.problem));
    }
    const ExitCode code = ask(target, arguments, identity.pairRequest(), answer);
    JsonOutput::printDone(arguments, code);
    if (code == ExitCode::ServerError) {
        Terminal::complain(u"The server's user refused; ask there, then pair again."_s,
                           "refused"_L1);
    } else if (code == ExitCode::Done && !arguments.wantsJson) {
        Terminal::printLine(u"Paired as \"%1\"."_s.arg(identity.name));
    }
    return code;
}

ExitCode checkAddress(const QString &word)
{
    const WebAddress address = WebAddress::of(word);
    return address.problem.isEmpty() ? ExitCode::Done : Terminal::cannotSend(address.problem);
}

ExitCode openOnNetwork(const Target &target, const Arguments &arguments)
{
    const WebAddress address = WebAddress::of(arguments.values[0]);
    Answer answer;
    const ExitCode code = ask(target, arguments, Request::openUrl(address.url), answer);
    JsonOutput::printDone(arguments, code, {{u"url"_s, address.url}});
    return code;
}

ExitCode checkText(const QString &text)
{
    const auto written = writeRequest(Request::copy(text), 0);
    return written.isRefused()
               ? Terminal::cannotSend(written.refusal +
                                      u" With --lossy it is replaced; quillmote send sends a "
                                      "file that holds the text."_s)
               : ExitCode::Done;
}

ExitCode copyOnNetwork(const Target &target, const Arguments &arguments, const QString &text)
{
    Answer answer;
    const ExitCode code = ask(target, arguments, Request::copy(text), answer);
    JsonOutput::printDone(arguments, code, {{u"text"_s, text}});
    if (code == ExitCode::NoConnection && text.size() > packetTextLength) {
        Terminal::note(u"A text as long as this one (%1 bytes) may be cut by the network, and then "
                       "the server drops it; send it as a file."_s.arg(text.size()));
    }
    return code;
}

ExitCode pasteOnNetwork(const Target &target, const Arguments &arguments)
{
    Answer answer;
    const ExitCode code = ask(target, arguments, Request::paste(), answer);
    if (code == ExitCode::ServerError) {
        Terminal::complain(u"There is no text on the server's clipboard; copy some there first."_s,
                           "no-text"_L1);
    }
    if (code != ExitCode::Done) {
        return code;
    }
    const QString text = answer.parameters().value(0);
    if (arguments.wantsJson) {
        JsonOutput::print(QJsonObject{{u"text"_s, text}});
    } else {
        Terminal::print(shownText(text));
    }
    return code;
}

} // namespace

ExitCode Commands::discover(const Arguments &arguments)
{
    if (arguments.isWatch) {
        return watchNetwork(arguments);
    }
    const auto local = LocalSession::find(std::min(arguments.timeout, greetingTime)).session;
    const DiscoveredServers seen = seenOnNetwork(arguments);
    if (!seen.problem.isEmpty() && !local) {
        return discoveryFailed(seen.problem);
    }
    if (!seen.problem.isEmpty()) {
        Terminal::note(seen.problem + u" Other computers are not listed."_s);
    }
    const QList<Listed> servers = listOf(seen.servers, local.get());
    showServers(servers, arguments.wantsJson);
    if (servers.isEmpty()) {
        Terminal::complain(u"No server was found; start VornaServer on the desktop."_s,
                           "no-server"_L1);
    }
    return servers.isEmpty() ? ExitCode::NoConnection : ExitCode::Done;
}

ExitCode Commands::info(const Arguments &arguments)
{
    const Target target = Target::find(arguments);
    if (!target.isFound()) {
        return target.code;
    }
    return target.local ? LocalCommands::info(*target.local, arguments)
                        : infoOnNetwork(target, arguments);
}

ExitCode Commands::pair(const Arguments &arguments)
{
    const Target target = Target::find(arguments);
    if (!target.isFound()) {
        return target.code;
    }
    return target.local ? LocalCommands::pair(*target.local, arguments)
                        : pairOnNetwork(target, arguments);
}

ExitCode Commands::copy(const Arguments &arguments)
{
    // Standard input is read once, by the door that is used.
    QString text;
    const Target target = Target::find(arguments, [&] {
        const QString given =
            arguments.values.isEmpty() ? textFromInput(arguments) : arguments.values[0];
        text = arguments.isLossy ? withLosses(given) : given;
        return checkText(text);
    });
    if (!target.isFound()) {
        return target.code;
    }
    return target.local ? LocalCommands::copy(*target.local, arguments)
                        : copyOnNetwork(target, arguments, text);
}

ExitCode Commands::paste(const Arguments &arguments)
{
    const Target target = Target::find(arguments);
    if (!target.isFound()) {
        return target.code;
    }
    return target.local ? LocalCommands::paste(*target.local, arguments)
                        : pasteOnNetwork(target, arguments);
}

ExitCode Commands::open(const Arguments &arguments)
{
    if (arguments.values.isEmpty() != arguments.wantsList) {
        return Terminal::cannotSend(u"open takes an address or an application, or --list."_s);
    }
    const Target target =
        arguments.wantsList || arguments.isApplication
            ? Target::findLocal(arguments)
            : Target::find(arguments, [&] { return checkAddress(arguments.values[0]); });
    if (!target.isFound()) {
        return target.code;
    }
    return target.local ? LocalCommands::open(*target.local, arguments)
                        : openOnNetwork(target, arguments);
}

} // namespace quillmote
