// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/x11/DesktopView.h"

#include "support/x11/XcbClient.h"

#include <QDir>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// An icon in a tray is smaller than this, the same process's windows are larger.
constexpr int LargestTrayIcon = 64;

/// A window and the one that it stands in.
struct Placement
{
    xcb_window_t window = 0;
    xcb_window_t parent = 0;
};
using IsWanted = std::function<bool(const Placement &)>;

} // namespace

struct DesktopView::Private
{
    XcbConnection connection;
    xcb_window_t root = 0;
    QSize size;

    xcb_atom_t atom(const char *name) const { return XcbClient::atom(connection, name); }
    QByteArray property(xcb_window_t window, const char *name) const;
    QList<quint32> numbers(xcb_window_t window, const char *name) const;
    bool belongsTo(xcb_window_t window, qint64 processId) const;
    bool isViewable(xcb_window_t window) const;
    bool isToolTip(xcb_window_t window) const;
    QRect place(xcb_window_t window) const;
    SeenWindow describe(xcb_window_t window) const;
    std::optional<SeenWindow> find(xcb_window_t below, const IsWanted &isWanted) const;
    std::optional<SeenWindow> findPopup(qint64 processId, bool asToolTip) const;
};

QByteArray DesktopView::Private::property(xcb_window_t window, const char *name) const
{
    const auto cookie =
        xcb_get_property(connection.get(), false, window, atom(name), XCB_ATOM_ANY, 0, 4096);
    const auto reply = xcbOwned(xcb_get_property_reply(connection.get(), cookie, nullptr));
    if (!reply) {
        return {};
    }
    return QByteArray(static_cast<const char *>(xcb_get_property_value(reply.get())),
                      xcb_get_property_value_length(reply.get()));
}

QList<quint32> DesktopView::Private::numbers(xcb_window_t window, const char *name) const
{
    const QByteArray bytes = property(window, name);
    QList<quint32> result(bytes.size() / qsizetype(sizeof(quint32)));
    if (!result.isEmpty()) {
        std::memcpy(result.data(), bytes.constData(), size_t(result.size()) * sizeof(quint32));
    }
    return result;
}

bool DesktopView::Private::belongsTo(xcb_window_t window, qint64 processId) const
{
    return numbers(window, "_NET_WM_PID").value(0) == processId;
}

