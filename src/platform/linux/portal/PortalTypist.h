// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "platform/linux/portal/PortalCaller.h"
#include "platform/linux/portal/PortalKeyboard.h"

#include <QString>

#include <deque>

namespace platform {

/// Types texts through the desktop's portal, character by character, whenever the portal has
/// handled what was posted before.
///
/// What the layouts lack is skipped; such a text is not done, though the rest of it is typed.
class PortalTypist
{
public:
    /// Both must outlive it.
    PortalTypist(PortalKeyboard &keyboardOfPortal, PortalOutbox &outboxOfPortal)
        : keyboard(keyboardOfPortal)
        , outbox(outboxOfPortal)
    {
    }

    /// As DesktopInput::type().
    void type(const QString &text, QObject *context, DesktopInput::Done done);
    /// The portal has handled an event.
    void onProgress();
    /// The session has ended: none of the texts will be done.
    void fail();

private:
    struct Task
    {
        QString text;
        qsizetype next = 0;
        bool isComplete = true; ///< Nothing was skipped so far.
        PortalCaller caller;
    };

    void finishFront(bool isDone);
    void typeOne(Task &task);

    PortalKeyboard &keyboard;
    PortalOutbox &outbox;
    std::deque<Task> tasks;
};

} // namespace platform
