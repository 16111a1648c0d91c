// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/Terminal.h"
#include "program/TerminalInput.h"
#include "program/TerminalPointer.h"
#include "program/TextTyper.h"
#include "program/TypingPlan.h"

#include <QByteArray>
#include <QEventLoop>
#include <QString>

namespace quillmote {

class Session;
struct Arguments;

/// The terminal as a handheld: sends what a person types and points at, until the person leaves or
/// the connection is lost. The terminal must be raw; see RawTerminal.
class Remote
{
public:
    Remote(Session &server, const Arguments &arguments, bool isPaired);

    Terminal::ExitCode run();

private:
    void readInput();
    void handle(const TerminalInput::Character &typed);
    void handle(const TerminalInput::ControlLetter &typed);
    void handle(const TerminalInput::FunctionKey &typed);
    void handle(const TerminalInput::Arrow &arrow);
    void handle(const TerminalInput::MouseMotion &motion);
    void handle(const TerminalInput::MousePress &press);
    void handle(const TerminalInput::Other &key);
    void handle(const TerminalInput::Leave &leave);
    void typeText();
    void typeKey(const QString &shortcut);
    void sendMoveUnlessBusy();
    void sendMove();
    void send(const Request &request, const QString &shown);
    TextTyper::Done ended();
    void showIntroduction();
    void show(const QString &action);
    void end(Terminal::ExitCode how);

    Session &session;
    TypingStyle style;
    TextTyper typer;
    QString pairing; // for the status line
    QEventLoop loop;
    QByteArray unread;   // an unfinished sequence of the terminal
    QString pendingText; // typed, but not sent yet
    TerminalPointer pointer;
    int underWay = 0; // requests that have not ended
    Terminal::ExitCode code = Terminal::ExitCode::Done;
};

} // namespace quillmote
