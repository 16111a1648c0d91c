// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/X11DesktopInput.h"

#include "platform/linux/input/NamedKeySymbols.h"

#include <cmath>
#include <utility>

namespace platform {

X11DesktopInput::X11DesktopInput(X11Keyboard &keyboardOfDisplay, X11Pointer &pointerOfDisplay,
                                 X11Typist &typistOfDisplay, InputLink linkToWhole)
    : keyboard(keyboardOfDisplay)
    , pointer(pointerOfDisplay)
    , typist(typistOfDisplay)
    , link(std::move(linkToWhole))
{
}

DesktopInput::Abilities X11DesktopInput::abilities() const
{
    return {.keys = true,
            .text = true,
            .anyText = true,
            .pointer = true,
            .scroll = true,
            .fineScroll = false,
            .drag = true};
}

void X11DesktopInput::press(const Key &key, const KeyModifiers &modifiers, QObject *context,
                            Done done)
{
    const bool isOpen = link.takeInEvents();
    if (isOpen && keyboard.press(key, modifiers)) {
        link.flushLater();
        done(true);
    } else if (isOpen && !isModifier(key.name) && !keysymsOf(key).empty()) {
        typist.press(key, modifiers, context, std::move(done));
    } else {
        done(false);
    }
}

void X11DesktopInput::release(const Key &key)
{
    if (!link.takeInEvents()) {
        return;
    }
    typist.release(key);
    keyboard.release(key);
    link.flush();
}

void X11DesktopInput::type(const QString &text, QObject *context, Done done)
{
    if (link.takeInEvents()) {
        typist.type(text, context, std::move(done));
    } else {
        done(false);
    }
}

void X11DesktopInput::moveBy(double dx, double dy)
{
    right.add(dx);
    down.add(dy);
    sendMotion();
}

void X11DesktopInput::moveTo(const Location &position)
{
    if (link.takeInEvents()) {
        right.clear();
        down.clear();
        // The share of a screen that a client computes may be a hair less than the pixel it means.
        pointer.moveTo({std::round(position.x), std::round(position.y)});
        link.flush();
    }
}

void X11DesktopInput::press(PointerButton button)
{
    if (link.takeInEvents()) {
        pointer.press(button);
        link.flush();
    }
}

void X11DesktopInput::release(PointerButton button)
{
    if (link.takeInEvents()) {
        pointer.release(button);
        link.flush();
    }
}

void X11DesktopInput::scroll(int dx, int dy)
{
    wheelRight.add(dx);
    wheelDown.add(dy);
    sendMotion();
}

void X11DesktopInput::onProgress()
{
    sendMotion();
}

/// Does not depend on what the server reports, so it is not asked: that would be a seventh of the
/// system calls of a move.
void X11DesktopInput::sendMotion()
{
    if (!link.hasRoom()) {
        return;
    }
    const bool hasMoved = pointer.moveBy(right.take(), down.take());
    const bool hasTurned = pointer.scroll(wheelRight.take(), wheelDown.take());
    if (hasMoved || hasTurned) {
        link.flush();
    }
}

} // namespace platform
