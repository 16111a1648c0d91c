// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Which adapter of this host a session gets.

#include "platform/AdvertisementDaemon.h"
#include "platform/ApplicationRuntime.h"
#include "platform/SessionStart.h"
#include "platform/ToolkitClipboard.h"
#include "platform/ToolkitScreens.h"
#include "platform/linux/applications/DesktopEntryBridge.h"
#include "platform/linux/applications/XdgDirectories.h"
#include "platform/linux/clipboard/X11Clipboard.h"
#include "platform/linux/input/NullEventServices.h"
#include "platform/linux/input/X11EventServices.h"
#include "platform/linux/session/AvahiWatch.h"
#include "platform/linux/session/DesktopNotifications.h"
#include "platform/linux/session/StatusNotifierHosts.h"
#include "platform/linux/session/X11Screens.h"
#include "platform/linux/session/X11TraySelection.h"
#include "platform/linux/session/XdgAutostart.h"
#include "platform/linux/x11/X11Server.h"

#include <QGuiApplication>
#include <QSystemTrayIcon>

#include <utility>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

/// Whether the toolkit shows its windows on an X display.
bool isToolkitOnX11()
{
    return QGuiApplication::platformName() == "xcb"_L1;
}

std::unique_ptr<EventServices> noServices(const char *reason)
{
    return std::make_unique<NullEventServices>(
        QCoreApplication::translate("EventServices", reason));
}

} // namespace

std::unique_ptr<EventServices> makeEventServices()
{
    constexpr auto wayland = QT_TRANSLATE_NOOP(
        "EventServices",
        "The keyboard and the pointer cannot be controlled in this Wayland "
        "session. Log out, choose an X11 (Xorg) session on the login screen and log in again.");
    // Such a session has an X display too, but only its X11 programs would receive the events.
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        return noServices(wayland);
    }
    X11Connection connection;
    if (!connection.isOpen()) {
        return noServices(QT_TRANSLATE_NOOP(
            "EventServices",
            "The keyboard and the pointer cannot be controlled because there is no X11 display. "
            "Start VornaServer from a terminal of your desktop session."));
    }
    if (isXwayland(connection)) {
        return noServices(wayland);
    }
    if (!canFakeInput(connection)) {
        return noServices(QT_TRANSLATE_NOOP(
            "EventServices",
            "The keyboard and the pointer cannot be controlled because the X server lacks the "
            "XTEST or the XKEYBOARD extension. Switch them on in its configuration and log in "
            "again."));
    }
    auto services = std::make_unique<X11EventServices>(std::move(connection));
    services->startGuard();
    return services;
}

std::unique_ptr<Clipboard> makeClipboard()
{
    if (isToolkitOnX11()) {
        return std::make_unique<X11Clipboard>();
    }
    // A Wayland compositor shows the clipboard to the program that has the focus.
    return std::make_unique<ToolkitClipboard>(
        ToolkitClipboard::Reach{.isReadable = false, .isWatchable = false});
}

std::unique_ptr<Screens> makeScreens()
{
    if (isToolkitOnX11()) {
        X11Connection connection;
        if (connection.isOpen()) {
            return std::make_unique<X11Screens>(std::move(connection));
        }
    }
    return std::make_unique<ToolkitScreens>();
}

std::unique_ptr<ScriptingBridge> makeScriptingBridge()
{
    return std::make_unique<DesktopEntryBridge>(XdgDirectories::fromEnvironment());
}

std::unique_ptr<LoginItems> makeLoginItems()
{
    const QString config = XdgDirectories::fromEnvironment().configHome;
    return std::make_unique<XdgAutostart>(config + "/autostart"_L1);
}

// Sessions read the autostart folder, which is the list of login items here.
std::unique_ptr<SessionStart> makeSessionStart()
{
    struct TheListCounts : SessionStart
    {
        void setEnabled(bool /*enable*/, const QString & /*applicationPath*/) override {}
    };
    return std::make_unique<TheListCounts>();
}

// Programs need nothing but the toolkit here.
std::unique_ptr<ApplicationRuntime> loadApplicationRuntime()
{
    struct NothingToLoad : ApplicationRuntime
    {
    };
    return std::make_unique<NothingToLoad>();
}

std::vector<std::unique_ptr<TrayWatch>> makeTrayWatches()
{
    std::vector<std::unique_ptr<TrayWatch>> watches;
    watches.push_back(std::make_unique<StatusNotifierHosts>());
    watches.push_back(std::make_unique<X11TraySelection>());
    return watches;
}

std::unique_ptr<AdvertisementDaemonWatch> watchAdvertisementDaemon(std::function<void()> appeared)
{
    return std::make_unique<AvahiWatch>(std::move(appeared));
}

std::unique_ptr<NotificationDaemon> watchNotificationDaemon(const QSystemTrayIcon &icon,
                                                            std::function<void()> ready)
{
    // If the icon is one of our windows, so are its balloons.
    if (icon.geometry().isValid()) {
        return nullptr;
    }
    return std::make_unique<DesktopNotifications>(std::move(ready));
}

} // namespace platform
