// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalClipboard.h"

#include "messages/Messages.h"
#include "platform/linux/portal/PortalSelections.h"

#include <QCoreApplication>

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace platform {

namespace {

constexpr std::chrono::milliseconds interfaceLimit = 10s;

using State = RemoteDesktopPortal::State;

} // namespace

PortalClipboard::PortalClipboard(std::shared_ptr<RemoteDesktopPortal> portalOfDesktop)
    : SelectionClipboard(std::make_unique<PortalSelections>(portalOfDesktop))
    , portal(std::move(portalOfDesktop))
    , portals(PortalBus::service(), portal->connection(), QDBusServiceWatcher::WatchForRegistration)
{
    portal->includeClipboard();
    QObject::connect(&portals, &QDBusServiceWatcher::serviceRegistered, &portals,
                     [this] { askForInterface(); });
    askForInterface();
}

/// A portal that does not run is not started for it, but asked when it runs.
void PortalClipboard::askForInterface()
{
    const QDBusConnection bus = portal->connection();
    QDBusMessage call = PortalBus{bus, PortalBus::service()}.clipboardVersionCall();
    call.setAutoStartService(false);
    callLater(bus, call, interfaceLimit, &portals, [this](const QDBusMessage &reply) {
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

void PortalClipboard::setText(const QString &text)
{
    if (makeReady()) {
        SelectionClipboard::setText(text);
    } else {
        warnOnce();
    }
}

void PortalClipboard::requestText(TextReceiver receiver)
{
    if (makeReady()) {
        SelectionClipboard::requestText(std::move(receiver));
    } else {
        receiver(std::nullopt);
    }
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

} // namespace platform
