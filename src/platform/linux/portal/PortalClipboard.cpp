// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalClipboard.h"

#include "messages/Messages.h"

#include <QCoreApplication>

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace platform {

namespace {

/// How long the owner of the clipboard may take for everything, together with the portal.
constexpr auto ownerPatience = 1s;
constexpr std::chrono::milliseconds interfaceLimit = 10s;
/// As many as are written at once.
constexpr int mostReaders = 8;

using State = RemoteDesktopPortal::State;

} // namespace

PortalClipboard::PortalClipboard(std::shared_ptr<RemoteDesktopPortal> portalOfDesktop)
    : portal(std::move(portalOfDesktop))
    , portals(PortalBus::service(), portal->connection(), QDBusServiceWatcher::WatchForRegistration)
{
    portal->includeClipboard();
    ownerTime.setSingleShot(true);
    QObject::connect(&ownerTime, &QTimer::timeout, &reader, [this] { deliver(std::nullopt); });
    QObject::connect(&reader, &PipeReader::finished, &reader,
                     [this](const std::optional<QString> &text) { deliver(text); });
    QObject::connect(portal.get(), &RemoteDesktopPortal::stateChanged, &reader,
                     [this] { followState(); });
    QObject::connect(&selection, &PortalSelection::contentsChanged, &reader,
                     [this](bool areOurs, std::size_t rank) { takeContents(areOurs, rank); });
    QObject::connect(
        &selection, &PortalSelection::textWanted, &reader,
        [this](const QString &type, uint transfer) { answerTransfer(type, transfer); });
    QObject::connect(&portals, &QDBusServiceWatcher::serviceRegistered, &reader,
                     [this] { askForInterface(); });
    askForInterface();
}

/// A portal that does not run is not started for it, but asked when it runs.
void PortalClipboard::askForInterface()
{
    const QDBusConnection bus = portal->connection();
    QDBusMessage call = PortalBus{bus, PortalBus::service()}.clipboardVersionCall();
    call.setAutoStartService(false);
    callLater(bus, call, interfaceLimit, &reader, [this](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ReplyMessage) {
            hasInterface = true;
        } else if (PortalBus::isLack(reply)) {
            hasInterface = false;
        }
    });
}

bool PortalClipboard::isReadable() const
{
    switch (portal->state()) {
    case State::Open:
        return portal->hasClipboard();
    case State::Refused:
    case State::Unusable:
        return false;
    case State::Idle:
    case State::Opening:
        break;
    }
    return hasInterface.value_or(true);
}

/// Whether the clipboard can be used now. The first use makes the session.
bool PortalClipboard::makeReady()
{
    if (isReadable()) {
        portal->want();
    }
    return portal->hasClipboard();
}

void PortalClipboard::followState()
{
    if (portal->state() == State::Open) {
        return;
    }
    // Our text ended with the session.
    ++sessions;
    readers = 0;
    ownText.reset();
    isOwner = false;
    theirRank = textTypes.size();
    if (ownerTime.isActive()) {
        deliver(std::nullopt);
    }
}

void PortalClipboard::setText(const QString &text)
{
    if (!makeReady()) {
        warnOnce();
        return;
    }
    ownText = text;
    isOwner = true;
    isConfirmed = false;
    selection.offerText([this, session = sessions](bool isOffered) {
        if (!isOffered && !isConfirmed && session == sessions) {
            isOwner = false;
        }
    });
}

/// Not while the user is being asked, or after a refusal, of which the adapter of the input tells.
void PortalClipboard::warnOnce()
{
    if (portal->state() == State::Open && hasInterface.value_or(false)) {
        if (!std::exchange(hasWarned, true)) {
            Messages::warning({QCoreApplication::translate(
                "Clipboard", "Text from other devices cannot be put into the clipboard because the "
                             "clipboard was not allowed when the desktop asked about the keyboard "
                             "and the pointer.")});
        }
    } else if (!hasInterface.value_or(true)) {
        none.setText({});
    }
}

void PortalClipboard::takeContents(bool areOurs, std::size_t rank)
{
    if (areOurs) {
        isOwner = isConfirmed = ownText.has_value();
    } else {
        if (isConfirmed) {
            ownText.reset();
        }
        isOwner = isConfirmed = false;
    }
    theirRank = areOurs ? textTypes.size() : rank;
    // It may end the watch.
    if (const auto listener = changed) {
        listener();
    }
}

void PortalClipboard::requestText(TextReceiver receiver)
{
    if (requests.add(std::move(receiver))) {
        startTransfer();
    }
}

void PortalClipboard::startTransfer()
{
    ++transfers;
    if (!makeReady() || (!isOwner && theirRank == textTypes.size())) {
        deliver(std::nullopt);
        return;
    }
    if (isOwner) {
        deliver(ownText);
        return;
    }
    ownerTime.start(ownerPatience);
    selection.receive(QLatin1String(textTypes.at(theirRank)),
                      [this, number = transfers](Descriptor pipe) {
                          if (number == transfers && !reader.start(std::move(pipe))) {
                              deliver(std::nullopt);
                          }
                      });
}

void PortalClipboard::deliver(const std::optional<QString> &text)
{
    ++transfers;
    ownerTime.stop();
    reader.stop();
    requests.deliver(text, [this] { startTransfer(); });
}

void PortalClipboard::answerTransfer(const QString &type, uint transfer)
{
    if (!ownText || rankOf(type.toStdString()) == textTypes.size() || readers >= mostReaders) {
        selection.endWriting(transfer, false);
        return;
    }
    ++readers;
    selection.startWriting(transfer,
                           [this, transfer, session = sessions](const Descriptor &target) {
                               if (session == sessions) {
                                   write(transfer, target);
                               }
                           });
}

void PortalClipboard::write(uint transfer, const Descriptor &target)
{
    writers.write(target, ownText.value_or(QString()).toUtf8(),
                  [this, transfer, session = sessions](bool isWhole) {
                      if (session == sessions) {
                          --readers;
                          selection.endWriting(transfer, isWhole);
                      }
                  });
}

} // namespace platform
