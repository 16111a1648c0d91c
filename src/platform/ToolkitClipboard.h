// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Clipboard.h"

#include <QObject>

#include <memory>

namespace platform {

/// The clipboard as the toolkit offers it. It reads the text at once, so it is for hosts where that
/// does not wait for other programs.
///
/// Some hosts show programs the clipboard only while they have the focus, and this one hardly ever
/// has it.
class ToolkitClipboard : public Clipboard
{
public:
    /// What a program without the focus learns of the contents.
    struct Reach
    {
        bool isReadable = true;
        bool isWatchable = true;
    };

    explicit ToolkitClipboard(Reach withoutFocus) : reach(withoutFocus) {}
    ToolkitClipboard() : ToolkitClipboard(Reach()) {}

    void setText(const QString &text) override;
    void requestText(TextReceiver receiver) override;
    bool isReadable() const override { return reach.isReadable; }
    bool isWatchable() const override { return reach.isWatchable; }
    void watch(std::function<void()> changed) override;

private:
    Reach reach;
    std::unique_ptr<QObject> watching; // Its destruction ends the connection.
};

} // namespace platform
