// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/http/WebDoor.h"
#include "web/network/NetworkChanges.h"
#include "web/program/Desk.h"
#include "web/program/PageAddress.h"
#include "web/program/PairingCodes.h"
#include "web/program/PhoneRoom.h"
#include "web/program/Reception.h"
#include "web/program/ServerWatch.h"
#include "web/program/WebArguments.h"
#include "web/program/WebStore.h"

#include <QObject>
#include <QString>

namespace quillmote {

/// All of quillmote-web that needs no terminal: it serves the pages, and connects phones with the
/// server of this desktop.
class WebService : public QObject
{
    Q_OBJECT

public:
    explicit WebService(const WebArguments &arguments);
    ~WebService() override;

    /// Listens, and keeps the port for the next start.
    /// \return why not, as a sentence; empty if it does
    QString open();

    /// Where the desktop's own page is, and the secret that it needs.
    quint16 deskPort() const { return usesHttps() ? deskDoor.port() : door.port(); }
    const QByteArray &deskSecret() const { return secret; }

    PairingCodes &pairingCodes() { return codes; }
    const PageAddress &pageAddress() const { return page; }
    /// Why what has to be kept could not be written; empty if it was.
    QString storeProblem() const { return store.problem(); }

signals:
    /// The user wants the program to end.
    void quitWanted();

private:
    bool usesHttps() const { return !page.certifiedName.isEmpty(); }
    void welcome(Guest guest);
    QString openDeskDoor();

    WebArguments arguments;
    QByteArray secret;
    PageAddress page;
    WebStore store;
    PairingCodes codes;
    ServerWatch server;
    PhoneRoom phones;
    Desk desk;
    Reception reception;
    NetworkChanges network;
    WebDoor door;
    WebDoor deskDoor; // with https only: no certificate names this computer to itself
};

} // namespace quillmote