bool DesktopView::Private::isViewable(xcb_window_t window) const
{
    const auto reply = xcbOwned(xcb_get_window_attributes_reply(
        connection.get(), xcb_get_window_attributes(connection.get(), window), nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

bool DesktopView::Private::isToolTip(xcb_window_t window) const
{
    return numbers(window, "_NET_WM_WINDOW_TYPE").contains(atom("_NET_WM_WINDOW_TYPE_TOOLTIP"));
}

QRect DesktopView::Private::place(xcb_window_t window) const
{
    const auto geometry = xcbOwned(xcb_get_geometry_reply(
        connection.get(), xcb_get_geometry(connection.get(), window), nullptr));
    const auto corner = xcbOwned(xcb_translate_coordinates_reply(
        connection.get(), xcb_translate_coordinates(connection.get(), window, root, 0, 0),
        nullptr));
    if (!geometry || !corner) {
        return {};
    }
    return QRect(corner->dst_x, corner->dst_y, geometry->width, geometry->height);
}

SeenWindow DesktopView::Private::describe(xcb_window_t window) const
{
    return {window, QString::fromUtf8(property(window, "_NET_WM_NAME")), place(window)};
}

std::optional<SeenWindow> DesktopView::Private::find(xcb_window_t below,
                                                     const IsWanted &isWanted) const
{
    const auto tree = xcbOwned(
        xcb_query_tree_reply(connection.get(), xcb_query_tree(connection.get(), below), nullptr));
    if (!tree) {
        return std::nullopt;
    }
    const xcb_window_t *children = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
        if (isWanted({children[i], below})) {
            return describe(children[i]);
        }
        if (const auto found = find(children[i], isWanted)) {
            return found;
        }
    }
    return std::nullopt;
}

// Menus and balloons stand on the screen itself, without a frame of the window manager.
std::optional<SeenWindow> DesktopView::Private::findPopup(qint64 processId, bool asToolTip) const
{
    return find(root, [&](const Placement &seen) {
        return seen.parent == root && belongsTo(seen.window, processId) &&
               isViewable(seen.window) && isToolTip(seen.window) == asToolTip;
    });
}

DesktopView::DesktopView(const QString &display) : d(std::make_unique<Private>())
{
    d->connection = XcbClient::connectTo(display);
    if (!isConnected()) {
        return;
    }
    const xcb_screen_t *screen = XcbClient::firstScreen(d->connection);
    d->root = screen->root;
    d->size = QSize(screen->width_in_pixels, screen->height_in_pixels);
}

DesktopView::~DesktopView() = default;

bool DesktopView::isConnected() const
{
    return XcbClient::isConnected(d->connection);
}

bool DesktopView::hasWindowManager() const
{
    const quint32 check = d->numbers(d->root, "_NET_SUPPORTING_WM_CHECK").value(0);
    return check != 0 && d->numbers(check, "_NET_SUPPORTING_WM_CHECK").value(0) == check;
}

bool DesktopView::hasTray() const
{
    return XcbClient::selectionOwner(d->connection, "_NET_SYSTEM_TRAY_S0") != XCB_WINDOW_NONE;
}

QList<SeenWindow> DesktopView::dialogs(qint64 processId) const
{
    QList<SeenWindow> result;
    for (const quint32 window : d->numbers(d->root, "_NET_CLIENT_LIST")) {
        if (d->belongsTo(window, processId) && d->isViewable(window)) {
            result.append(d->describe(window));
        }
    }
    return result;
}

std::optional<SeenWindow> DesktopView::dialog(qint64 processId, const QString &title) const
{
    for (const SeenWindow &window : dialogs(processId)) {
        if (window.title == title) {
            return window;
        }
    }
    return std::nullopt;
}

quint32 DesktopView::activeWindow() const
{
    return d->numbers(d->root, "_NET_ACTIVE_WINDOW").value(0);
}

quint32 DesktopView::frontWindow() const
{
    const QList<quint32> stack = d->numbers(d->root, "_NET_CLIENT_LIST_STACKING");
    return stack.isEmpty() ? 0 : stack.constLast();
}

std::optional<QRect> DesktopView::trayIcon(qint64 processId) const
{
    // It stands in a window of the tray, while framed windows stand in the window manager's.
    const QList<quint32> framed = d->numbers(d->root, "_NET_CLIENT_LIST");
    const auto icon = d->find(d->root, [&](const Placement &seen) {
        return seen.parent != d->root && d->belongsTo(seen.window, processId) &&
               d->isViewable(seen.window) && !framed.contains(seen.window) &&
               d->place(seen.window).width() <= LargestTrayIcon;
    });
    return icon ? std::optional(icon->place) : std::nullopt;
}

std::optional<SeenWindow> DesktopView::menu(qint64 processId) const
{
    return d->findPopup(processId, false);
}

std::optional<SeenWindow> DesktopView::balloon(qint64 processId) const
{
    return d->findPopup(processId, true);
}

QPoint DesktopView::pointer() const
{
    const auto reply = xcbOwned(xcb_query_pointer_reply(
        d->connection.get(), xcb_query_pointer(d->connection.get(), d->root), nullptr));
    return reply ? QPoint(reply->root_x, reply->root_y) : QPoint(-1, -1);
}

QImage DesktopView::picture(const QRect &area) const
{
    const QRect screen(QPoint(0, 0), d->size);
    const QRect part = area.isEmpty() ? screen : area.intersected(screen);
    const auto cookie = xcb_get_image(
        d->connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, d->root, static_cast<int16_t>(part.x()),
        static_cast<int16_t>(part.y()), static_cast<uint16_t>(part.width()),
        static_cast<uint16_t>(part.height()), ~0U);
    const auto reply = xcbOwned(xcb_get_image_reply(d->connection.get(), cookie, nullptr));
    if (!reply) {
        return {};
    }
    // Depth 24 comes as 32 bits a pixel, the byte order of this machine.
    return QImage(xcb_get_image_data(reply.get()), part.width(), part.height(), part.width() * 4,
                  QImage::Format_RGB32)
        .copy();
}

QImage DesktopView::settledPicture(const QRect &area, std::chrono::milliseconds limit) const
{
    const auto hasContent = [](const QImage &image) {
        const QRgb first = image.pixel(0, 0);
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixel(x, y) != first) {
                    return true;
                }
            }
        }
        return false;
    };
    constexpr int CalmLooks = 10; // One look every 10 ms; a cursor blinks slower than they last.
    QImage last;
    int calm = 0;
    const bool isSettled = waitUntil(
        [&] {
            const QImage now = picture(area);
            calm = now == last && hasContent(now) ? calm + 1 : 0;
            last = now;
            return calm >= CalmLooks;
        },
        limit);
    return isSettled ? last : QImage();
}

bool DesktopView::saveScreenshot(const QString &name) const
{
    const QString folder = qEnvironmentVariable("VORNA_SCREENSHOTS", u"screenshots"_s);
    const QImage image = settledPicture();
    return !image.isNull() && QDir().mkpath(folder) &&
           image.save(folder + QLatin1Char('/') + name + ".png"_L1);
}
