// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHash>
#include <QVariant>

/// Adds up what a client's own tokens have stored in its connection's map, which is never cleared.
/// What the server's answers put there does not count: it is small, or counted elsewhere.
class StoredSize
{
public:
    static constexpr qsizetype maximumKeys = 65'536;
    static constexpr qsizetype maximumBytes = 16 * 1024 * 1024;

    /// A token stored the value under the key, replacing an earlier one.
    void store(const QString &key, const QVariant &value);

    bool isTooMuch() const { return entries.size() > maximumKeys || total.wire > maximumBytes; }

    /// An estimate of the memory that it takes, in bytes. Short items take up to twenty times their
    /// size on the wire.
    qsizetype memory() const { return total.memory; }

private:
    /// In bytes.
    struct Size
    {
        qsizetype wire = 0;
        qsizetype memory = 0;
    };

    static Size sizeOf(const QString &key, const QVariant &value);

    QHash<QString, Size> entries;
    Size total;
};
