// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Remote.h"

#include "lib/PrintableText.h"
#include "program/Arguments.h"
#include "program/KeyNames.h"
#include "program/Session.h"

#include <QSocketNotifier>

#include <array>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

/// While more requests are under way, moves of the pointer are added up instead of queued.
constexpr int busyRequests = 2;

} // namespace

Remote::Remote(Session &server, const Arguments &arguments, bool isPaired)
    : session(server)
    , style{arguments.pastesAll, arguments.isUsKeyboard}
    , typer(server.connection(), arguments.pasteWait)
    , pairing(isPaired ? u"paired"_s : u"not paired"_s)
{
}

ExitCode Remote::run()
{
    QSocketNotifier keyboard(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&keyboard, &QSocketNotifier::activated, &loop, [this] { readInput(); });
    QObject::connect(&session.connection(), &Connection::lost, &loop,
                     [this](const QString &) { end(ExitCode::NoConnection); });
    showIntroduction();
    show(u"ready"_s);
    loop.exec();
    return code;
}

void Remote::readInput()
{
    std::array<char, 4096> buffer{};
    const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count <= 0) {
        end(ExitCode::Done);
        return;
    }
    unread.append(buffer.data(), count);
    for (const TerminalInput::Event &event : TerminalInput::take(unread)) {
        if (!std::holds_alternative<TerminalInput::Character>(event)) {
            typeText();
        }
        std::visit([this](const auto &what) { handle(what); }, event);
    }
    typeText();
}

/// Characters that arrive together, such as a text pasted into this terminal, are one text.
void Remote::handle(const TerminalInput::Character &typed)
{
    pendingText += typed.character;
}

void Remote::handle(const TerminalInput::ControlLetter &typed)
{
    typeKey(u"Ctrl+"_s + typed.letter);
}

void Remote::handle(const TerminalInput::FunctionKey &typed)
{
    typeKey(u'F' + QString::number(typed.number));
}

void Remote::handle(const TerminalInput::Arrow &arrow)
{
    pointer.step(arrow.dx, arrow.dy, arrow.isFast);
    sendMoveUnlessBusy();
}

void Remote::handle(const TerminalInput::MouseMotion &motion)
{
    pointer.mouseAt(motion.column, motion.row);
    sendMoveUnlessBusy();
}

void Remote::handle(const TerminalInput::MousePress &press)
{
    const Button button = press.button == 0   ? Button::Left
                          : press.button == 1 ? Button::Center
                                              : Button::Right;
    send(Request::click(button), u"click"_s);
}

void Remote::handle(const TerminalInput::Other &key)
{
    show(u"%1 cannot be sent"_s.arg(key.name));
}

void Remote::handle(const TerminalInput::Leave &)
{
    end(ExitCode::Done);
}

void Remote::typeText()
{
    const QString typed = std::exchange(pendingText, QString());
    const TypingPlan plan = TypingPlan::of(typed, style);
    for (const TypingStep &step : plan.steps) {
        const bool isPaste = step.kind == TypingStep::Kind::Paste;
        ++underWay;
        typer.add(step, ended());
        show(isPaste ? u"pasted %1"_s.arg(step.text) : u"key %1"_s.arg(typed.right(1)));
    }
    if (!plan.refusal.isEmpty()) {
        show(u"%1 cannot be sent"_s.arg(shownCharacter(typed, 0)));
    }
}

void Remote::typeKey(const QString &shortcut)
{
    const std::optional<QString> known = KeyNames::forServer(shortcut);
    if (known) {
        send(Request::key(*known), u"key %1"_s.arg(shortcut));
    } else {
        show(u"%1 cannot be sent"_s.arg(shortcut));
    }
}

void Remote::sendMoveUnlessBusy()
{
    if (underWay < busyRequests) {
        sendMove();
    }
}

void Remote::sendMove()
{
    if (const auto move = pointer.take()) {
        send(Request::move(move->x(), move->y()), u"move %1, %2"_s.arg(move->x()).arg(move->y()));
    }
}

void Remote::send(const Request &request, const QString &shown)
{
    ++underWay;
    show(shown);
    typer.add(request, ended());
}

TextTyper::Done Remote::ended()
{
    return [this](const Outcome &outcome) {
        --underWay;
        if (outcome.kind == Outcome::Kind::TimedOut) {
            end(ExitCode::NoConnection);
        } else if (outcome.kind == Outcome::Kind::Done) {
            sendMove();
        }
    };
}

void Remote::showIntroduction()
{
    Terminal::printRawLines({u"Keys typed here are typed on %1."_s.arg(session.serverName()),
                             u"Arrows or the mouse move the pointer."_s,
                             u"Return, Tab, Backspace and Escape cannot be sent."_s,
                             u"Characters without a key, such as the full stop, are pasted."_s,
                             u"This overwrites the clipboard there."_s, QString()});
}

void Remote::show(const QString &action)
{
    Terminal::showStatus(
        u"%1 | %2 | %3 | Ctrl+] leaves"_s.arg(session.serverName(), pairing, action));
}

void Remote::end(ExitCode how)
{
    code = how;
    loop.quit();
}

} // namespace quillmote
