// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/clipboard/Contents.h"
#include "platform/linux/clipboard/DataDevice.h"
#include "platform/linux/clipboard/PipeWriters.h"
#include "platform/linux/wayland/WaylandConnection.h"

#include <QObject>

#include <array>
#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// The selections of a Wayland session whose compositor has a data control protocol, and what we
/// have put there. While the compositor is away they are empty, and what is put there meanwhile
/// becomes the contents when it is back.
class DataSelections : public QObject, private DataDevice::Listener
{
    Q_OBJECT

public:
    explicit DataSelections(std::unique_ptr<WaylandConnection> openConnection);
    ~DataSelections() override;

    /// Whether there is a compositor with a seat.
    bool isThere() const { return device != nullptr; }
    bool has(Selection selection) const { return device && device->has(selection); }
    bool isConnected() const { return connection->isOpen(); }
    /// As WaylandConnection::afterEverything(). Changes before that are known then.
    void afterEverything(std::function<void()> handler);

    /// The types of the contents, whoever has put them there.
    QByteArrayList types(Selection selection) const;
    /// Asks the owner to write contents of one of these types into that descriptor.
    void receive(Selection selection, const QByteArray &type, const Descriptor &target);

    /// Ours, while they are the contents, or will be when there is a compositor.
    const std::optional<Contents> &own(Selection selection) const;
    /// Replaces the contents; none: there are no contents any more.
    void put(Selection selection, std::optional<Contents> contents);

signals:
    // From the event loop.
    /// The contents are others than before, whoever has set them.
    void changed(platform::Selection selection);
    /// Ours are not the contents any more.
    void replaced(platform::Selection selection);
    /// Somebody has got all of ours under that type.
    void wasRead(const QByteArray &type);
    /// Nothing is known of the contents any more.
    void lost();

private:
    void contentsChanged(Selection selection) override;
    void contentsWanted(Selection selection, const QByteArray &type, Descriptor target) override;
    void contentsReplaced(Selection selection) override;
    void deviceFinished() override;

    std::optional<Contents> &ownOf(Selection selection);
    void makeDevice();
    void loseDevice();

    std::unique_ptr<WaylandConnection> connection;
    std::unique_ptr<DataDevice> device; // Null while there is no compositor or no seat.
    std::array<std::optional<Contents>, bothSelections.size()> ours;
    PipeWriters writers;
};

} // namespace platform
