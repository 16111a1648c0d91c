// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The input is what a program sends to the session socket. The byte 0xff ends a read; 0xfe and the
// byte behind it stand for a mebibyte of "x" less that many bytes, of which the first two count.
//
// The session answers every request once, in order and with its id, as a naive reading of the same
// bytes says. It ends when the program has ended its sending; then nothing is held, watched or on
// its way.

#include "doubles/RecordingClipboard.h"
#include "doubles/RecordingDesktopInput.h"
#include "doubles/RecordingScreens.h"
#include "fuzz/Finding.h"
#include "fuzz/NaiveSessionFrames.h"
#include "platform/SessionHost.h"
#include "session/Session.h"
#include "session/SessionCommons.h"

#include <QDir>
#include <QGuiApplication>
#include <QSet>
#include <QTemporaryDir>

#include <array>
#include <cstddef>
#include <cstdint>

#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int mostRounds = 100'000;
constexpr char readEnd = '\xff';
constexpr char largePart = '\xfe';

QByteArray expanded(const QByteArray &input)
{
    QByteArray bytes;
    int parts = 0;
    for (qsizetype i = 0; i < input.size(); ++i) {
        if (input[i] == largePart && i + 1 < input.size() && parts++ < 2) {
            bytes += QByteArray(1024 * 1024 - uint8_t(input[++i]), 'x');
        } else {
            bytes += input[i];
        }
    }
    return bytes;
}

/// The host of one session, in memory.
struct Host
{
    DesktopInputRecord record;
    RecordingDesktopInput input{record};
    RecordingClipboard clipboard;
    RecordingScreens screens;
    QTemporaryDir &downloads;
    int connected = 0;

    explicit Host(QTemporaryDir &folder) : downloads(folder)
    {
        screens.screens = {{u"one"_s, QRect(0, 0, 100, 100), 1}};
    }

    SessionServices services()
    {
        return {input,
                clipboard,
                screens,
                [] { return u"den"_s; },
                [] { return quint16(1); },
                [] { return true; },
                [](const std::optional<QString> & /*address*/) { return SessionReply::done(); },
                [](const QString & /*address*/) { return SessionReply::done(); },
                [] { return QStringList{u"Player"_s}; },
                [](const QString & /*name*/) { return SessionReply::done(); },
                [](const QString &device, const QString & /*name*/,
                   const std::function<void(bool)> &decided) { decided(device != u"no"_s); },
                [this](const QString & /*name*/) { ++connected; },
                [this](const QString & /*name*/) { --connected; },
                [this] { return downloads.path(); },
                [](const QUrl & /*file*/) { return true; },
                [] { return std::make_shared<int>(0); },
                [] { return std::make_shared<int>(0); }};
    }

    /// The keys and buttons that are down. What is pressed again is down once, as on a desktop.
    qsizetype held() const
    {
        QSet<QString> down;
        for (const QString &call : record.calls) {
            const bool isButton = call.startsWith(u"button "_s);
            const QString thing = (isButton ? u"button "_s : u"key "_s) + call.section(u' ', 1, 1);
            if (call.startsWith(u"press "_s) || (isButton && call.endsWith(u" down"_s))) {
                down.insert(thing);
            } else if (call.startsWith(u"release "_s) || (isButton && call.endsWith(u" up"_s))) {
                down.remove(thing);
            }
        }
        return down.size();
    }
};

/// The program's end of the stream.
class Program
{
public:
    explicit Program(int end) : stream(end) {}

    void send(QByteArray bytes)
    {
        for (int round = 0; !bytes.isEmpty(); ++round) {
            Finding::require(round < mostRounds, "a session that does not read");
            bytes.remove(0, stream.send(bytes).value_or(0));
            QCoreApplication::processEvents();
            take();
        }
    }
    void endSending() const { ::shutdown(int(stream.descriptor()), SHUT_WR); }
    void take()
    {
        static std::array<char, 256 * 1024> room;
        while (const qsizetype size = stream.receive(room).value_or(0)) {
            received.append(room.data(), size);
        }
    }

    /// The ids of all answers, without events.
    QList<QJsonValue> ids() const
    {
        QList<QJsonValue> found;
        for (qsizetype begin = 0; begin < received.size();) {
            const qsizetype end = received.indexOf('\n', begin);
            Finding::require(end >= 0, "a line without an end");
            const QJsonObject message =
                QJsonDocument::fromJson(received.sliced(begin, end - begin)).object();
            Finding::require(!message.isEmpty(), "a line that is no object");
            if (!message.contains(u"event"_s)) {
                Finding::require(message.contains(u"ok"_s) != message.contains(u"error"_s),
                                 "an answer that is neither done nor an error");
                found.append(message.value(u"id"_s));
            }
            begin = end + 1 + message.value(u"body"_s).toInteger();
        }
        return found;
    }

private:
    platform::LocalStream stream;
    QByteArray received;
};

void runSession(const QByteArray &bytes, const QList<QByteArray> &reads, QTemporaryDir &downloads)
{
    Host host(downloads);
    SessionCommons commons(host.services());
    std::array<int, 2> ends{};
    socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data());
    Program program(ends[0]);
    bool isOver = false;
    Session session(std::make_unique<platform::LocalStream>(ends[1]), commons);
    QObject::connect(&session, &Session::over, [&] { isOver = true; });
    for (const QByteArray &read : reads) {
        program.send(read);
    }
    program.endSending();
    int round = 0;
    while (!isOver) {
        Finding::require(++round < mostRounds, "a session that does not end");
        QCoreApplication::processEvents();
        program.take();
    }
    program.take();
    Finding::requireEqual(program.ids(), NaiveSessionFrames::answeredIds(bytes), "other answers");
    Finding::require(host.held() == 0, "something is held");
    Finding::require(host.connected == 0, "a device is connected");
    Finding::require(!host.clipboard.changed && !host.screens.changed, "something is watched");
    Finding::require(commons.texts.total() == 0 && commons.transfers.total() == 0,
                     "something is on its way");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argumentCount, char ***arguments)
{
    static QGuiApplication application(*argumentCount, *arguments);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static QTemporaryDir downloads(u"/dev/shm/vorna-session-XXXXXX"_s);
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    QList<QByteArray> reads;
    for (const QByteArray &read : input.split(readEnd)) {
        reads.append(expanded(read));
    }
    runSession(reads.join(), reads, downloads);
    QDir folder(downloads.path());
    for (const QString &name : folder.entryList(QDir::Files | QDir::Hidden)) {
        folder.remove(name);
    }
    return 0;
}
