// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

namespace quillmote {

/// The candidate that a mistyped word was meant for; empty when none is close. A wrong, missing or
/// additional letter and two letters in the wrong order are one mistake each.
QString suggestionFor(const QString &word, const QStringList &candidates);

/// "Did you mean X?" with a blank before it; empty when there is nothing to suggest.
QString didYouMean(const QString &word, const QStringList &candidates);

} // namespace quillmote
