// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/SessionMessage.h"
#include "program/Terminal.h"
#include "program/TerminalKeys.h"
#include "program/TerminalPointer.h"

#include <QByteArray>
#include <QEventLoop>
#include <QString>
#include <QTimer>

namespace quillmote {

class LocalSession;

/// The terminal as keyboard and mouse of this desktop: sends what a person does in it, until the
/// person leaves or the connection is lost. The terminal must be raw; see RawTerminal.
class LocalRemote
{
public:
    explicit LocalRemote(LocalSession &server);

    Terminal::ExitCode run();

private:
    void readInput();
    void handleAll(const std::vector<TerminalKeys::Event> &events);
    void handle(const TerminalKeys::Text &typed);
    void handle(const KeyStroke &stroke);
    void handle(const TerminalKeys::Motion &motion);
    void handle(const TerminalKeys::MouseButton &button);
    void handle(const TerminalKeys::Wheel &wheel);
    void handle(const TerminalKeys::Leave &leave);
    void handle(const TerminalKeys::SwitchMode &change);
    bool handleAsPointer(const KeyStroke &stroke);
    void sendMoveUnlessBusy();
    void sendMove();
    void send(const SessionMessage &message, const QString &shown);
    void showIntroduction();
    void show(const QString &action);
    void end(Terminal::ExitCode how);

    LocalSession &session;
    QEventLoop loop;
    QTimer escapeTimer; // runs out when nothing has followed an escape character
    QTimer pings;
    QByteArray unread; // an unfinished sequence of the terminal
    TerminalPointer pointer;
    bool movesByKeys = false;
    Terminal::ExitCode code = Terminal::ExitCode::Done;
};

} // namespace quillmote
