// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/StoredSize.h"

#include "net/TextMemory.h"

#include <QStringList>

namespace {

/// What an entry takes besides its texts, in bytes: its slots in the map and in this hash, which
/// are half full at worst.
constexpr qsizetype entryOverhead = 256;

} // namespace

/// On the wire, a character is one byte, and a list item also takes its separator.
StoredSize::Size StoredSize::sizeOf(const QString &key, const QVariant &value)
{
    Size size = {key.size(), entryOverhead + textMemory(key.size())};
    if (value.typeId() != QMetaType::QStringList) {
        const QString text = value.toString();
        return {size.wire + text.size(), size.memory + textMemory(text.size())};
    }
    for (const QString &item : value.toStringList()) {
        size.wire += item.size() + 2;
        size.memory += qsizetype(sizeof(QString)) + textMemory(item.size());
    }
    return size;
}

void StoredSize::store(const QString &key, const QVariant &value)
{
    const Size size = sizeOf(key, value);
    Size &stored = entries[key];
    total.wire += size.wire - stored.wire;
    total.memory += size.memory - stored.memory;
    stored = size;
}
