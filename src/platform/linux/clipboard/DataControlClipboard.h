// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Clipboard.h"
#include "platform/linux/clipboard/DataLoan.h"
#include "platform/linux/clipboard/DataSelections.h"
#include "platform/linux/clipboard/PipeReader.h"
#include "platform/linux/clipboard/TextRequests.h"
#include "platform/linux/wayland/WaylandConnection.h"

#include <QTimer>

#include <memory>

namespace platform {

/// The clipboard of a Wayland session whose compositor has a data control protocol: read, set,
/// watched and lent without the focus. While the compositor is away there is no text, and a text
/// that is set meanwhile becomes the contents when it is back.
class DataControlClipboard final : public Clipboard
{
public:
    explicit DataControlClipboard(std::unique_ptr<WaylandConnection> openConnection);

    void setText(const QString &text) override;
    void requestText(TextReceiver receiver) override;
    bool isReadable() const override { return true; }
    bool isWatchable() const override { return true; }
    void watch(std::function<void()> report) override;
    bool canLend() const override { return selections.isThere(); }
    void lend(const QString &text, ClipboardBorrower &borrower) override;
    void endLoan() override;

private:
    void reportChange();
    void startTransfer();
    void readContents();
    void deliver(const std::optional<QString> &text);

    DataSelections selections;
    DataLoan loan{selections};
    // Set while it is the contents, or will be with the next device or after the loan: what cannot
    // be put into UTF-8 is in it, too.
    std::optional<QString> ownText;
    std::function<void()> changed;
    TextRequests requests;
    unsigned transfers = 0; // Also numbers them.
    QTimer ownerTime;
    PipeReader reader;
};

} // namespace platform
