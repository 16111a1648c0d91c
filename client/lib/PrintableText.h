// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <functional>

namespace quillmote {

/// Whether a terminal obeys the character instead of showing it: control characters, line
/// separators, and characters that change the direction of text.
bool isObeyedByTerminals(char32_t character);

/// The text as a terminal may show it: characters that it would obey are written as escapes such as
/// \n and \u001b. Names and texts of other machines must pass through here before they are shown.
QString printable(const QString &text);

/// The same for a text of several lines: line feeds and tabs are kept.
QString printableLines(const QString &text);

/// The text with those characters replaced. An unpaired surrogate becomes U+FFFD.
QString withEscapes(const QString &text, const std::function<bool(char32_t)> &isEscaped,
                    const std::function<QString(char32_t)> &escape);

/// The whole character at that index as a person sees it, such as an emoji of several code points.
/// A character that cannot be shown is named by its number, such as U+0007.
QString shownCharacter(const QString &text, qsizetype index);

} // namespace quillmote
