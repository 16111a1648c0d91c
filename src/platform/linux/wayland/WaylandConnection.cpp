// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/wayland/WaylandConnection.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <poll.h>
#include <wayland-client.h>

using namespace std::chrono_literals;

namespace platform {

namespace {

/// Also how long a compositor that has been found again may take to announce its globals.
constexpr auto searchInterval = 1s;

} // namespace

/// What libwayland calls.
struct WaylandConnection::Listeners
{
    static constexpr wl_registry_listener registry = {
        .global =
            [](void *data, wl_registry * /*registry*/, std::uint32_t name, const char *interface,
               std::uint32_t version) {
                auto &self = *static_cast<WaylandConnection *>(data);
                const Global global{name, interface, version};
                self.announced.push_back(global);
                emit self.globalAdded(global);
            },
        .global_remove =
            [](void *data, wl_registry * /*registry*/, std::uint32_t name) {
                auto &self = *static_cast<WaylandConnection *>(data);
                std::erase_if(self.announced,
                              [name](const Global &global) { return global.name == name; });
                emit self.globalRemoved(name);
            },
    };
    static const wl_callback_listener question;
};

/// A callback of the compositor that has not come yet.
struct WaylandConnection::Question
{
    WaylandConnection &connection;
    std::function<void()> handler;
    wl_callback *callback;

    Question(WaylandConnection &asking, std::function<void()> answered)
        : connection(asking)
        , handler(std::move(answered))
        , callback(wl_display_sync(asking.get()))
    {
        wl_callback_add_listener(callback, &Listeners::question, this);
    }
    ~Question() { wl_callback_destroy(callback); }
    Q_DISABLE_COPY_MOVE(Question)
};

const wl_callback_listener WaylandConnection::Listeners::question = {
    .done =
        [](void *data, wl_callback * /*callback*/, std::uint32_t /*serial*/) {
            auto &question = *static_cast<Question *>(data);
            const auto handler = std::move(question.handler);
            std::erase_if(question.connection.questions,
                          [&](const auto &each) { return each.get() == &question; });
            handler();
        },
};

void WaylandConnection::DisplayEnd::operator()(wl_display *ended) const
{
    wl_display_disconnect(ended);
}

WaylandConnection::WaylandConnection(QObject *parent) : QObject(parent)
{
    search.setInterval(searchInterval);
    connect(&search, &QTimer::timeout, this, &WaylandConnection::lookAgain);
    open();
}

WaylandConnection::~WaylandConnection()
{
    close();
}

bool WaylandConnection::open()
{
    const QByteArray name = qgetenv("WAYLAND_DISPLAY");
    display.reset(name.isEmpty() ? nullptr : wl_display_connect(name.constData()));
    if (!display) {
        return false;
    }
    registry = wl_display_get_registry(get());
    wl_registry_add_listener(registry, &Listeners::registry, this);
    const int descriptor = wl_display_get_fd(get());
    reading = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    writing = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Write);
    connect(reading.get(), &QSocketNotifier::activated, this, &WaylandConnection::read);
    connect(writing.get(), &QSocketNotifier::activated, this, &WaylandConnection::flush);
    writing->setEnabled(false);
    flush();
    return isOpen();
}

void WaylandConnection::close()
{
    reading.reset();
    writing.reset();
    questions.clear();
    announced.clear();
    if (registry != nullptr) {
        wl_registry_destroy(std::exchange(registry, nullptr));
    }
    display.reset();
}

/// May be called by one of the notifiers, which must live until it has returned.
void WaylandConnection::lose()
{
    for (auto *notifier : {&reading, &writing}) {
        (*notifier)->setEnabled(false); // Its descriptor is closed before it is deleted.
        notifier->release()->deleteLater();
    }
    emit lost();
    close();
    search.start();
}

/// A compositor that has not answered since the last time is left; objects may have been bound as
/// its globals were announced.
void WaylandConnection::lookAgain()
{
    if (isOpen()) {
        emit lost();
        close();
    }
    open();
    afterEverything([this] {
        search.stop();
        emit opened();
    });
}

void WaylandConnection::read()
{
    while (isOpen() && wl_display_prepare_read(get()) != 0) {
        if (!dispatch()) {
            return;
        }
    }
    if (isOpen() && (wl_display_read_events(get()) != 0 || !dispatch())) {
        if (isOpen()) {
            lose();
        }
        return;
    }
    flush();
}

/// False if the connection is over.
bool WaylandConnection::dispatch()
{
    if (wl_display_dispatch_pending(get()) >= 0) {
        return true;
    }
    lose();
    return false;
}

void WaylandConnection::flush()
{
    if (!isOpen()) {
        return;
    }
    // Other errors show when the compositor's last words are read.
    const bool isWaiting = wl_display_flush(get()) < 0 && errno == EAGAIN;
    if (writing->isEnabled() != isWaiting) {
        writing->setEnabled(isWaiting);
    }
}

bool WaylandConnection::answers(std::chrono::milliseconds limit)
{
    if (!isOpen()) {
        return false;
    }
    const auto end = std::chrono::steady_clock::now() + limit;
    const auto isAnswered = std::make_shared<bool>(false);
    afterEverything([isAnswered] { *isAnswered = true; });
    while (!*isAnswered && isOpen() && readUntil(end)) {
    }
    return *isAnswered && isOpen();
}

/// Reads what comes next; false if nothing has come by then.
bool WaylandConnection::readUntil(std::chrono::steady_clock::time_point end)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(
        std::max(end - std::chrono::steady_clock::now(), std::chrono::steady_clock::duration{}));
    pollfd watched{wl_display_get_fd(get()), POLLIN, 0};
    const int ready = poll(&watched, 1, static_cast<int>(left.count()));
    if (ready > 0) {
        read();
    }
    return ready > 0 || (ready < 0 && errno == EINTR);
}

const WaylandConnection::Global *WaylandConnection::global(const wl_interface &interface) const
{
    const auto found = std::ranges::find_if(
        announced, [&](const Global &each) { return each.interface == interface.name; });
    return found == announced.end() ? nullptr : &*found;
}

void *WaylandConnection::bindObject(const Global &global, const wl_interface &interface,
                                    std::uint32_t version) const
{
    return wl_registry_bind(registry, global.name, &interface, std::min(version, global.version));
}

void WaylandConnection::afterEverything(std::function<void()> handler)
{
    if (isOpen()) {
        questions.push_back(std::make_unique<Question>(*this, std::move(handler)));
        flush();
    }
}

} // namespace platform
