// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/LocalRemote.h"

#include "program/LocalSession.h"
#include "program/LocalText.h"

#include <QSocketNotifier>

#include <array>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

using namespace std::chrono_literals;

/// While more requests are under way, moves of the pointer are added up instead of queued.
constexpr size_t movesAhead = 4;
/// The rest of a sequence follows within this time, even over a slow line.
constexpr auto escapeTime = 50ms;

} // namespace

LocalRemote::LocalRemote(LocalSession &server) : session(server)
{
    escapeTimer.setSingleShot(true);
    escapeTimer.setInterval(escapeTime);
    QObject::connect(&escapeTimer, &QTimer::timeout, &loop,
                     [this] { handleAll(TerminalKeys::takeUnfinished(unread)); });
    pings.setInterval(SessionConnection::pingPause);
    QObject::connect(&pings, &QTimer::timeout, &loop,
                     [this] { session.connection().send(SessionMessage::ping(), {}); });
}

ExitCode LocalRemote::run()
{
    QSocketNotifier keyboard(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&keyboard, &QSocketNotifier::activated, &loop, [this] { readInput(); });
    QObject::connect(&session.connection(), &SessionConnection::lost, &loop,
                     [this](const QString &) { end(ExitCode::NoConnection); });
    pings.start();
    showIntroduction();
    show(u"ready"_s);
    loop.exec();
    return code;
}

void LocalRemote::readInput()
{
    std::array<char, 4096> buffer{};
    const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count <= 0) {
        end(ExitCode::Done);
        return;
    }
    unread.append(buffer.data(), count);
    handleAll(TerminalKeys::take(unread));
    if (unread.isEmpty()) {
        escapeTimer.stop();
    } else {
        escapeTimer.start();
    }
}

void LocalRemote::handleAll(const std::vector<TerminalKeys::Event> &events)
{
    for (const TerminalKeys::Event &event : events) {
        std::visit([this](const auto &what) { handle(what); }, event);
    }
}

void LocalRemote::handle(const TerminalKeys::Text &typed)
{
    for (const QString &piece : LocalText::pieces(typed.text, LocalText::typedPiece)) {
        send(SessionMessage::text(piece), u"typed %1"_s.arg(piece));
    }
}

void LocalRemote::handle(const KeyStroke &stroke)
{
    if (!movesByKeys || !handleAsPointer(stroke)) {
        send(stroke.message(),
             u"key %1"_s.arg((stroke.modifiers + QStringList{stroke.key}).join(u'+')));
    }
}

/// Without a mouse: the arrows move, Enter and Backspace click left and right, the page keys
/// scroll.
bool LocalRemote::handleAsPointer(const KeyStroke &stroke)
{
    const bool isFast = stroke.modifiers == QStringList{u"Shift"_s};
    if (!stroke.modifiers.isEmpty() && !isFast) {
        return false;
    }
    if (stroke.key == "ArrowLeft"_L1 || stroke.key == "ArrowRight"_L1) {
        pointer.step(stroke.key == "ArrowLeft"_L1 ? -1 : 1, 0, isFast);
        sendMoveUnlessBusy();
    } else if (stroke.key == "ArrowUp"_L1 || stroke.key == "ArrowDown"_L1) {
        pointer.step(0, stroke.key == "ArrowUp"_L1 ? -1 : 1, isFast);
        sendMoveUnlessBusy();
    } else if (stroke.key == "Enter"_L1) {
        send(SessionMessage::button(u"left"_s, u"click"_s), u"click"_s);
    } else if (stroke.key == "Backspace"_L1) {
        send(SessionMessage::button(u"right"_s, u"click"_s), u"right click"_s);
    } else if (stroke.key == "PageUp"_L1 || stroke.key == "PageDown"_L1) {
        handle(TerminalKeys::Wheel{0, stroke.key == "PageUp"_L1 ? -1 : 1});
    } else {
        return false;
    }
    return true;
}

void LocalRemote::handle(const TerminalKeys::Motion &motion)
{
    pointer.mouseAt(motion.column, motion.row);
    sendMoveUnlessBusy();
}

/// The pointer must have arrived before the button goes down or up.
void LocalRemote::handle(const TerminalKeys::MouseButton &button)
{
    sendMove();
    const QString action = button.isDown ? u"press"_s : u"release"_s;
    send(SessionMessage::button(button.button, action),
         u"%1 button %2"_s.arg(button.button, button.isDown ? u"down"_s : u"up"_s));
}

void LocalRemote::handle(const TerminalKeys::Wheel &wheel)
{
    send(SessionMessage::scroll(wheel.right * SessionMessage::notch,
                                wheel.down * SessionMessage::notch),
         u"scroll"_s);
}

void LocalRemote::handle(const TerminalKeys::Leave &)
{
    end(ExitCode::Done);
}

void LocalRemote::handle(const TerminalKeys::SwitchMode &)
{
    movesByKeys = !movesByKeys;
    show(movesByKeys ? u"arrows move, Enter clicks"_s : u"arrows are keys"_s);
}

void LocalRemote::sendMoveUnlessBusy()
{
    if (session.connection().underWay() < movesAhead) {
        sendMove();
    }
}

void LocalRemote::sendMove()
{
    if (const auto move = pointer.take()) {
        send(SessionMessage::move(move->x(), move->y()),
             u"move %1, %2"_s.arg(move->x()).arg(move->y()));
    }
}

void LocalRemote::send(const SessionMessage &message, const QString &shown)
{
    show(shown);
    session.connection().send(message, [this](const SessionOutcome &outcome) {
        if (outcome.kind == SessionOutcome::Kind::Refused) {
            show(outcome.problem);
        } else if (outcome.isDone()) {
            sendMove();
        }
    });
}

void LocalRemote::showIntroduction()
{
    Terminal::printRawLines(
        {u"All keys typed here are typed on this desktop (%1)."_s.arg(session.serverName()),
         u"The mouse moves the pointer; its buttons and wheel work too."_s,
         u"Ctrl+\\ lets the arrow keys move the pointer, and back: there"_s,
         u"Enter and Backspace click, and the page keys scroll."_s, QString()});
}

void LocalRemote::show(const QString &action)
{
    Terminal::showStatus(u"%1 | %2 | Ctrl+] leaves"_s.arg(session.serverName(), action));
}

void LocalRemote::end(ExitCode how)
{
    code = how;
    loop.quit();
}

} // namespace quillmote
