// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/OptionTable.h"

#include <QCommandLineParser>
#include <QStringList>

namespace quillmote {

/// A command line, read with a set of options by the toolkit's parser.
class OptionReading
{
public:
    OptionReading(const QStringList &commandLine, const Options &options);

    bool isGiven(QLatin1StringView option) const { return parser.isSet(option); }
    /// The last value, if the option is given several times.
    QString value(QLatin1StringView option) const;
    /// The words that are neither options nor their values.
    QStringList values() const;

    /// Which option has no value, or a value that it does not take; empty if there is none.
    QString problem() const { return isWellFormed ? QString() : parser.errorText(); }

    /// The index of the first word that is an option, but none of these; -1 if there is none.
    qsizetype placeOfUnknownOption() const;

private:
    QCommandLineParser parser;
    QStringList words; // with guarded numbers
    bool isWellFormed = false;
};

} // namespace quillmote
