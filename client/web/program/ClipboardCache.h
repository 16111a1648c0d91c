// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/SessionConnection.h"

#include <QByteArray>
#include <QJsonObject>

#include <optional>

namespace quillmote {

/// The latest piece of the clipboard's text. The server's pieces are longer than what is sent to a
/// phone at once, and belong together only if each is fetched once.
class ClipboardCache
{
public:
    /// \param size of the whole text, in bytes
    void keep(qint64 offset, const QByteArray &piece, qint64 size);

    struct Part
    {
        QByteArray bytes;
        qint64 size = 0; ///< of the whole text
    };
    /// What is kept from that offset on, at most `length` bytes; nothing if it is not kept. At
    /// offset 0 nothing is, since the text may have changed.
    std::optional<Part> part(qint64 offset, qint64 length) const;

private:
    qint64 first = 0;
    qint64 whole = 0;
    QByteArray kept;
};

} // namespace quillmote
