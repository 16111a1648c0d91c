// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "platform/linux/input/InputLink.h"
#include "platform/linux/input/Remainder.h"
#include "platform/linux/input/X11Keyboard.h"
#include "platform/linux/input/X11Pointer.h"
#include "platform/linux/input/X11Typist.h"

namespace platform {

/// The whole keyboard and pointer of an X11 session.
class X11DesktopInput final : public DesktopInput
{
public:
    /// They must outlive it.
    X11DesktopInput(X11Keyboard &keyboardOfDisplay, X11Pointer &pointerOfDisplay,
                    X11Typist &typistOfDisplay, InputLink linkToWhole);

    Abilities abilities() const override;
    void press(const Key &key, const KeyModifiers &modifiers, QObject *context, Done done) override;
    void release(const Key &key) override;
    void type(const QString &text, QObject *context, Done done) override;
    void moveBy(double dx, double dy) override;
    void moveTo(const Location &position) override;
    void press(PointerButton button) override;
    void release(PointerButton button) override;
    void scroll(int dx, int dy) override;

    /// The server has caught up: sends what had to wait for it.
    void onProgress();

private:
    /// The pointer goes no further than the largest screen in one step, and the wheel no further
    /// than anybody reads.
    static constexpr int mostPixels = 200'000;
    static constexpr int mostNotches = 200;
    static constexpr int notch = 120;

    void sendMotion();

    X11Keyboard &keyboard;
    X11Pointer &pointer;
    X11Typist &typist;
    InputLink link;
    Remainder right{1, mostPixels};
    Remainder down{1, mostPixels};
    Remainder wheelRight{notch, mostNotches};
    Remainder wheelDown{notch, mostNotches};
};

} // namespace platform
