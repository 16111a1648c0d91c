// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// The command line in the Exec key of a desktop entry (Desktop Entry Specification 1.5, "The Exec
/// key"). It is never given to a shell.
namespace platform::ExecLine {

/// The values of the field codes when a program is started without files.
struct FieldValues
{
    QString name;
    QString icon;
    QString fileName;
};

/// The arguments, unquoted but with their field codes. Nothing when a quote is not closed.
///
/// The line is read as GLib reads it, and with it the desktops that are built on GLib: single
/// quotes count too, although the standard knows only double ones, and an unquoted "#" at the start
/// of an argument, which the standard reserves, begins a comment.
std::optional<QStringList> split(const QString &line);

/// The arguments with their field codes replaced; those for files and addresses are removed.
/// Nothing when there is an unknown code, because such a line must not be run.
std::optional<QStringList> expand(const QStringList &arguments, const FieldValues &values);

/// The argument in double quotes, such that split() and expand() restore it.
QString quoted(const QString &argument);

} // namespace platform::ExecLine
