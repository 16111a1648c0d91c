// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"
#include "platform/Screens.h"
#include "platform/linux/portal/PortalDesktopInput.h"
#include "platform/linux/portal/PortalKeyboard.h"
#include "platform/linux/portal/PortalLayout.h"
#include "platform/linux/portal/PortalOutbox.h"
#include "platform/linux/portal/PortalPointer.h"
#include "platform/linux/portal/RemoteDesktopPortal.h"
#include "platform/linux/wayland/ProgramSockets.h"

#include <QObject>
#include <QString>

#include <memory>

namespace platform {

/// The input of a desktop that lets programs type and point by its RemoteDesktop portal, after its
/// user has consented. The first input asks for that, and is dropped, as everything is until then.
///
/// Needs a running event loop on its thread. Taps and source states have no counterpart here. When
/// the program is killed, the portal ends the session, and GNOME releases what was down. KWin 5.27
/// does not.
class PortalEventServices final : public EventServices
{
public:
    /// The clipboard, if there is one, types what the layouts lack; it must outlive the services.
    PortalEventServices(std::shared_ptr<RemoteDesktopPortal> portalOfDesktop,
                        std::unique_ptr<Screens> screensOfDesktop,
                        PortalPointer::WheelStep wheelStep, Clipboard *clipboard);
    /// Releases the keys and buttons that are still down. A portal that does not answer holds it up
    /// for a second.
    ~PortalEventServices() override;

    Location pointerLocation() override;
    void postKeyboard(const KeyboardEvent &event) override;
    /// A click happens where the pointer is; the positions of presses and releases are ignored.
    void postMouse(std::optional<SourceState> source, std::span<const MouseEvent> events,
                   EventTap tap) override;
    DesktopInput &input() override { return desktopInput; }

    /// The session that is made, and the layout that is typed on; for tests.
    RemoteDesktopPortal &session() { return *portal; }
    PortalLayout &keyboardLayout() { return layout; }

private:
    /// One sentence for the user, and whether it has been said.
    struct Message
    {
        QString text;
        bool isSaid = false;
        void sayOnce();
    };

    void followState();
    void postMouse(const MouseEvent &event);

    std::unique_ptr<Screens> screens;
    std::shared_ptr<RemoteDesktopPortal> portal;
    PortalOutbox outbox{*portal};
    PortalLayout layout;
    PortalKeyboard keyboard{outbox, layout};
    PortalPointer pointer;
    ProgramSockets programs;
    PortalDesktopInput desktopInput;
    Message asking;
    Message refused;
    Message unusable;
    Message unanswered;
    QObject listener; ///< To the portal, which may live longer.
};

} // namespace platform
