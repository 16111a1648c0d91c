// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Which adapter of this host a session gets.

#include "platform/AdvertisementDaemon.h"
#include "platform/ApplicationRuntime.h"
#include "platform/DesktopAdapters.h"
#include "platform/SessionStart.h"
#include "platform/ToolkitClipboard.h"
#include "platform/ToolkitScreens.h"
#include "platform/linux/applications/DesktopEntryBridge.h"
#include "platform/linux/applications/XdgDirectories.h"
#include "platform/linux/clipboard/DataControlClipboard.h"
#include "platform/linux/clipboard/NoClipboard.h"
#include "platform/linux/clipboard/X11Clipboard.h"
#include "platform/linux/input/NullEventServices.h"
#include "platform/linux/input/WlrootsEventServices.h"
#include "platform/linux/input/X11EventServices.h"
#include "platform/linux/portal/PortalClipboard.h"
#include "platform/linux/portal/PortalEventServices.h"
#include "platform/linux/portal/PortalPresence.h"
#include "platform/linux/session/AvahiWatch.h"
#include "platform/linux/session/ClipboardRoute.h"
#include "platform/linux/session/DesktopNotifications.h"
#include "platform/linux/session/InputRoute.h"
#include "platform/linux/session/StatusNotifierHosts.h"
#include "platform/linux/session/WaylandScreens.h"
#include "platform/linux/session/X11Screens.h"
#include "platform/linux/session/X11TraySelection.h"
#include "platform/linux/session/XdgAutostart.h"
#include "platform/linux/wayland/CompositorPatience.h"
#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/x11/X11Server.h"

#include <QDBusConnection>
#include <QGuiApplication>
#include <QSystemTrayIcon>

#include <chrono>
#include <utility>

#include <virtual-keyboard-unstable-v1-client.h>
#include <wlr-virtual-pointer-unstable-v1-client.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace platform {
namespace {

/// Whether the toolkit shows its windows on an X display.
bool isToolkitOnX11()
{
    return QGuiApplication::platformName() == "xcb"_L1;
}

/// The compositor of a Wayland session, whichever display the toolkit uses: what an Xwayland shows
/// of the clipboard and the screens is not all. It is asked once for all adapters what it offers.
struct Compositor
{
    CompositorPatience patience{2s};
    WaylandConnection connection;
    const bool isThere = patience.answers(connection);

