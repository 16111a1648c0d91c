// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/ConnectionKeeper.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillmote::ConnectionKeeper {
namespace {

/// Long enough to read a balloon, which disappears by itself after ten seconds.
constexpr unsigned keepingSeconds = 5;
constexpr int patienceMilliseconds = 200;

/// The lock file; empty if there is no folder that belongs to this user on this computer only.
QByteArray lockPath()
{
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    return folder.startsWith('/') ? folder + "/quillmote-keeper" : QByteArray();
}

struct flock wholeFile(short kind)
{
    struct flock lock
    {
    };
    lock.l_type = kind;
    lock.l_whence = SEEK_SET;
    return lock;
}

/// The process that holds the lock; 0 if there is none.
pid_t keeperBehind(int lockFile)
{
    struct flock lock = wholeFile(F_WRLCK);
    const bool isHeld = fcntl(lockFile, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    return isHeld ? std::max<pid_t>(lock.l_pid, 0) : 0;
}

void endKeeperBehind(int lockFile)
{
    const pid_t keeper = keeperBehind(lockFile);
    if (keeper > 0) {
        kill(keeper, SIGTERM);
    }
}

int highestDescriptor()
{
    int highest = STDERR_FILENO;
    const QStringList names = QDir(u"/dev/fd"_s).entryList(QDir::Files | QDir::System);
    for (const QString &name : names) {
        highest = std::max(highest, name.toInt());
    }
    return highest;
}

// The functions from here on run in the child, which may only make calls that are safe in a signal
// handler.

void leaveCaller(int connection, int highest)
{
    setsid();
    [[maybe_unused]] const int moved = chdir("/");
    const int nothing = open("/dev/null", O_RDWR);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        dup2(nothing, standard);
    }
    for (int descriptor = STDERR_FILENO + 1; descriptor <= std::max(highest, nothing);
         ++descriptor) {
        if (descriptor != connection) {
            close(descriptor);
        }
    }
}

/// Several processes wait for their turns, but none longer than until its alarm.
void becomeOnlyKeeper(const char *path)
{
    const int lockFile = open(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    struct flock lock = wholeFile(F_WRLCK);
    if (lockFile < 0) {
        _exit(0);
    }
    if (fcntl(lockFile, F_SETLK, &lock) != 0) {
        endKeeperBehind(lockFile);
        fcntl(lockFile, F_SETLKW, &lock);
    }
}

/// Waits until the server disconnects, or the alarm ends the process.
void waitForServer(int connection)
{
    std::array<char, 4096> ignored{};
    for (;;) {
        struct pollfd event
        {
            connection, POLLIN, 0
        };
        if (poll(&event, 1, -1) < 0 && errno == EINTR) {
            continue;
        }
        const ssize_t count = read(connection, ignored.data(), ignored.size());
        if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) {
            return;
        }
    }
}

[[noreturn]] void keepInChild(int connection, int highest, const char *path)
{
    for (const int handled : {SIGALRM, SIGTERM}) {
        signal(handled, SIG_DFL);
    }
    alarm(keepingSeconds);
    leaveCaller(connection, highest);
    becomeOnlyKeeper(path);
    waitForServer(connection);
    _exit(0);
}

} // namespace

void endEarlier()
{
    const int lockFile = open(lockPath().constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (lockFile < 0) {
        return;
    }
    endKeeperBehind(lockFile);
    for (int waited = 0; waited < patienceMilliseconds && keeperBehind(lockFile) > 0; ++waited) {
        usleep(1000);
    }
    close(lockFile);
}

void keep(qintptr connection)
{
    const QByteArray path = lockPath();
    const int highest = highestDescriptor();
    if (connection >= 0 && !path.isEmpty() && fork() == 0) {
        keepInChild(static_cast<int>(connection), highest, path.constData());
    }
}

} // namespace quillmote::ConnectionKeeper
