// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/WebService.h"

#include "lib/SessionPath.h"
#include "web/program/Certificate.h"
#include "web/program/PageFiles.h"

#include <QJsonDocument>
#include <QSysInfo>

#include <sodium.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

QByteArray freshSecret()
{
    QByteArray secret(32, '\0');
    randombytes_buf(secret.data(), static_cast<size_t>(secret.size()));
    return secret;
}

QByteArray greetingOf(const QString &computer)
{
    return QJsonDocument(QJsonObject{{u"computer"_s, computer}}).toJson(QJsonDocument::Compact);
}

} // namespace

WebService::WebService(const WebArguments &wanted)
    : arguments(wanted)
    , secret(freshSecret())
    , store(WebStore::usualPath())
    , server(SessionPlace::ofEnvironment().path())
    , phones(store, codes, server.socketPath())
    , desk(store, codes, page, phones, server)
    , reception(store, codes, secret)
{
    phones.computerName = QSysInfo::machineHostName();
    reception.greeting = greetingOf(phones.computerName);
    reception.onGuest = [this](Guest guest) { welcome(std::move(guest)); };
    desk.onQuit = [this] { emit quitWanted(); };
    const auto receive = [this](std::unique_ptr<QWebSocket> socket, bool isLoopback) {
        reception.receive(std::move(socket), isLoopback);
    };
    door.onSocket = receive;
    deskDoor.onSocket = receive;
    // So that a window that is opened amid a change is told what comes of it.
    page.addresses = [this] { return network.addresses(); };
    connect(&network, &NetworkChanges::changed, &desk, &Desk::update);
    connect(&server, &ServerWatch::changed, this, [this] {
        if (server.isRunning()) {
            phones.tryServer();
        }
    });
}

WebService::~WebService() = default;

void WebService::welcome(Guest guest)
{
    if (guest.credential == Credential::Desk) {
        desk.admit(std::move(guest.socket));
    } else {
        phones.admit(std::move(guest));
    }
}

QString WebService::open()
{
    WebDoorOptions options;
    options.port = arguments.port.value_or(store.port());
    options.addresses = arguments.addresses;
    options.hostNames = arguments.hosts;
    if (!arguments.certificateFile.isEmpty()) {
        CertificateFiles files =
            CertificateFiles::read(arguments.certificateFile, arguments.keyFile);
        if (!files.problem.isEmpty()) {
            return files.problem;
        }
        const QStringList names = arguments.hosts + files.names;
        if (names.isEmpty()) {
            return u"The certificate names no host. Name the one that phones shall use with --host."_s;
        }
        page.certifiedName = names.first();
        options.hostNames = names;
        options.certificate = std::move(files.certificate);
    }
    addPageFiles(door);
    const QString problem = door.open(options);
    if (!problem.isEmpty()) {
        return problem;
    }
    page.port = door.port();
    page.listening = arguments.addresses;
    store.setPort(page.port);
    return usesHttps() ? openDeskDoor() : QString();
}

QString WebService::openDeskDoor()
{
    WebDoorOptions options;
    options.port = 0;
    options.addresses = {QHostAddress(QHostAddress::LocalHost)};
    addPageFiles(deskDoor);
    return deskDoor.open(options);
}

} // namespace quillmote
