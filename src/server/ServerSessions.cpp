// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What the server does for the sessions of programs on this computer.

#include "applications/TKApplicationManager.h"
#include "messages/Messages.h"
#include "net/BonjourServiceRegister.h"
#include "server/ListenAddress.h"
#include "server/Server.h"
#include "session/SessionDoor.h"
#include "session/SessionJson.h"
#include "settings/Settings.h"

#include <QHostInfo>
#include <QScopedValueRollback>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QString named(const QString &name)
{
    return name.isEmpty() ? Server::tr("A program on this computer") : name;
}

} // namespace

SessionServices Server::sessionServices(platform::DesktopInput &input)
{
    return {input,
            *clipboard,
            *screens,
            [this] { return advertisedName(); },
            [this] { return serverPort(); },
            [this] { return isListening(); },
            [this](const std::optional<QString> &address) { return listenForSession(address); },
            [this](const QString &address) { return openForSession(address); },
            [this] { return applicationManager->applicationList(); },
            [this](const QString &name) { return startForSession(name); },
            [this](const QString &device, const QString &name,
                   const std::function<void(bool)> &decided) {
                decideForSession(device, name, decided);
            },
            [this](const QString &name) { sessionDeviceConnected(name); },
            [this](const QString &name) { sessionDeviceDisconnected(name); },
            [] { return Settings::preferences().downloadDirectory; },
            [this](const QUrl &file) { return opener.open(file) == Opener::Result::Opened; },
            [this] { return descriptorFor(resources.descriptors.hasRoomForConnections(1)); },
            [this] { return descriptorFor(resources.descriptors.hasRoomForFile()); }};
}

/// The daemon may have changed it, and may not have confirmed any yet.
QString Server::advertisedName() const
{
    const QString confirmed =
        serviceRegister.isNull() ? QString() : serviceRegister->finalRecord().serviceName;
    return confirmed.isEmpty() ? QHostInfo::localHostName() : confirmed;
}

/// Without an address it only says how things are.
SessionReply Server::listenForSession(const std::optional<QString> &text)
{
    if (text) {
        const auto address = ListenAddress::of(text->trimmed());
        if (!address) {
            return SessionReply::refused(
                u"bad-request"_s,
                u"\"%1\" is no address to listen at."_s.arg(SessionJson::shown(*text)));
        }
        if (!moveListening(*address)) {
            return SessionReply::refused(
                u"failed"_s,
                u"The server cannot listen at %1. Is it an address of this computer?"_s.arg(
                    address->toString()));
        }
        listenAddress = ListenAddress::settingFor(*address);
        if (!Settings::storeListenAddress(listenAddress)) {
            return SessionReply::refused(
                u"failed"_s, u"That is done until the server ends, but cannot be stored."_s);
        }
    }
    return SessionReply::done({{u"address"_s, listenAddress},
                               {u"listening"_s, isListening()},
                               {u"port"_s, serverPort()}});
}

SessionReply Server::openForSession(const QString &address)
{
    switch (opener.open(address)) {
    case Opener::Result::Opened:
        break;
    case Opener::Result::Refused:
        return SessionReply::refused(u"refused"_s, u"An address must not begin with \"-\"."_s);
    case Opener::Result::TooMany:
        return SessionReply::refused(u"too-much"_s, u"Too many addresses and files at once."_s);
    case Opener::Result::Failed:
        return SessionReply::refused(u"failed"_s,
                                     u"The desktop has no program for this address."_s);
    }
    return SessionReply::done();
}

SessionReply Server::startForSession(const QString &application)
{
    if (!opener.allowsOne()) {
        return SessionReply::refused(u"too-much"_s, u"Too many programs at once."_s);
    }
    applicationManager->openApplication(application);
    return SessionReply::done();
}

/// From the event loop, since the question runs one itself.
void Server::decideForSession(const QString &device, const QString &name,
                              const std::function<void(bool)> &decided)
{
    QMetaObject::invokeMethod(
        &sessionPairing,
        [this, request = Pairing::Request{device, name, decided}] {
            sessionPairing.decideInTime(request);
        },
        Qt::QueuedConnection);
}

void Server::sessionDeviceConnected(const QString &name)
{
    Messages::warning({tr("%1 connected").arg(named(name))});
    emit clientConnected(true);
}

/// By design: false even while others remain, as with handhelds.
void Server::sessionDeviceDisconnected(const QString &name)
{
    if (!areSessionsEnded) {
        Messages::warning({tr("%1 disconnected").arg(named(name))});
        emit clientConnected(false);
    }
}

std::shared_ptr<void> Server::descriptorFor(bool isThereRoom)
{
    return isThereRoom ? std::make_shared<DescriptorBudget::Lease>(resources.descriptors) : nullptr;
}

/// The light stays as it is: a stopped server has none, whoever was connected.
void Server::closeSessionDoor()
{
    const QScopedValueRollback ended(areSessionsEnded, true);
    sessionDoor->close();
}
