// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/WebDoor.h"

#include <QSslConfiguration>
#include <QSysInfo>
#include <QTcpSocket>

#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// The toolkit wants a frame whole before it looks at it; its header has 14 bytes at most.
constexpr qint64 socketReadAhead = WebDoor::longestMessage + 64 * 1024;

QSslConfiguration configurationOf(const Certificate &certificate)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(certificate.chain);
    configuration.setPrivateKey(certificate.key);
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone); // no certificates of browsers
    return configuration;
}

QStringList namesIn(const Certificate &certificate)
{
    if (certificate.chain.isEmpty()) {
        return {};
    }
    const QSslCertificate &own = certificate.chain.first();
    return own.subjectAlternativeNames().values(QSsl::DnsEntry) +
           own.subjectInfo(QSslCertificate::CommonName);
}

QStringList allNames(const WebDoorOptions &options)
{
    QStringList names = options.hostNames + HostCheck::namesOf(QSysInfo::machineHostName());
    if (options.certificate) {
        names += namesIn(*options.certificate);
    }
    return names;
}

/// The loopback addresses that none of these includes.
QList<QHostAddress> missingLoopback(const QList<QHostAddress> &addresses)
{
    QList<QHostAddress> missing;
    if (!addresses.contains(QHostAddress(QHostAddress::AnyIPv4)) &&
        !addresses.contains(QHostAddress(QHostAddress::LocalHost))) {
        missing += QHostAddress(QHostAddress::LocalHost);
    }
    if (!addresses.contains(QHostAddress(QHostAddress::AnyIPv6)) &&
        !addresses.contains(QHostAddress(QHostAddress::LocalHostIPv6))) {
        missing += QHostAddress(QHostAddress::LocalHostIPv6);
    }
    return missing;
}

/// Lets the stream live as long as its WebSocket, and no longer as the upgrader.
void releaseStream(const QWebSocketServer &upgrader, const QWebSocket &socket)
{
    for (QTcpSocket *stream : upgrader.findChildren<QTcpSocket *>(Qt::FindDirectChildrenOnly)) {
        if (stream->peerPort() == socket.peerPort() &&
            stream->peerAddress() == socket.peerAddress()) {
            stream->setParent(nullptr);
            QObject::connect(&socket, &QObject::destroyed, stream, &QObject::deleteLater);
        }
    }
}

/// The toolkit answers pings by itself, so a peer could fill our memory with answers that it does
/// not take.
void dropWhenUntaken(QTcpSocket *socket)
{
    QObject::connect(socket, &QTcpSocket::readyRead, socket, [socket] {
        if (socket->bytesToWrite() > WebDoor::mostUntaken) {
            QMetaObject::invokeMethod(socket, &QTcpSocket::abort, Qt::QueuedConnection);
        }
    });
}

/// Where any port will do, so many are tried.
constexpr int portsToTry = 10;

} // namespace

WebDoor::WebDoor(QObject *parent, const WebPatience &limits) : QObject(parent), patience(limits) {}

WebDoor::~WebDoor()
{
    close();
}

QString WebDoor::open(const WebDoorOptions &options)
{
    close();
    encryption.reset();
    if (options.certificate) {
        encryption = configurationOf(*options.certificate);
    }
    QString problem = listenAtAll(options);
    // A port that is free at one address need not be so at the others.
    for (int again = 0; options.port == 0 && !problem.isEmpty() && again < portsToTry; ++again) {
        listeners.clear();
        problem = listenAtAll(options);
    }
    if (!problem.isEmpty()) {
        close();
        return problem;
    }
    hosts = HostCheck(allNames(options), ownPort, encryption.has_value());
    upgrader = std::make_unique<QWebSocketServer>(
        QString(), encryption ? QWebSocketServer::SecureMode : QWebSocketServer::NonSecureMode);
    connect(upgrader.get(), &QWebSocketServer::newConnection, this, &WebDoor::handOut);
    return {};
}

void WebDoor::close()
{
    listeners.clear();
    while (!visits.empty()) {
        dismiss(visits.front().visitor);
    }
    if (upgrader) {
        // It may be in the middle of an upgrade.
        upgrader->disconnect(this);
        upgrader.release()->deleteLater();
    }
    ownPort = 0;
}

