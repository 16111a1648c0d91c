// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Clipboard.h"

namespace platform {

/// The clipboard of a session that shows it only to the program in front, which this one hardly
/// ever is. The first text that is dropped warns the user, once, by a message.
class NoClipboard final : public Clipboard
{
public:
    void setText(const QString &text) override;
    void requestText(TextReceiver receiver) override;
    bool isReadable() const override { return false; }
    bool isWatchable() const override { return false; }
    void watch(std::function<void()> changed) override;

private:
    bool hasWarned = false;
};

} // namespace platform
