// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// The program's output for the user: results on standard output, everything else on standard
/// error.
///
/// If JSON is wanted, standard error gets one object a line: {"note": "..."} at once, and
/// {"error": "code", "message": "..."} from finish(), when the exit status is known.
namespace quillmote::Terminal {

/// The exit status of the program.
enum class ExitCode {
    Done = 0,
    ServerError = 1,  ///< the server answered ERROR
    Usage = 2,        ///< the command line is wrong, or a value cannot be sent
    NoConnection = 3, ///< no server was found, or the connection was lost or too slow
};

bool outputIsTerminal();
bool errorsAreTerminal();

void useJson(bool isWanted);

/// Prints the toolkit's own messages in the same way, since they may quote texts of others.
void takeToolkitMessages();

/// Prints a result. See OutputStream about terminals.
void print(const QString &text);
void printLine(const QString &text);
/// Prints lines on a raw terminal (see RawTerminal), which needs a carriage return after each.
void printRawLines(const QStringList &lines);
/// Prints one sentence about an error and what to do next. Without a code the one of the exit
/// status is used: "server-error", "usage" or "no-connection". Control characters are escaped.
void complain(const QString &sentence, QLatin1StringView code = {});
/// The same about a command line that is wrong, or about what cannot be sent; returns the status.
ExitCode misused(const QString &sentence);
ExitCode cannotSend(const QString &sentence);
/// Prints something worth knowing that is not an error. Control characters are escaped.
void note(const QString &sentence);
/// Prints the errors that complain() has kept until now; returns the program's exit status.
int finish(ExitCode code);

/// Overwrites the current line on standard error, if that is a terminal.
void showStatus(const QString &line);
void clearStatus();
/// The columns of the terminal on standard error; 80 if they are not known.
int columns();

/// The columns that the text takes on a terminal; some characters take two, some none.
int width(const QString &text);
/// The longest beginning of the text that fits into these columns.
QString fitted(const QString &text, int columns);

} // namespace quillmote::Terminal
