// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/wire/WireText.h"

#include <QJsonDocument>
#include <QUtf8StringView>

namespace quillmote {
namespace {

/// Counted before parsing, which calls itself at each level.
bool isNestedTooDeeply(const QByteArray &text)
{
    int depth = 0;
    bool isInText = false;
    for (qsizetype place = 0; place < text.size(); ++place) {
        const char character = text[place];
        if (isInText && character == '\\') {
            ++place;
        } else if (character == '"') {
            isInText = !isInText;
        } else if (!isInText && (character == '{' || character == '[')) {
            ++depth;
        } else if (!isInText && (character == '}' || character == ']')) {
            --depth;
        }
        if (depth > WireText::deepest) {
            return true;
        }
    }
    return false;
}

} // namespace

QByteArray WireText::toBytes() const
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n' + body;
}

std::optional<WireText> WireText::fromBytes(const QByteArray &bytes)
{
    const qsizetype end = bytes.indexOf('\n');
    const QByteArray text = bytes.first(std::max<qsizetype>(end, 0));
    // The first character leaves no room for a mark of the byte order, which the toolkit would
    // skip.
    if (!text.startsWith('{') || !QUtf8StringView(text).isValidUtf8() || isNestedTooDeeply(text)) {
        return std::nullopt;
    }
    const QJsonDocument document = QJsonDocument::fromJson(text);
    return document.isObject() ? std::optional(WireText{document.object(), bytes.sliced(end + 1)})
                               : std::nullopt;
}

} // namespace quillmote
