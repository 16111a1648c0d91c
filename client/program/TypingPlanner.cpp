// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/TypingPlanner.h"

#include "lib/RequestWriter.h"
#include "program/KeyNames.h"

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

std::optional<QString> keyFor(QChar character, const TypingStyle &style)
{
    if (style.pastesAll) {
        return std::nullopt;
    }
    return style.isUsKeyboard ? KeyNames::forCharacter(character)
                              : KeyNames::forCharacterOfAnyLayout(character);
}

/// The longest beginning of the text that the wire can carry unchanged. The text must not begin
/// with a blank.
QString carriablePiece(const QString &text)
{
    const auto upTo = [&](QLatin1StringView border, qsizetype kept) {
        const qsizetype found = text.indexOf(border);
        return found < 0 ? text.size() : found + kept;
    };
    // The server looks for markers, and takes a text that begins with a bracket for a list.
    qsizetype length = std::min({safeTextLength, text.size(), upTo("  "_L1, 0), upTo("[[["_L1, 3)});
    if (text.startsWith(u'(')) {
        length = std::min(length, upTo(", "_L1, 1));
    }
    while (text[length - 1] == u' ') {
        --length;
    }
    return text.left(length);
}

} // namespace

bool TypingPlanner::hasKey(QChar character) const
{
    return keyFor(character, style).has_value();
}

void TypingPlanner::add(QChar character)
{
    const auto key = keyFor(character, style);
    if (key) {
        endPasting();
        addKey(*key);
    } else {
        unkeyed += character;
    }
}

TypingPlan TypingPlanner::finished()
{
    endPasting();
    return std::move(plan);
}

void TypingPlanner::addKey(const QString &shortcut)
{
    plan.steps.push_back({TypingStep::Kind::Key, shortcut});
}

/// Blanks that the clipboard cannot take are typed; every keyboard has them.
void TypingPlanner::endPasting()
{
    while (!unkeyed.isEmpty()) {
        if (unkeyed[0] == u' ') {
            addKey(*KeyNames::forServer(u"Space"_s));
            unkeyed.remove(0, 1);
        } else {
            const QString piece = carriablePiece(unkeyed);
            plan.steps.push_back({TypingStep::Kind::Paste, piece});
            unkeyed.remove(0, piece.size());
        }
    }
}

} // namespace quillmote
