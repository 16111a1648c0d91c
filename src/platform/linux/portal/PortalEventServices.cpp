// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalEventServices.h"

#include "messages/Messages.h"

#include <QCoreApplication>

#include <utility>

namespace platform {

namespace {

QString translated(const char *text)
{
    return QCoreApplication::translate("EventServices", text);
}

} // namespace

PortalEventServices::PortalEventServices(std::shared_ptr<RemoteDesktopPortal> portalOfDesktop,
                                         std::unique_ptr<Screens> screensOfDesktop,
                                         PortalPointer::WheelStep wheelStep, Clipboard *clipboard)
    : screens(std::move(screensOfDesktop))
    , portal(std::move(portalOfDesktop))
    , pointer(outbox, *screens, wheelStep)
    , programs(ProgramSockets::nameFromEnvironment())
    , desktopInput(*portal, outbox, keyboard, pointer, clipboard,
                   [this] { return programs.unread(); })
    , asking{translated("The desktop asks whether VornaServer may control the keyboard and the "
                        "pointer. Allow it there; what other devices send is dropped until then.")}
    , refused{translated("The keyboard and the pointer cannot be controlled because that was "
                         "refused when the desktop asked. Quit VornaServer and start it again to "
                         "be asked again.")}
    , unusable{translated("The keyboard and the pointer cannot be controlled in this Wayland "
                          "session. Log out, choose an X11 (Xorg) session on the login screen and "
                          "log in again.")}
    , unanswered{translated("The keyboard and the pointer cannot be controlled at the moment "
                            "because the desktop's portal does not allow it. The next key or "
                            "click tries again.")}
{
    outbox.onProgress = [this] { desktopInput.onProgress(); };
    QObject::connect(portal.get(), &RemoteDesktopPortal::stateChanged, &listener,
                     [this] { followState(); });
    QObject::connect(portal.get(), &RemoteDesktopPortal::userIsAsked, &listener,
                     [this] { asking.sayOnce(); });
    QObject::connect(portal.get(), &RemoteDesktopPortal::failed, &listener,
                     [this] { unanswered.sayOnce(); });
}

PortalEventServices::~PortalEventServices()
{
    portal->disconnect(&listener);
    outbox.end();
}

Location PortalEventServices::pointerLocation()
{
    return pointer.location();
}

void PortalEventServices::postKeyboard(const KeyboardEvent &event)
{
    if (!event.isDown) {
        keyboard.release(event.code);
    } else if (desktopInput.makeReady() == DesktopInput::Readiness::Ready &&
               portal->devices().hasKeyboard) {
        keyboard.press(event.code, event.flags);
    }
}

void PortalEventServices::postMouse(std::optional<SourceState> /*source*/,
                                    std::span<const MouseEvent> events, EventTap /*tap*/)
{
    for (const MouseEvent &event : events) {
        postMouse(event);
    }
}

void PortalEventServices::postMouse(const MouseEvent &event)
{
    const PointerButton other = event.button == MouseButton::Center  ? PointerButton::Middle
                                : event.button == MouseButton::Right ? PointerButton::Right
                                                                     : PointerButton::Left;
    switch (event.type) {
    case MouseEventType::Moved:
        desktopInput.moveTo(event.position);
        break;
    case MouseEventType::LeftDown:
        desktopInput.press(PointerButton::Left);
        break;
    case MouseEventType::LeftUp:
        desktopInput.release(PointerButton::Left);
        break;
    case MouseEventType::RightDown:
        desktopInput.press(PointerButton::Right);
        break;
    case MouseEventType::RightUp:
        desktopInput.release(PointerButton::Right);
        break;
    case MouseEventType::OtherDown:
        desktopInput.press(other);
        break;
    case MouseEventType::OtherUp:
        desktopInput.release(other);
        break;
    }
}

void PortalEventServices::followState()
{
    switch (portal->state()) {
    case RemoteDesktopPortal::State::Opening:
    case RemoteDesktopPortal::State::Open:
        return;
    case RemoteDesktopPortal::State::Refused:
        refused.sayOnce();
        break;
    case RemoteDesktopPortal::State::Unusable:
        unusable.sayOnce();
        break;
    case RemoteDesktopPortal::State::Idle:
        break;
    }
    // What was down ended with the session.
    outbox.forget();
    keyboard.forget();
    pointer.forget();
    desktopInput.fail();
}

void PortalEventServices::Message::sayOnce()
{
    if (!std::exchange(isSaid, true)) {
        Messages::warning({text});
    }
}

} // namespace platform
