// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The input is what several handhelds do at once, over sockets in memory, with a limit of what they
// may store together that is soon reached. The byte 0xff ends a read; the two bytes behind it tell
// which handheld comes next, "0" to "3", and what is done with its read:
//
//   r  it is repeated until it has some 7 KB, R  some 40 KB: taken apart in turns
//   x  the handheld leaves before it, and another one comes
//   u  4 MiB of its answers wait to be sent, U  one byte more, n  none
//   s  the clipboard becomes slow, a  it answers
//   |  (and all others) nothing
//
// Beside them an honest handheld asks one question after each read. It is never disconnected and
// always answered; what all hold is counted in full and never more than the limit; every other
// handheld that is disconnected has a logged reason; and in the end nothing is held.

#include "doubles/MemorySocket.h"
#include "doubles/RecordingHost.h"
#include "fuzz/Finding.h"
#include "fuzz/ScriptedRead.h"
#include "net/ClientHandler.h"
#include "net/ConnectionResources.h"
#include "server/Server.h"
#include "support/MessageRecorder.h"

#include <QGuiApplication>
#include <QPointer>
#include <QSettings>

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 memoryLimit = 256 * 1024;
constexpr qsizetype largeRead = 7'000;
constexpr qsizetype hugeRead = 40'000;
constexpr qint64 mostUnsent = 4 * 1024 * 1024;

struct World
{
    World(int &argumentCount, char **arguments) : application(argumentCount, arguments)
    {
        QCoreApplication::setOrganizationName(u"Ostrovane"_s);
        QCoreApplication::setApplicationName(u"VornaServer"_s);
        QSettings().setValue("downloadDirectory", u"/nonexistent"_s);
    }

    QGuiApplication application;
    RecordingHost host;
};

World *world = nullptr;

void processEvents(qsizetype bytes)
{
    for (qsizetype round = 0; round < 20 + bytes / 200; ++round) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

/// A handheld and the server's end of its connection.
class Device
{
public:
    Device(Server &serving, ConnectionResources &shared) : server(serving), resources(shared) {}
    ~Device() { leave(); }
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    bool isConnected() const
    {
        return !socket.isNull() && socket->state() == QAbstractSocket::ConnectedState;
    }

    void connectAnew()
    {
        leave();
        socket = new MemorySocket;
        handler = new ClientHandler(socket, &resources);
        QObject::connect(handler, SIGNAL(tokenAvailable()), &server, SLOT(serveClient()));
        QObject::connect(handler, SIGNAL(destroyed()), socket, SLOT(deleteLater()));
    }

    void leave()
    {
        if (!socket.isNull()) {
            socket->disconnectFromHost();
        }
        processEvents(0);
        // A clipboard that does not answer lets it stay.
        delete handler;
        delete socket;
    }

    void receive(const QByteArray &bytes)
    {
        socket->receive(bytes);
        for (qsizetype unread = -1; !socket.isNull() && socket->unread() != unread;) {
            unread = socket->unread();
            emit socket->readyRead();
            processEvents(unread);
        }
    }

    void setUnsent(qint64 bytes)
    {
        if (!socket.isNull()) {
            socket->setUnsent(bytes);
        }
    }

    QByteArray takeAnswers() { return socket.isNull() ? QByteArray() : socket->takeWritten(); }

    /// What its own tokens have stored takes at least so many bytes. The server has also stored
    /// values where answers are.
    qint64 leastHeld() const
    {
        qint64 characters = 0;
        if (isConnected()) {
            for (auto entry = handler->token.cbegin(); entry != handler->token.cend(); ++entry) {
                if (entry.key() != "cmdParameters"_L1 && entry.key() != "serverResponse"_L1) {
                    for (const QString &text : entry->toStringList()) {
                        characters += text.size();
                    }
                    characters += entry.key().size();
                }
            }
        }
        return characters * qint64(sizeof(QChar));
    }

private:
    Server &server;
    ConnectionResources &resources;
    QPointer<MemorySocket> socket;
    QPointer<ClientHandler> handler;
};

class Crowd
{
public:
    Crowd() { honest.connectAnew(); }

    ~Crowd()
    {
        answerClipboard();
        for (Device &device : devices) {
            device.leave();
        }
        checkHonest();
        honest.leave();
        processEvents(0);
        Finding::requireEqual(resources.memory.total(), qint64(0), "something is still held");
        Finding::requireEqual(resources.descriptors.leased(), 0, "a descriptor is still leased");
    }

    void read(size_t number, char control, const QByteArray &bytes)
    {
        Device &device = devices.at(number);
        prepare(device, control);
        if (!device.isConnected()) {
            device.connectAnew();
        }
        messages.clear();
        device.receive(enlarged(bytes, control));
        check();
        checkHonest();
    }

private:
    void prepare(Device &device, char control)
    {
        switch (control) {
        case 'x':
            device.leave();
            break;
        case 'u':
            device.setUnsent(mostUnsent);
            break;
        case 'U':
            device.setUnsent(mostUnsent + 1);
            break;
        case 'n':
            device.setUnsent(0);
            break;
        case 's':
            world->host.isClipboardSlow = true;
            break;
        case 'a':
            answerClipboard();
            break;
        default:
            break;
        }
    }

    static QByteArray enlarged(const QByteArray &bytes, char control)
    {
        if (bytes.isEmpty() || (control != 'r' && control != 'R')) {
            return bytes;
        }
        return bytes.repeated((control == 'r' ? largeRead : hugeRead) / bytes.size() + 1);
    }

    void answerClipboard()
    {
        RecordingHost &host = world->host;
        host.isClipboardSlow = false;
        for (const auto &receiver : std::exchange(host.waitingReaders, {})) {
            receiver(QString(1'000 + 70'000 * (++clipboardTexts % 2), u'x'));
        }
        processEvents(0);
    }

    void check()
    {
        qint64 least = 0;
        for (Device &device : devices) {
            device.takeAnswers();
            least += device.leastHeld();
        }
        Finding::require(resources.memory.total() <= memoryLimit, "more is held than may be");
        Finding::require(resources.memory.total() >= least, "less is counted than is held");
        const QStringList warnings = messages.warnings();
        const qsizetype ended = warnings.count(u"Device Disconnected "_s);
        const QStringList debugs = messages.debugs();
        const qsizetype reasons =
            debugs.count(u"The device has stored too much. "_s) +
            debugs.count(u"The device does not read its answers. "_s) +
            debugs.count(u"All devices together have stored too much, and this one most of it. "_s);
        Finding::requireEqual(ended, reasons, "an end without a reason");
    }

    void checkHonest()
    {
        Finding::require(honest.isConnected(), "an honest device was disconnected");
        honest.receive("{ cmdType = SERVER_INFO; }");
        Finding::require(honest.isConnected(), "an honest device was disconnected");
        const QByteArray answer = honest.takeAnswers();
        Finding::require(answer.startsWith('{') && answer.endsWith('}') &&
                             answer.count("MAC-OSX") == 1 && answer.size() < 200,
                         "an honest device is not answered");
    }

    MessageRecorder messages;
    ConnectionResources resources{memoryLimit};
    Server server{nullptr, world->host.serverAdapters()};
    Device honest{server, resources};
    std::array<Device, 4> devices = {Device(server, resources), Device(server, resources),
                                     Device(server, resources), Device(server, resources)};
    int clipboardTexts = 0;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static World only(*argc, *argv);
    world = &only;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    Crowd crowd;
    for (const ScriptedRead &read : scriptedReads(input, 2)) {
        crowd.read(static_cast<uint8_t>(read.control[0]) % 4, read.control[1], read.bytes);
    }
    return 0;
}
