// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace platform {

/// The longest text that is passed on, in bytes as its owner sends it, or in characters if the
/// toolkit reads it.
constexpr qsizetype maximumClipboardText = 16 * 1024 * 1024;

/// The desktop's clipboard, used on the thread of the event loop only.
class Clipboard
{
public:
    /// The plain text; none when there is no plain text, when its owner does not give it in time,
    /// or when it is longer than maximumClipboardText.
    using TextReceiver = std::function<void(std::optional<QString> text)>;

    virtual ~Clipboard() = default;

    /// Replaces the contents by plain text.
    virtual void setText(const QString &text) = 0;

    /// Calls the receiver once: at once, or later from the event loop if another program must be
    /// asked for the text. Never waits for that program. If the clipboard object is destroyed
    /// first, the receiver is not called.
    virtual void requestText(TextReceiver receiver) = 0;

    /// Whether the text can be asked for, and whether changes are reported.
    virtual bool isReadable() const = 0;
    virtual bool isWatchable() const = 0;
    /// From now on calls that at each change of the contents, whoever makes it, from the event
    /// loop; at most one at a time. An empty function ends it. Only if it is watchable.
    virtual void watch(std::function<void()> changed) = 0;
};

/// The clipboard of the running session; never null.
std::unique_ptr<Clipboard> makeClipboard();

} // namespace platform
