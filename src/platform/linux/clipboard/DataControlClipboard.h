// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Clipboard.h"
#include "platform/linux/clipboard/DataDevice.h"
#include "platform/linux/clipboard/PipeReader.h"
#include "platform/linux/clipboard/PipeWriters.h"
#include "platform/linux/clipboard/TextRequests.h"
#include "platform/linux/wayland/WaylandConnection.h"

#include <QTimer>

namespace platform {

/// The clipboard of a Wayland session whose compositor has a data control protocol: read, set and
/// watched without the focus. While the compositor is away there is no text, and a text that is set
/// meanwhile becomes the contents when it is back.
class DataControlClipboard final : public Clipboard, private DataDevice::Listener
{
public:
    explicit DataControlClipboard(std::unique_ptr<WaylandConnection> openConnection);

    void setText(const QString &text) override;
    void requestText(TextReceiver receiver) override;
    bool isReadable() const override { return true; }
    bool isWatchable() const override { return true; }
    void watch(std::function<void()> report) override;

private:
    void contentsChanged() override;
    void textWanted(Descriptor target) override;
    void textReplaced() override;
    void deviceFinished() override;

    void makeDevice();
    void loseDevice();
    void startTransfer();
    void readContents();
    void deliver(const std::optional<QString> &text);

    std::unique_ptr<WaylandConnection> connection;
    std::unique_ptr<DataDevice> device; // Null while there is no compositor or no seat.
    // Set while it is the contents, or will be with the next device.
    std::optional<QString> ownText;
    QByteArray ownBytes;
    std::function<void()> changed;
    TextRequests requests;
    unsigned transfers = 0; // Also numbers them.
    QTimer ownerTime;
    PipeReader reader;
    PipeWriters writers;
};

} // namespace platform
