// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "fuzz/ConnectionScene.h"

#include "doubles/MemorySocket.h"
#include "fuzz/Finding.h"
#include "fuzz/NaiveTokenWriter.h"
#include "fuzz/ReplacedOpener.h"
#include "net/ClientHandler.h"
#include "server/Server.h"

#include <QClipboard>
#include <QRegularExpression>
#include <QScreen>
#include <QSettings>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

constexpr int mostKnownDevices = 1000;
/// After this time, as many may be opened as after a long time.
constexpr std::chrono::seconds timeForAllOpenings(10);

QSize desktopSize()
{
    return QGuiApplication::primaryScreen()->virtualSize();
}

/// The message about a missing key contains an address, which is replaced.
QStringList withoutAddresses(QStringList messages)
{
    static const QRegularExpression address(
        u"^(warning: KeyCode not vailable for  )0x[0-9a-f]+ $"_s);
    return messages.replaceInStrings(address, u"\\1ADDRESS "_s);
}

/// As the server passes them on: after the toolkit has parsed them as an address.
QStringList asAddresses(QStringList texts)
{
    for (QString &text : texts) {
        text = QUrl(text).toString();
    }
    return texts;
}

/// The answers in the naive writer's form; the server chooses the order of a map's entries.
QByteArray wireForm(const QList<ConnectionModel::Map> &answers, const QStringList &keys)
{
    QByteArray bytes;
    for (const ConnectionModel::Map &answer : answers) {
        std::vector<NaiveTokenWriter::Entry> entries;
        for (const QString &key : keys) {
            const QVariant value = answer.value(key);
            entries.push_back({key.toStdU16String(), value.typeId() == QMetaType::QStringList, {}});
            for (const QString &text : value.toStringList()) {
                entries.back().texts.push_back(text.toStdU16String());
            }
        }
        bytes += QByteArray::fromStdString(
            NaiveTokenWriter::onTheWire(NaiveTokenWriter::write(entries)));
    }
    return bytes;
}

/// Often enough for a token that is taken apart in many turns, and for the end of the handler,
/// which ends the socket.
void processEvents(qsizetype bytes = 0)
{
    constexpr qsizetype leastBytesInATurn = 500;
    for (qsizetype round = 0; round < 12 + bytes / leastBytesInATurn; ++round) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

} // namespace

World::World(int &argumentCount, char **arguments) : application(argumentCount, arguments)
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, scene.settingsDirectory());
    QCoreApplication::setOrganizationName(u"Ostrovane"_s);
    QCoreApplication::setApplicationName(u"VornaServer"_s);
    QSettings().setValue("downloadDirectory", scene.serverDirectory());
}

World::~World() = default;

ConnectionScene::ConnectionScene(World &sharedWorld)
    : world(sharedWorld)
    , model(world.scene.serverDirectory(), world.scene.modelDirectory(), desktopSize())
{
    openedAddresses().clear();
    world.time += timeForAllOpenings;
    if (world.server == nullptr) {
        startServer();
    }
    begin();
}

ConnectionScene::~ConnectionScene()
{
    leave();
    world.knownDevices += model.pairedDevices();
    if (world.knownDevices > mostKnownDevices) {
        world.server.reset();
    }
    world.host.waitingReaders.clear();
    world.host.isClipboardSlow = false;
    QGuiApplication::clipboard()->clear();
}

void ConnectionScene::startServer()
{
    QSettings().remove("pairedDeviceList");
    ServerAdapters adapters = world.host.serverAdapters();
    adapters.opener = Opener([&time = world.time] { return time; });
    world.server = std::make_unique<Server>(nullptr, std::move(adapters));
    world.knownDevices = 0;
}

