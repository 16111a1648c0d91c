// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Clipboard.h"
#include "platform/linux/clipboard/NoClipboard.h"
#include "platform/linux/clipboard/PipeReader.h"
#include "platform/linux/clipboard/PipeWriters.h"
#include "platform/linux/clipboard/TextRequests.h"
#include "platform/linux/clipboard/TextTypes.h"
#include "platform/linux/portal/PortalSelection.h"
#include "platform/linux/portal/RemoteDesktopPortal.h"

#include <QDBusServiceWatcher>
#include <QTimer>

namespace platform {

/// The clipboard of a desktop that shows it to the session in which this program may type and
/// point. Setting and asking for a text count as input: the first one has the user asked. Until the
/// user has consented there is no text, and what is set is dropped, never made up for.
///
/// A portal without a clipboard is like NoClipboard, and nobody is asked for it.
class PortalClipboard final : public Clipboard
{
public:
    explicit PortalClipboard(std::shared_ptr<RemoteDesktopPortal> portalOfDesktop);

    void setText(const QString &text) override;
    void requestText(TextReceiver receiver) override;
    /// Supposed to be so before the portal has said anything else.
    bool isReadable() const override;
    bool isWatchable() const override { return isReadable(); }
    /// Changes are seen while there is a session. A watch does not make one.
    void watch(std::function<void()> report) override { changed = std::move(report); }

private:
    void askForInterface();
    void followState();
    bool makeReady();
    void warnOnce();
    void takeContents(bool areOurs, std::size_t rank);
    void answerTransfer(const QString &type, uint transfer);
    void write(uint transfer, const Descriptor &target);
    void startTransfer();
    void deliver(const std::optional<QString> &text);

    std::shared_ptr<RemoteDesktopPortal> portal;
    PortalSelection selection{*portal};
    QDBusServiceWatcher portals;
    std::optional<bool> hasInterface; // None while the portal has not said it.
    NoClipboard none;
    bool hasWarned = false;

    // Kept until another owner follows ours: the announcement of an earlier one may come late.
    std::optional<QString> ownText;
    bool isOwner = false;     // Our text is the contents.
    bool isConfirmed = false; // And that has been announced.
    std::size_t theirRank = textTypes.size();

    std::function<void()> changed;
    TextRequests requests;
    unsigned transfers = 0; // Also numbers them.
    unsigned sessions = 0;  // The same.
    int readers = 0;
    QTimer ownerTime;
    PipeReader reader;
    PipeWriters writers;
};

} // namespace platform
