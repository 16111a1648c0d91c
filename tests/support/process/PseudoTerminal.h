// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// A terminal for a program that is tested, without a screen.
class PseudoTerminal
{
public:
    PseudoTerminal();
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal &) = delete;
    PseudoTerminal &operator=(const PseudoTerminal &) = delete;

    /// Makes it the standard error of a process: a last preparation (see ServerProcess).
    std::function<void()> asErrorOutput() const;
    /// Makes it all three standard streams.
    std::function<void()> asStandardStreams() const;

    /// The file by which programs open it.
    QString device() const;

    /// What a person types at it.
    void type(const QByteArray &keys) const;

    /// Everything that was written to it so far, with the terminal's own line ends.
    QByteArray text();

private:
    int screen = -1;
    int programSide = -1;
    QByteArray shownText;
};
