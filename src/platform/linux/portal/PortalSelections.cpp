// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalSelections.h"

#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace platform {

namespace {

/// As many as are written at once.
constexpr int mostReaders = 8;
/// How long a portal may take for announcing what we have put there. It is supposed to be there
/// then.
constexpr auto announcementPatience = 500ms;

using State = RemoteDesktopPortal::State;

} // namespace

PortalSelections::PortalSelections(std::shared_ptr<RemoteDesktopPortal> portalOfDesktop)
    : portal(std::move(portalOfDesktop))
{
    announcementTime.setSingleShot(true);
    announcementTime.setInterval(announcementPatience);
    connect(&announcementTime, &QTimer::timeout, this, &PortalSelections::endAnnouncements);
    connect(portal.get(), &RemoteDesktopPortal::stateChanged, this, &PortalSelections::followState);
    connect(&calls, &PortalSelectionCalls::contentsChanged, this, &PortalSelections::takeContents);
    connect(&calls, &PortalSelectionCalls::contentsWanted, this, &PortalSelections::answerTransfer);
}

/// The portal may live longer.
PortalSelections::~PortalSelections()
{
    portal->disconnect(this);
}

/// Others learn that the session has ended at the same time, so nobody is told before they have.
void PortalSelections::followState()
{
    if (portal->state() == State::Open) {
        return;
    }
    ++sessions;
    readers = 0;
    announcements = offers;
    announcementTime.stop();
    waiting.clear();
    ours.reset();
    theirTypes.reset();
    QMetaObject::invokeMethod(this, &PortalSelections::lost, Qt::QueuedConnection);
}

void PortalSelections::afterEverything(std::function<void()> handler)
{
    if (!isThere()) {
        return;
    }
    if (!isAnnounced()) {
        waiting.push_back({offers, std::move(handler)});
        return;
    }
    calls.askNothing([this, session = sessions, handler = std::move(handler)] {
        if (session == sessions) {
            handler();
        }
    });
}

QByteArrayList PortalSelections::types(Selection selection) const
{
    if (selection == Selection::Primary) {
        return {};
    }
    return ours ? typesOf(*ours) : theirTypes.value_or(QByteArrayList());
}

void PortalSelections::receive(Selection selection, const QByteArray &type,
                               const PipeReceiver &receiver)
{
    if (has(selection) && types(selection).contains(type)) {
        calls.receive(type, receiver);
    } else {
        receiver(Descriptor(-1));
    }
}

const std::optional<Contents> &PortalSelections::own(Selection selection) const
{
    static const std::optional<Contents> none;
    return selection == Selection::Clipboard ? ours : none;
}

void PortalSelections::put(Selection selection, std::optional<Contents> contents)
{
    if (!has(selection)) {
        return;
    }
    ours = std::move(contents);
    announcementTime.start();
    calls.offer(types(selection), [this, session = sessions, number = ++offers](bool isOffered) {
        if (!isOffered && session == sessions && number == offers) {
            takeRefusal();
        }
    });
}

void PortalSelections::takeRefusal()
{
    ours.reset();
    emit replaced(Selection::Clipboard);
    endAnnouncements();
}

void PortalSelections::takeContents(bool areOurs, const QByteArrayList &types)
{
    if (areOurs) {
        theirTypes = QByteArrayList();
        announcements += isAnnounced() ? 0 : 1;
    } else {
        theirTypes = types;
        if (isAnnounced() && ours) {
            ours.reset();
            emit replaced(Selection::Clipboard);
        }
    }
    emit changed(Selection::Clipboard);
    callWaiting();
}

void PortalSelections::endAnnouncements()
{
    announcements = offers;
    callWaiting();
}

void PortalSelections::callWaiting()
{
    if (isAnnounced()) {
        announcementTime.stop();
    }
    while (!waiting.empty() && waiting.front().offer <= announcements) {
        const Waiting next = std::move(waiting.front());
        waiting.pop_front();
        next.handler();
    }
}

void PortalSelections::answerTransfer(const QByteArray &type, uint transfer)
{
    if (!ours || !ours->contains(type) || readers >= mostReaders) {
        calls.endWriting(transfer, false);
        return;
    }
    ++readers;
    calls.startWriting(transfer, [this, session = sessions, type, transfer,
                                  bytes = ours->value(type)](const Descriptor &target) {
        if (session == sessions) {
            write(type, transfer, bytes, target);
        }
    });
}

void PortalSelections::write(const QByteArray &type, uint transfer, const QByteArray &bytes,
                             const Descriptor &target)
{
    writers.write(target, bytes, [this, session = sessions, type, transfer](bool isWhole) {
        if (session != sessions) {
            return;
        }
        --readers;
        calls.endWriting(transfer, isWhole);
        if (isWhole) {
            emit wasRead(type);
        }
    });
}

} // namespace platform
