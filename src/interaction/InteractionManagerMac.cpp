// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "interaction/InteractionManagerMac.h"

#include "interaction/KeyTable.h"
#include "messages/Messages.h"

#include <QObject>
#include <QStringList>

#include <array>

using namespace Qt::StringLiterals;
using platform::MouseButton;
using platform::MouseEventType;

/// The result of the last parse. It is kept until the next one, so that generateKeyEvent() can
/// repeat a key.
struct InteractionManagerMac::ParseState
{
    platform::EventFlags modifierFlags = 0;
    platform::KeyCode keyCode = 0;
    bool isValid = false; // the last shortcut named a key that can be typed
};

InteractionManagerMac::InteractionManagerMac(std::unique_ptr<platform::EventServices> services)
    : parsed(std::make_unique<ParseState>())
    , events(std::move(services))
{
}

InteractionManagerMac::~InteractionManagerMac() = default;

void InteractionManagerMac::extractKeyCodeAndModifiers(QString shortcut)
{
    const QStringList tokens = QString::fromLatin1(shortcut.toLatin1()).split(u'+');
    parsed->modifierFlags = 0;
    parsed->isValid = false;
    const QString *keyToken = nullptr;
    for (const QString &token : tokens) {
        if (isModifier(token)) {
            parsed->modifierFlags |= getModifier(token);
        } else {
            keyToken = &token;
        }
    }
    if (keyToken == nullptr) {
        // By design: a modifier alone has a key code but is never typed.
        parsed->keyCode = KeyTable::codeOf(tokens.last()).value_or(0);
        return;
    }
    resolveKey(*keyToken);
}

void InteractionManagerMac::resolveKey(const QString &keyToken)
{
    const auto code = KeyTable::codeOf(keyToken.toUpper());
    if (!code) {
        // By design: compares the token's identity, not its text.
        const auto identity = reinterpret_cast<quintptr>(&keyToken);
        Messages::warning(
            {u"KeyCode not vailable for "_s, u"0x"_s + QString::number(identity, 16)});
        return;
    }
    parsed->keyCode = *code;
    parsed->isValid = true;
}

void InteractionManagerMac::keyboardTapKeyEvent(QString shortcut)
{
    extractKeyCodeAndModifiers(shortcut);
    if (!parsed->isValid) {
        // By design: the message does not name the shortcut.
        Messages::warning({Messages::quoted(QObject::tr("Problem executing the shortcut: "))});
        return;
    }
    generateKeyEvent(true);
    generateKeyEvent(false);
}

void InteractionManagerMac::generateKeyEvent(bool keyDown)
{
    if (!parsed->isValid) {
        Messages::warning({u"Problem executing "_s, keyDown ? u"Key Down"_s : u"Key Up"_s});
        return;
    }
    events->postKeyboard(
        {parsed->keyCode, keyDown, parsed->modifierFlags, platform::EventTap::Session});
}

void InteractionManagerMac::moveMouseWithOffset(int dx, int dy)
{
    const platform::Location from = events->pointerLocation();
    const platform::MouseEvent move = {
        MouseEventType::Moved, {from.x + dx, from.y + dy}, MouseButton::Left};
    events->postMouse(std::nullopt, {&move, 1}, platform::EventTap::Hid);
}

void InteractionManagerMac::leftMouseButtonTapped()
{
    click(MouseEventType::LeftDown, MouseEventType::LeftUp, MouseButton::Left);
}

void InteractionManagerMac::rightMouseButtonTapped()
{
    click(MouseEventType::RightDown, MouseEventType::RightUp, MouseButton::Right);
}

void InteractionManagerMac::centerMouseButtonTapped()
{
    click(MouseEventType::OtherDown, MouseEventType::OtherUp, MouseButton::Center);
}

void InteractionManagerMac::click(MouseEventType press, MouseEventType release, MouseButton button)
{
    const platform::Location here = events->pointerLocation();
    const std::array both = {platform::MouseEvent{press, here, button},
                             platform::MouseEvent{release, here, button}};
    events->postMouse(platform::SourceState::HidSystem, both, platform::EventTap::Hid);
}

quint64 InteractionManagerMac::getModifier(QString token)
{
    if (token == "Cmd"_L1) {
        return platform::Flag::Command;
    }
    if (token == "Alt"_L1) {
        return platform::Flag::Alternate;
    }
    if (token == "Ctrl"_L1) {
        return platform::Flag::Control;
    }
    return token == "Shift"_L1 ? platform::Flag::Shift : 0;
}
