// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

struct wl_callback;
struct wl_display;
struct wl_interface;
struct wl_registry;

namespace platform {

/// A connection of our own to the Wayland compositor that WAYLAND_DISPLAY names, apart from the
/// toolkit's. When the compositor goes away it looks for it again, once a second.
///
/// Used on the thread of the event loop only; nothing here waits for the compositor but answers().
class WaylandConnection : public QObject
{
    Q_OBJECT

public:
    /// An object of the compositor that programs may bind.
    struct Global
    {
        std::uint32_t name = 0;
        QByteArray interface;
        std::uint32_t version = 0;
    };

    /// Connects if there is a compositor; isOpen() tells. The globals come from the event loop, or
    /// with answers().
    explicit WaylandConnection(QObject *parent = nullptr);
    ~WaylandConnection() override;

    bool isOpen() const { return display != nullptr; }
    /// Null when it is not open.
    wl_display *get() const { return display.get(); }

    /// Waits until the compositor has answered everything that was asked before, for that long at
    /// most; whether it has. Events that arrive meanwhile are handled.
    bool answers(std::chrono::milliseconds limit);

    /// Those that have been announced, in their order.
    const std::vector<Global> &globals() const { return announced; }
    /// The first one of that interface; null if there is none.
    const Global *global(const wl_interface &interface) const;
    /// The object, at the given version or an older one that the compositor has.
    template <typename T>
    T *bind(const Global &global, const wl_interface &interface, std::uint32_t version) const
    {
        return static_cast<T *>(bindObject(global, interface, version));
    }
    /// The first one of that interface; null if there is none.
    template <typename T> T *bind(const wl_interface &interface, std::uint32_t version) const
    {
        const Global *found = global(interface);
        return found == nullptr ? nullptr : bind<T>(*found, interface, version);
    }

    /// Sends what has been asked. To be called after every group of requests.
    void flush();
    /// Calls that from the event loop once the compositor has handled everything that was asked
    /// before. Not at all if the connection is lost first.
    void afterEverything(std::function<void()> handler);

signals:
    /// The compositor has been found again. Its globals are there.
    void opened();
    /// The compositor has gone away, or has ended the connection because of a mistake of ours. All
    /// objects of this connection must be destroyed at once.
    void lost();
    void globalAdded(const platform::WaylandConnection::Global &global);
    void globalRemoved(std::uint32_t name);

private:
    struct Listeners;
    struct Question;
    struct DisplayEnd
    {
        void operator()(wl_display *ended) const;
    };

    bool open();
    void close();
    void lose();
    void read();
    bool dispatch();
    bool readUntil(std::chrono::steady_clock::time_point end);
    void lookAgain();
    void *bindObject(const Global &global, const wl_interface &interface,
                     std::uint32_t version) const;

    std::unique_ptr<wl_display, DisplayEnd> display;
    wl_registry *registry = nullptr;
    std::vector<Global> announced;
    std::vector<std::unique_ptr<Question>> questions;
    std::unique_ptr<QSocketNotifier> reading;
    std::unique_ptr<QSocketNotifier> writing;
    QTimer search;
};

} // namespace platform
