// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The input is a session of handhelds with the server, one connection at a time, over a socket in
// memory. The byte 0xff ends a read; the byte behind it tells what happens before the next one:
//
//   x  the handheld leaves, and another one comes
//   r  if a file is on its way, the next read is repeated until it has some 20 KB, R  some 300 KB
//      (once): too much to be read as a token by a naive reader
//   l  during the next read no file grows beyond 16 KiB
//   u  4 MiB of answers wait to be sent, U  one byte more, n  none
//   s  the clipboard becomes slow, a  it answers
//   d  the download directory goes away
//   |  (and all others) nothing
//
// After each read the server has done what the model says: tokens announced, answers sent, messages
// written, files shown; and in the end the files are the same, and nothing else was written.

#include "ConnectionModel.h"
#include "DownloadScene.h"
#include "Finding.h"
#include "MemorySocket.h"
#include "NaiveTokenWriter.h"
#include "ReplacedOpener.h"
#include "doubles/RecordingPlatform.h"
#include "net/ClientHandler.h"
#include "server/Server.h"
#include "support/MessageRecorder.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPointer>
#include <QRegularExpression>
#include <QScreen>
#include <QSettings>
#include <QUrl>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <memory>

#include <sys/resource.h>

namespace {

constexpr rlim_t smallFile = 16 * 1024;
constexpr qsizetype largeRead = 20'000;
constexpr qsizetype hugeRead = 300'000;

/// What all sessions share; given back in the reverse order at the end of the process.
struct World
{
    World(int &argumentCount, char **arguments) : application(argumentCount, arguments)
    {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                           scene.settingsDirectory());
        QCoreApplication::setOrganizationName("Ostrovane");
        QCoreApplication::setApplicationName("VornaServer");
        QSettings().setValue("downloadDirectory", scene.serverDirectory());
    }

    QGuiApplication application;
    DownloadScene scene;
    /// Lives on from one session to the next, until it knows many devices: its end writes the
    /// settings, which takes longer than a session. Whom it knows makes no difference where all are
    /// accepted.
    std::unique_ptr<Server> server;
    int knownDevices = 0;
};

World *world = nullptr;
constexpr int mostKnownDevices = 1000;

