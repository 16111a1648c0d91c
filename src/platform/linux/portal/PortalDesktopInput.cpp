// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalDesktopInput.h"

#include <utility>

namespace platform {

using State = RemoteDesktopPortal::State;

PortalDesktopInput::PortalDesktopInput(RemoteDesktopPortal &portalOfDesktop,
                                       PortalOutbox &outboxOfPortal,
                                       PortalKeyboard &keyboardOfPortal,
                                       PortalPointer &pointerOfPortal, Clipboard *clipboard,
                                       TypingBrake::Look lookAtPrograms)
    : portal(portalOfDesktop)
    , outbox(outboxOfPortal)
    , keyboard(keyboardOfPortal)
    , pointer(pointerOfPortal)
    , typist(keyboardOfPortal, outboxOfPortal, clipboard, std::move(lookAtPrograms))
{
}

DesktopInput::Abilities PortalDesktopInput::abilities() const
{
    const auto [hasKeyboard, hasPointer] = portal.devices();
    return {.keys = hasKeyboard,
            .text = hasKeyboard,
            .anyText = hasKeyboard && typist.typesBeyondLayouts(),
            .pointer = hasPointer,
            .scroll = hasPointer,
            .fineScroll = hasPointer,
            .drag = hasPointer};
}

DesktopInput::Readiness PortalDesktopInput::makeReady()
{
    portal.want();
    switch (portal.state()) {
    case State::Open:
        return Readiness::Ready;
    case State::Opening:
        return Readiness::ConsentPending;
    case State::Refused:
        return Readiness::Refused;
    case State::Idle:
    case State::Unusable:
        break;
    }
    return Readiness::Unavailable;
}

void PortalDesktopInput::press(const Key &key, const KeyModifiers &modifiers, QObject *context,
                               Done done)
{
    if (!canType()) {
        done(false);
    } else if (outbox.hasRoom() && waitingKeys.empty()) {
        done(keyboard.press(key, modifiers));
    } else {
        waitingKeys.push_back({key, modifiers, {context, std::move(done)}});
    }
}

void PortalDesktopInput::release(const Key &key)
{
    keyboard.release(key);
}

void PortalDesktopInput::type(const QString &text, QObject *context, Done done)
{
    if (canType()) {
        typist.type(text, context, std::move(done));
    } else {
        done(false);
    }
}

void PortalDesktopInput::moveBy(double dx, double dy)
{
    if (canPoint()) {
        pointer.moveBy(dx, dy);
    }
}

void PortalDesktopInput::moveTo(const Location &position)
{
    if (canPoint()) {
        pointer.moveTo(position);
    }
}

void PortalDesktopInput::press(PointerButton button)
{
    if (canPoint()) {
        pointer.press(button);
    }
}

void PortalDesktopInput::release(PointerButton button)
{
    pointer.release(button);
}

void PortalDesktopInput::scroll(int dx, int dy)
{
    if (canPoint()) {
        pointer.scroll(dx, dy);
    }
}

void PortalDesktopInput::onProgress()
{
    while (outbox.hasRoom() && !waitingKeys.empty()) {
        const WaitingKey next = std::move(waitingKeys.front());
        waitingKeys.pop_front();
        if (!next.caller.isGone()) {
            next.caller.answer(keyboard.press(next.key, next.modifiers));
        }
    }
    typist.onProgress();
}

void PortalDesktopInput::fail()
{
    std::deque<WaitingKey> failed;
    failed.swap(waitingKeys);
    for (const WaitingKey &key : failed) {
        key.caller.answer(false);
    }
    typist.fail();
}

/// The first input makes the session.
bool PortalDesktopInput::canType()
{
    return makeReady() == Readiness::Ready && portal.devices().hasKeyboard;
}

bool PortalDesktopInput::canPoint()
{
    return makeReady() == Readiness::Ready && portal.devices().hasPointer;
}

} // namespace platform
