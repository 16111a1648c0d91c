// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/Suggestion.h"

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr qsizetype longestWord = 30;

/// The optimal string alignment distance: each letter is changed at most once.
qsizetype distance(QStringView one, QStringView other)
{
    const auto rows = static_cast<size_t>(one.size()) + 1;
    const auto columns = static_cast<size_t>(other.size()) + 1;
    std::vector<std::vector<qsizetype>> cost(rows, std::vector<qsizetype>(columns));
    const auto at = [](QStringView text, size_t place) {
        return text[static_cast<qsizetype>(place) - 1];
    };
    for (size_t row = 0; row < rows; ++row) {
        for (size_t column = 0; column < columns; ++column) {
            if (row == 0 || column == 0) {
                cost[row][column] = static_cast<qsizetype>(row) + static_cast<qsizetype>(column);
                continue;
            }
            const int change = at(one, row) == at(other, column) ? 0 : 1;
            qsizetype &here = cost[row][column];
            here = std::min({cost[row - 1][column] + 1, cost[row][column - 1] + 1,
                             cost[row - 1][column - 1] + change});
            if (row > 1 && column > 1 && at(one, row) == at(other, column - 1) &&
                at(one, row - 1) == at(other, column)) {
                here = std::min(here, cost[row - 2][column - 2] + 1);
            }
        }
    }
    return cost.back().back();
}

/// After two mistakes a short word is no longer recognisable.
qsizetype allowedMistakes(const QString &word)
{
    return word.size() <= 4 ? 1 : 2;
}

} // namespace

QString suggestionFor(const QString &word, const QStringList &candidates)
{
    QString best;
    qsizetype fewest = allowedMistakes(word) + 1;
    for (const QString &candidate : candidates) {
        const qsizetype mistakes =
            word.size() > longestWord ? fewest : distance(word.toLower(), candidate.toLower());
        if (mistakes < fewest) {
            fewest = mistakes;
            best = candidate;
        }
    }
    return best;
}

QString didYouMean(const QString &word, const QStringList &candidates)
{
    const QString suggestion = suggestionFor(word, candidates);
    return suggestion.isEmpty() ? QString() : u" Did you mean %1?"_s.arg(suggestion);
}

} // namespace quillmote
