// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// The command line in the Exec key of a desktop entry (Desktop Entry Specification 1.5, "The Exec
/// key"). No shell reads it, here or elsewhere.
namespace platform::ExecLine {

/// What the field codes of a start without files stand for.
struct FieldValues
{
    QString name;
    QString icon;
    QString fileName;
};

/// The arguments, unquoted, their field codes still in them. Nothing when a quote is not closed.
std::optional<QStringList> split(const QString &line);

/// The arguments with their field codes replaced: those for files and addresses by nothing. Nothing
/// when there is an unknown code, as such a line must not be run.
std::optional<QStringList> expand(const QStringList &arguments, const FieldValues &values);

/// One argument in double quotes, such that split() and expand() give it back.
QString quoted(const QString &argument);

} // namespace platform::ExecLine
