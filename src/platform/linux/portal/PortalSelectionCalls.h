// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/clipboard/PipeBytes.h"
#include "platform/linux/portal/RemoteDesktopPortal.h"

#include <QByteArrayList>
#include <QDBusMessage>
#include <QObject>

#include <functional>

namespace platform {

/// The calls and signals of org.freedesktop.portal.Clipboard for the portal's session. All calls
/// need an open session with a clipboard. Answers come from the event loop; not at all if this is
/// destroyed first.
class PortalSelectionCalls : public QObject
{
    Q_OBJECT

public:
    explicit PortalSelectionCalls(RemoteDesktopPortal &portalOfDesktop);

    /// Does nothing, but all signals that the portal has sent before come before the answer.
    void askNothing(std::function<void()> answered);
    /// Makes something of ours the contents, in these types.
    void offer(const QByteArrayList &types, std::function<void(bool isOffered)> answered);
    /// Has the owner of the contents write them into a pipe; the end is not open if the portal
    /// gives none. Only if there is an owner which has that type: otherwise a portal's backend was
    /// seen to end.
    void receive(const QByteArray &type, const PipeReceiver &receiver);
    /// Asks for the pipe in which our contents are wanted, by the number that contentsWanted()
    /// gave.
    void startWriting(uint transfer, const PipeReceiver &receiver);
    /// Must follow for each number, whether or not anything was written.
    void endWriting(uint transfer, bool isWhole);

signals:
    /// The contents are others than before, or ours, and have these types, up to
    /// mostSelectionTypes.
    void contentsChanged(bool areOurs, const QByteArrayList &types);
    /// Somebody wants the contents, which are ours.
    void contentsWanted(const QByteArray &type, uint transfer);

private slots:
    void takeOwner(const QDBusMessage &signal);
    void takeTransfer(const QDBusMessage &signal);

private:
    void listen(const QString &signal, const char *slot);
    bool isOurs(const QDBusMessage &signal, QLatin1String signature) const;
    void ask(const QString &method, const QVariantList &arguments,
             std::function<void(const QDBusMessage &)> answered);

    RemoteDesktopPortal &portal;
};

} // namespace platform
