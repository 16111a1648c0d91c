// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

namespace quillmote {

/// A text that the wire carries unchanged, made from any text.
struct LossyText
{
    QString text;
    /// One entry for each kind of change, such as "line break to a blank (2 times)", in the order
    /// in which the text needs them.
    QStringList changes;

    /// A run of white space becomes one blank; at the ends it is removed. Quotes become ', dashes
    /// become -, and accented letters outside Latin-1 lose their accents. A character without a
    /// similar one becomes ?. A bracket at the start becomes [, because the server would take the
    /// text for a list.
    static LossyText of(const QString &original);
};

} // namespace quillmote
