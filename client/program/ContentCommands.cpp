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
#include "program/Session.h"
#include "program/StandardInput.h"
#include "program/WebAddress.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds discoveryTime = 2s;
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

/// Marks the server that commands go to by default.
void showServers(const QList<ServerAddress> &servers, bool wantsJson)
{
    const QString lastUsed = LastServer::name();
    QJsonArray all;
    for (const ServerAddress &server : servers) {
        QJsonObject object = asJson(server);
        object.insert(u"lastUsed"_s, server.name == lastUsed);
        all.append(object);
        if (!wantsJson) {
            Terminal::printLine(asLine(server) +
                                (server.name == lastUsed ? u"\tlast used"_s : QString()));
        }
    }
    if (wantsJson) {
        JsonOutput::print(all);
    }
}

ExitCode discoveryFailed(const QString &problem)
{
    Terminal::complain(problem + u" Start it, or use --host and --port."_s, "no-discovery"_L1);
    return ExitCode::NoConnection;
}

/// Prints a line for each server that appears or disappears.
ExitCode watch(const Arguments &arguments)
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
ExitCode ask(const Arguments &arguments, const Request &request, Answer &answer)
{
    Session session(arguments);
    return session.isOpen() ? session.run(request, &answer) : session.exitCode();
}

QString textFromInput()
{
    QString text = standardInput();
    if (text.endsWith(u'\n')) {
        text.chop(1);
    }
    return text;
}

ExitCode refused(const QString &sentence)
{
    Terminal::complain(sentence, "cannot-send"_L1);
    return ExitCode::Usage;
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

} // namespace

ExitCode Commands::discover(const Arguments &arguments)
{
    if (arguments.isWatch) {
        return watch(arguments);
    }
    const DiscoveredServers seen =
        discoverServers(arguments.isTimeoutGiven ? arguments.timeout : discoveryTime);
    if (!seen.problem.isEmpty()) {
        return discoveryFailed(seen.problem);
    }
    showServers(seen.servers, arguments.wantsJson);
    if (seen.servers.isEmpty()) {
        Terminal::complain(u"No server was found; start VornaServer on the desktop."_s,
                           "no-server"_L1);
    }
    return seen.servers.isEmpty() ? ExitCode::NoConnection : ExitCode::Done;
}

ExitCode Commands::info(const Arguments &arguments)
{
    Answer answer;
    const ExitCode code = ask(arguments, Request::serverInfo(), answer);
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

ExitCode Commands::pair(const Arguments &arguments)
{
    Answer answer;
    const DeviceIdentity identity = DeviceIdentity::get(arguments.deviceName);
    if (!identity.problem.isEmpty()) {
        Terminal::note(u"The identity of this device cannot be kept (%1); the server will not know "
                       "it again."_s.arg(identity.problem));
    }
    const ExitCode code = ask(arguments, identity.pairRequest(), answer);
    JsonOutput::printDone(arguments, code);
    if (code == ExitCode::ServerError) {
        Terminal::complain(u"The server's user refused; ask there, then pair again."_s,
                           "refused"_L1);
    } else if (code == ExitCode::Done && !arguments.wantsJson) {
        Terminal::printLine(u"Paired as \"%1\"."_s.arg(identity.name));
    }
    return code;
}

ExitCode Commands::open(const Arguments &arguments)
{
    const WebAddress address = WebAddress::of(arguments.values[0]);
    if (!address.problem.isEmpty()) {
        return refused(address.problem);
    }
    Answer answer;
    const ExitCode code = ask(arguments, Request::openUrl(address.url), answer);
    JsonOutput::printDone(arguments, code, {{u"url"_s, address.url}});
    return code;
}

ExitCode Commands::copy(const Arguments &arguments)
{
    const QString given = arguments.values.isEmpty() ? textFromInput() : arguments.values[0];
    const QString text = arguments.isLossy ? withLosses(given) : given;
    const auto written = writeRequest(Request::copy(text), 0);
    if (written.isRefused()) {
        return refused(written.refusal + u" With --lossy it is replaced; quillmote send sends a "
                                         "file that holds the text."_s);
    }
    Answer answer;
    const ExitCode code = ask(arguments, Request::copy(text), answer);
    JsonOutput::printDone(arguments, code, {{u"text"_s, text}});
    if (code == ExitCode::NoConnection && text.size() > packetTextLength) {
        Terminal::note(u"A text as long as this one (%1 bytes) may be cut by the network, and then "
                       "the server drops it; send it as a file."_s.arg(text.size()));
    }
    return code;
}

ExitCode Commands::paste(const Arguments &arguments)
{
    Answer answer;
    const ExitCode code = ask(arguments, Request::paste(), answer);
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

} // namespace quillmote
