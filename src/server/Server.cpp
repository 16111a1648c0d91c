// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/Server.h"

#include "applications/TKApplicationManager.h"
#include "applications/TKApplicationManagerMac.h"
#include "interaction/InteractionManager.h"
#include "interaction/InteractionManagerMac.h"
#include "messages/Messages.h"
#include "net/BonjourServiceRegister.h"
#include "net/ClientHandler.h"
#include "platform/Sockets.h"
#include "server/ListenAddress.h"
#include "session/SessionDoor.h"
#include "settings/Settings.h"

#include <QCoreApplication>
#include <QNetworkProxy>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int maximumPending = 30;
/// Connections that are accepted before the others have their turn: less than a millisecond of
/// work.
constexpr int maximumAcceptedInTurn = 8;
/// Connections that the system completes before they are accepted. With fewer, a crowd that
/// connects at once would be delayed by a second and more.
constexpr int backlog = 1024;

Pairing::Rules networkRules(const bool &needsApproval)
{
    return {[&needsApproval] { return needsApproval; }, PairedDevices::Store::ofNetwork()};
}

QString problemWith(const QString &listenAddress)
{
    return Server::tr(
               "The server cannot listen at the address \"%1\" of the setting listenAddress. "
               "Change it with: quillmote listen ADDRESS")
        .arg(listenAddress);
}

Pairing::Rules sessionRules()
{
    return {[] { return Settings::preferences().pairNeedsApproval; },
            PairedDevices::Store::ofSessions(), false, true};
}

} // namespace

Server::Server(QObject *parent, ServerAdapters adapters)
    : QTcpServer(parent)
    , clipboard(std::move(adapters.clipboard))
    , pairing(pairedDevices, networkRules(needsPairingApproval), adapters.question)
    , sessionPairing(sessionDevices, sessionRules(), adapters.question)
    , advertisement(*this, serviceRegister, std::move(adapters.dnsSd),
                    adapters.watchAdvertisementDaemon)
    , screens(std::move(adapters.screens))
    , opener(std::move(adapters.opener))
    , runtimeDirectory(std::move(adapters.runtimeDirectory))
{
    sessionDoor = std::make_unique<SessionDoor>(sessionServices(adapters.events->input()));
    interactionManager =
        std::make_unique<InteractionManager>(new InteractionManagerMac(std::move(adapters.events)));
    applicationManager = std::make_unique<TKApplicationManager>(
        new TKApplicationManagerMac(interactionManager.get(), std::move(adapters.applications)));
    // The desktop's proxy is meant for outgoing connections.
    setProxy(QNetworkProxy::NoProxy);
    setListenBacklogSize(backlog);
}

Server::~Server()
{
    pairing.store();
    closeSessionDoor();
    sessionDoor.reset();
    endConnections();
    interactionManager.reset();
    applicationManager.reset();
}

bool Server::startServer()
{
    listenAddress = Settings::listenAddress();
    const auto address = ListenAddress::of(listenAddress);
    const bool isStarted = address && beginListening(*address);
    if (!isStarted && !listenAddress.isEmpty()) {
        Messages::warning({problemWith(listenAddress)});
    }
    if (runtimeDirectory) {
        sessionDoor->open(*runtimeDirectory);
    }
    resources.descriptors.countOthers();
    return isStarted;
}

/// Of a server that does not listen.
bool Server::beginListening(const QHostAddress &address)
{
    areDescriptorsScarce = false;
    // If the server was stopped while it did not accept, its queue still has no room.
    setMaxPendingConnections(maximumPending);
    if (!ListenAddress::isOurs(address) || !listen(address, 0)) {
        close();
        return false;
    }
    // By design: connected anew at every start, so after a restart the slot runs twice.
    connect(this, SIGNAL(newConnection()), this, SLOT(manageConnections()));
    advertisement.begin();
    return true;
}

void Server::stopServer()
{
    advertisement.end();
    close();
    closeSessionDoor();
}

/// If it returns false, the server listens where it did.
bool Server::moveListening(const QHostAddress &address)
{
    if (isListening()) {
        return address == serverAddress() ||
               (ListenAddress::isOurs(address) && listenElsewhere(address));
    }
    const bool isStarted = beginListening(address);
    if (isStarted && listeningChanged) {
        listeningChanged(true);
    }
    return isStarted;
}

