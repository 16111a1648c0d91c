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

/// Somebody to whom the clipboard is lent. Called from the event loop, never within lend() or
/// endLoan().
class ClipboardBorrower
{
public:
    virtual ~ClipboardBorrower() = default;

    /// Whoever pastes from now on gets the text.
    virtual void textLent() = 0;
    /// Somebody has got all of the text. Besides the program that is meant, that may be one that
    /// keeps a history of the clipboard.
    virtual void textRead() = 0;
    /// The loan is over: the contents could not be kept, or somebody has copied something else.
    virtual void loanLost() = 0;
};

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

    /// Whether a text can be lent.
    virtual bool canLend() const { return false; }
    /// Whether the primary selection, which terminals paste, is lent too.
    virtual bool canLendPrimary() const { return false; }
    /// Puts a text in the place of the contents for a moment, so that a program can be made to
    /// paste it, and of the primary selection where that can be lent. What was there is kept, in
    /// all its types, and is what others here are given meanwhile; if it cannot be kept, the loan
    /// is lost. There is one loan at a time; lending another text in it takes the place of the
    /// first. The borrower must outlive the loan, which nobody who watches notices.
    virtual void lend(const QString & /*text*/, ClipboardBorrower & /*borrower*/) {}
    /// Gives back what was there before, or what has been set since then. Not what somebody else
    /// has replaced meanwhile. Does nothing without a loan.
    virtual void endLoan() {}
};

/// The clipboard of the running session; never null.
std::unique_ptr<Clipboard> makeClipboard();

} // namespace platform
