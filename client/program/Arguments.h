// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

namespace quillmote {

/// See TextTyper.
inline constexpr std::chrono::milliseconds defaultPasteWait{500};

/// The command line, read and checked.
struct Arguments
{
    QString command;
    QStringList values; // what follows the command and is no option
    QString server;     // --server
    QString host;       // --host
    quint16 port = 0;   // --port
    std::chrono::milliseconds timeout{10'000};
    bool isTimeoutGiven = false;
    bool wantsJson = false;
    QString deviceName;             // --name, for pairing
    int repeat = 1;                 // --repeat, for keys and clicks
    bool isWatch = false;           // --watch, for discovery
    bool isLossy = false;           // --lossy, for copying
    std::optional<QString> saveAs;  // --as, for files
    bool isForced = false;          // --force, for files
    bool pastesAll = false;         // --paste, for text
    bool isUsKeyboard = false;      // --us-keyboard, for text
    bool restoresClipboard = false; // --restore, for text
    /// --paste-wait: how long a program there may take to paste.
    std::chrono::milliseconds pasteWait{defaultPasteWait};
};

/// What reading the command line has led to: arguments, or a text to show and an exit.
struct ParsedArguments
{
    std::optional<Arguments> arguments;
    QString output;  // help or version, for standard output
    QString problem; // for standard error
    /// What kind of problem it is, for programs.
    const char *problemCode = "usage";
    /// Counts for problems too.
    bool wantsJson = false;
};

ParsedArguments parseArguments(const QStringList &commandLine);

} // namespace quillmote
