// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/wayland/StandInCompositor.h"

#include <algorithm>
#include <utility>

#include <ext-data-control-v1-server.h>
#include <virtual-keyboard-unstable-v1-client.h>
#include <wayland-server.h>
#include <wlr-virtual-pointer-unstable-v1-client.h>

/// What libwayland calls for the client's requests.
struct StandInCompositor::Requests
{
    static StandInCompositor &self(wl_resource *resource)
    {
        return *static_cast<StandInCompositor *>(wl_resource_get_user_data(resource));
    }

    static wl_resource *make(StandInCompositor *compositor, wl_client *client,
                             const wl_interface &interface, std::uint32_t id,
                             const void *implementation, std::vector<wl_resource *> *list)
    {
        wl_resource *made = wl_resource_create(client, &interface, 1, id);
        wl_resource_set_implementation(made, implementation, compositor, [](wl_resource *ended) {
            Requests::self(ended).forget(ended);
        });
        if (list != nullptr) {
            list->push_back(made);
        }
        return made;
    }

    static void destroy(wl_client * /*client*/, wl_resource *resource)
    {
        wl_resource_destroy(resource);
    }

    static constexpr struct ext_data_control_offer_v1_interface offer = {
        .receive =
            [](wl_client * /*client*/, wl_resource *resource, const char *type, int target) {
                Descriptor owned(target);
                StandInCompositor &compositor = self(resource);
                const bool isPrimary = std::ranges::count(compositor.primaryOffers, resource) > 0;
                const auto answer = isPrimary ? compositor.primaryOwner : compositor.owner;
                if (answer) {
                    answer(type, std::move(owned));
                }
            },
        .destroy = destroy,
    };
    static constexpr struct ext_data_control_source_v1_interface source = {
        .offer = [](wl_client * /*client*/, wl_resource *resource,
                    const char *type) { self(resource).pendingTypes.append(type); },
        .destroy = destroy,
    };
    static constexpr struct ext_data_control_device_v1_interface device = {
        .set_selection = [](wl_client * /*client*/, wl_resource *resource,
                            wl_resource *selected) { self(resource).replaceSource(selected); },
        .destroy = destroy,
        .set_primary_selection =
            [](wl_client * /*client*/, wl_resource *resource, wl_resource *selected) {
                self(resource).replacePrimarySource(selected);
            },
    };
    static constexpr struct ext_data_control_manager_v1_interface manager = {
        .create_data_source =
            [](wl_client *client, wl_resource *resource, std::uint32_t id) {
                StandInCompositor &compositor = self(resource);
                compositor.pendingTypes.clear();
                make(&compositor, client, ext_data_control_source_v1_interface, id, &source,
                     &compositor.liveSources);
            },
        .get_data_device =
            [](wl_client *client, wl_resource *resource, std::uint32_t id, wl_resource * /*seat*/) {
                StandInCompositor &compositor = self(resource);
                wl_resource *made = make(&compositor, client, ext_data_control_device_v1_interface,
                                         id, &device, &compositor.liveDevices);
                ext_data_control_device_v1_send_selection(made, nullptr);
            },
        .destroy = destroy,
    };

    static void bindManager(wl_client *client, void *data, std::uint32_t /*version*/,
                            std::uint32_t id)
    {
        make(static_cast<StandInCompositor *>(data), client, ext_data_control_manager_v1_interface,
             id, &manager, nullptr);
    }
    static void refuse(wl_client *client, void * /*data*/, std::uint32_t /*version*/,
                       std::uint32_t /*id*/)
    {
        wl_client_post_implementation_error(client, "only announced");
    }
    static void bindSeat(wl_client *client, void *data, std::uint32_t /*version*/, std::uint32_t id)
    {
        make(static_cast<StandInCompositor *>(data), client, wl_seat_interface, id, nullptr,
             nullptr);
    }
};

StandInCompositor::StandInCompositor(Offer offer) : display(wl_display_create())
{
    qputenv("XDG_RUNTIME_DIR", folder.path().toLocal8Bit());
    const char *name = wl_display_add_socket_auto(display);
    if (name == nullptr) {
        wl_display_destroy(std::exchange(display, nullptr));
        return;
    }
    qputenv("WAYLAND_DISPLAY", name);
    switch (offer) {
    case Offer::Nothing:
        break;
    case Offer::DataControl:
        wl_global_create(display, &ext_data_control_manager_v1_interface, 1, this,
                         Requests::bindManager);
        break;
    case Offer::VirtualKeyboard:
        wl_global_create(display, &zwp_virtual_keyboard_manager_v1_interface, 1, this,
                         Requests::refuse);
        break;
    case Offer::VirtualPointer:
        wl_global_create(display, &zwlr_virtual_pointer_manager_v1_interface, 1, this,
                         Requests::refuse);
        break;
    }
    wl_global_create(display, &wl_seat_interface, 1, this, Requests::bindSeat);
    wl_event_loop *loop = wl_display_get_event_loop(display);
    requests = std::make_unique<QSocketNotifier>(wl_event_loop_get_fd(loop), QSocketNotifier::Read);
    QObject::connect(requests.get(), &QSocketNotifier::activated, requests.get(), [this, loop] {
        wl_event_loop_dispatch(loop, 0);
        flush();
    });
}

