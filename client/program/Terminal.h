// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// What the user sees: results on standard output, everything else on standard error.
namespace Terminal {

/// How the program ends.
enum class ExitCode {
    Done = 0,
    ServerError = 1,  ///< the server said ERROR
    Usage = 2,        ///< the command line, or a value that cannot be sent
    NoConnection = 3, ///< no server found, or the connection was lost or too slow
};

bool outputIsTerminal();
bool errorsAreTerminal();

/// A result; UTF-8.
void print(const QString &text);
void printLine(const QString &text);
/// One sentence about what is wrong, and what to do next.
void complain(const QString &sentence);
/// Something worth knowing before it happens.
void note(const QString &sentence);
/// Overwrites the current line on standard error; only on a terminal.
void showStatus(const QString &line);
void clearStatus();
/// Columns of the terminal on standard error; 80 when it does not tell.
int columns();

} // namespace Terminal
