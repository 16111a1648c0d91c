// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Clipboard.h"

#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>

namespace platform {

/// Makes the program in front paste texts: lends it the clipboard, presses the key for that, and
/// waits until the text has been read.
///
/// Who reads is not told. After somebody has read, the program in front is left a moment to read
/// too, if it was not that, and to take in what it has read, before the next key follows.
class Paster : private ClipboardBorrower
{
public:
    /// Whether the key could be pressed.
    using PasteKey = std::function<bool()>;

    /// Without a clipboard nothing is pasted. It must outlive the paster.
    Paster(Clipboard *lendingClipboard, PasteKey pasteKey);
    /// Gives the clipboard back.
    ~Paster() override;
    Paster(const Paster &) = delete;
    Paster &operator=(const Paster &) = delete;

    /// Whether it will be able to, as far as that is known. A desktop may show its clipboard only
    /// when the first input is posted.
    bool isExpectedToPaste() const { return clipboard != nullptr && clipboard->isReadable(); }
    bool canPaste() const { return clipboard != nullptr && clipboard->canLend(); }
    bool isPasting() const { return stage != Stage::Idle; }
    /// Pastes one text at a time. Calls `done` from the event loop with whether somebody has read
    /// it; nothing has been pasted otherwise. The clipboard stays lent, for another text may
    /// follow.
    void paste(const QString &text, std::function<void(bool)> done);
    /// Gives the clipboard back. What is being pasted is not done any more, and nobody is told.
    void end();

    /// How long the program in front has for reading the text.
    std::chrono::milliseconds patience = std::chrono::seconds(5);
    /// How long it is left in peace after the last reading.
    std::chrono::milliseconds rest = std::chrono::milliseconds(100);

private:
    enum class Stage { Idle, Lending, Reading };

    void textLent() override;
    void textRead() override;
    void loanLost() override;

    void finish(bool isRead);

    Clipboard *clipboard;
    PasteKey pressKey;
    Stage stage = Stage::Idle;
    bool isRead = false;
    std::function<void(bool)> whenDone;
    QTimer limit;
    QTimer resting;
};

} // namespace platform
