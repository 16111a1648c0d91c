// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "net/ConnectionResources.h"
#include "server/Advertisement.h"
#include "server/Opener.h"
#include "server/Pairing.h"
#include "server/ServerAdapters.h"

#include <QHostAddress>
#include <QPointer>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>
#include <memory>
#include <optional>

class BonjourServiceRegister;
class ClientHandler;
class InteractionManager;
class SessionDoor;
struct SessionReply;
struct SessionServices;
class TKApplicationManager;

/// The listening side: accepts handhelds at a port chosen by the system and carries out the
/// commands of every connection.
///
/// Pairing is recognition, not protection: commands are carried out for every connection, paired or
/// not. Everything runs on the thread of the event loop; the pairing dialog runs its own event
/// loop, in which all connections are served.
class Server : public QTcpServer
{
    Q_OBJECT

public:
    /// Loads the paired devices; does not listen yet.
    explicit Server(QObject *parent, ServerAdapters adapters = ServerAdapters::ofHost());
    /// Stores the paired devices and ends every connection.
    ~Server() override;

    /// Listens at the address of the settings. Returns false if that is not possible; then the
    /// session socket exists all the same, and serves requests that can mend it. Must not be called
    /// while the server runs.
    bool startServer();
    /// Stops listening and advertising. Connections stay until their peers disconnect.
    void stopServer();
    /// Sets whether the user decides about unknown devices, from the next request on.
    void setNeedsPairingApproval(bool needed);
    /// Called when a session has made the server listen that could not, or when it has lost its
    /// address without getting another one.
    void whenListeningChanges(std::function<void(bool isListening)> callback);

    /// The silent decision: known devices are accepted. If no approval is needed, unknown ones are
    /// accepted too and are known from then on.
    bool deviceIsPresent(QString device);
    /// The full decision: asks the user if deviceIsPresent() returns false. At most 16 questions
    /// are open or waiting; further devices are refused.
    bool pairingRequestForDevice(QString device, QString name);

signals:
    void error(QTcpSocket::SocketError socketError);
    /// By design: false as soon as any client disconnects, even while others remain.
    void clientConnected(bool connected);

protected:
    void incomingConnection(qintptr descriptor) override;

private slots:
    void manageConnections();
    /// Carries out the command in the token map of the ClientHandler that emitted the signal.
    void serveClient();
    void showFile(QString filename);
    void clientDisconnected();

private:
    struct Command;

    bool beginListening(const QHostAddress &address);
    bool moveListening(const QHostAddress &address);
    bool listenElsewhere(const QHostAddress &address);
    void endExcludedConnections();
    bool mayAccept(int further) const;
    void acceptInNextTurn();
    void goOnAccepting();
    void endConnections();

    static void answer(ClientHandler &client, const QString &response);
    std::shared_ptr<const SharedText> shared(const QString &text);
    void servePairing(ClientHandler &client);
    void serveUrl(ClientHandler &client);
    void serveText(ClientHandler &client);
    void serveClipboardRequest(ClientHandler &client);
    void serveFile(ClientHandler &client);
    void serveServerInfo(ClientHandler &client);
    void serveKeyboard(ClientHandler &client);
    void serveApplication(ClientHandler &client);
    void serveMouse(ClientHandler &client);
    void movePointer(const ClientHandler &client);

    // What the sessions are served with.
    SessionReply listenForSession(const std::optional<QString> &address);
    SessionServices sessionServices(platform::DesktopInput &input);
    QString advertisedName() const;
    SessionReply openForSession(const QString &address);
    SessionReply startForSession(const QString &application);
    void decideForSession(const QString &device, const QString &name,
                          const std::function<void(bool)> &decided);
    void sessionDeviceConnected(const QString &name);
    void sessionDeviceDisconnected(const QString &name);
    std::shared_ptr<void> descriptorFor(bool isThereRoom);
    void closeSessionDoor();

    std::unique_ptr<platform::Clipboard> clipboard; // must outlive the interaction manager
    std::unique_ptr<TKApplicationManager> applicationManager;
    std::unique_ptr<InteractionManager> interactionManager;
    bool needsPairingApproval = false;
    QStringList pairedDevices; // by their identifiers, in the order of their acceptance
    QPointer<BonjourServiceRegister> serviceRegister; // null while nothing is advertised
    Pairing pairing;
    QStringList sessionDevices; // the same for devices behind sessions
    Pairing sessionPairing;     // of its own: the network can use up its questions
    Advertisement advertisement;
    std::unique_ptr<platform::Screens> screens;
    Opener opener;
    std::optional<QString> runtimeDirectory;
    QString listenAddress; // the setting, as it was applied last
    std::function<void(bool)> listeningChanged;
    ConnectionResources resources; // must outlive the connections, which the destructor ends
    int acceptedInTurn = 0;
    bool areDescriptorsScarce = false;          // until a connection ends
    std::weak_ptr<const SharedText> latestText; // of the clipboard, if a connection holds it
    QString foundText;                          // the text found equal to latestText in this turn
    bool areSessionsEnded = false;              // by the server, not by their programs
    std::unique_ptr<SessionDoor> sessionDoor;
};
