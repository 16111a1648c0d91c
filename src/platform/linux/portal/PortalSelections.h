// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/clipboard/PipeWriters.h"
#include "platform/linux/clipboard/Selections.h"
#include "platform/linux/portal/PortalSelectionCalls.h"
#include "platform/linux/portal/RemoteDesktopPortal.h"

#include <QTimer>

#include <deque>
#include <memory>

namespace platform {

/// The clipboard of the portal's session; there is no primary selection. What we have put there
/// ends with the session.
class PortalSelections final : public Selections
{
public:
    explicit PortalSelections(std::shared_ptr<RemoteDesktopPortal> portalOfDesktop);
    ~PortalSelections() override;

    bool isThere() const override { return portal->hasClipboard(); }
    bool isConnected() const override { return isThere(); }
    bool has(Selection selection) const override
    {
        return isThere() && selection == Selection::Clipboard;
    }
    /// Once the portal has said what is there, or we have put it there.
    bool isKnown() const override
    {
        return isThere() && (ours.has_value() || theirTypes.has_value());
    }

    void afterEverything(std::function<void()> handler) override;
    QByteArrayList types(Selection selection) const override;
    void receive(Selection selection, const QByteArray &type,
                 const PipeReceiver &receiver) override;
    const std::optional<Contents> &own(Selection selection) const override;
    void put(Selection selection, std::optional<Contents> contents) override;

private:
    struct Waiting
    {
        quint64 offer; ///< Until this one has been announced.
        std::function<void()> handler;
    };

    bool isAnnounced() const { return announcements == offers; }
    void followState();
    void takeContents(bool areOurs, const QByteArrayList &types);
    void takeRefusal();
    void endAnnouncements();
    void callWaiting();
    void answerTransfer(const QByteArray &type, uint transfer);
    void write(const QByteArray &type, uint transfer, const QByteArray &bytes,
               const Descriptor &target);

    std::shared_ptr<RemoteDesktopPortal> portal;
    PortalSelectionCalls calls{*portal};
    std::optional<Contents> ours;
    std::optional<QByteArrayList> theirTypes; // None while nothing has been said.
    // How often we have put something there, and how often that has been announced. What others
    // are said to have put there in between is older than ours.
    quint64 offers = 0;
    quint64 announcements = 0;
    QTimer announcementTime;
    std::deque<Waiting> waiting;
    unsigned sessions = 0; // Also numbers them.
    int readers = 0;
    PipeWriters writers;
};

} // namespace platform
