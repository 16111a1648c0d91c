// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionKeyboard.h"

#include "session/SessionFields.h"
#include "session/SessionFrames.h"
#include "session/SessionJson.h"
#include "session/SessionKeyNames.h"
#include "session/SessionReadiness.h"

#include <QPointer>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

using platform::Key;
using platform::KeyModifiers;
using platform::NamedKey;

namespace {

enum class Action { Tap, Press, Release };

struct Modifier
{
    QLatin1StringView name;
    NamedKey key;
    bool KeyModifiers::*isDown;
};

constexpr std::array modifierKeys = {
    Modifier{"Control"_L1, NamedKey::Control, &KeyModifiers::hasControl},
    Modifier{"Shift"_L1, NamedKey::Shift, &KeyModifiers::hasShift},
    Modifier{"Alt"_L1, NamedKey::Alt, &KeyModifiers::hasAlt},
    Modifier{"Meta"_L1, NamedKey::Meta, &KeyModifiers::hasMeta},
    Modifier{"AltGraph"_L1, NamedKey::AltGraph, &KeyModifiers::hasAltGraph},
};

KeyModifiers modifiersOf(SessionFields &fields)
{
    KeyModifiers modifiers;
    for (const QString &name : fields.texts("modifiers"_L1)) {
        const auto *const found = std::find_if(modifierKeys.begin(), modifierKeys.end(),
                                               [&](const auto &key) { return key.name == name; });
        if (found == modifierKeys.end()) {
            fields.refuse(u"There is no modifier \"%1\"."_s.arg(SessionJson::shown(name)));
        } else {
            modifiers.*(found->isDown) = true;
        }
    }
    return modifiers;
}

bool isTypeable(char32_t character)
{
    return character == U'\n' || character == U'\t' ||
           QChar::category(character) != QChar::Other_Control;
}

/// With line feeds for all line breaks; none if something cannot be typed.
std::optional<QString> typeable(QString text)
{
    text.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
    const QList<uint> characters = text.toUcs4();
    const bool isGood = SessionJson::isUnicode(text) &&
                        std::all_of(characters.cbegin(), characters.cend(), isTypeable);
    return isGood ? std::optional(text) : std::nullopt;
}

SessionReply unknownKey(const QString &sentence, const QString &name)
{
    return SessionReply::refused(u"unknown-key"_s, sentence.arg(SessionJson::shown(name)));
}

} // namespace

struct SessionKeyboard::Stroke
{
    QString name;
    Key key;
    KeyModifiers modifiers;
    Action action = Action::Tap;
};

SessionKeyboard::SessionKeyboard(platform::DesktopInput &desktopInput, SharedHolds<Key> &heldByAll)
    : input(desktopInput)
    , allHeld(heldByAll)
{
}

SessionKeyboard::~SessionKeyboard()
{
    releaseHeld();
}

void SessionKeyboard::key(const SessionRequest &request, const SessionAnswer &answer)
{
    SessionFields fields(request.fields);
    Stroke stroke = strokeOf(fields);
    const std::optional<Key> key = SessionKeyNames::key(stroke.name);
    if (!fields.isGood()) {
        answer(fields.reply());
    } else if (!input.abilities().keys) {
        answer(unsupportedByDesktop());
    } else if (!key) {
        answer(unknownKey(u"There is no key \"%1\"."_s, stroke.name));
    } else {
        stroke.key = *key;
        carryOut(stroke, answer);
    }
}

SessionKeyboard::Stroke SessionKeyboard::strokeOf(SessionFields &fields)
{
    Stroke stroke;
    const QString name = fields.text("key"_L1, 0, SessionFrames::longest);
    stroke.name = name;
    stroke.action =
        static_cast<Action>(fields.choice("action"_L1, {"tap"_L1, "press"_L1, "release"_L1}));
    stroke.modifiers = modifiersOf(fields);
    return stroke;
}

void SessionKeyboard::carryOut(const Stroke &stroke, const SessionAnswer &answer)
{
    const bool isHeld = held.contains(stroke.key);
    if (stroke.action == Action::Release || (stroke.action == Action::Press && isHeld)) {
        if (stroke.action == Action::Release && isHeld) {
            release(stroke.key);
        }
        answer(SessionReply::done());
    } else if (!isHeld && held.size() >= mostHeld) {
        answer(SessionReply::refused(u"too-much"_s, u"Too many keys are held."_s));
    } else if (const auto refusal = refusalOf(input)) {
        answer(*refusal);
    } else {
        press(stroke, answer);
    }
}

void SessionKeyboard::press(const Stroke &stroke, const SessionAnswer &answer)
{
    input.press(stroke.key, withHeld(stroke.modifiers), this,
                [self = QPointer(this), stroke, answer](bool isDone) {
                    if (self.isNull()) {
                        return;
                    }
                    if (!isDone) {
                        answer(unknownKey(u"This desktop has no key \"%1\"."_s, stroke.name));
                        return;
                    }
                    self->pressed(stroke);
                    answer(SessionReply::done());
                });
}

void SessionKeyboard::pressed(const Stroke &stroke)
{
    if (stroke.action == Action::Tap) {
        release(stroke.key);
    } else {
        held.append(stroke.key);
        allHeld.add(stroke.key);
    }
}

void SessionKeyboard::release(const Key &key)
{
    if (held.removeOne(key)) {
        allHeld.remove(key);
    }
    if (!allHeld.contains(key)) {
        input.release(key);
    }
}

KeyModifiers SessionKeyboard::withHeld(KeyModifiers modifiers) const
{
    for (const Modifier &modifier : modifierKeys) {
        if (held.contains(Key{modifier.key, 0})) {
            modifiers.*(modifier.isDown) = true;
        }
    }
    return modifiers;
}

/// The last one first, so that modifiers last as long as the keys that were pressed with them.
void SessionKeyboard::releaseHeld()
{
    while (!held.isEmpty()) {
        release(Key(held.constLast()));
    }
}

void SessionKeyboard::text(const SessionRequest &request, const SessionAnswer &answer)
{
    const QJsonValue value = request.fields.value("text"_L1);
    const std::optional<QString> text = typeable(value.toString());
    if (!value.isString()) {
        answer(SessionReply::refused(u"bad-request"_s, u"\"text\" must be a text."_s));
    } else if (!text) {
        answer(SessionReply::refused(
            u"bad-text"_s, u"The text has control characters or half of a surrogate pair."_s));
    } else if (!input.abilities().text) {
        answer(unsupportedByDesktop());
    } else if (const auto refusal = refusalOf(input)) {
        answer(*refusal);
    } else {
        input.type(*text, this, [self = QPointer(this), answer](bool isDone) {
            if (!self.isNull()) {
                answer(isDone ? SessionReply::done()
                              : SessionReply::refused(u"failed"_s, u"The text was not typed."_s));
            }
        });
    }
}
