// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/wayland/WaylandOutputs.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace platform {

namespace {

constexpr std::size_t mostOutputs = 64;

/// The versions from which on outputs say when a description is complete, and what they are called.
constexpr std::uint32_t oldestOutput = 2;
constexpr std::uint32_t newestOutput = 4;
constexpr std::uint32_t newestManager = 3;

/// No real one is longer, and sums of a few of these fit into an int.
int length(int sent)
{
    constexpr int longest = 1 << 24;
    return std::clamp(sent, -longest, longest);
}

void endOutput(wl_output *ended)
{
    if (wl_output_get_version(ended) >= WL_OUTPUT_RELEASE_SINCE_VERSION) {
        wl_output_release(ended);
    } else {
        wl_output_destroy(ended);
    }
}

/// What is known of an output.
struct Description
{
    QString name;
    QPoint place;
    QSize pixels; // Before it is turned.
    bool isOnItsSide = false;
    int scale = 1;
    // Only from compositors that tell the logical measures apart.
    std::optional<QPoint> logicalPlace;
    std::optional<QSize> logicalSize;

    QSize turnedPixels() const { return isOnItsSide ? pixels.transposed() : pixels; }

    Screen screen() const
    {
        const QSize size = logicalSize.value_or(turnedPixels() / scale);
        return {name, QRect(logicalPlace.value_or(place), size), scaleAt(size)};
    }

    /// The logical size is rounded, but compositors count scales in steps of 1/120.
    double scaleAt(QSize size) const
    {
        constexpr double steps = 120;
        if (size.isEmpty() || pixels.isEmpty()) {
            return scale;
        }
        return std::round(turnedPixels().width() * steps / size.width()) / steps;
    }
};

} // namespace

struct WaylandOutputs::Output
{
    WaylandOutputs &list;
    std::uint32_t global;
    WaylandHandle<wl_output, endOutput> output;
    WaylandHandle<zxdg_output_v1, zxdg_output_v1_destroy> logical;
    Description pending; // Becomes the description when it is complete.
    std::optional<Description> current;

    void complete()
    {
        current = pending;
        list.describe();
    }
};

/// What libwayland calls.
struct WaylandOutputs::Listeners
{
    static Description &pending(void *data) { return static_cast<Output *>(data)->pending; }

    static constexpr wl_output_listener output = {
        .geometry =
            [](void *data, wl_output * /*output*/, int x, int y, int /*width in mm*/,
               int /*height in mm*/, int /*subpixel*/, const char * /*make*/,
               const char * /*model*/, int transform) {
                pending(data).place = {length(x), length(y)};
                // The odd ones turn by a quarter, forwards or backwards.
                pending(data).isOnItsSide = (static_cast<unsigned>(transform) & 1U) != 0;
            },
        .mode =
            [](void *data, wl_output * /*output*/, std::uint32_t flags, int width, int height,
               int /*refresh*/) {
                if ((flags & WL_OUTPUT_MODE_CURRENT) != 0) {
                    pending(data).pixels = {length(width), length(height)};
                }
            },
        .done = [](void *data, wl_output * /*output*/) { static_cast<Output *>(data)->complete(); },
        .scale = [](void *data, wl_output * /*output*/,
                    int factor) { pending(data).scale = std::max(factor, 1); },
        .name = [](void *data, wl_output * /*output*/,
                   const char *name) { pending(data).name = QString::fromUtf8(name); },
        .description = [](void * /*data*/, wl_output * /*output*/, const char * /*text*/) {},
    };

    static constexpr zxdg_output_v1_listener logical = {
        .logical_position =
            [](void *data, zxdg_output_v1 * /*output*/, int x, int y) {
                pending(data).logicalPlace = {length(x), length(y)};
            },
        .logical_size =
            [](void *data, zxdg_output_v1 * /*output*/, int width, int height) {
                pending(data).logicalSize = {length(width), length(height)};
            },
        // From version 3 on the output's own event comes instead.
        .done =
            [](void *data, zxdg_output_v1 * /*logical*/) {
                auto &output = *static_cast<Output *>(data);
                if (output.current) {
                    output.complete();
                }
            },
        .name = [](void *data, zxdg_output_v1 * /*output*/,
                   const char *name) { pending(data).name = QString::fromUtf8(name); },
        .description = [](void * /*data*/, zxdg_output_v1 * /*output*/, const char * /*text*/) {},
    };
};

WaylandOutputs::WaylandOutputs(WaylandConnection &openConnection, QObject *parent)
    : QObject(parent)
    , connection(openConnection)
{
    connect(&connection, &WaylandConnection::globalAdded, this, &WaylandOutputs::add);
    connect(&connection, &WaylandConnection::globalRemoved, this, &WaylandOutputs::remove);
    connect(&connection, &WaylandConnection::lost, this, &WaylandOutputs::forgetAll);
    for (const auto &global : connection.globals()) {
        add(global);
    }
}

WaylandOutputs::~WaylandOutputs() = default;

QRect WaylandOutputs::bounds() const
{
    QRect around;
    for (const Screen &screen : described) {
        around |= screen.place;
    }
    return around;
}

void WaylandOutputs::add(const WaylandConnection::Global &global)
{
    if (global.interface == wl_output_interface.name && global.version >= oldestOutput &&
        outputs.size() < mostOutputs) {
        auto *bound = connection.bind<wl_output>(global, wl_output_interface, newestOutput);
        outputs.emplace_back(
            new Output{*this, global.name, decltype(Output::output)(bound), {}, {}, {}});
        wl_output_add_listener(bound, &Listeners::output, outputs.back().get());
        ask(*outputs.back());
    } else if (global.interface == zxdg_output_manager_v1_interface.name && !manager) {
        manager.reset(connection.bind<zxdg_output_manager_v1>(
            global, zxdg_output_manager_v1_interface, newestManager));
        for (const auto &output : outputs) {
            ask(*output);
        }
    }
    connection.flush();
}

/// Asks for the logical measures, which outputs themselves do not have.
void WaylandOutputs::ask(Output &output)
{
    if (manager) {
        output.logical.reset(
            zxdg_output_manager_v1_get_xdg_output(manager.get(), output.output.get()));
        zxdg_output_v1_add_listener(output.logical.get(), &Listeners::logical, &output);
    }
}

void WaylandOutputs::remove(std::uint32_t name)
{
    std::erase_if(outputs, [name](const auto &output) { return output->global == name; });
    connection.flush();
    describe();
}

void WaylandOutputs::forgetAll()
{
    outputs.clear();
    manager.reset();
    describe();
}

void WaylandOutputs::describe()
{
    QList<Screen> now;
    for (const auto &output : outputs) {
        if (output->current) {
            now.append(output->current->screen());
        }
    }
    const auto main = std::ranges::find_if(
        now, [](const Screen &screen) { return screen.place.topLeft() == QPoint(0, 0); });
    if (main != now.end()) {
        std::rotate(now.begin(), main, main + 1);
    }
    if (std::exchange(described, now) != now) {
        emit changed();
    }
}

} // namespace platform
