// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <functional>

namespace quillmote {

/// Whether a terminal does something else with the character than to show it: control characters,
/// separators of lines, and what turns the direction of text.
bool isObeyedByTerminals(char32_t character);

/// The text as it may be shown on a terminal: control characters and what turns the direction of
/// text are written as escapes such as \n and \u001b. Names and texts of other machines come here
/// before they are shown, since a terminal obeys what is in them.
QString printable(const QString &text);

/// The same for a text of several lines: line feeds and tabs stay.
QString printableLines(const QString &text);

/// The text with those characters replaced. Halves of a pair that stand alone become U+FFFD.
QString withEscapes(const QString &text, const std::function<bool(char32_t)> &isEscaped,
                    const std::function<QString(char32_t)> &escape);

/// What a person sees as the one character around that index: an emoji whole, and something that
/// cannot be shown by its number, such as U+0007.
QString shownCharacter(const QString &text, qsizetype index);

} // namespace quillmote
