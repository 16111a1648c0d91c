// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Clipboard.h"
#include "platform/linux/clipboard/Contents.h"
#include "platform/linux/clipboard/ContentsReader.h"
#include "platform/linux/clipboard/Selections.h"

#include <QTimer>

#include <array>
#include <optional>

namespace platform {

/// Lends the selections to a text: keeps what is there, puts the text there, and puts back what was
/// there. See Clipboard::lend().
class SelectionLoan : public QObject
{
    Q_OBJECT

public:
    /// They must outlive it.
    explicit SelectionLoan(Selections &selectionsOfSession);

    void begin(const QString &text, ClipboardBorrower &newBorrower);
    /// Puts back what was there, where the text is still there.
    void end();

    /// Whether the text is in the place of the contents.
    bool isLent() const { return borrower != nullptr && stage == Stage::Lent; }
    /// What will be put back; none: nothing was there. Only while it is lent.
    const std::optional<Contents> &kept(Selection selection) const;
    /// From now on that will be put back on the clipboard, which is a change. Only while it is
    /// lent.
    void replaceKept(const Contents &contents);
    /// Whether a change of the clipboard that has just been reported comes from here.
    bool explainsChange() const;

private:
    enum class Stage { Keeping, Lent };

    void keepAnew();
    void keepFrom(std::size_t index);
    void lendNow();
    void giveBack();
    void lose();

    Selections &selections;
    ContentsReader reader;
    QTimer ownerTime;
    ClipboardBorrower *borrower = nullptr; // Null without a loan.
    Stage stage = Stage::Keeping;
    QString text;
    std::size_t reading = 0; // The number of the selection that is being read.
    std::array<std::optional<Contents>, bothSelections.size()> before;
    bool isKeptReplaced = false;
    unsigned steps = 0;   // Also numbers them: what belongs to an earlier one comes too late.
    int quietChanges = 0; // Changes of ours that have yet to be reported.
};

} // namespace platform
