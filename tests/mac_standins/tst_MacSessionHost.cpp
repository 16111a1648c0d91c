// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/SessionPath.h"
#include "platform/SessionHost.h"

#include <QByteArray>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// The user's temporary directory as the system tells it, with the slash at its end; empty if the
/// system does not know it.
QByteArray temporaryDirectory;
/// Who is said to be at the other end; an error if it is the one that no user has.
uid_t peer = 0;
/// The sockets that are kept from raising signals.
std::vector<int> quietSockets;

} // namespace

// The system's calls, as the adapter is compiled to call them.

extern "C" size_t recordedConfstr(int name, char *buffer, size_t size) noexcept
{
    if (name != _CS_DARWIN_USER_TEMP_DIR || temporaryDirectory.isEmpty()) {
        return 0;
    }
    const auto needed = static_cast<size_t>(temporaryDirectory.size()) + 1;
    std::memcpy(buffer, temporaryDirectory.constData(), std::min(needed, size));
    return needed;
}

extern "C" int recordedSetsockopt(int socket, int level, int option, const void *value,
                                  socklen_t size) noexcept
{
    int isOn = 0;
    std::memcpy(&isOn, value, std::min<size_t>(size, sizeof isOn));
    if (level == SOL_SOCKET && option == SO_NOSIGPIPE && isOn != 0) {
        quietSockets.push_back(socket);
        return 0;
    }
    return setsockopt(socket, level, option, value, size);
}

extern "C" int getpeereid(int /*socket*/, uid_t *user, gid_t *group)
{
    if (peer == uid_t(-1)) {
        errno = ENOTCONN;
        return -1;
    }
    *user = peer;
    *group = getgid();
    return 0;
}

class tst_MacSessionHost : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void theUsersTemporaryDirectoryHoldsTheSocket();
    void aDirectoryThatTheSystemDoesNotTellIsNone();
    void aConnectionIsQuietAndOfTheSameUser();
    void anotherUserIsNotTheSame();
    void theProgramAtTheOtherEndHasNoName();

private:
    std::unique_ptr<platform::LocalStream> connected();

    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<platform::ListeningPath> listening;
    std::unique_ptr<platform::LocalStream> client;
};

void tst_MacSessionHost::init()
{
    client.reset();
    listening.reset();
    folder = std::make_unique<QTemporaryDir>();
    temporaryDirectory = folder->path().toUtf8() + '/';
    peer = geteuid();
    quietSockets.clear();
}

/// A handheld's end of a new connection is `client`; the server's end is returned.
std::unique_ptr<platform::LocalStream> tst_MacSessionHost::connected()
{
    QString reason;
    listening = platform::listenAt(platform::runtimeDirectory() + u"/vornaserver"_s,
                                   u"desktop.socket"_s, reason);
    if (!listening) {
        return nullptr;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray path = folder->path().toUtf8() + "/vornaserver/desktop.socket";
    std::memcpy(address.sun_path, path.constData(), static_cast<size_t>(path.size()));
    const int end = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    client = std::make_unique<platform::LocalStream>(end);
    if (::connect(end, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        return nullptr;
    }
    return platform::acceptFrom(*listening).stream;
}

void tst_MacSessionHost::theUsersTemporaryDirectoryHoldsTheSocket()
{
    QCOMPARE(platform::runtimeDirectory(), folder->path());
    // Both programs must mean the same socket.
    QCOMPARE(quillmote::ownRuntimeFolder(), folder->path());
}

void tst_MacSessionHost::aDirectoryThatTheSystemDoesNotTellIsNone()
{
    for (const QByteArray &told : {QByteArray(), '/' + QByteArray(PATH_MAX, 'x')}) {
        temporaryDirectory = told;
        QCOMPARE(platform::runtimeDirectory(), QString());
        QCOMPARE(quillmote::ownRuntimeFolder(), QString());
    }
}

void tst_MacSessionHost::aConnectionIsQuietAndOfTheSameUser()
{
    const auto stream = connected();
    QVERIFY(stream);
    QVERIFY(stream->isPeerSameUser());
    QCOMPARE(std::count(quietSockets.begin(), quietSockets.end(), int(stream->descriptor())), 1);
}

void tst_MacSessionHost::anotherUserIsNotTheSame()
{
    const auto stream = connected();
    QVERIFY(stream);
    for (const uid_t other : {geteuid() + 1, uid_t(-1)}) {
        peer = other;
        QVERIFY(!stream->isPeerSameUser());
    }
}

void tst_MacSessionHost::theProgramAtTheOtherEndHasNoName()
{
    const auto stream = connected();
    QVERIFY(stream);
    QCOMPARE(stream->peerProgram(), QString());
}

QTEST_GUILESS_MAIN(tst_MacSessionHost)
#include "tst_MacSessionHost.moc"
