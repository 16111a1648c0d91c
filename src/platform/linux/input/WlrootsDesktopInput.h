// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "platform/linux/input/WlrootsKeyboard.h"
#include "platform/linux/input/WlrootsPointer.h"
#include "platform/linux/input/WlrootsTypist.h"

namespace platform {

/// The whole keyboard and pointer of a Wayland compositor of wlroots' kind.
class WlrootsDesktopInput final : public DesktopInput
{
public:
    /// They must outlive it.
    WlrootsDesktopInput(WlrootsKeyboard &keyboardOfSeat, WlrootsPointer &pointerOfSeat,
                        WlrootsTypist &typistOfSeat, WaylandOutbox &outboxOfConnection);

    Abilities abilities() const override;
    void press(const Key &key, const KeyModifiers &modifiers, QObject *context, Done done) override;
    void release(const Key &key) override;
    void type(const QString &text, QObject *context, Done done) override;
    void moveBy(double dx, double dy) override { pointer.moveBy(dx, dy); }
    void moveTo(const Location &position) override { pointer.moveTo(position); }
    void press(PointerButton button) override { pointer.press(button); }
    void release(PointerButton button) override { pointer.release(button); }
    void scroll(int dx, int dy) override { pointer.scroll(dx, dy); }

private:
    WlrootsKeyboard &keyboard;
    WlrootsPointer &pointer;
    WlrootsTypist &typist;
    WaylandOutbox &outbox;
};

} // namespace platform
