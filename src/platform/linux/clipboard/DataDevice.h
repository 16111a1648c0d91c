// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/posix/Descriptor.h"

#include <memory>

namespace platform {

class WaylandConnection;

/// The clipboard of the compositor's first seat, as the data control protocols show it to programs
/// without the focus. There are two of them with the same shape: the one of wlroots, and the later
/// one that is common to all.
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
        virtual void contentsChanged() = 0;
        /// Somebody wants our text written into that descriptor.
        virtual void textWanted(Descriptor target) = 0;
        /// Our text is not the contents any more.
        virtual void textReplaced() = 0;
        /// The device is of no use any more; another one can be made.
        virtual void deviceFinished() = 0;
    };

    virtual ~DataDevice() = default;

    /// Whether the contents have a plain text.
    virtual bool hasText() const = 0;
    /// Asks the owner to write the text into that descriptor, which the caller may close then.
    /// Only if there is a text.
    virtual void receiveText(const Descriptor &target) = 0;
    /// Makes a text of ours the contents. The listener is asked for it.
    virtual void offerText() = 0;
};

/// Whether the compositor has one of the protocols.
bool hasDataControl(const WaylandConnection &connection);

/// Null if the compositor has none of the protocols, or no seat. The listener must outlive it.
std::unique_ptr<DataDevice> makeDataDevice(WaylandConnection &connection,
                                           DataDevice::Listener &listener);

} // namespace platform
