// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

namespace quillmote {

/// A text that the wire carries unchanged, made from one that it may not.
struct LossyText
{
    QString text;
    /// One entry for each kind of change, such as "line break to a blank (2 times)", in the order
    /// in which they were first needed.
    QStringList changes;

    /// White space becomes a blank, runs of it one blank, at the ends none. Quotes become ', dashes
    /// -, accented letters outside Latin-1 those without accent. What has no likeness becomes ?. A
    /// bracket at the start becomes [, since the server would take the text for a list.
    static LossyText of(const QString &original);
};

} // namespace quillmote
