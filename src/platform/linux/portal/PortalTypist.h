// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "platform/linux/clipboard/Paster.h"
#include "platform/linux/input/TypingBrake.h"
#include "platform/linux/portal/ForeignStretch.h"
#include "platform/linux/portal/PortalCaller.h"
#include "platform/linux/portal/PortalKeyboard.h"

#include <QString>
#include <QTimer>

#include <deque>

namespace platform {

/// Types texts through the desktop's portal, character by character, whenever the portal has
/// handled what was posted before and programs read what they get.
///
/// What the layouts lack is pasted from the clipboard, line by line, with what is between. Where
/// that does not work it is skipped; such a text is not done, though the rest of it is typed.
class PortalTypist
{
public:
    /// They must outlive it. Without a clipboard nothing is pasted.
    PortalTypist(PortalKeyboard &keyboardOfPortal, PortalOutbox &outboxOfPortal,
                 Clipboard *lendingClipboard, TypingBrake::Look lookAtPrograms);

    /// As DesktopInput::type().
    void type(const QString &text, QObject *context, DesktopInput::Done done);
    /// The portal has handled an event.
    void onProgress();
    /// The session has ended: none of the texts will be done.
    void fail();

    /// Whether what the layouts lack can be pasted, as far as that is known before it is tried.
    bool typesBeyondLayouts() const { return paster.isExpectedToPaste(); }
    Paster &pasting() { return paster; }

private:
    struct Task
    {
        QString text;
        qsizetype next = 0;
        bool isComplete = true; ///< Nothing was skipped so far.
        bool canPaste = true;   ///< Nobody has failed to paste so far.
        /// Of the line that is typed; before `next` in others.
        ForeignStretch foreign;
        PortalCaller caller;
    };

    bool isHeld();
    void finishFront(bool isDone);
    void typeOne(Task &task);
    bool pasteForeign(Task &task);
    bool pressPasteKey();

    PortalKeyboard &keyboard;
    PortalOutbox &outbox;
    const Clipboard *clipboard;
    Paster paster;
    std::deque<Task> tasks;
    TypingBrake brake;
    QTimer held; ///< Until the next look.
};

} // namespace platform
