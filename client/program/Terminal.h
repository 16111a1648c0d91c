// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// What the user sees: results on standard output, everything else on standard error.
///
/// Where JSON is wanted, what goes to standard error is one object a line: {"note": "..."} at once,
/// and {"error": "code", "message": "..."} from finish(), when the exit status is known.
namespace quillmote::Terminal {

/// How the program ends.
enum class ExitCode {
    Done = 0,
    ServerError = 1,  ///< the server said ERROR
    Usage = 2,        ///< the command line, or a value that cannot be sent
    NoConnection = 3, ///< no server found, or the connection was lost or too slow
};

bool outputIsTerminal();
bool errorsAreTerminal();

void useJson(bool isWanted);

/// Lets what the toolkit has to say about itself, which may quote others, take the same way.
void takeToolkitMessages();

/// A result; UTF-8. See OutputStream for what a terminal gets of it.
void print(const QString &text);
void printLine(const QString &text);
/// Lines for a terminal that is raw (see RawTerminal) and begins no line by itself.
void printRawLines(const QStringList &lines);
/// One sentence about what is wrong, and what to do next. Whoever gives no code gets the exit
/// status's: "server-error", "usage" or "no-connection". Control characters are escaped.
void complain(const QString &sentence, QLatin1StringView code = {});
/// Something worth knowing before it happens. Control characters are escaped.
void note(const QString &sentence);
/// Reports what complain() has kept for the end; returns the program's exit status.
int finish(ExitCode code);

/// Overwrites the current line on standard error; only on a terminal.
void showStatus(const QString &line);
void clearStatus();
/// Columns of the terminal on standard error; 80 when it does not tell.
int columns();

/// How many columns of a terminal the text fills; some characters fill two, some none.
int width(const QString &text);
/// As much of the text's beginning as fits into so many columns.
QString fitted(const QString &text, int columns);

} // namespace quillmote::Terminal
