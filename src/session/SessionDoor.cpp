// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionDoor.h"

#include "messages/Messages.h"
#include "platform/SessionHost.h"
#include "session/Session.h"
#include "session/SessionJson.h"

#include <QTimer>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

namespace {

/// Connections that are accepted before others have their turn.
constexpr int mostAcceptedInTurn = 8;
/// How long accepting pauses when the system has no descriptor left.
constexpr auto shortagePause = 1s;

QByteArray goodbye(const QString &error, const QString &message)
{
    return SessionJson::written(
        {{u"event"_s, u"goodbye"_s}, {u"error"_s, error}, {u"message"_s, message}});
}

/// Takes what the peer has sent: closing over it would look like a broken connection there.
void sendAway(const platform::LocalStream &stream)
{
    stream.send(goodbye(u"too-much"_s, u"The server has too many sessions."_s));
    std::array<char, 4096> unread;
    stream.receive(unread);
}

} // namespace

SessionDoor::SessionDoor(SessionServices sessionServices) : commons(std::move(sessionServices)) {}

SessionDoor::~SessionDoor()
{
    close();
}

void SessionDoor::open(const QString &runtimeDirectory)
{
    if (listening) {
        return;
    }
    QString reason = u"the system has no directory for it."_s;
    if (!runtimeDirectory.isEmpty()) {
        listening = platform::listenAt(runtimeDirectory + u"/vornaserver"_s,
                                       platform::displayName() + u".socket"_s, reason);
    }
    if (!listening) {
        Messages::debug({u"No session socket:"_s, reason});
        return;
    }
    SessionFiles::removeAbandonedDrafts(commons.services.fileDirectory(), commons.turns, this);
    notifier = std::make_unique<QSocketNotifier>(listening->descriptor(), QSocketNotifier::Read);
    connect(notifier.get(), &QSocketNotifier::activated, this, [this] { accept(); });
}

void SessionDoor::close()
{
    notifier.reset();
    listening.reset();
    for (const Guest &guest : std::exchange(present, {})) {
        guest.session->end(goodbye(u"stopped"_s, u"The server stops."_s));
        guest.session->deleteLater();
    }
}

void SessionDoor::accept()
{
    for (int count = 0; count < mostAcceptedInTurn; ++count) {
        platform::Accepted accepted = platform::acceptFrom(*listening);
        if (accepted.stream == nullptr) {
            if (accepted.isShort) {
                pauseAccepting();
            }
            return;
        }
        if (accepted.stream->isPeerSameUser()) {
            admit(std::move(accepted.stream));
        }
    }
}

void SessionDoor::admit(std::unique_ptr<platform::LocalStream> stream)
{
    std::shared_ptr<void> descriptor =
        present.size() < maximumSessions ? commons.services.connectionDescriptor() : nullptr;
    if (descriptor == nullptr) {
        sendAway(*stream);
        return;
    }
    auto *session = new Session(std::move(stream), commons);
    session->setParent(this);
    connect(session, &Session::over, this, [this, session] { dismiss(session); });
    present.push_back({session, std::move(descriptor)});
}

void SessionDoor::dismiss(Session *session)
{
    // Its end may come in the middle of its own work.
    session->deleteLater();
    std::erase_if(present, [=](const Guest &guest) { return guest.session == session; });
}

/// Otherwise the event loop would find the waiting connection again and again.
void SessionDoor::pauseAccepting()
{
    notifier->setEnabled(false);
    QTimer::singleShot(shortagePause, notifier.get(), [this] { notifier->setEnabled(true); });
}
