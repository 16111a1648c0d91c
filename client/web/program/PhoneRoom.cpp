// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/PhoneRoom.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {

struct PhoneRoom::Arrival
{
    Guest guest;
    Computers::Share computer;
};

PhoneRoom::PhoneRoom(WebStore &phoneStore, PairingCodes &pairingCodes, QString socketPath)
    : store(phoneStore)
    , codes(pairingCodes)
    , path(std::move(socketPath))
{
}

PhoneRoom::~PhoneRoom()
{
    for (const auto &session : sessions) {
        session->disconnect(this);
    }
}

void PhoneRoom::admit(Guest guest)
{
    auto arrival = std::make_shared<Arrival>();
    arrival->computer = computers.shareOf(guest.socket->peer());
    arrival->guest = std::move(guest);
    arrivals.push_back(arrival);
    if (arrivals.size() > mostPhones) {
        const auto leaving =
            Computers::whoGivesWay(arrivals.begin(), arrivals.end(),
                                   [](const auto &one) -> const auto & { return one->computer; });
        (*leaving)->guest.socket->close(CloseCode::TooMany);
        dropArrival(*leaving);
    }
    const std::weak_ptr<Arrival> known = arrival;
    SecureSocket *socket = arrival->guest.socket.get();
    connect(socket, &SecureSocket::received, this, [this, known](const WireText &first) {
        if (const auto speaker = known.lock()) {
            hear(speaker, first);
        }
    });
    connect(socket, &SecureSocket::ended, this, [this, known] {
        if (const auto speaker = known.lock()) {
            dropArrival(speaker);
        }
    });
}

/// By its first request the phone shows that its handshake is not the recording of another one; so
/// only now a code is used up.
void PhoneRoom::hear(const std::shared_ptr<Arrival> &arrival, const WireText &first)
{
    Guest &guest = arrival->guest;
    const QJsonValue id = first.object.value("id"_L1);
    CloseCode fault = CloseCode::UnknownSecret;
    if (first.object.value("request"_L1).toString() != "hello"_L1) {
        fault = CloseCode::BrokenMessage;
    } else if (sessions.size() >= mostPhones && !isConnected(guest.phone)) {
        fault = CloseCode::TooMany;
    } else if (guest.code && codes.use(*guest.code)) {
        serve(arrival, store.add(first.object.value("name"_L1).toString()), true, id);
        return;
    } else if (const KnownPhone *phone = guest.code ? nullptr : store.find(guest.phone)) {
        serve(arrival, *phone, false, id);
        return;
    }
    guest.socket->close(fault);
    dropArrival(arrival);
}

void PhoneRoom::serve(const std::shared_ptr<Arrival> &arrival, const KnownPhone &phone, bool isNew,
                      const QJsonValue &id)
{
    endOf(phone.id, CloseCode::Elsewhere);
    if (!isNew) {
        store.markSeen(phone.id);
    }
    std::unique_ptr<SecureSocket> socket = std::move(arrival->guest.socket);
    socket->disconnect(this);
    arrivals.remove(arrival);
    auto owned = std::make_unique<PhoneSession>(std::move(socket), phone, path);
    PhoneSession *session = owned.get();
    sessions.push_back(std::move(owned));
    connect(session, &PhoneSession::renamed, this, [this, session](const QString &name) {
        store.rename(session->phone().id, name);
        emit changed();
    });
    connect(session, &PhoneSession::left, this, [this, session] { remove(session->phone().id); });
    connect(session, &PhoneSession::refused, this, [this, session] {
        store.remove(session->phone().id);
        session->close(CloseCode::Refused);
        end(session);
    });
    connect(session, &PhoneSession::ended, this, [this, session] { end(session); });
    QJsonObject fields{{u"computer"_s, computerName}};
    if (isNew) {
        fields.insert(u"phone"_s,
                      QJsonObject{{u"id"_s, QString::fromLatin1(phone.id.toHex())},
                                  {u"secret"_s, QString::fromLatin1(phone.secret.toBase64())}});
    }
    session->welcome(id, fields);
    emit changed();
}

/// The socket may be emitting a signal.
void PhoneRoom::dropArrival(const std::shared_ptr<Arrival> &arrival)
{
    arrival->guest.socket->disconnect(this);
    arrival->guest.socket.release()->deleteLater();
    arrivals.remove(arrival);
}

void PhoneRoom::end(PhoneSession *session)
{
    const auto found = std::find_if(sessions.begin(), sessions.end(), [session](const auto &owned) {
        return owned.get() == session;
    });
    if (found == sessions.end()) {
        return;
    }
    store.markSeen(session->phone().id);
    session->disconnect(this);
    found->release()->deleteLater(); // it may be emitting a signal
    sessions.erase(found);
    emit changed();
}

void PhoneRoom::endOf(const QByteArray &phone, CloseCode code)
{
    if (PhoneSession *session = sessionOf(phone)) {
        session->close(code);
        end(session);
    }
}

void PhoneRoom::remove(const QByteArray &id)
{
    store.remove(id);
    endOf(id, CloseCode::Removed);
    emit changed();
}

void PhoneRoom::tryServer()
{
    for (const auto &session : sessions) {
        session->tryServer();
    }
}

QHostAddress PhoneRoom::addressOf(const QByteArray &phone) const
{
    const PhoneSession *session = sessionOf(phone);
    return session ? session->address() : QHostAddress();
}

PhoneSession *PhoneRoom::sessionOf(const QByteArray &phone) const
{
    const auto found =
        std::find_if(sessions.begin(), sessions.end(),
                     [&phone](const auto &session) { return session->phone().id == phone; });
    return found == sessions.end() ? nullptr : found->get();
}

} // namespace quillmote