/// While it lives, no file of this process grows beyond the size, in bytes; a write that would make
/// one fails. libFuzzer has a handler of its own for the signal.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t size)
    {
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit lowered{std::min(size, before.rlim_max), before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &lowered);
        handler = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~FileSizeLimit()
    {
        std::signal(SIGXFSZ, handler);
        setrlimit(RLIMIT_FSIZE, &before);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit before{};
    void (*handler)(int) = SIG_DFL;
};

QByteArray repeated(const QByteArray &bytes, qsizetype size)
{
    return bytes.isEmpty() ? bytes : bytes.repeated(size / bytes.size() + 1);
}

QSize desktopSize()
{
    return QGuiApplication::primaryScreen()->virtualSize();
}

/// The complaint of a key that is not there shows an address, which is replaced.
QStringList withoutAddresses(QStringList messages)
{
    static const QRegularExpression address("^(warning: KeyCode not vailable for  )0x[0-9a-f]+ $");
    return messages.replaceInStrings(address, "\\1ADDRESS ");
}

/// As the server hands them on: through the toolkit's idea of an address.
QStringList asAddresses(QStringList texts)
{
    for (QString &text : texts) {
        text = QUrl(text).toString();
    }
    return texts;
}

/// The answers in the naive writer's form; the order of a map's entries is the server's affair.
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

class Session
{
public:
    Session() : model(world->scene.serverDirectory(), world->scene.modelDirectory(), desktopSize())
    {
        if (world->server == nullptr) {
            startServer();
        }
        begin();
    }
    ~Session()
    {
        leave();
        world->knownDevices += model.pairedDevices();
        if (world->knownDevices > mostKnownDevices) {
            world->server.reset();
        }
        PlatformRecord::current().waitingReaders.clear();
        PlatformRecord::current().isClipboardSlow = false;
        QGuiApplication::clipboard()->clear();
    }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    bool hasTouchedFiles() const { return model.hasTouchedFiles() || hasRemovedDirectories; }

    /// One read, and what happens before it.
    void step(char control, const QByteArray &bytes)
    {
        switch (control) {
        case 'x':
            leave();
            begin();
            break;
        case 'u':
            setUnsent(ConnectionModel::mostUnsent);
            break;
        case 'U':
            setUnsent(ConnectionModel::mostUnsent + 1);
            break;
        case 'n':
            setUnsent(0);
            break;
        case 's':
            model.isClipboardSlow = PlatformRecord::current().isClipboardSlow = true;
            break;
        case 'a':
            answerWaiting();
            break;
        case 'd':
            world->scene.removeDirectories();
            hasRemovedDirectories = true;
            break;
        default:
            break;
        }
        deliver(control, bytes);
    }

private:
    static void startServer()
    {
        QSettings().remove("pairedDeviceList");
        world->server = std::make_unique<Server>(nullptr);
        world->knownDevices = 0;
    }

    void begin()
    {
        socket = new MemorySocket(world->server.get());
        handler = new ClientHandler(socket);
        QObject::connect(handler, SIGNAL(tokenAvailable()), world->server.get(),
                         SLOT(serveClient()));
        QObject::connect(handler, SIGNAL(showFile(QString)), world->server.get(),
                         SLOT(showFile(QString)));
        QObject::connect(handler, SIGNAL(destroyed()), world->server.get(),
                         SLOT(clientDisconnected()));
        QObject::connect(handler, SIGNAL(destroyed()), socket, SLOT(deleteLater()));
        QObject::connect(handler, &ClientHandler::tokenAvailable, world->server.get(),
                         [this] { ++announced; });
        QObject::connect(handler, &ClientHandler::showFile, world->server.get(),
                         [this](const QString &name) { shown.append(name); });
        model.begin();
    }

    void leave()
    {
        if (!socket.isNull()) {
            socket->disconnectFromHost();
        }
        model.leave();
        processEvents();
        compare();
        Finding::require(handler.isNull() && socket.isNull(), "a connection outlives its peer");
    }

    void setUnsent(qint64 bytes)
    {
        model.unsent = bytes;
        if (!socket.isNull()) {
            socket->setUnsent(bytes);
        }
    }

    void answerWaiting()
    {
        PlatformRecord &record = PlatformRecord::current();
        model.isClipboardSlow = record.isClipboardSlow = false;
        for (const auto &receiver : std::exchange(record.waitingReaders, {})) {
            receiver(QString("late"));
        }
        model.answerWaiting("late");
        processEvents();
        compare();
    }

    void deliver(char control, const QByteArray &bytes)
    {
        const FileSizeLimit limit(control == 'l' ? smallFile : RLIM_INFINITY);
        if (model.isReceivingFile() && control == 'r') {
            deliverBytes(repeated(bytes, largeRead));
        } else if (model.isReceivingFile() && control == 'R' && !std::exchange(wasHuge, true)) {
            deliverBytes(repeated(bytes, hugeRead));
        } else {
            deliverBytes(bytes);
        }
        compare();
    }

    void deliverBytes(const QByteArray &bytes)
    {
        if (!socket.isNull()) {
            socket->receive(bytes);
        }
        while (!socket.isNull() && socket->hasUnread()) {
            emit socket->readyRead();
            processEvents();
        }
        model.receive(bytes);
    }

    /// Twice: the end of the handler ends the socket.
    static void processEvents()
    {
        for (int round = 0; round < 2; ++round) {
            QCoreApplication::sendPostedEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }

    void compare()
    {
        compareDeeds();
        Finding::requireEqual(!handler.isNull(), model.isOpen, "the connection's life differs");
        if (model.isOpen) {
            compareConnection();
        }
        model.deeds = ConnectionModel::Deeds();
    }

    void compareDeeds()
    {
        const ConnectionModel::Deeds &deeds = model.deeds;
        EventRecord &events = PlatformRecord::current().events;
        Finding::requireEqual(std::exchange(announced, 0), deeds.announcedTokens,
                              "another number of tokens");
        Finding::requireEqual(std::exchange(shown, {}), deeds.shownFiles, "other files are shown");
        Finding::requireEqual(std::exchange(openedAddresses(), {}),
                              asAddresses(deeds.openedAddresses), "other addresses are opened");
        Finding::requireEqual(std::exchange(events.calls, {}).size(), deeds.calls,
                              "other input events");
        Finding::requireEqual(withoutAddresses(messages.all()), deeds.messages, "other messages");
        messages.clear();
    }

    void compareConnection()
    {
        Finding::requireEqual(handler->token, model.token, "the map differs");
        Finding::requireEqual(handler->deviceName, model.deviceName, "another device");
        Finding::requireEqual(socket->takeWritten(),
                              wireForm(model.deeds.answers, handler->token.keys()),
                              "other answers");
        Finding::requireEqual(socket->readBufferSize(), model.readLimit(),
                              "another limit of reads");
    }

    MessageRecorder messages;
    ConnectionModel model;
    QPointer<MemorySocket> socket;
    QPointer<ClientHandler> handler;
    int announced = 0;
    QStringList shown;
    bool wasHuge = false;
    bool hasRemovedDirectories = false;
};

void play(Session &session, const QByteArray &input)
{
    char control = '|';
    for (qsizetype begin = 0; begin <= input.size();) {
        const qsizetype found = input.indexOf('\xff', begin);
        const qsizetype end = found == -1 ? input.size() : found;
        session.step(control, input.mid(begin, end - begin));
        control = end + 1 < input.size() ? input[end + 1] : '|';
        begin = end + 2;
    }
}

/// True when files may have been written.
bool playedWithFiles(const QByteArray &input)
{
    Session session;
    play(session, input);
    return session.hasTouchedFiles();
}

void compareFiles()
{
    Finding::require(world->scene.serverListing() == world->scene.modelListing(), "other files");
    Finding::require(world->scene.isAloneInItsFolder(), "a file outside the download directory");
}

} // namespace

// The files go into the folder for temporary files, which the caller should put into memory and
// empty after a find.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static World only(*argc, *argv);
    world = &only;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    // Without an announcement, which the server would tell, no file is opened.
    if (playedWithFiles(input)) {
        compareFiles();
        world->scene.reset();
    }
    return 0;
}
