// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/LocalText.h"

#include "lib/PrintableText.h"

#include <QStringDecoder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote::LocalText {
namespace {

bool isTypable(QChar character)
{
    return character.category() != QChar::Other_Control || character == u'\n' ||
           character == u'\r' || character == u'\t';
}

/// Whether what stands before and behind this place belongs together.
bool isInside(const QString &text, qsizetype place)
{
    return text[place].isLowSurrogate() || (text[place - 1] == u'\r' && text[place] == u'\n');
}

} // namespace

QString problemWithTyping(const QString &text)
{
    const auto found = std::find_if_not(text.begin(), text.end(), isTypable);
    return found == text.end()
               ? QString()
               : u"The text cannot be typed: it holds the control character %1."_s.arg(
                     shownCharacter(text, found - text.begin()));
}

QStringList pieces(const QString &text, qsizetype longest)
{
    QStringList found;
    for (qsizetype begin = 0; begin < text.size();) {
        qsizetype end = std::min(begin + longest, text.size());
        while (end < text.size() && isInside(text, end)) {
            ++end;
        }
        found += text.mid(begin, end - begin);
        begin = end;
    }
    return found;
}

std::optional<QString> fromUtf8(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder.decode(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
}

QByteArray withoutLastLineBreak(QByteArray text)
{
    if (text.endsWith('\n')) {
        text.chop(text.endsWith("\r\n") ? 2 : 1);
    }
    return text;
}

} // namespace quillmote::LocalText
