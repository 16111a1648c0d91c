// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/portal/RemoteDesktopPortal.h"
#include "platform/posix/Descriptor.h"

#include <QDBusMessage>
#include <QObject>
#include <QString>

#include <cstddef>
#include <functional>

namespace platform {

/// The calls and signals of org.freedesktop.portal.Clipboard for the portal's session. All calls
/// need an open session with a clipboard. Answers come from the event loop; not at all if this is
/// destroyed first.
class PortalSelection : public QObject
{
    Q_OBJECT

public:
    /// The end of a pipe; not open if the portal gives none.
    using PipeReceiver = std::function<void(Descriptor pipe)>;

    explicit PortalSelection(RemoteDesktopPortal &portalOfDesktop);

    /// Makes a text of ours the contents.
    void offerText(std::function<void(bool isOffered)> answered);
    /// Has the owner of the contents write them into a pipe. Only if there is an owner which has
    /// that type: otherwise a portal's backend was seen to end.
    void receive(const QString &type, const PipeReceiver &receiver);
    /// Asks for the pipe in which our text is wanted, by the number that textWanted() gave.
    void startWriting(uint transfer, const PipeReceiver &receiver);
    /// Must follow for each number, whether or not anything was written.
    void endWriting(uint transfer, bool isWhole);

signals:
    /// Others than before are the contents, or ours.
    /// \param rank the place of the best type in textTypes; its size if there is no plain text
    void contentsChanged(bool areOurs, std::size_t rank);
    /// Somebody wants the contents, which are ours.
    void textWanted(const QString &type, uint transfer);

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