bool Server::listenElsewhere(const QHostAddress &address)
{
    const QHostAddress oldAddress = serverAddress();
    const quint16 oldPort = serverPort();
    close();
    if (listen(address, 0)) {
        advertisement.end();
        advertisement.begin();
        endExcludedConnections();
        return true;
    }
    if (!listen(oldAddress, oldPort)) {
        close();
        advertisement.end();
        Messages::warning({problemWith(listenAddress)});
        if (listeningChanged) {
            listeningChanged(false);
        }
    }
    return false;
}

/// Those that this server would not accept any more.
void Server::endExcludedConnections()
{
    for (QTcpSocket *socket : findChildren<QTcpSocket *>()) {
        if (!ListenAddress::admits(serverAddress(), socket->localAddress())) {
            socket->abort();
        }
    }
}

void Server::whenListeningChanges(std::function<void(bool)> callback)
{
    listeningChanged = std::move(callback);
}

void Server::setNeedsPairingApproval(bool needed)
{
    needsPairingApproval = needed;
}

bool Server::deviceIsPresent(QString device)
{
    return pairing.isPresent(device);
}

bool Server::pairingRequestForDevice(QString device, QString name)
{
    bool isAccepted = false;
    pairing.decide({device, name, [&isAccepted](bool answer) { isAccepted = answer; }});
    return isAccepted;
}

void Server::incomingConnection(qintptr descriptor)
{
    platform::tuneAcceptedSocket(descriptor);
    // The toolkit accepts connections until its queue is full or none is left, and spins when the
    // system refuses one because descriptors have run out. A queue without room makes it stop.
    if (acceptedInTurn++ == 0) {
        acceptInNextTurn();
    }
    // The system uses the lowest free number, which also shows descriptors that the budget does not
    // know.
    areDescriptorsScarce =
        platform::descriptorsLeftAfter(descriptor) < DescriptorBudget::connectionReserve;
    setMaxPendingConnections(mayAccept(1) ? maximumPending : 0);
    QTcpServer::incomingConnection(descriptor);
}

/// Whether one more connection may be accepted, besides `further` ones that are not counted yet.
bool Server::mayAccept(int further) const
{
    return acceptedInTurn < maximumAcceptedInTurn && !areDescriptorsScarce &&
           resources.descriptors.hasRoomForConnections(further + 1);
}

/// The event loop serves the other connections before that.
void Server::acceptInNextTurn()
{
    QMetaObject::invokeMethod(
        this,
        [this] {
            acceptedInTurn = 0;
            goOnAccepting();
        },
        Qt::QueuedConnection);
}

void Server::goOnAccepting()
{
    if (isListening() && mayAccept(0)) {
        setMaxPendingConnections(maximumPending);
        resumeAccepting();
    }
}

void Server::manageConnections()
{
    QTcpSocket *socket = nextPendingConnection();
    if (socket == nullptr) {
        return;
    }
    auto *handler = new ClientHandler(socket, &resources);
    connect(handler, SIGNAL(tokenAvailable()), this, SLOT(serveClient()));
    connect(handler, SIGNAL(showFile(QString)), this, SLOT(showFile(QString)));
    connect(handler, SIGNAL(destroyed()), this, SLOT(clientDisconnected()));
    connect(handler, SIGNAL(destroyed()), socket, SLOT(deleteLater()));
    emit clientConnected(true);
}

void Server::clientDisconnected()
{
    areDescriptorsScarce = false;
    goOnAccepting();
    emit clientConnected(hasPendingConnections());
}

void Server::showFile(QString filename)
{
    // By design: the name is not encoded, so a "%", "?" or "#" in it has its meaning in an address.
    opener.open(u"file://"_s + filename);
}

/// Files that are still arriving are closed as they are. The last answers, such as those to
/// questions that were refused at the end, still have to be sent.
void Server::endConnections()
{
    for (QTcpSocket *socket : findChildren<QTcpSocket *>()) {
        socket->flush();
        socket->abort();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}
