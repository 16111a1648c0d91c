// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/PrintableText.h"

#include <QList>
#include <QTextBoundaryFinder>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// The two join emoji, and letters of some scripts.
bool isJoiner(char32_t character)
{
    return character == 0x200c || character == 0x200d;
}

bool isUnsafe(char32_t character)
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

template <typename Predicate> QString withEscapes(const QString &text, Predicate isEscaped)
{
    QString shown;
    for (const char32_t character : text.toUcs4()) {
        shown += isEscaped(character) ? escaped(character) : QString::fromUcs4(&character, 1);
    }
    return shown;
}

} // namespace

QString printable(const QString &text)
{
    return withEscapes(text, isUnsafe);
}

QString printableLines(const QString &text)
{
    return withEscapes(text, [](char32_t character) {
        return isUnsafe(character) && character != U'\n' && character != U'\t';
    });
}

QString shownCharacter(const QString &text, qsizetype index)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.setPosition(index);
    const qsizetype start = finder.isAtBoundary() ? index : finder.toPreviousBoundary();
    const qsizetype end = finder.toNextBoundary();
    const QString shown = text.mid(start, end - start);
    const char32_t first = shown.toUcs4().value(0);
    const bool canBeSeen = !isUnsafe(first) && !QChar::isSpace(first);
    return canBeSeen ? printable(shown)
                     : u"U+%1"_s.arg(QString::number(first, 16).toUpper(), 4, u'0');
}

} // namespace quillmote