QString WebDoor::listenAtAll(const WebDoorOptions &options)
{
    ownPort = options.port;
    const bool isEverywhere = options.addresses.isEmpty();
    const QList<QHostAddress> wanted =
        isEverywhere ? QList{QHostAddress(QHostAddress::Any)} : options.addresses;
    QString problem;
    for (const QHostAddress &address : wanted) {
        problem = problem.isEmpty() ? listenAt(address, true) : problem;
    }
    const QList<QHostAddress> others =
        isEverywhere ? QList<QHostAddress>() : missingLoopback(wanted);
    for (const QHostAddress &address : others) {
        problem = problem.isEmpty() ? listenAt(address, false) : problem;
    }
    return problem;
}

/// An address that is not wanted, but useful, need not exist.
QString WebDoor::listenAt(const QHostAddress &address, bool isWanted)
{
    auto listener = std::make_unique<WebListener>(
        [this](std::unique_ptr<QTcpSocket> socket) { admit(std::move(socket)); }, encryption);
    const QString problem = listener->start(address, ownPort);
    if (!problem.isEmpty()) {
        const bool isThere = listener->error() == QAbstractSocket::AddressInUseError;
        return isWanted || isThere ? problem : QString();
    }
    ownPort = listener->port();
    listeners.push_back(std::move(listener));
    return {};
}

void WebDoor::admit(std::unique_ptr<QTcpSocket> socket)
{
    if (visits.size() == mostVisitors) {
        const auto leaving = Computers::whoGivesWay(
            visits.begin(), visits.end(),
            [](const Visit &visit) -> const auto & { return visit.computer; });
        dismiss(leaving->visitor);
    }
    Computers::Share computer = computers.shareOf(socket->peerAddress());
    auto *visitor = new WebVisitor(std::move(socket), patience,
                                   [this](const HttpRequest &request, const WebPassage &passage) {
                                       return answer(request, passage);
                                   });
    visitor->setParent(this);
    connect(visitor, &WebVisitor::upgrading, this, &WebDoor::upgrade);
    connect(visitor, &WebVisitor::over, this, [this, visitor] { dismiss(visitor); });
    visits.push_back({visitor, std::move(computer)});
}

void WebDoor::dismiss(WebVisitor *visitor)
{
    visitor->stop();
    // Its end may come in the middle of its own work.
    visitor->deleteLater();
    visits.remove_if([visitor](const Visit &visit) { return visit.visitor == visitor; });
}

HttpAnswer WebDoor::answer(const HttpRequest &request, const WebPassage &passage) const
{
    if (!hosts.isOurs(request.host, passage)) {
        return HttpAnswer::refusal(HttpAnswer::misdirected);
    }
    if (!request.origin.isEmpty() && request.origin != hosts.originOf(request.host)) {
        return HttpAnswer::refusal(HttpAnswer::forbidden);
    }
    if (request.wantsSocket || request.path == "/socket") {
        return answerForSocket(request);
    }
    if (request.path == "/alive") {
        return {HttpAnswer::noContent, {}, {}, false, {}};
    }
    HttpAnswer file = files.answer(request.path, request.takesDeflate, passage.isLoopback());
    file.socketSource = hosts.socketSourceOf(request.host);
    return file;
}

HttpAnswer WebDoor::answerForSocket(const HttpRequest &request) const
{
    if (request.path != "/socket") {
        return HttpAnswer::refusal(HttpAnswer::notFound);
    }
    if (!request.wantsSocket) {
        return HttpAnswer::refusal(HttpAnswer::upgradeRequired);
    }
    // A browser always names the origin of the page that opens a WebSocket.
    if (request.origin.isEmpty()) {
        return HttpAnswer::refusal(HttpAnswer::forbidden);
    }
    return {HttpAnswer::switchingProtocols, {}, {}, false, {}};
}

void WebDoor::upgrade(QTcpSocket *socket)
{
    socket->setParent(upgrader.get());
    socket->setReadBufferSize(socketReadAhead);
    dropWhenUntaken(socket);
    upgrader->handleConnection(socket);
}

void WebDoor::handOut()
{
    while (std::unique_ptr<QWebSocket> socket{upgrader->nextPendingConnection()}) {
        socket->setParent(nullptr);
        releaseStream(*upgrader, *socket);
        socket->setMaxAllowedIncomingFrameSize(longestMessage);
        socket->setMaxAllowedIncomingMessageSize(longestMessage);
        if (onSocket) {
            const WebPassage passage{socket->localAddress(), socket->peerAddress()};
            onSocket(std::move(socket), passage.isLoopback());
        }
    }
}

} // namespace quillmote
