// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/http/Computers.h"
#include "web/program/PairingCodes.h"
#include "web/program/PhoneSession.h"
#include "web/program/Reception.h"
#include "web/program/WebStore.h"

#include <QObject>
#include <QString>

#include <list>
#include <memory>
#include <vector>

namespace quillmote {

/// The phones that are connected.
class PhoneRoom : public QObject
{
    Q_OBJECT

public:
    static constexpr size_t mostPhones = 16;

    /// \param socketPath of the server's session socket
    PhoneRoom(WebStore &store, PairingCodes &codes, QString socketPath);
    ~PhoneRoom() override;

    /// Serves a phone from its first request on. A phone that comes again takes the place of its
    /// earlier connection.
    void admit(Guest guest);
    /// Forgets the phone; it cannot come in again.
    void remove(const QByteArray &id);
    /// Connects those that have no session to the server, which has come.
    void tryServer();
    /// Null if it is not connected.
    QHostAddress addressOf(const QByteArray &phone) const;
    bool isConnected(const QByteArray &phone) const { return !addressOf(phone).isNull(); }

    /// What phones are told of this computer.
    QString computerName;

signals:
    /// A phone came, went, or has another name.
    void changed();

private:
    struct Arrival; // let in, but its first request has not come yet

    void hear(const std::shared_ptr<Arrival> &arrival, const WireText &first);
    void serve(const std::shared_ptr<Arrival> &arrival, const KnownPhone &phone, bool isNew,
               const QJsonValue &id);
    void dropArrival(const std::shared_ptr<Arrival> &arrival);
    /// Null if it is not connected.
    PhoneSession *sessionOf(const QByteArray &phone) const;
    void end(PhoneSession *session);
    void endOf(const QByteArray &phone, CloseCode code);

    WebStore &store;
    PairingCodes &codes;
    QString path;
    Computers computers;
    std::list<std::shared_ptr<Arrival>> arrivals;
    std::vector<std::unique_ptr<PhoneSession>> sessions;
};

} // namespace quillmote
