// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Clipboard.h"

#include <optional>
#include <utility>
#include <vector>

namespace platform {

/// Requests for the text of the clipboard that share transfers. A request waits for a transfer that
/// begins after it, so it never gets an older text.
class TextRequests
{
public:
    /// Whether a transfer must be started for it now.
    bool add(Clipboard::TextReceiver receiver)
    {
        waiting.push_back(std::move(receiver));
        return served.empty() && takeWaiting();
    }

    /// Ends the transfer: `startNext` is called first if others have come meanwhile.
    template <typename Function>
    void deliver(const std::optional<QString> &text, Function startNext)
    {
        const std::vector<Clipboard::TextReceiver> receivers = std::exchange(served, {});
        if (takeWaiting()) {
            startNext();
        }
        for (const Clipboard::TextReceiver &receiver : receivers) {
            receiver(text);
        }
    }

private:
    bool takeWaiting()
    {
        served.swap(waiting);
        return !served.empty();
    }

    std::vector<Clipboard::TextReceiver> served;
    std::vector<Clipboard::TextReceiver> waiting;
};

} // namespace platform
