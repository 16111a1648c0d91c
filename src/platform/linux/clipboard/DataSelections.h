// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/clipboard/Contents.h"
#include "platform/linux/clipboard/DataDevice.h"
#include "platform/linux/clipboard/PipeWriters.h"
#include "platform/linux/clipboard/Selections.h"
#include "platform/linux/wayland/WaylandConnection.h"

#include <array>
#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// The selections of a Wayland session whose compositor has a data control protocol, and what we
/// have put there. While the compositor is away they are empty, and what is put there meanwhile
/// becomes the contents when it is back.
class DataSelections final : public Selections, private DataDevice::Listener
{
    Q_OBJECT

public:
    explicit DataSelections(std::unique_ptr<WaylandConnection> openConnection);
    ~DataSelections() override;

    /// Whether there is a compositor with a seat.
    bool isThere() const override { return device != nullptr; }
    bool has(Selection selection) const override { return device && device->has(selection); }
    bool isKnown() const override { return isThere(); }
    bool isConnected() const override { return connection->isOpen(); }
    void afterEverything(std::function<void()> handler) override;
    QByteArrayList types(Selection selection) const override;
    void receive(Selection selection, const QByteArray &type,
                 const PipeReceiver &receiver) override;
    const std::optional<Contents> &own(Selection selection) const override;
    void put(Selection selection, std::optional<Contents> contents) override;

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
