// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/TypingPlan.h"

#include "lib/PrintableText.h"
#include "program/TypingPlanner.h"

#include <QList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

QString refused(const QString &what, const QString &advice)
{
    return u"The text cannot be typed: it holds %1. %2"_s.arg(what, advice);
}

/// Why a character without a key cannot be typed; empty if it can be pasted.
QString refusalOf(char32_t character)
{
    const QString file = u"Send the text as a file."_s;
    switch (character) {
    case U'\n':
    case U'\r':
        return refused(u"a line break, and servers cannot type Return"_s,
                       u"Type line by line, or send the text as a file."_s);
    case U'\t':
        return refused(u"a tab, and servers cannot type Tab"_s, u"Replace it with blanks."_s);
    case U'"':
        return refused(u"a double quote, which the wire cannot carry"_s,
                       u"Use ' instead, or --us-keyboard if the keyboard there is a US one."_s);
    default:
        break;
    }
    if (character == U' ') {
        return {};
    }
    const QString shown = shownCharacter(QString::fromUcs4(&character, 1), 0);
    if (character > 0xff) {
        return refused(u"the character %1, which is beyond Latin-1"_s.arg(shown), file);
    }
    return shown.startsWith("U+"_L1) ? refused(u"the character %1"_s.arg(shown), file) : QString();
}

} // namespace

bool TypingPlan::usesClipboard() const
{
    return std::any_of(steps.begin(), steps.end(),
                       [](const TypingStep &step) { return step.kind == TypingStep::Kind::Paste; });
}

TypingPlan TypingPlan::of(const QString &text, const TypingStyle &style)
{
    TypingPlanner planner(style);
    for (const uint code : text.toUcs4()) {
        const auto character = char32_t(code);
        const bool hasKey = character < 0x80 && planner.hasKey(QChar(char16_t(character)));
        const QString refusal = hasKey ? QString() : refusalOf(character);
        if (!refusal.isEmpty()) {
            return {{}, refusal};
        }
        planner.add(QChar(char16_t(character)));
    }
    return planner.finished();
}

} // namespace quillmote
