// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "platform/linux/portal/PortalCaller.h"
#include "platform/linux/portal/PortalKeyboard.h"
#include "platform/linux/portal/PortalPointer.h"
#include "platform/linux/portal/PortalTypist.h"
#include "platform/linux/portal/RemoteDesktopPortal.h"

#include <deque>

namespace platform {

/// The whole keyboard and pointer of a desktop that lets this program type by its RemoteDesktop
/// portal. What arrives before the user has consented is dropped.
class PortalDesktopInput final : public DesktopInput
{
public:
    /// They must outlive it. The clipboard, if there is one, types what the layouts lack.
    PortalDesktopInput(RemoteDesktopPortal &portalOfDesktop, PortalOutbox &outboxOfPortal,
                       PortalKeyboard &keyboardOfPortal, PortalPointer &pointerOfPortal,
                       Clipboard *clipboard, TypingBrake::Look lookAtPrograms);

    Abilities abilities() const override;
    Readiness makeReady() override;
    void press(const Key &key, const KeyModifiers &modifiers, QObject *context, Done done) override;
    void release(const Key &key) override;
    void type(const QString &text, QObject *context, Done done) override;
    void moveBy(double dx, double dy) override;
    void moveTo(const Location &position) override;
    void press(PointerButton button) override;
    void release(PointerButton button) override;
    void scroll(int dx, int dy) override;

    /// The portal has handled an event.
    void onProgress();
    /// The session has ended: what waited for it fails.
    void fail();

private:
    struct WaitingKey
    {
        Key key;
        KeyModifiers modifiers;
        PortalCaller caller;
    };

    bool canType();
    bool canPoint();

    RemoteDesktopPortal &portal;
    PortalOutbox &outbox;
    PortalKeyboard &keyboard;
    PortalPointer &pointer;
    PortalTypist typist;
    std::deque<WaitingKey> waitingKeys; ///< Until there is room.
};

} // namespace platform
