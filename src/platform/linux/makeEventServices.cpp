// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/EventServices.h"
#include "platform/linux/input/NullEventServices.h"
#include "platform/linux/input/X11EventServices.h"

#include <QCoreApplication>

#include <utility>

namespace platform {

namespace {

std::unique_ptr<EventServices> noServices(const char *reason)
{
    return std::make_unique<NullEventServices>(
        QCoreApplication::translate("EventServices", reason));
}

} // namespace

std::unique_ptr<EventServices> makeEventServices()
{
    constexpr auto wayland = QT_TRANSLATE_NOOP(
        "EventServices", "The keyboard and the pointer cannot be controlled in this Wayland "
                         "session. Log out, choose "
                         "an X11 (Xorg) session on the login screen and log in again.");
    // Such a session has an X display too, but only its X11 programs would notice anything.
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        return noServices(wayland);
    }
    X11Display display;
    if (!display.isOpen()) {
        return noServices(QT_TRANSLATE_NOOP(
            "EventServices",
            "The keyboard and the pointer cannot be controlled because there is no X11 display. "
            "Start VornaServer from a terminal of your desktop session."));
    }
    if (display.isXwayland()) {
        return noServices(wayland);
    }
    if (!display.canFakeInput()) {
        return noServices(QT_TRANSLATE_NOOP(
            "EventServices",
            "The keyboard and the pointer cannot be controlled because the X server lacks the "
            "XTEST "
            "or the XKEYBOARD extension. Switch them on in its configuration and log in again."));
    }
    auto services = std::make_unique<X11EventServices>(std::move(display));
    services->startGuard();
    return services;
}

} // namespace platform
