// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

namespace quillmote {

/// The candidate that is most similar to a mistyped word; empty if none is similar. A wrong,
/// missing or additional letter and two swapped letters count as one mistake each.
QString suggestionFor(const QString &word, const QStringList &candidates);

/// "Did you mean X?" with a blank in front; empty if there is nothing to suggest.
QString didYouMean(const QString &word, const QStringList &candidates);

} // namespace quillmote
