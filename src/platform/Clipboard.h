// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// The longest text that is handed on, in bytes as its owner gives it, or in characters where the
/// toolkit does.
constexpr qsizetype maximumClipboardText = 16 * 1024 * 1024;

/// The desktop's clipboard, used on the thread of the event loop only.
class Clipboard
{
public:
    /// The plain text; none when there is no plain text, when its owner does not give it in time,
    /// or when it is longer than maximumClipboardText.
    using TextReceiver = std::function<void(std::optional<QString> text)>;

    virtual ~Clipboard() = default;

    /// Replaces what is there by plain text.
    virtual void setText(const QString &text) = 0;

    /// Calls the receiver once: at once, or later from the event loop where the text must be asked
    /// of another program. Never waits for that program. The receiver is dropped when the
    /// clipboard object goes first.
    virtual void requestText(TextReceiver receiver) = 0;
};

/// The clipboard of the running session; never null.
std::unique_ptr<Clipboard> makeClipboard();

} // namespace platform