StandInCompositor::~StandInCompositor()
{
    requests.reset();
    if (isRunning()) {
        wl_display_destroy_clients(display);
        wl_display_destroy(display);
    }
    qunsetenv("WAYLAND_DISPLAY");
}

void StandInCompositor::flush()
{
    wl_display_flush_clients(display);
}

wl_resource *StandInCompositor::makeOffer(wl_resource *device, const QList<QByteArray> &offered)
{
    wl_resource *made =
        Requests::make(this, wl_resource_get_client(device), ext_data_control_offer_v1_interface, 0,
                       &Requests::offer, &liveOffers);
    ext_data_control_device_v1_send_data_offer(device, made);
    for (const QByteArray &type : offered) {
        ext_data_control_offer_v1_send_offer(made, type.constData());
    }
    return made;
}

void StandInCompositor::copy(const QList<QByteArray> &offered, Owner newOwner)
{
    owner = std::move(newOwner);
    if (source != nullptr) {
        ext_data_control_source_v1_send_cancelled(std::exchange(source, nullptr));
        types.clear();
    }
    for (wl_resource *device : liveDevices) {
        ext_data_control_device_v1_send_selection(device, makeOffer(device, offered));
    }
    flush();
}

void StandInCompositor::select(const QList<QByteArray> &offered, Owner newOwner)
{
    primaryOwner = std::move(newOwner);
    if (primarySource != nullptr) {
        ext_data_control_source_v1_send_cancelled(std::exchange(primarySource, nullptr));
        primaryTypes.clear();
    }
    for (wl_resource *device : liveDevices) {
        primaryOffers.push_back(makeOffer(device, offered));
        ext_data_control_device_v1_send_primary_selection(device, primaryOffers.back());
    }
    flush();
}

void StandInCompositor::announce(const QList<QByteArray> &offered)
{
    for (wl_resource *device : liveDevices) {
        makeOffer(device, offered);
    }
    flush();
}

void StandInCompositor::clear()
{
    for (wl_resource *device : liveDevices) {
        ext_data_control_device_v1_send_selection(device, nullptr);
    }
    flush();
}

/// The client's program learns of its own text like everybody else.
void StandInCompositor::replaceSource(wl_resource *selected)
{
    wl_resource *replaced = std::exchange(source, selected);
    if (replaced != nullptr) {
        ext_data_control_source_v1_send_cancelled(replaced);
    }
    types = selected == nullptr ? QList<QByteArray>() : pendingTypes;
    owner = [this](const QByteArray &type, Descriptor target) { paste(type, target); };
    for (wl_resource *device : liveDevices) {
        ext_data_control_device_v1_send_selection(
            device, selected == nullptr ? nullptr : makeOffer(device, types));
    }
    flush();
}

void StandInCompositor::replacePrimarySource(wl_resource *selected)
{
    wl_resource *replaced = std::exchange(primarySource, selected);
    if (replaced != nullptr) {
        ext_data_control_source_v1_send_cancelled(replaced);
    }
    primaryTypes = selected == nullptr ? QList<QByteArray>() : pendingTypes;
    primaryOwner = [this](const QByteArray &type, Descriptor target) {
        pastePrimary(type, target);
    };
    for (wl_resource *device : liveDevices) {
        wl_resource *offer = selected == nullptr ? nullptr : makeOffer(device, primaryTypes);
        primaryOffers.push_back(offer);
        ext_data_control_device_v1_send_primary_selection(device, offer);
    }
    flush();
}

bool StandInCompositor::pastePrimary(const QByteArray &type, const Descriptor &target)
{
    if (primarySource == nullptr) {
        return false;
    }
    ext_data_control_source_v1_send_send(primarySource, type.constData(), target.get());
    flush();
    return true;
}

bool StandInCompositor::paste(const QByteArray &type, const Descriptor &target)
{
    if (source == nullptr) {
        return false;
    }
    ext_data_control_source_v1_send_send(source, type.constData(), target.get());
    flush();
    return true;
}

void StandInCompositor::finishDevices()
{
    for (wl_resource *device : std::exchange(liveDevices, {})) {
        ext_data_control_device_v1_send_finished(device);
    }
    flush();
}

void StandInCompositor::forget(wl_resource *resource)
{
    std::erase(liveDevices, resource);
    std::erase(liveOffers, resource);
    std::erase(primaryOffers, resource);
    std::erase(liveSources, resource);
    if (source == resource) {
        source = nullptr;
        types.clear();
    }
    if (primarySource == resource) {
        primarySource = nullptr;
        primaryTypes.clear();
    }
}
