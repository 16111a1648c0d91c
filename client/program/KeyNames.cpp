// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/KeyNames.h"

#include <QHash>
#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote::KeyNames {
namespace {

/// The server removes blanks at the ends of a value, so the space key is put between two modifiers.
QString spaceWith(const QStringList &modifiers)
{
    const QStringList around = modifiers.isEmpty() ? QStringList{u"Shift"_s} : modifiers;
    return around.join(u'+') + u"+ +"_s + around.last();
}

bool isModifier(const QString &name)
{
    return name == "Cmd"_L1 || name == "Alt"_L1 || name == "Ctrl"_L1 || name == "Shift"_L1;
}

bool isFunctionKey(QStringView name)
{
    const int number = name.mid(1).toInt();
    return name.startsWith(u'F', Qt::CaseInsensitive) && number >= 1 && number <= 20 &&
           name.mid(1) == QString::number(number);
}

bool isKey(const QString &name)
{
    if (name.size() != 1) {
        return isFunctionKey(name);
    }
    const QChar character = name[0];
    const bool isAscii = character.unicode() < 0x80;
    return isAscii && (character.isLetterOrNumber() || u"=-[]';\\,/"_s.contains(character));
}

/// The key that types the character with Shift on a US keyboard; empty if there is none.
QString shiftedKey(QChar character)
{
    static const QHash<QChar, QChar> keys = {
        {u'!', u'1'}, {u'@', u'2'},  {u'#', u'3'}, {u'$', u'4'},  {u'%', u'5'},
        {u'^', u'6'}, {u'&', u'7'},  {u'*', u'8'}, {u'(', u'9'},  {u')', u'0'},
        {u'_', u'-'}, {u'+', u'='},  {u':', u';'}, {u'"', u'\''}, {u'<', u','},
        {u'?', u'/'}, {u'|', u'\\'}, {u'{', u'['}, {u'}', u']'}};
    const QChar key = keys.value(character);
    return key.isNull() ? QString() : QString(key);
}

/// Servers have the names of the square brackets swapped.
QString serverName(const QString &key)
{
    if (key == "["_L1) {
        return u"]"_s;
    }
    return key == "]"_L1 ? u"["_s : key;
}

} // namespace

std::optional<QString> forServer(const QString &shortcut)
{
    QStringList modifiers = shortcut.split(u'+');
    const QString key = modifiers.takeLast();
    if (!std::all_of(modifiers.cbegin(), modifiers.cend(), isModifier)) {
        return std::nullopt;
    }
    if (key == " "_L1 || key.compare("Space"_L1, Qt::CaseInsensitive) == 0) {
        return spaceWith(modifiers);
    }
    return isKey(key) ? std::optional((modifiers << serverName(key)).join(u'+')) : std::nullopt;
}

std::optional<QString> forCharacter(QChar character)
{
    const QString shifted = shiftedKey(character);
    if (!shifted.isEmpty()) {
        return forServer(u"Shift+"_s + shifted);
    }
    return forServer((character.isUpper() ? u"Shift+"_s : QString()) + character);
}

std::optional<QString> forCharacterOfAnyLayout(QChar character)
{
    return shiftedKey(character).isEmpty() ? forCharacter(character) : std::nullopt;
}

} // namespace quillmote::KeyNames
