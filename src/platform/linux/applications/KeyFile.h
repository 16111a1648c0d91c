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
/// The files belong to others, so whatever is no such line is passed over. Of a key that is there
/// twice the last one counts.
class KeyFile
{
public:
    /// A longer file is no key file; the caches of full systems stay below 1 MiB.
    static constexpr qint64 sizeLimit = 4 * 1024 * 1024;

    /// Without groups when the file is missing, longer than the limit or no regular file.
    static KeyFile read(const QString &fileName);
    static KeyFile parse(const QByteArray &text);

    /// The value with its escapes replaced.
    std::optional<QString> string(const QString &group, const QString &key) const;
    /// The items between the semicolons, without empty ones; empty without such a key.
    QStringList strings(const QString &group, const QString &key) const;
    /// Whether the value is "true".
    bool boolean(const QString &group, const QString &key) const;

    /// What has to be written after "key=" so that string() gives `text`.
    static QString escaped(const QString &text);

private:
    void addLine(QByteArrayView line, QString &currentGroup);

    /// Values as they stand in the file, by group and key.
    QHash<std::pair<QString, QString>, QString> rawValues;
};

} // namespace platform
