// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/ClipboardCache.h"

namespace quillmote {

void ClipboardCache::keep(qint64 offset, const QByteArray &piece, qint64 size)
{
    first = offset;
    kept = piece;
    whole = size;
}

std::optional<ClipboardCache::Part> ClipboardCache::part(qint64 offset, qint64 length) const
{
    if (offset <= 0 || offset < first || offset >= first + kept.size()) {
        return std::nullopt;
    }
    return Part{kept.mid(offset - first, length), whole};
}

} // namespace quillmote
