// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/Terminal.h"

#include <QString>
#include <QStringList>

namespace quillmote {

struct Arguments;

/// One subcommand: how it is called, what it does.
struct CommandEntry
{
    QLatin1StringView name;
    QLatin1StringView usage;
    QLatin1StringView summary;     ///< for the overview
    QLatin1StringView description; ///< for its own help
    QLatin1StringView examples;
    qsizetype leastValues;
    qsizetype mostValues;
    Terminal::ExitCode (*run)(const Arguments &arguments);
};

/// Null when there is no such command.
const CommandEntry *findCommand(const QString &name);

QStringList commandNames();

/// The program's own help.
QString commandOverview();

} // namespace quillmote
