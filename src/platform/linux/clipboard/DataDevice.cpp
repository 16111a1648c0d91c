// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/DataDevice.h"

#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/WaylandHandles.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include <ext-data-control-v1-client.h>
#include <wayland-client.h>
#include <wlr-data-control-unstable-v1-client.h>

namespace platform {
namespace {

/// What a protocol calls its parts.
struct ExtNames
{
    static constexpr std::uint32_t versionWithPrimary = 1;
    using Device = ext_data_control_device_v1;
    using Manager = ext_data_control_manager_v1;
    using Offer = ext_data_control_offer_v1;
    using Source = ext_data_control_source_v1;
    using DeviceListener = ext_data_control_device_v1_listener;
    using OfferListener = ext_data_control_offer_v1_listener;
    using SourceListener = ext_data_control_source_v1_listener;
    static constexpr auto &interface = ext_data_control_manager_v1_interface;
    static constexpr auto getDevice = ext_data_control_manager_v1_get_data_device;
    static constexpr auto createSource = ext_data_control_manager_v1_create_data_source;
    static constexpr auto setSelection = ext_data_control_device_v1_set_selection;
    static constexpr auto setPrimary = ext_data_control_device_v1_set_primary_selection;
    static constexpr auto receive = ext_data_control_offer_v1_receive;
    static constexpr auto offer = ext_data_control_source_v1_offer;
    static constexpr auto listenDevice = ext_data_control_device_v1_add_listener;
    static constexpr auto listenOffer = ext_data_control_offer_v1_add_listener;
    static constexpr auto listenSource = ext_data_control_source_v1_add_listener;
    static constexpr auto endDevice = ext_data_control_device_v1_destroy;
    static constexpr auto endManager = ext_data_control_manager_v1_destroy;
    static constexpr auto endOffer = ext_data_control_offer_v1_destroy;
    static constexpr auto endSource = ext_data_control_source_v1_destroy;
};

struct WlrNames
{
    static constexpr std::uint32_t versionWithPrimary = 2;
    using Device = zwlr_data_control_device_v1;
    using Manager = zwlr_data_control_manager_v1;
    using Offer = zwlr_data_control_offer_v1;
    using Source = zwlr_data_control_source_v1;
    using DeviceListener = zwlr_data_control_device_v1_listener;
    using OfferListener = zwlr_data_control_offer_v1_listener;
    using SourceListener = zwlr_data_control_source_v1_listener;
    static constexpr auto &interface = zwlr_data_control_manager_v1_interface;
    static constexpr auto getDevice = zwlr_data_control_manager_v1_get_data_device;
    static constexpr auto createSource = zwlr_data_control_manager_v1_create_data_source;
    static constexpr auto setSelection = zwlr_data_control_device_v1_set_selection;
    static constexpr auto setPrimary = zwlr_data_control_device_v1_set_primary_selection;
    static constexpr auto receive = zwlr_data_control_offer_v1_receive;
    static constexpr auto offer = zwlr_data_control_source_v1_offer;
    static constexpr auto listenDevice = zwlr_data_control_device_v1_add_listener;
    static constexpr auto listenOffer = zwlr_data_control_offer_v1_add_listener;
    static constexpr auto listenSource = zwlr_data_control_source_v1_add_listener;
    static constexpr auto endDevice = zwlr_data_control_device_v1_destroy;
    static constexpr auto endManager = zwlr_data_control_manager_v1_destroy;
    static constexpr auto endOffer = zwlr_data_control_offer_v1_destroy;
    static constexpr auto endSource = zwlr_data_control_source_v1_destroy;
};

/// A compositor announces an offer just before it says what it is for; more are not kept.
constexpr std::size_t mostUnusedOffers = 4;

template <typename Names> class DataDeviceOf final : public DataDevice
{
public:
    DataDeviceOf(WaylandConnection &openConnection, Listener &told)
        : connection(openConnection)
        , listener(told)
        , hasPrimary(connection.global(Names::interface)->version >= Names::versionWithPrimary)
        , manager(
              connection.bind<typename Names::Manager>(Names::interface, Names::versionWithPrimary))
        , seat(connection.bind<wl_seat>(wl_seat_interface, 1))
        , device(Names::getDevice(manager.get(), seat.get()))
    {
        Names::listenDevice(device.get(), &deviceListener, this);
        connection.flush();
    }

    bool has(Selection selection) const override
    {
        return selection == Selection::Clipboard || hasPrimary;
    }

    QByteArrayList types(Selection selection) const override
    {
        const OfferOwner &contents = of(selection).contents;
        return contents ? contents->types : QByteArrayList();
    }

    void receive(Selection selection, const QByteArray &type, const Descriptor &target) override
    {
        Names::receive(of(selection).contents->handle.get(), type.constData(), target.get());
        connection.flush();
    }

    void offer(Selection selection, const QByteArrayList &offeredTypes) override
    {
        SourceOwner offered(new Source{SourceHandle(Names::createSource(manager.get())), this,
                                       selection, offeredTypes});
        Names::listenSource(offered->handle.get(), &sourceListener, offered.get());
        for (const QByteArray &type : offeredTypes) {
            Names::offer(offered->handle.get(), type.constData());
        }
        replace(selection, std::move(offered));
    }

    void clear(Selection selection) override { replace(selection, nullptr); }

private:
    struct Offer
    {
        WaylandHandle<typename Names::Offer, Names::endOffer> handle;
        QByteArrayList types;
    };
    using OfferOwner = std::unique_ptr<Offer>;
    using SourceHandle = WaylandHandle<typename Names::Source, Names::endSource>;
    struct Source
    {
        SourceHandle handle;
        DataDeviceOf *device;
        Selection selection;
        QByteArrayList types;
    };
    using SourceOwner = std::unique_ptr<Source>;
    struct State
    {
        OfferOwner contents; // Null while the selection is empty.
        SourceOwner source;  // Of ours, while that is the contents.
    };

    static DataDeviceOf &self(void *data) { return *static_cast<DataDeviceOf *>(data); }

    State &of(Selection selection) { return states.at(static_cast<std::size_t>(selection)); }
    const State &of(Selection selection) const
    {
        return states.at(static_cast<std::size_t>(selection));
    }

    /// The old one ends after the change, so that the selection is not empty in between.
    void replace(Selection selection, SourceOwner source)
    {
        const auto set =
            selection == Selection::Clipboard ? Names::setSelection : Names::setPrimary;
        set(device.get(), source ? source->handle.get() : nullptr);
        of(selection).source = std::move(source);
        connection.flush();
    }

    void announce(typename Names::Offer *announced)
    {
        unused.emplace_back(new Offer{decltype(Offer::handle)(announced), {}});
        Names::listenOffer(announced, &offerListener, unused.back().get());
        if (unused.size() > mostUnusedOffers) {
            unused.erase(unused.begin());
        }
        connection.flush();
    }

    /// Null for no offer, and for one that has not been kept.
    OfferOwner take(typename Names::Offer *announced)
    {
        const auto found = std::ranges::find_if(
            unused, [&](const OfferOwner &each) { return each->handle.get() == announced; });
        OfferOwner taken;
        if (found != unused.end()) {
            taken = std::move(*found);
            unused.erase(found);
        }
        return taken;
    }

    void select(Selection selection, typename Names::Offer *announced)
    {
        OfferOwner &contents = of(selection).contents;
        const OfferOwner before = std::exchange(contents, take(announced));
        if (before || contents) {
            listener.contentsChanged(selection);
        }
        connection.flush();
    }

    static constexpr typename Names::DeviceListener deviceListener = {
        .data_offer = [](void *data, typename Names::Device * /*device*/,
                         typename Names::Offer *offer) { self(data).announce(offer); },
        .selection =
            [](void *data, typename Names::Device * /*device*/, typename Names::Offer *offer) {
                self(data).select(Selection::Clipboard, offer);
            },
        .finished =
            [](void *data, typename Names::Device * /*device*/) {
                self(data).listener.deviceFinished();
            },
        .primary_selection =
            [](void *data, typename Names::Device * /*device*/, typename Names::Offer *offer) {
                self(data).select(Selection::Primary, offer);
            },
    };
    static constexpr typename Names::OfferListener offerListener = {
        .offer =
            [](void *data, typename Names::Offer * /*offer*/, const char *type) {
                QByteArrayList &types = static_cast<Offer *>(data)->types;
                if (types.size() < mostSelectionTypes) {
                    types.append(type);
                }
            },
    };
    static constexpr typename Names::SourceListener sourceListener = {
        .send =
            [](void *data, typename Names::Source * /*source*/, const char *type, int target) {
                Descriptor owned(target);
                const auto &source = *static_cast<Source *>(data);
                if (source.types.contains(type)) {
                    source.device->listener.contentsWanted(source.selection, type,
                                                           std::move(owned));
                }
            },
        .cancelled =
            [](void *data, typename Names::Source * /*source*/) {
                const auto &source = *static_cast<Source *>(data);
                DataDeviceOf &device = *source.device;
                const Selection selection = source.selection;
                device.of(selection).source.reset();
                device.connection.flush();
                device.listener.contentsReplaced(selection);
            },
    };

    WaylandConnection &connection;
    Listener &listener;
    bool hasPrimary;
    WaylandHandle<typename Names::Manager, Names::endManager> manager;
    WaylandHandle<wl_seat, wl_seat_destroy> seat;
    WaylandHandle<typename Names::Device, Names::endDevice> device;
    std::vector<OfferOwner> unused;
    std::array<State, bothSelections.size()> states;
};

} // namespace

bool hasDataControl(const WaylandConnection &connection)
{
    return connection.global(ExtNames::interface) != nullptr ||
           connection.global(WlrNames::interface) != nullptr;
}

std::unique_ptr<DataDevice> makeDataDevice(WaylandConnection &connection,
                                           DataDevice::Listener &listener)
{
    if (connection.global(wl_seat_interface) == nullptr) {
        return nullptr;
    }
    if (connection.global(ExtNames::interface) != nullptr) {
        return std::make_unique<DataDeviceOf<ExtNames>>(connection, listener);
    }
    if (connection.global(WlrNames::interface) != nullptr) {
        return std::make_unique<DataDeviceOf<WlrNames>>(connection, listener);
    }
    return nullptr;
}

} // namespace platform
