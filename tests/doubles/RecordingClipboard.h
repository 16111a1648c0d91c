// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Clipboard.h"

#include <QStringList>

#include <utility>
#include <vector>

/// A clipboard in memory.
class RecordingClipboard final : public platform::Clipboard
{
public:
    void setText(const QString &text) override
    {
        content = text;
        ++timesSet;
        if (changed) {
            changed();
        }
    }
    void requestText(TextReceiver receiver) override
    {
        ++timesAsked;
        if (isSlow) {
            waiting.push_back(std::move(receiver));
        } else {
            receiver(content);
        }
    }
    bool isReadable() const override { return canBeRead; }
    bool isWatchable() const override { return canBeWatched; }
    void watch(std::function<void()> listener) override { changed = std::move(listener); }

    bool canLend() const override { return canBeLent; }
    bool canLendPrimary() const override { return hasPrimary; }
    void lend(const QString &text, platform::ClipboardBorrower &by) override
    {
        lent.append(text);
        borrower = &by;
    }
    void endLoan() override { borrower = nullptr; }

    std::optional<QString> content;
    int timesSet = 0;
    int timesAsked = 0;
    /// Those who ask wait in `waiting`.
    bool isSlow = false;
    std::vector<TextReceiver> waiting;
    bool canBeRead = true;
    bool canBeWatched = true;
    bool canBeLent = true;
    bool hasPrimary = true;
    /// What was lent, and to whom something is lent now, which tests tell the rest.
    QStringList lent;
    platform::ClipboardBorrower *borrower = nullptr;
    /// Empty while nobody watches.
    std::function<void()> changed;
};
