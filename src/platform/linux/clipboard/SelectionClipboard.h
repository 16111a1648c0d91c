// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Clipboard.h"
#include "platform/linux/clipboard/PipeReader.h"
#include "platform/linux/clipboard/SelectionLoan.h"
#include "platform/linux/clipboard/Selections.h"
#include "platform/linux/clipboard/TextRequests.h"

#include <QTimer>

#include <memory>

namespace platform {

/// A clipboard over the selections of the session: read, set, watched and lent.
class SelectionClipboard : public Clipboard
{
public:
    explicit SelectionClipboard(std::unique_ptr<Selections> selectionsOfSession);

    void setText(const QString &text) override;
    void requestText(TextReceiver receiver) override;
    void watch(std::function<void()> report) override { changed = std::move(report); }
    bool canLend() const override { return selections->isKnown(); }
    bool canLendPrimary() const override;
    void lend(const QString &text, ClipboardBorrower &borrower) override;
    void endLoan() override;

private:
    void reportChange();
    void startTransfer();
    void readContents();
    void deliver(const std::optional<QString> &text);

    std::unique_ptr<Selections> selections;
    SelectionLoan loan{*selections};
    // Set while it is the contents, or will be, perhaps after the loan: what cannot be put into
    // UTF-8 is in it, too.
    std::optional<QString> ownText;
    std::function<void()> changed;
    TextRequests requests;
    unsigned transfers = 0; // Also numbers them.
    QTimer ownerTime;
    PipeReader reader;
};

} // namespace platform
