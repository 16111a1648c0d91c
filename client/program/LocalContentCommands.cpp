// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The commands on this desktop that ask questions or transfer text: info, pair, open, copy, paste,
// type, watch.

#include "lib/PrintableText.h"
#include "program/Commands.h"
#include "program/DeviceIdentity.h"
#include "program/JsonOutput.h"
#include "program/LocalClipboard.h"
#include "program/LocalCommands.h"
#include "program/LocalSession.h"
#include "program/LocalText.h"
#include "program/OutputStream.h"
#include "program/StandardInput.h"
#include "program/Target.h"
#include "program/WebAddress.h"

#include <QEventLoop>
#include <QRect>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace quillmote {

using namespace std::chrono_literals;
using Terminal::ExitCode;

namespace {

QRect placeOf(const QJsonObject &screen)
{
    return {screen.value("x"_L1).toInt(), screen.value("y"_L1).toInt(),
            screen.value("width"_L1).toInt(), screen.value("height"_L1).toInt()};
}

QString asLine(const QJsonObject &screen)
{
    const QRect place = placeOf(screen);
    return printable(u"%1: %2 x %3 pixels at %4, %5"_s.arg(screen.value("name"_L1).toString())
                         .arg(place.width())
                         .arg(place.height())
                         .arg(place.x())
                         .arg(place.y())) +
           u", scale %1"_s.arg(screen.value("scale"_L1).toDouble(1));
}

QRect wholeDesktop(const QJsonArray &screens)
{
    QRect all;
    for (const auto &screen : screens) {
        all |= placeOf(screen.toObject());
    }
    return all;
}

void showAsJson(const SessionGreeting &greeting, const QJsonArray &screens)
{
    const QRect all = wholeDesktop(screens);
    JsonOutput::print(QJsonObject{{u"name"_s, greeting.name},
                                  {u"server"_s, greeting.server},
                                  {u"version"_s, greeting.version},
                                  {u"port"_s, greeting.port},
                                  {u"can"_s, QJsonArray::fromStringList(greeting.can)},
                                  {u"width"_s, all.width()},
                                  {u"height"_s, all.height()},
                                  {u"screens"_s, screens}});
}

void show(const SessionGreeting &greeting, const QJsonArray &screens)
{
    const QRect all = wholeDesktop(screens);
    Terminal::printLine(printable(u"%1: %2 x %3 pixels, %4 %5, port %6"_s.arg(greeting.name)
                                      .arg(all.width())
                                      .arg(all.height())
                                      .arg(greeting.server, greeting.version)
                                      .arg(greeting.port)));
    for (const auto &screen : screens) {
        Terminal::printLine(asLine(screen.toObject()));
    }
}

ExitCode listApplications(LocalSession &session, const Arguments &arguments)
{
    SessionOutcome outcome;
    const ExitCode code = session.run(SessionMessage::applications(), &outcome);
    const QJsonArray names = outcome.fields.value("applications"_L1).toArray();
    if (code == ExitCode::Done && arguments.wantsJson) {
        JsonOutput::print(names);
    } else if (code == ExitCode::Done) {
        for (const auto &name : names) {
            Terminal::printLine(printable(name.toString()));
        }
    }
    return code;
}

ExitCode openApplication(LocalSession &session, const Arguments &arguments, const QString &name)
{
    const ExitCode code = session.run(SessionMessage::openApplication(name));
    if (code == ExitCode::ServerError) {
        Terminal::note(u"quillmote open --list shows the applications; an address looks like "
                       "https://www.example.org/."_s);
    }
    JsonOutput::printDone(arguments, code, {{u"application"_s, name}});
    return code;
}

/// The bytes of the argument, or of standard input.
QByteArray textToCopy(const Arguments &arguments)
{
    if (!arguments.values.isEmpty()) {
        return arguments.values[0].toUtf8();
    }
    // Two more bytes than the longest text, for the line break at the end.
    const QByteArray text = standardInputBytes(longestClipboardText + 3);
    return arguments.keepsLineBreak ? text : LocalText::withoutLastLineBreak(text);
}

ExitCode typeSlowly(LocalSession &session, const QString &text, std::chrono::milliseconds delay)
{
    ExitCode code = ExitCode::Done;
    for (const QString &piece : LocalText::pieces(text, 1)) {
        code = session.run(SessionMessage::text(piece));
        if (code == ExitCode::Done) {
            code = session.pause(delay);
        }
        if (code != ExitCode::Done) {
            break;
        }
    }
    return code;
}

ExitCode typeFast(LocalSession &session, const QString &text)
{
    std::vector<SessionMessage> messages;
    for (const QString &piece : LocalText::pieces(text, LocalText::typedPiece)) {
        messages.push_back(SessionMessage::text(piece));
    }
    return session.runAll(messages);
}

/// Nothing on the wire shows when the focused program has read the clipboard, so that the previous
/// text follows only after a while.
ExitCode pasteText(LocalSession &session, const Arguments &arguments, const QString &text)
{
    QByteArray previous;
    ExitCode code = ExitCode::Done;
    if (arguments.restoresClipboard) {
        code = LocalClipboard::get(session, previous);
    }
    if (code == ExitCode::Done) {
        code = LocalClipboard::set(session, text.toUtf8());
    }
    if (code == ExitCode::Done) {
        code = session.run(SessionMessage::key(u"v"_s, {u"Control"_s}));
    }
    if (code == ExitCode::Done) {
        code = session.pause(arguments.pasteWait);
    }
    return code == ExitCode::Done && arguments.restoresClipboard
               ? LocalClipboard::set(session, previous)
               : code;
}

/// Asks the server to report both kinds of changes, as far as its desktop can tell.
ExitCode beginWatching(LocalSession &session)
{
    if (!session.can("clipboard.watch"_L1)) {
        Terminal::note(u"This desktop does not tell when the clipboard changes."_s);
        return session.run(SessionMessage::watchScreens());
    }
    return session.runAll({SessionMessage::watchClipboard(), SessionMessage::watchScreens()});
}

void showEvent(const Arguments &arguments, const QJsonObject &event)
{
    if (arguments.wantsJson) {
        JsonOutput::print(event);
        return;
    }
    QStringList parts = {printable(event.value("event"_L1).toString())};
    const QJsonArray screens = event.value("screens"_L1).toArray();
    for (const auto &screen : screens) {
        parts += asLine(screen.toObject());
    }
    Terminal::printLine(parts.join(u'\t'));
}

} // namespace

