// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/RandomText.h"
#include "support/protocol/SessionClient.h"
#include "support/session/TypingDesk.h"

#include <functional>
#include <memory>

/// A desktop with the server, a program of its user's that speaks on the session socket, and a
/// program that it types into.
class TypingScene
{
public:
    using Hindrance = TypingDesk::Hindrance;

    TypingScene();

    /// The programs that the test is to type into, with their names: those of VORNA_PROGRAMS, such
    /// as "GTK,Qt", and without it all that need no large packages.
    static QList<std::pair<QByteArray, ControlsProgram::Kind>> programs();

    /// Starts the server and a session; false if it cannot.
    bool start();
    SessionClient &session() { return *client; }
    /// Of the kind that TypingDesk::make() chooses.
    TypingDesk &desk() { return *desktop; }
    QString socketPath() const { return desktop->session().serverSocket(); }

    /// Opens a program in place of the one before, and waits until it has the keys.
    bool open(ControlsProgram::Kind kind);
    ControlsProgram &program() { return *controls; }

    /// What stands on the keys of a layout and can be typed with Shift and AltGr at most.
    static QString keyCaps(const QString &layout);

    /// Whether the program takes the character if it is typed. What is left out has its reason
    /// there.
    static bool isTaken(ControlsProgram::Kind kind, char32_t character);

    /// Types it by the session while the hindrance is there, and waits until the program has all
    /// of it.
    /// \param halfway is called once half of it has arrived
    /// \return what was wrong; empty if the program has exactly the text
    QByteArray type(const QString &text, Hindrance hindrance = Hindrance::None,
                    std::function<void()> halfway = {});

    /// Turns the wheel over the list, down and up again.
    /// \return what was wrong; empty if the list has followed
    QByteArray scroll();
    /// Drags the slider's knob from the middle to its end.
    /// \return what was wrong; empty if it is there and stays there when the pointer goes on
    QByteArray drag();

    /// Moves the pointer to that pixel of the desktop; false if it does not get there.
    bool moveTo(const QPoint &place);

private:
    bool ask(const QString &request, const QJsonObject &fields);
    bool isFirstTurnDropped() const;
    bool turnFirst();
    void reactAt(qsizetype length, std::function<void()> action);
    void awaitArrival(const QString &text) const;
    QByteArray difference(const QString &text) const;

    std::unique_ptr<TypingDesk> desktop = TypingDesk::make();
    std::unique_ptr<SessionClient> client;
    std::unique_ptr<ControlsProgram> controls;
};
