// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/Terminal.h"

#include <QString>
#include <QStringList>

namespace quillmote {

struct Arguments;

/// One subcommand: its call, its help and its function. Its options are in OptionTable.
struct CommandEntry
{
    QLatin1StringView name;
    QLatin1StringView values;      ///< for the help, such as "DX DY"; may be empty
    QLatin1StringView summary;     ///< for the overview
    QLatin1StringView description; ///< for its own help
    QLatin1StringView examples;
    qsizetype fewestValues;
    qsizetype mostValues;
    Terminal::ExitCode (*run)(const Arguments &arguments);
};

/// Null if there is no such command.
const CommandEntry *findCommand(const QString &name);

QStringList commandNames();

} // namespace quillmote
