// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

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
    QString deviceName;   // --name, for pairing
    int repeat = 1;       // --repeat, for keys
    bool isWatch = false; // --watch, for discovery
};

/// What reading the command line has led to: arguments, or a text to show and an exit.
struct ParsedArguments
{
    std::optional<Arguments> arguments;
    QString output;  // help or version, for standard output
    QString problem; // for standard error
};

ParsedArguments parseArguments(const QStringList &commandLine);
