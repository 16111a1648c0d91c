// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/TypingPlan.h"

#include "lib/PrintableText.h"
#include "lib/Request.h"
#include "lib/RequestWriter.h"
#include "program/KeyNames.h"

#include <QList>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// What surely fits into one packet of a network, with the token around it.
constexpr qsizetype longestPiece = 1'200;

std::optional<QString> keyFor(QChar character, const TypingStyle &style)
{
    if (style.pastesAll) {
        return std::nullopt;
    }
    return style.isUsKeyboard ? KeyNames::forCharacter(character)
                              : KeyNames::forCharacterOfAnyLayout(character);
}

QString refused(const QString &what, const QString &advice)
{
    return u"The text cannot be typed: it holds %1. %2"_s.arg(what, advice);
}

/// About a character that has no key. The rest is the clipboard's matter.
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

/// The first stretch of the text that the wire can carry as it is; the text begins with no blank.
QString carriablePiece(const QString &text)
{
    const auto upTo = [&](QLatin1StringView border, qsizetype kept) {
        const qsizetype found = text.indexOf(border);
        return found < 0 ? text.size() : found + kept;
    };
    // The server looks for the markers, and takes what begins with a bracket for a list.
    qsizetype length = std::min({longestPiece, text.size(), upTo("  "_L1, 0), upTo("[[["_L1, 3)});
    if (text.startsWith(u'(')) {
        length = std::min(length, upTo(", "_L1, 1));
    }
    while (text[length - 1] == u' ') {
        --length;
    }
    return text.left(length);
}

class Planner
{
public:
    explicit Planner(const TypingStyle &wanted) : style(wanted) {}

    void add(QChar character)
    {
        const auto key = keyFor(character, style);
        if (key) {
            endPasting();
            addKey(*key);
        } else {
            unkeyed += character;
        }
    }

    TypingPlan finished()
    {
        endPasting();
        return std::move(plan);
    }

private:
    void addKey(const QString &shortcut)
    {
        plan.steps.push_back({TypingStep::Kind::Key, shortcut});
    }

    /// The blanks that the clipboard cannot take are on every keyboard.
    void endPasting()
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

    TypingStyle style;
    TypingPlan plan;
    QString unkeyed;
};

} // namespace

bool TypingPlan::usesClipboard() const
{
    return std::any_of(steps.begin(), steps.end(),
                       [](const TypingStep &step) { return step.kind == TypingStep::Kind::Paste; });
}

TypingPlan TypingPlan::of(const QString &text, const TypingStyle &style)
{
    Planner planner(style);
    for (const uint code : text.toUcs4()) {
        const auto character = char32_t(code);
        const bool hasKey = character < 0x80 && keyFor(QChar(char16_t(character)), style);
        const QString refusal = hasKey ? QString() : refusalOf(character);
        if (!refusal.isEmpty()) {
            return {{}, refusal};
        }
        planner.add(QChar(char16_t(character)));
    }
    return planner.finished();
}

} // namespace quillmote
