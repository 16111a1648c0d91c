// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The commands that ask or move content: discover, info, pair, open, copy, paste.

#include "program/Commands.h"
#include "program/Discovery.h"
#include "program/Session.h"

#include <QFile>
#include <QHostInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;
using quillmote::Answer;
using quillmote::Request;
using Terminal::ExitCode;

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds discoveryTime = 2s;
/// What surely fits into one packet of a network, with the token around it.
constexpr qsizetype safeTextLength = 1'300;

void printJson(const QJsonDocument &document)
{
    Terminal::printLine(QString::fromUtf8(document.toJson(QJsonDocument::Compact)));
}

QJsonObject asJson(const quillmote::ServerAddress &server)
{
    return {{u"name"_s, server.name},
            {u"host"_s, server.hostName},
            {u"address"_s, server.address.toString()},
            {u"port"_s, server.port}};
}

QString asLine(const quillmote::ServerAddress &server)
{
    return u"%1\t%2\t%3"_s.arg(server.name, server.address.toString()).arg(server.port);
}

ExitCode discoveryFailed(const QString &problem)
{
    Terminal::complain(problem + u" Start it, or use --host and --port."_s);
    return ExitCode::NoConnection;
}

/// One line for each server that comes or goes.
ExitCode watch(const Arguments &arguments)
{
    const auto tell = [&](const QString &event, const QString &line, QJsonObject object) {
        object.insert(u"event"_s, event);
        arguments.wantsJson ? printJson(QJsonDocument(object))
                            : Terminal::printLine(event + u'\t' + line);
    };
    const QString problem = watchServers(
        arguments.isTimeoutGiven ? std::optional(arguments.timeout) : std::nullopt,
        [&](const quillmote::ServerAddress &server) {
            tell(u"found"_s, asLine(server), asJson(server));
        },
        [&](const QString &name) {
            tell(u"gone"_s, name, {{u"name"_s, name}});
        });
    return problem.isEmpty() ? ExitCode::Done : discoveryFailed(problem);
}

/// Connects, sends the one request and hands out the answer.
ExitCode ask(const Arguments &arguments, const Request &request, Answer &answer)
{
    Session session(arguments);
    return session.isOpen() ? session.run(request, &answer) : session.exitCode();
}

void printDone(const Arguments &arguments, ExitCode code)
{
    if (arguments.wantsJson && code <= ExitCode::ServerError) {
        printJson(QJsonDocument(QJsonObject{{u"ok"_s, code == ExitCode::Done}}));
    }
}

QString textFromInput()
{
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        return {};
    }
    QString text = QString::fromUtf8(input.readAll());
    if (text.endsWith(u'\n')) {
        text.chop(1);
    }
    return text;
}

/// Stays the same, so that a server knows this device again.
QString deviceIdentifier()
{
    return u"quillmote-"_s + QHostInfo::localHostName();
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
    QJsonArray all;
    for (const quillmote::ServerAddress &server : seen.servers) {
        all.append(asJson(server));
        if (!arguments.wantsJson) {
            Terminal::printLine(asLine(server));
        }
    }
    if (arguments.wantsJson) {
        printJson(QJsonDocument(all));
    }
    if (seen.servers.isEmpty()) {
        Terminal::complain(u"No server was found; start VornaServer on the desktop."_s);
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
        printJson(QJsonDocument(QJsonObject{{u"width"_s, width.toInt()},
                                            {u"height"_s, height.toInt()},
                                            {u"platform"_s, platform}}));
    } else {
        Terminal::printLine(u"%1 x %2 pixels, %3"_s.arg(width, height, platform));
    }
    return code;
}

ExitCode Commands::pair(const Arguments &arguments)
{
    Answer answer;
    const QString name =
        arguments.deviceName.isEmpty() ? QHostInfo::localHostName() : arguments.deviceName;
    const ExitCode code = ask(arguments, Request::pair(deviceIdentifier(), name), answer);
    printDone(arguments, code);
    if (code == ExitCode::ServerError) {
        Terminal::complain(u"The server's user refused; ask there, then pair again."_s);
    } else if (code == ExitCode::Done && !arguments.wantsJson) {
        Terminal::printLine(u"Paired as \"%1\"."_s.arg(name));
    }
    return code;
}

ExitCode Commands::open(const Arguments &arguments)
{
    Answer answer;
    const ExitCode code = ask(arguments, Request::openUrl(arguments.values[0]), answer);
    printDone(arguments, code);
    return code;
}

ExitCode Commands::copy(const Arguments &arguments)
{
    Answer answer;
    const QString text = arguments.values.isEmpty() ? textFromInput() : arguments.values[0];
    const ExitCode code = ask(arguments, Request::copy(text), answer);
    printDone(arguments, code);
    if (code == ExitCode::NoConnection && text.size() > safeTextLength) {
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
        Terminal::complain(u"There is no text on the server's clipboard; copy some there first."_s);
    }
    if (code != ExitCode::Done) {
        return code;
    }
    const QString text = answer.parameters().value(0);
    if (arguments.wantsJson) {
        printJson(QJsonDocument(QJsonObject{{u"text"_s, text}}));
    } else {
        Terminal::print(Terminal::outputIsTerminal() ? text + u'\n' : text);
    }
    return code;
}
