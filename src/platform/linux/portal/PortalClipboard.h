// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/clipboard/NoClipboard.h"
#include "platform/linux/clipboard/SelectionClipboard.h"
#include "platform/linux/portal/RemoteDesktopPortal.h"

#include <QDBusServiceWatcher>

#include <memory>
#include <optional>

namespace platform {

/// The clipboard of a desktop that shows it to the session in which this program may type and
/// point. Setting and asking for a text count as input: the first one has the user asked. Until the
/// user has consented there is no text, and what is set is dropped, never made up for.
///
/// A portal without a clipboard is like NoClipboard, and nobody is asked for it.
class PortalClipboard final : public SelectionClipboard
{
public:
    explicit PortalClipboard(std::shared_ptr<RemoteDesktopPortal> portalOfDesktop);

    void setText(const QString &text) override;
    void requestText(TextReceiver receiver) override;
    /// Supposed to be so before the portal has said anything else.
    bool isReadable() const override;
    /// Changes are seen while there is a session. A watch does not make one.
    bool isWatchable() const override { return isReadable(); }

private:
    void askForInterface();
    bool makeReady();
    void warnOnce();

    std::shared_ptr<RemoteDesktopPortal> portal;
    QDBusServiceWatcher portals;
    std::optional<bool> hasInterface; // None while the portal has not said it.
    NoClipboard none;
    bool hasWarned = false;
};

} // namespace platform
