// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/posix/Descriptor.h"

#include <QByteArray>
#include <QList>
#include <QSocketNotifier>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <vector>

struct wl_client;
struct wl_display;
struct wl_resource;

/// A compositor without screens in the test's own event loop: one seat, and a clipboard under the
/// common name of data control. Tests say what its other programs do, good or bad. While it lives,
/// XDG_RUNTIME_DIR and WAYLAND_DISPLAY lead to it.
class StandInCompositor
{
public:
    /// Another program that owns the clipboard: writes into that descriptor.
    using Owner = std::function<void(const QByteArray &type, Descriptor target)>;

    /// Virtual devices are only announced; nobody can make any.
    enum class Offer { Nothing, DataControl, VirtualKeyboard, VirtualPointer };

    explicit StandInCompositor(Offer offer = Offer::DataControl);
    ~StandInCompositor();
    StandInCompositor(const StandInCompositor &) = delete;
    StandInCompositor &operator=(const StandInCompositor &) = delete;

    bool isRunning() const { return display != nullptr; }
    wl_display *get() const { return display; }
    /// Sends the client what is new.
    void flush();

    /// Another program copies something.
    void copy(const QList<QByteArray> &types, Owner newOwner);
    /// The same for the primary selection, whose owner writes like that of the clipboard unless
    /// it has one of its own.
    void select(const QList<QByteArray> &types, Owner newOwner = {});
    /// An offer that is for nothing.
    void announce(const QList<QByteArray> &types);
    void clear();
    /// Another program wants what the client has copied; whether the client owns the clipboard.
    bool paste(const QByteArray &type, const Descriptor &target);
    /// The same for what the client has selected.
    bool pastePrimary(const QByteArray &type, const Descriptor &target);
    /// Ends all devices, as when the seat goes away: they learn of nothing any more.
    void finishDevices();

    /// What the client has copied, by its types; empty if another program owns the clipboard.
    QList<QByteArray> clientTypes() const { return types; }
    /// The same of what it has selected.
    QList<QByteArray> clientPrimaryTypes() const { return primaryTypes; }
    /// Objects that neither the client nor the compositor has ended.
    std::size_t devices() const { return liveDevices.size(); }
    std::size_t offers() const { return liveOffers.size(); }
    std::size_t sources() const { return liveSources.size(); }

private:
    struct Requests;

    wl_resource *makeOffer(wl_resource *device, const QList<QByteArray> &types);
    void replaceSource(wl_resource *source);
    void replacePrimarySource(wl_resource *source);
    void forget(wl_resource *resource);

    QTemporaryDir folder{QStringLiteral("/tmp/wl-XXXXXX")};
    wl_display *display;
    std::unique_ptr<QSocketNotifier> requests;
    std::vector<wl_resource *> liveDevices;
    std::vector<wl_resource *> liveOffers;
    std::vector<wl_resource *> liveSources;
    QList<QByteArray> pendingTypes; // Of the source that the client has made last.
    QList<QByteArray> types;
    QList<QByteArray> primaryTypes;
    wl_resource *source = nullptr;
    wl_resource *primarySource = nullptr;
    Owner owner;
    Owner primaryOwner;
    std::vector<wl_resource *> primaryOffers;
};
