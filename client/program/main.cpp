// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Arguments.h"
#include "program/CommandTable.h"
#include "program/LeastPower.h"
#include "program/Terminal.h"

#include <QCoreApplication>

using namespace quillmote;

int main(int argc, char **argv)
{
    takeLeastPower();
    // Otherwise Avahi's compatibility library prints a warning on standard error.
    qputenv("AVAHI_COMPAT_NOWARN", "1");
    Terminal::takeToolkitMessages();
    const QCoreApplication application(argc, argv);
    const ParsedArguments parsed = parseArguments(QCoreApplication::arguments());
    Terminal::useJson(parsed.wantsJson);
    if (!parsed.problem.isEmpty()) {
        Terminal::complain(parsed.problem, QLatin1StringView(parsed.problemCode));
        return Terminal::finish(Terminal::ExitCode::Usage);
    }
    if (!parsed.arguments) {
        Terminal::print(parsed.output);
        return static_cast<int>(Terminal::ExitCode::Done);
    }
    const CommandEntry *command = findCommand(parsed.arguments->command);
    return Terminal::finish(command->run(*parsed.arguments));
}