    /// One for an adapter's own. If the compositor hangs meanwhile, its globals come later.
    std::unique_ptr<WaylandConnection> newConnection()
    {
        auto made = std::make_unique<WaylandConnection>();
        patience.answers(*made);
        return made;
    }
};

std::unique_ptr<EventServices> noServices(const char *reason)
{
    return std::make_unique<NullEventServices>(
        QCoreApplication::translate("EventServices", reason));
}

/// Sessions of Wayland have an X display too, so the compositor is asked first.
SessionOffer offerOf(const Compositor &compositor, const X11Connection &display)
{
    SessionOffer offer;
    offer.hasWayland = compositor.isThere;
    offer.hasVirtualKeyboard =
        compositor.connection.global(zwp_virtual_keyboard_manager_v1_interface) != nullptr;
    offer.hasVirtualPointer =
        compositor.connection.global(zwlr_virtual_pointer_manager_v1_interface) != nullptr;
    offer.hasPortal = offer.hasWayland && hasDesktopPortal();
    offer.hasX11 = display.isOpen();
    offer.isXwayland = offer.hasX11 && isXwayland(display);
    offer.canFakeInput = offer.hasX11 && canFakeInput(display);
    return offer;
}

ClipboardOffer clipboardOfferOf(const Compositor &compositor)
{
    ClipboardOffer offer;
    offer.isToolkitOnX11 = isToolkitOnX11();
    if (compositor.isThere) {
        offer.hasWayland = true;
        offer.hasDataControl = hasDataControl(compositor.connection);
        offer.isInputByPortal =
            inputRouteOf(offerOf(compositor, X11Connection())) == InputRoute::Portal;
    }
    return offer;
}

/// Input and clipboard share one session, so that the user is asked once.
std::shared_ptr<RemoteDesktopPortal> portalOfDesktop()
{
    static std::weak_ptr<RemoteDesktopPortal> shared;
    auto portal = shared.lock();
    if (!portal) {
        portal = std::make_shared<RemoteDesktopPortal>(QDBusConnection::sessionBus(),
                                                       RestoreToken::ofUser());
        shared = portal;
    }
    return portal;
}

std::unique_ptr<EventServices> makeX11Services(X11Connection display)
{
    auto services = std::make_unique<X11EventServices>(std::move(display));
    services->startGuard();
    return services;
}

std::unique_ptr<EventServices> makeWlrootsServices(const CompositorPatience &patience)
{
    auto services = std::make_unique<WlrootsEventServices>(patience);
    services->startGuard();
    return services;
}

std::unique_ptr<Screens> makeScreens(Compositor &compositor)
{
    if (compositor.isThere) {
        return std::make_unique<WaylandScreens>(compositor.newConnection(), compositor.patience);
    }
    if (isToolkitOnX11()) {
        X11Connection connection;
        if (connection.isOpen()) {
            return std::make_unique<X11Screens>(std::move(connection));
        }
    }
    return std::make_unique<ToolkitScreens>();
}

std::unique_ptr<EventServices> makeEventServices(Compositor &compositor, Clipboard *clipboard)
{
    X11Connection display;
    switch (inputRouteOf(offerOf(compositor, display))) {
    case InputRoute::X11:
        return makeX11Services(std::move(display));
    case InputRoute::Wlroots:
        return makeWlrootsServices(compositor.patience);
    case InputRoute::Portal:
        return std::make_unique<PortalEventServices>(portalOfDesktop(), makeScreens(compositor),
                                                     PortalPointer::wheelStepOfDesktop(),
                                                     clipboard);
    case InputRoute::NoneInWayland:
        break;
    case InputRoute::NoneWithoutXtest:
        return noServices(QT_TRANSLATE_NOOP(
            "EventServices",
            "The keyboard and the pointer cannot be controlled because the X server lacks the "
            "XTEST or the XKEYBOARD extension. Switch them on in its configuration and log in "
            "again."));
    case InputRoute::NoneWithoutDisplay:
        return noServices(QT_TRANSLATE_NOOP(
            "EventServices",
            "The keyboard and the pointer cannot be controlled because there is no display. "
            "Start VornaServer from a terminal of your desktop session."));
    }
    return noServices(QT_TRANSLATE_NOOP(
        "EventServices",
        "The keyboard and the pointer cannot be controlled in this Wayland "
        "session. Log out, choose an X11 (Xorg) session on the login screen and log in again."));
}

std::unique_ptr<Clipboard> makeClipboard(Compositor &compositor)
{
    switch (clipboardRouteOf(clipboardOfferOf(compositor))) {
    case ClipboardRoute::DataControl:
        return std::make_unique<DataControlClipboard>(compositor.newConnection());
    case ClipboardRoute::Portal:
        return std::make_unique<PortalClipboard>(portalOfDesktop());
    case ClipboardRoute::NoneInWayland:
        return std::make_unique<NoClipboard>();
    case ClipboardRoute::X11:
        return std::make_unique<X11Clipboard>();
    case ClipboardRoute::Toolkit:
        break;
    }
    return std::make_unique<ToolkitClipboard>(
        ToolkitClipboard::Reach{.isReadable = false, .isWatchable = false});
}

} // namespace

DesktopAdapters makeDesktopAdapters()
{
    Compositor compositor;
    auto clipboard = makeClipboard(compositor);
    auto events = makeEventServices(compositor, clipboard.get());
    return {std::move(clipboard), std::move(events), makeScreens(compositor)};
}

std::unique_ptr<EventServices> makeEventServices()
{
    Compositor compositor;
    return makeEventServices(compositor, nullptr);
}

std::unique_ptr<Clipboard> makeClipboard()
{
    Compositor compositor;
    return makeClipboard(compositor);
}

std::unique_ptr<Screens> makeScreens()
{
    Compositor compositor;
    return makeScreens(compositor);
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
