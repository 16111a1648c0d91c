// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <vector>

namespace quillmote {

/// How to type a text.
struct TypingStyle
{
    /// Paste all of the text, as far as the wire can carry it.
    bool pastesAll = false;
    /// Type characters with Shift where a US keyboard has them.
    bool isUsKeyboard = false;
};

/// One step of typing a text.
struct TypingStep
{
    enum class Kind {
        Key,  ///< a shortcut, as the server understands it
        Paste ///< a text to paste from the clipboard; the wire can carry it
    };
    Kind kind = Kind::Key;
    QString text;

    bool operator==(const TypingStep &) const = default;
};

/// The steps that type a text, or the reason why it cannot be typed.
struct TypingPlan
{
    std::vector<TypingStep> steps;
    /// A sentence for the user about a character that cannot be typed, and what to do; there are no
    /// steps then. Empty otherwise.
    QString refusal;

    bool usesClipboard() const;

    static TypingPlan of(const QString &text, const TypingStyle &style = {});
};

} // namespace quillmote