ExitCode LocalCommands::info(LocalSession &session, const Arguments &arguments)
{
    SessionOutcome outcome;
    const ExitCode code = session.run(SessionMessage::screens(), &outcome);
    if (code == ExitCode::Done) {
        const QJsonArray screens = outcome.fields.value("screens"_L1).toArray();
        arguments.wantsJson ? showAsJson(session.greeting(), screens)
                            : show(session.greeting(), screens);
    }
    return code;
}

ExitCode LocalCommands::pair(LocalSession &session, const Arguments &arguments)
{
    const DeviceIdentity identity = DeviceIdentity::get(arguments.deviceName);
    const ExitCode code = session.run(SessionMessage::pair(identity.name, identity.text));
    JsonOutput::printDone(arguments, code);
    if (code == ExitCode::Done && !arguments.wantsJson) {
        Terminal::printLine(u"Paired as \"%1\"."_s.arg(identity.name));
    }
    return code;
}

ExitCode LocalCommands::open(LocalSession &session, const Arguments &arguments)
{
    if (arguments.wantsList) {
        return listApplications(session, arguments);
    }
    const QString word = arguments.values[0];
    const WebAddress address = WebAddress::of(word);
    if (arguments.isApplication || !address.problem.isEmpty()) {
        return openApplication(session, arguments, word);
    }
    const ExitCode code = session.run(SessionMessage::openAddress(address.url));
    JsonOutput::printDone(arguments, code, {{u"url"_s, address.url}});
    return code;
}

ExitCode LocalCommands::copy(LocalSession &session, const Arguments &arguments)
{
    const QByteArray text = textToCopy(arguments);
    if (text.size() > longestClipboardText) {
        return Terminal::cannotSend(u"The text is longer than 16 MiB; send it as a file."_s);
    }
    const auto decoded = LocalText::fromUtf8(text);
    if (!decoded) {
        return Terminal::cannotSend(u"The text is not UTF-8; send it as a file."_s);
    }
    const ExitCode code = LocalClipboard::set(session, text);
    JsonOutput::printDone(arguments, code, {{u"text"_s, *decoded}});
    return code;
}

ExitCode LocalCommands::paste(LocalSession &session, const Arguments &arguments)
{
    QByteArray text;
    const ExitCode code = LocalClipboard::get(session, text);
    if (code != ExitCode::Done) {
        return code;
    }
    if (arguments.wantsJson) {
        JsonOutput::print(QJsonObject{{u"text"_s, QString::fromUtf8(text)}});
        return code;
    }
    // On a terminal the text ends its line, so that the next prompt begins one.
    const bool isLineOpen = Terminal::outputIsTerminal() && !text.isEmpty() && !text.endsWith('\n');
    OutputStream::output().writeBytes(isLineOpen ? text + '\n' : text);
    return code;
}

ExitCode LocalCommands::type(LocalSession &session, const Arguments &arguments, const QString &text)
{
    const QString problem = LocalText::problemWithTyping(text);
    if (!problem.isEmpty()) {
        return Terminal::cannotSend(problem);
    }
    const ExitCode code = arguments.pastesAll     ? pasteText(session, arguments, text)
                          : arguments.delay > 0ms ? typeSlowly(session, text, arguments.delay)
                                                  : typeFast(session, text);
    JsonOutput::printDone(arguments, code,
                          {{u"characters"_s, static_cast<qint64>(text.toUcs4().size())}});
    return code;
}

ExitCode Commands::watch(const Arguments &arguments)
{
    const Target target = Target::findLocal(arguments);
    if (!target.isFound()) {
        return target.code;
    }
    LocalSession &session = *target.local;
    QEventLoop loop;
    SessionOutcome end;
    QObject::connect(&session.connection(), &SessionConnection::happened, &loop,
                     [&](const QJsonObject &event) { showEvent(arguments, event); });
    const ExitCode code = beginWatching(session);
    if (code != ExitCode::Done) {
        return code;
    }
    QObject::connect(&session.connection(), &SessionConnection::lost, &loop,
                     [&](const QString &why) {
                         end = {SessionOutcome::Kind::Lost, {}, {}, {}, why};
                         loop.quit();
                     });
    if (arguments.isTimeoutGiven) {
        QTimer::singleShot(arguments.timeout, &loop, &QEventLoop::quit);
    }
    loop.exec();
    return LocalSession::report(end);
}

} // namespace quillmote
