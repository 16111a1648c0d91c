// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/ForeignStretch.h"

#include <QChar>

namespace platform {

namespace {

bool isAccent(char32_t character)
{
    const QChar::Category category = QChar::category(character);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_SpacingCombining ||
           category == QChar::Mark_Enclosing;
}

bool isUndefined(char32_t character)
{
    return QChar::isSurrogate(character) || QChar::category(character) == QChar::Other_Control;
}

} // namespace

ForeignStretch foreignStretch(const QString &text, qsizetype from,
                              const std::function<bool(char32_t)> &hasKey)
{
    ForeignStretch found;
    bool isFound = false;
    qsizetype last = from; // Where the character before began that accents belong to.
    qsizetype at = from;
    while (at < text.size() && text.at(at) != u'\n' && text.at(at) != u'\t') {
        const qsizetype begin = at;
        const QChar first = text.at(at++);
        char32_t character = first.unicode();
        if (first.isHighSurrogate() && at < text.size() && text.at(at).isLowSurrogate()) {
            character = QChar::surrogateToUcs4(first, text.at(at++));
        }
        if (!isAccent(character)) {
            last = begin;
        }
        if (!isUndefined(character) && !hasKey(character)) {
            found.begin = isFound ? found.begin : last;
            found.end = at;
            isFound = true;
        }
    }
    return isFound ? found : ForeignStretch{at, at};
}

} // namespace platform
