// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

namespace quillmote {

/// The command line, read and checked. Each option's field is named in OptionTable.cpp.
struct Arguments
{
    QString command;
    QStringList values; ///< the words behind the command that are not options
    QString server;     ///< a name; empty if none is given
    QString host;       ///< empty if none is given
    quint16 port = 0;
    bool isLocal = false; ///< only the server of this desktop
    std::chrono::milliseconds timeout{10'000};
    bool isTimeoutGiven = false;
    bool wantsJson = false;
    QString deviceName; ///< empty if none is given
    int repeat = 1;
    bool isWatch = false;
    bool isLossy = false;
    std::optional<QString> saveAs;
    bool isForced = false;
    bool pastesAll = false;
    bool isUsKeyboard = false;
    bool restoresClipboard = false;
    /// How long a program on the server's desktop may take to paste; see TextTyper.
    std::chrono::milliseconds pasteWait{500};
    std::chrono::milliseconds delay{0}; ///< between two characters
    QString button{QStringLiteral("left")};
    /// How long keys are held; until a signal if none is given.
    std::optional<std::chrono::milliseconds> holdTime;
    bool keepsLineBreak = false;
    bool isApplication = false;
    bool wantsList = false;
    bool staysClosed = false;
    std::optional<QString> output;
};

/// The result of reading the command line: arguments, or a text to show before the program exits.
struct ParsedArguments
{
    std::optional<Arguments> arguments;
    QString output;  ///< help or version, for standard output
    QString problem; ///< for standard error
    /// The kind of problem, for programs.
    const char *problemCode = "usage";
    /// Set for problems too.
    bool wantsJson = false;
};

ParsedArguments parseArguments(const QStringList &commandLine);

} // namespace quillmote
