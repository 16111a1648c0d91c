// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Clipboard.h"

namespace platform {

/// The clipboard as the toolkit offers it. It reads the text at once, so it is for hosts where that
/// does not wait for other programs.
class ToolkitClipboard : public Clipboard
{
public:
    void setText(const QString &text) override;
    void requestText(TextReceiver receiver) override;
    bool isReadable() const override { return true; }
    bool isWatchable() const override { return false; }
    void watch(std::function<void()> /*changed*/) override {}
};

} // namespace platform
