// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/StoredSize.h"

#include <QStringList>

namespace {

/// One byte a character, as on the wire; a list item also takes its separator.
qsizetype wireSize(const QVariant &value)
{
    if (value.typeId() != QMetaType::QStringList) {
        return value.toString().size();
    }
    qsizetype size = 0;
    for (const QString &item : value.toStringList()) {
        size += item.size() + 2;
    }
    return size;
}

} // namespace

void StoredSize::store(const QString &key, const QVariant &value)
{
    const qsizetype size = key.size() + wireSize(value);
    qsizetype &stored = sizes[key];
    bytes += size - stored;
    stored = size;
}