void ConnectionScene::begin()
{
    socket = new MemorySocket(world.server.get());
    handler = new ClientHandler(socket);
    QObject::connect(handler, SIGNAL(tokenAvailable()), world.server.get(), SLOT(serveClient()));
    QObject::connect(handler, SIGNAL(showFile(QString)), world.server.get(),
                     SLOT(showFile(QString)));
    QObject::connect(handler, SIGNAL(destroyed()), world.server.get(), SLOT(clientDisconnected()));
    QObject::connect(handler, SIGNAL(destroyed()), socket, SLOT(deleteLater()));
    QObject::connect(handler, &ClientHandler::tokenAvailable, world.server.get(),
                     [this] { ++announced; });
    QObject::connect(handler, &ClientHandler::showFile, world.server.get(),
                     [this](const QString &name) { shown.append(name); });
    model.begin();
}

void ConnectionScene::leave()
{
    if (!socket.isNull()) {
        socket->disconnectFromHost();
    }
    model.leave();
    processEvents();
    if (model.isWaiting()) {
        answerWaiting();
    }
    compare();
    Finding::require(handler.isNull() && socket.isNull(), "a connection outlives its peer");
}

void ConnectionScene::replaceHandheld()
{
    leave();
    begin();
}

void ConnectionScene::setUnsent(qint64 bytes)
{
    model.unsent = bytes;
    if (!socket.isNull()) {
        socket->setUnsent(bytes);
    }
}

void ConnectionScene::makeClipboardSlow()
{
    model.isClipboardSlow = world.host.isClipboardSlow = true;
}

void ConnectionScene::answerWaiting()
{
    RecordingHost &host = world.host;
    model.isClipboardSlow = host.isClipboardSlow = false;
    for (const auto &receiver : std::exchange(host.waitingReaders, {})) {
        receiver(u"late"_s);
    }
    // The answer shows the map as it is before anything else is read.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    model.answerWaiting(u"late"_s);
    compare();
    deliver({});
    processEvents();
    model.readOn();
    compare();
}

void ConnectionScene::removeDirectories()
{
    world.scene.removeDirectories();
    hasRemovedDirectories = true;
}

void ConnectionScene::receive(const QByteArray &bytes)
{
    deliver(bytes);
    model.receive(bytes);
    compare();
}

void ConnectionScene::deliver(const QByteArray &bytes)
{
    if (!socket.isNull()) {
        socket->receive(bytes);
    }
    // A connection that waits for the clipboard takes nothing.
    for (qsizetype unread = -1; !socket.isNull() && socket->unread() != unread;) {
        unread = socket->unread();
        emit socket->readyRead();
        processEvents(unread);
    }
}

void ConnectionScene::compare()
{
    compareDeeds();
    Finding::requireEqual(!handler.isNull(), model.isOpen, "the connection's life differs");
    if (model.isOpen) {
        compareConnection();
    }
    model.deeds = ConnectionModel::Deeds();
}

void ConnectionScene::compareDeeds()
{
    const ConnectionModel::Deeds &deeds = model.deeds;
    EventRecord &events = world.host.events;
    Finding::requireEqual(std::exchange(announced, 0), deeds.announcedTokens,
                          "another number of tokens");
    Finding::requireEqual(std::exchange(shown, {}), deeds.shownFiles, "other files are shown");
    Finding::requireEqual(std::exchange(openedAddresses(), {}), asAddresses(deeds.openedAddresses),
                          "other addresses are opened");
    Finding::requireEqual(std::exchange(events.calls, {}).size(), deeds.calls,
                          "other input events");
    Finding::requireEqual(withoutAddresses(messages.all()), deeds.messages, "other messages");
    messages.clear();
}

void ConnectionScene::compareConnection()
{
    Finding::requireEqual(handler->token, model.token, "the map differs");
    Finding::requireEqual(handler->deviceName, model.deviceName, "another device");
    Finding::requireEqual(socket->takeWritten(),
                          wireForm(model.deeds.answers, handler->token.keys()), "other answers");
    Finding::requireEqual(socket->readBufferSize(), model.readLimit(), "another limit of reads");
}
