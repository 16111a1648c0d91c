// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>
#include <utility>

namespace platform {

/// Groups of key=value lines: the form that desktop entries, mimeapps.list and mimeinfo.cache share
/// (Desktop Entry Specification 1.5, "Basic format of the file").
///
/// The files belong to other programs, so lines that do not have this form are skipped. If a key
/// occurs twice, the last one counts. GLib's reader rejects a whole file for one malformed line,
/// and desktops that rely on it then lose the user's choice of programs; we do not.
class KeyFile
{
public:
    /// Longer files are not read; the caches of fully installed systems stay below 1 MiB.
    static constexpr qint64 sizeLimit = 4 * 1024 * 1024;

    /// Empty when the file is missing, longer than the limit or not a regular file.
    static KeyFile read(const QString &fileName);
    static KeyFile parse(const QByteArray &text);

    /// The value with its escapes replaced.
    std::optional<QString> string(const QString &group, const QString &key) const;
    /// The items between the semicolons, without empty ones; empty without such a key.
    QStringList strings(const QString &group, const QString &key) const;
    /// Whether the value is "true".
    bool boolean(const QString &group, const QString &key) const;

    /// What has to be written after "key=" so that string() returns `text`.
    static QString escaped(const QString &text);

private:
    void addLine(QByteArrayView line, QString &currentGroup);

    /// Values as they stand in the file, by group and key.
    QHash<std::pair<QString, QString>, QString> rawValues;
};

} // namespace platform
