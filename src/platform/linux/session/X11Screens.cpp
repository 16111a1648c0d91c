// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/X11Screens.h"

#include "platform/linux/x11/X11Server.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <chrono>
#include <utility>

#include <xcb/randr.h>

using namespace std::chrono_literals;

namespace platform {
namespace {

/// How many events are read before other parts of the program have their turn.
constexpr int eventsInTurn = 64;

/// Version 1.5 of RandR has monitors, which are what users take for screens.
bool canListMonitors(const X11Connection &connection)
{
    const auto *extension = xcb_get_extension_data(connection.get(), &xcb_randr_id);
    if (extension == nullptr || !extension->present) {
        return false;
    }
    const auto cookie = xcb_randr_query_version(connection.get(), 1, 5);
    const auto version = xcbOwned(xcb_randr_query_version_reply(connection.get(), cookie, nullptr));
    return version &&
           std::pair(version->major_version, version->minor_version) >= std::pair(1U, 5U);
}

/// How many pixels the toolkit draws where it would draw one without scaling.
double scaleOf(const QString &name)
{
    const QList<QScreen *> known = QGuiApplication::screens();
    const auto found = std::find_if(known.begin(), known.end(),
                                    [&](const QScreen *screen) { return screen->name() == name; });
    if (found != known.end()) {
        return (*found)->devicePixelRatio();
    }
    return known.isEmpty() ? 1 : known.first()->devicePixelRatio();
}

} // namespace

X11Screens::X11Screens(X11Connection openConnection)
    : connection(std::move(openConnection))
    , hasMonitors(canListMonitors(connection))
{
    ignoreServerGrabs(connection);
    unread.setSingleShot(true);
    QObject::connect(&unread, &QTimer::timeout, &unread, [this] { readEvents(); });
}

QSize X11Screens::desktopSize()
{
    const QSize size = wholeDesktop().place.size();
    readEventsLater();
    return size;
}

QList<Screen> X11Screens::all()
{
    QList<Screen> screens;
    if (hasMonitors) {
        screens = monitors();
    }
    if (screens.isEmpty()) {
        screens.append(wholeDesktop());
    }
    readEventsLater();
    return screens;
}

QList<Screen> X11Screens::monitors() const
{
    const auto cookie = xcb_randr_get_monitors(connection.get(), connection.root(), 1);
    const auto reply = xcbOwned(xcb_randr_get_monitors_reply(connection.get(), cookie, nullptr));
    QList<Screen> screens;
    if (!reply) {
        return screens;
    }
    for (auto monitor = xcb_randr_get_monitors_monitors_iterator(reply.get()); monitor.rem > 0;
         xcb_randr_monitor_info_next(&monitor)) {
        const auto &info = *monitor.data;
        const QString name = nameOf(info.name);
        const QRect place(info.x, info.y, info.width, info.height);
        screens.insert(info.primary ? 0 : screens.size(), {name, place, scaleOf(name)});
    }
    return screens;
}

/// Only the server knows the size after screens were added, moved or turned. (0, 0) without one.
Screen X11Screens::wholeDesktop() const
{
    const auto cookie = xcb_get_geometry(connection.get(), connection.root());
    const auto geometry = xcbOwned(xcb_get_geometry_reply(connection.get(), cookie, nullptr));
    const QSize size = geometry ? QSize(geometry->width, geometry->height) : QSize(0, 0);
    return {QString(), QRect(QPoint(0, 0), size), scaleOf({})};
}

QString X11Screens::nameOf(xcb_atom_t atom) const
{
    const auto cookie = xcb_get_atom_name(connection.get(), atom);
    const auto reply = xcbOwned(xcb_get_atom_name_reply(connection.get(), cookie, nullptr));
    if (!reply) {
        return {};
    }
    return QString::fromUtf8(xcb_get_atom_name_name(reply.get()),
                             xcb_get_atom_name_name_length(reply.get()));
}

void X11Screens::watch(std::function<void()> changed)
{
    const bool isFirst = !std::exchange(isConnectionWatched, true);
    report = std::move(changed);
    select();
    if (isFirst) {
        connection.watch([this] { readEvents(); });
    }
    latest = report ? all() : QList<Screen>();
}

/// A change of the monitors alone shows only in the root window's notification.
void X11Screens::select() const
{
    const uint32_t structure = report ? XCB_EVENT_MASK_STRUCTURE_NOTIFY : XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(connection.get(), connection.root(), XCB_CW_EVENT_MASK,
                                 &structure);
    if (hasMonitors) {
        const uint16_t changes = XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE |
                                 XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                 XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE;
        xcb_randr_select_input(connection.get(), connection.root(), report ? changes : 0);
    }
    xcb_flush(connection.get());
}

/// One change causes several events; only what all() tells counts.
void X11Screens::readEvents()
{
    int count = 0;
    while (count < eventsInTurn && xcbOwned(xcb_poll_for_event(connection.get()))) {
        ++count;
    }
    if (count > 0 && report) {
        compare();
    }
}

void X11Screens::compare()
{
    const QList<Screen> now = all();
    if (now != latest) {
        latest = now;
        // It may end the watch.
        const auto listener = report;
        listener();
    }
}

void X11Screens::readEventsLater()
{
    if (report) {
        unread.start(0ms);
    }
}

} // namespace platform
