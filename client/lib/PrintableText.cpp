// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/PrintableText.h"

#include <QList>
#include <QTextBoundaryFinder>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// These two join emoji, and letters of some scripts.
bool isJoiner(char32_t character)
{
    return character == 0x200c || character == 0x200d;
}

/// U+FFFD for an unpaired surrogate, which is not a character.
char32_t characterAt(const QString &text, qsizetype at)
{
    const QChar unit = text[at];
    if (!unit.isSurrogate()) {
        return unit.unicode();
    }
    const bool isPair =
        unit.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
    return isPair ? QChar::surrogateToUcs4(unit, text[at + 1])
                  : char32_t(QChar::ReplacementCharacter);
}

QString escaped(char32_t character)
{
    switch (character) {
    case U'\n':
        return u"\\n"_s;
    case U'\r':
        return u"\\r"_s;
    case U'\t':
        return u"\\t"_s;
    default:
        return u"\\u%1"_s.arg(static_cast<uint>(character), 4, 16, QChar(u'0'));
    }
}

} // namespace

bool isObeyedByTerminals(char32_t character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    case QChar::Other_Format:
        return !isJoiner(character);
    default:
        return false;
    }
}

QString printable(const QString &text)
{
    return withEscapes(text, isObeyedByTerminals, escaped);
}

QString printableLines(const QString &text)
{
    const auto isEscaped = [](char32_t character) {
        return isObeyedByTerminals(character) && character != U'\n' && character != U'\t';
    };
    return withEscapes(text, isEscaped, escaped);
}

QString withEscapes(const QString &text, const std::function<bool(char32_t)> &isEscaped,
                    const std::function<QString(char32_t)> &escape)
{
    QString shown;
    qsizetype copied = 0; // units of the text that are in `shown`
    for (qsizetype at = 0; at < text.size();) {
        const char32_t character = characterAt(text, at);
        const qsizetype end = at + (QChar::requiresSurrogates(character) ? 2 : 1);
        const bool isHalf = character == QChar::ReplacementCharacter;
        if (isHalf || isEscaped(character)) {
            shown += QStringView(text).sliced(copied, at - copied);
            shown += isHalf ? QString(QChar(QChar::ReplacementCharacter)) : escape(character);
            copied = end;
        }
        at = end;
    }
    return copied == 0 ? text : shown += QStringView(text).sliced(copied);
}

QString shownCharacter(const QString &text, qsizetype index)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.setPosition(index);
    const qsizetype start = finder.isAtBoundary() ? index : finder.toPreviousBoundary();
    const qsizetype end = finder.toNextBoundary();
    const QString shown = text.mid(start, end - start);
    const char32_t first = shown.toUcs4().value(0);
    const bool canBeSeen = !isObeyedByTerminals(first) && !QChar::isSpace(first);
    return canBeSeen ? printable(shown)
                     : u"U+%1"_s.arg(QString::number(first, 16).toUpper(), 4, u'0');
}

} // namespace quillmote
