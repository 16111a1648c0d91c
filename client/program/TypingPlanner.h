// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/TypingPlan.h"

namespace quillmote {

/// Makes the steps that type a text, character by character. Characters without a key that follow
/// each other are pasted together.
class TypingPlanner
{
public:
    explicit TypingPlanner(const TypingStyle &wanted) : style(wanted) {}

    bool hasKey(QChar character) const;
    /// A character that has a key, or that the clipboard can take.
    void add(QChar character);
    /// The last call.
    TypingPlan finished();

private:
    void addKey(const QString &shortcut);
    void endPasting();

    TypingStyle style;
    TypingPlan plan;
    QString unkeyed; // characters to paste
};

} // namespace quillmote
