// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <vector>

namespace quillmote {

/// How a text is to be typed.
struct TypingStyle
{
    /// By the clipboard, where the wire can carry it.
    bool pastesAll = false;
    /// Characters that take Shift on a keyboard of the United States' layout are typed so.
    bool isUsKeyboard = false;
};

/// One step on the way to a text.
struct TypingStep
{
    enum class Kind {
        Key,  ///< a shortcut, as the server takes it
        Paste ///< a text to put on the clipboard and paste; the wire can carry it
    };
    Kind kind = Kind::Key;
    QString text;

    bool operator==(const TypingStep &) const = default;
};

/// What types a text, or why nothing does.
struct TypingPlan
{
    std::vector<TypingStep> steps;
    /// A sentence for the user about what cannot be typed, and what to do; then there are no steps.
    QString refusal;

    bool usesClipboard() const;

    static TypingPlan of(const QString &text, const TypingStyle &style = {});
};

} // namespace quillmote
