// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/clipboard/Selection.h"
#include "platform/posix/Descriptor.h"

#include <QByteArrayList>

#include <memory>

namespace platform {

class WaylandConnection;

/// The selections of the compositor's first seat, as the data control protocols show them to
/// programs without the focus. There are two of them with the same shape: the one of wlroots, and
/// the later one that is common to all.
///
/// An object of the connection: destroy it when that is lost.
class DataDevice
{
public:
    /// What the compositor reports, from the event loop. Do not destroy the device in these.
    class Listener
    {
    public:
        virtual ~Listener() = default;

        /// The contents are others than before, whoever has set them.
        virtual void contentsChanged(Selection selection) = 0;
        /// Somebody wants our contents of that type written into that descriptor.
        virtual void contentsWanted(Selection selection, const QByteArray &type,
                                    Descriptor target) = 0;
        /// Ours are not the contents any more.
        virtual void contentsReplaced(Selection selection) = 0;
        /// The device is of no use any more; another one can be made.
        virtual void deviceFinished() = 0;
    };

    virtual ~DataDevice() = default;

    /// Whether the compositor has that selection; every one has the clipboard.
    virtual bool has(Selection selection) const = 0;
    /// The types of the contents, up to mostSelectionTypes; empty if there are none.
    virtual QByteArrayList types(Selection selection) const = 0;
    /// Asks the owner to write the contents into that descriptor, which the caller may close then.
    /// Only for one of the types.
    virtual void receive(Selection selection, const QByteArray &type, const Descriptor &target) = 0;
    /// Makes something of ours the contents. The listener is asked for it.
    virtual void offer(Selection selection, const QByteArrayList &types) = 0;
    /// There are no contents any more.
    virtual void clear(Selection selection) = 0;
};

/// Whether the compositor has one of the protocols.
bool hasDataControl(const WaylandConnection &connection);

/// Null if the compositor has none of the protocols, or no seat. The listener must outlive it.
std::unique_ptr<DataDevice> makeDataDevice(WaylandConnection &connection,
                                           DataDevice::Listener &listener);

} // namespace platform
