// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QHash>
#include <QVariant>

/// Adds up what a client's own tokens have stored in its connection's map, which is never cleared.
/// What the server's answers put there does not count.
class StoredSize
{
public:
    static constexpr qsizetype maximumKeys = 65'536;
    static constexpr qsizetype maximumBytes = 16 * 1024 * 1024;

    /// A token stored the value under the key, replacing an earlier one.
    void store(const QString &key, const QVariant &value);

    bool isTooMuch() const { return sizes.size() > maximumKeys || bytes > maximumBytes; }

private:
    QHash<QString, qsizetype> sizes; // bytes on the wire, per key
    qsizetype bytes = 0;             // their sum
};
