// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/RandomText.h"

#include <QList>

namespace {

constexpr int LineLength = 40;

void append(QString &text, char32_t character, int number)
{
    text += QString::fromUcs4(&character, 1);
    if (number % LineLength == 0) {
        text += u'\n';
    }
}

} // namespace

QString RandomText::mixed(int characters, const QString &keyCaps, const Filter &isTaken)
{
    const QList<uint> caps = keyCaps.toUcs4();
    QString text;
    for (int number = 1; number <= characters; ++number) {
        const bool isKeyCap = random() % 2 == 0;
        append(text,
               isKeyCap ? caps.at(below(static_cast<char32_t>(caps.size()))) : ofAnyPlane(isTaken),
               number);
    }
    return text;
}

QString RandomText::ofKeyCaps(int characters, const QString &keyCaps)
{
    const QList<uint> caps = keyCaps.toUcs4();
    QString text;
    for (int number = 1; number <= characters; ++number) {
        append(text, caps.at(below(static_cast<char32_t>(caps.size()))), number);
    }
    return text;
}

bool RandomText::isAssigned(char32_t character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Surrogate:
    case QChar::Other_PrivateUse:
    case QChar::Other_NotAssigned:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return true;
    }
}

/// The ligatures of Lam with Alef.
bool RandomText::isComposed(char32_t character)
{
    return character == 0xfef5 || character == 0xfef7 || character == 0xfef9 || character == 0xfefb;
}

char32_t RandomText::anywhere()
{
    switch (random() % 4) {
    case 0:
        return 0x20 + below(0x3000);
    case 1:
        return 0x3000 + below(0xd000);
    case 2:
        return 0x10000 + below(0x10000);
    default:
        return 0x20000 + below(0xf0000);
    }
}

char32_t RandomText::ofAnyPlane(const Filter &isTaken)
{
    char32_t character = anywhere();
    while (!isAssigned(character) || isComposed(character) || !isTaken(character)) {
        character = anywhere();
    }
    return character;
}
