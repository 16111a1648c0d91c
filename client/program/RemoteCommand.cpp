// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The command that makes the terminal the handheld.

#include "lib/PrintableText.h"
#include "program/Commands.h"
#include "program/DeviceIdentity.h"
#include "program/KeyNames.h"
#include "program/RawTerminal.h"
#include "program/Session.h"
#include "program/TerminalInput.h"
#include "program/TextTyper.h"
#include "program/TypingPlan.h"

#include <QEventLoop>
#include <QHostInfo>
#include <QSocketNotifier>

#include <optional>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

constexpr int normalStep = 10; // pixels an arrow moves the pointer
constexpr int fastStep = 50;   // with Shift
constexpr int cellWidth = 8;   // pixels that one column of the mouse's way stands for
constexpr int cellHeight = 16;
/// Requests under way beyond which pointer moves are added up instead of queued.
constexpr int busyRequests = 2;

class Remote
{
public:
    Remote(Session &server, const Arguments &arguments)
        : session(server)
        , style{arguments.pastesAll, arguments.isUsKeyboard}
        , typer(server.connection(), arguments.pasteWait)
    {
    }

    ExitCode run()
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

private:
    void readInput()
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

    /// Those that come together, such as what is pasted into this terminal, are one text.
    void handle(const TerminalInput::Character &typed) { pendingText += typed.character; }
    void handle(const TerminalInput::ControlLetter &typed)
    {
        const QString shortcut = u"Ctrl+"_s + typed.letter;
        typeKey(KeyNames::forServer(shortcut), shortcut);
    }
    void handle(const TerminalInput::FunctionKey &typed)
    {
        const QString key = u'F' + QString::number(typed.number);
        typeKey(KeyNames::forServer(key), key);
    }
    void handle(const TerminalInput::Arrow &arrow)
    {
        const int pixels = arrow.isFast ? fastStep : normalStep;
        movePointer(arrow.dx * pixels, arrow.dy * pixels);
    }
    void handle(const TerminalInput::MouseMotion &motion)
    {
        if (mousePlace) {
            movePointer((motion.column - mousePlace->column) * cellWidth,
                        (motion.row - mousePlace->row) * cellHeight);
        }
        mousePlace = motion;
    }
    void handle(const TerminalInput::MousePress &press)
    {
        const Button button = press.button == 0   ? Button::Left
                              : press.button == 1 ? Button::Center
                                                  : Button::Right;
        send(Request::click(button), u"click"_s);
    }
    void handle(const TerminalInput::Other &key) { show(u"%1 cannot be sent"_s.arg(key.name)); }
    void handle(const TerminalInput::Leave &) { end(ExitCode::Done); }

    void typeText()
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

    void typeKey(const std::optional<QString> &shortcut, const QString &shown)
    {
        if (shortcut) {
            send(Request::key(*shortcut), u"key %1"_s.arg(shown));
        } else {
            show(u"%1 cannot be sent"_s.arg(shown));
        }
    }

    /// Moves that come faster than they can be sent become one.
    void movePointer(int dx, int dy)
    {
        pendingX += dx;
        pendingY += dy;
        if (underWay < busyRequests) {
            sendMove();
        }
    }

    void sendMove()
    {
        if (pendingX != 0 || pendingY != 0) {
            const Request move = Request::move(pendingX, pendingY);
            const QString text = u"move %1, %2"_s.arg(pendingX).arg(pendingY);
            pendingX = pendingY = 0;
            send(move, text);
        }
    }

    void send(const Request &request, const QString &shown)
    {
        ++underWay;
        show(shown);
        typer.add(request, ended());
    }

    TextTyper::Done ended()
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

    /// What a person must know once; the terminal is raw.
    void showIntroduction()
    {
        Terminal::printRawLines({u"Keys typed here are typed on %1."_s.arg(session.serverName()),
                                 u"Arrows or the mouse move the pointer."_s,
                                 u"Return, Tab, Backspace and Escape cannot be sent."_s,
                                 u"Characters without a key, such as the full stop, are pasted."_s,
                                 u"This overwrites the clipboard there."_s, QString()});
    }

    void show(const QString &action)
    {
        Terminal::showStatus(
            u"%1 | %2 | %3 | Ctrl+] leaves"_s.arg(session.serverName(), pairing, action));
    }

    void end(ExitCode how)
    {
        code = how;
        loop.quit();
    }

public:
    QString pairing;

private:
    Session &session;
    TypingStyle style;
    TextTyper typer;
    QEventLoop loop;
    QByteArray unread;
    QString pendingText; // typed, and not yet on its way
    std::optional<TerminalInput::MouseMotion> mousePlace;
    int pendingX = 0;
    int pendingY = 0;
    int underWay = 0;
    ExitCode code = ExitCode::Done;
};

} // namespace

ExitCode Commands::remote(const Arguments &arguments)
{
    if (!Terminal::errorsAreTerminal() || isatty(STDIN_FILENO) != 1) {
        Terminal::complain(u"remote needs a terminal; in scripts use key, move and click."_s);
        return ExitCode::Usage;
    }
    Session session(arguments);
    if (!session.isOpen()) {
        return session.exitCode();
    }
    const QString name = QHostInfo::localHostName();
    const ExitCode paired = session.run(Request::pair(DeviceIdentity::get().text, name));
    if (paired != ExitCode::Done && paired != ExitCode::ServerError) {
        return paired;
    }
    ExitCode code = ExitCode::Done;
    {
        const RawTerminal terminal;
        Remote remote(session, arguments);
        remote.pairing = paired == ExitCode::Done ? u"paired"_s : u"not paired"_s;
        code = remote.run();
    }
    if (code == ExitCode::NoConnection) {
        Terminal::complain(
            u"The connection to %1 is lost; is VornaServer still running there?"_s.arg(
                session.serverName()));
    }
    return code;
}

} // namespace quillmote
