// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/DesktopSession.h"

#include <optional>

/// Another program of the session that owns the clipboard: xclip.
class ClipboardOwner
{
public:
    /// Takes the clipboard and offers the content as the one target, such as "text/html"; as plain
    /// text in UTF-8 when none is named.
    ClipboardOwner(const DesktopSession &session, const QByteArray &content,
                   const QString &target = {});
    ~ClipboardOwner();

    /// Waits until other programs get the content.
    bool isServing() const;

    /// Stays the owner, but answers no request any more.
    void halt();
    /// Lets a halted one go on; false when it does not end soon, as it does once another program
    /// owns the clipboard.
    bool resumeUntilItEnds();
    /// Ends without an answer to those who wait for one.
    void kill();

    /// What any program gets that asks for the clipboard as that target; nothing when it gets none.
    static std::optional<QByteArray> read(const DesktopSession &session,
                                          const QString &target = {});

private:
    const DesktopSession &desktop;
    QByteArray offeredContent;
    QString offeredTarget;
    ChildProcess process;
};
