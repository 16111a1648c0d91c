// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/SessionHost.h"

#include "platform/posix/Descriptor.h"
#include "platform/posix/SessionHostSystem.h"

#include <QByteArray>
#include <QFile>
#include <QRegularExpression>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

/// Connections that the system completes before they are accepted.
constexpr int backlog = 1024;

/// What is open to the group or to others.
constexpr mode_t foreignAccess = S_IRWXG | S_IRWXO;

using Status = struct stat;

QString systemReason(const QString &path)
{
    return u"%1: %2."_s.arg(path, QString::fromLocal8Bit(std::strerror(errno)));
}

/// The address, if the path fits into it.
std::optional<sockaddr_un> addressOf(const QByteArray &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= static_cast<qsizetype>(sizeof address.sun_path)) {
        return std::nullopt;
    }
    std::memcpy(address.sun_path, path.constData(), static_cast<size_t>(path.size()));
    return address;
}

const sockaddr *generic(const sockaddr_un &address)
{
    return reinterpret_cast<const sockaddr *>(&address);
}

void makeNonBlockingAndOwn(int socket)
{
    fcntl(socket, F_SETFD, FD_CLOEXEC);
    fcntl(socket, F_SETFL, fcntl(socket, F_GETFL) | O_NONBLOCK);
    preventSignal(socket);
}

Descriptor newSocket()
{
    Descriptor made(socket(AF_UNIX, SOCK_STREAM, 0));
    if (made.isOpen()) {
        makeNonBlockingAndOwn(made.get());
    }
    return made;
}

bool isSame(const Status &one, const Status &other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// The steps of listenAt(); each returns false with a reason if it fails.
class Listening final : public ListeningPath
{
public:
    Listening(const QString &directory, const QString &name)
        : folder(directory)
        , path(directory + u'/' + name)
        , encodedPath(QFile::encodeName(path))
    {
    }
    ~Listening() override;

    bool start(QString &reason)
    {
        return openFolder(reason) && lock(reason) && removeAbandoned(reason) && listen(reason);
    }
    qintptr descriptor() const override { return socket.get(); }

private:
    bool openFolder(QString &reason) const;
    bool lock(QString &reason);
    bool isLockInPlace() const;
    bool removeAbandoned(QString &reason) const;
    bool isAnybodyListening() const;
    bool listen(QString &reason);

    QString folder;
    QString path;
    QByteArray encodedPath;
    // The lock is released after the socket's file is gone.
    Descriptor lockFile{-1};
    Descriptor socket{-1};
    std::optional<Status> made; // our socket's file
};

/// Removes the file only if it is ours: somebody may have replaced it.
Listening::~Listening()
{
    Status status{};
    if (made && lstat(encodedPath.constData(), &status) == 0 && isSame(status, *made)) {
        unlink(encodedPath.constData());
    }
}

bool Listening::openFolder(QString &reason) const
{
    const QByteArray name = QFile::encodeName(folder);
    mkdir(name.constData(), S_IRWXU);
    const Descriptor opened(
        open(name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    Status status{};
    if (!opened.isOpen() || fstat(opened.get(), &status) != 0) {
        reason = systemReason(folder);
        return false;
    }
    if (status.st_uid != geteuid() || (status.st_mode & foreignAccess) != 0) {
        reason = u"%1: the directory belongs to another user or is open to others."_s.arg(folder);
        return false;
    }
    return true;
}

bool Listening::lock(QString &reason)
{
    constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const QByteArray name = encodedPath + ".lock";
    lockFile = Descriptor(open(name.constData(), flags, S_IRUSR | S_IWUSR));
    if (!lockFile.isOpen()) {
        reason = systemReason(path + u".lock"_s);
        return false;
    }
    if (flock(lockFile.get(), LOCK_EX | LOCK_NB) != 0 || !isLockInPlace()) {
        reason = u"%1: another server has it."_s.arg(path);
        return false;
    }
    return true;
}

/// Whoever removes the file meanwhile lets others lock a new one.
bool Listening::isLockInPlace() const
{
    Status held{};
    Status found{};
    const QByteArray name = encodedPath + ".lock";
    return fstat(lockFile.get(), &held) == 0 && lstat(name.constData(), &found) == 0 &&
           isSame(held, found);
}

bool Listening::removeAbandoned(QString &reason) const
{
    Status status{};
    if (lstat(encodedPath.constData(), &status) != 0) {
        return true; // nothing there
    }
    if (!S_ISSOCK(status.st_mode) || isAnybodyListening()) {
        reason = u"%1: it is no socket, or one that is in use."_s.arg(path);
        return false;
    }
    if (unlink(encodedPath.constData()) != 0) {
        reason = systemReason(path);
        return false;
    }
    return true;
}

/// Asked although the lock is ours: if the lock's file has been removed, so was the other's lock.
bool Listening::isAnybodyListening() const
{
    const std::optional<sockaddr_un> address = addressOf(encodedPath);
    const Descriptor client = newSocket();
    return address && client.isOpen() &&
           (connect(client.get(), generic(*address), sizeof *address) == 0 ||
            errno != ECONNREFUSED);
}

bool Listening::listen(QString &reason)
{
    const std::optional<sockaddr_un> address = addressOf(encodedPath);
    if (!address) {
        reason = u"%1: the path is too long for a socket."_s.arg(path);
        return false;
    }
    socket = newSocket();
    Status status{};
    if (!socket.isOpen() || bind(socket.get(), generic(*address), sizeof *address) != 0 ||
        lstat(encodedPath.constData(), &status) != 0) {
        reason = systemReason(path);
        return false;
    }
    made = status;
    // The directory keeps others away until then.
    if (chmod(encodedPath.constData(), S_IRUSR | S_IWUSR) != 0 ||
        ::listen(socket.get(), backlog) != 0) {
        reason = systemReason(path);
        return false;
    }
    return true;
}

/// As the system counts descriptors.
int numberOf(const LocalStream &stream)
{
    return static_cast<int>(stream.descriptor());
}

bool mayTryAgain()
{
    return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR;
}

} // namespace

QString displayName()
{
    static const QRegularExpression screenNumber(u"(:[0-9]+)\\.[0-9]+$"_s);
    static const QRegularExpression others(u"[^A-Za-z0-9._-]"_s);
    QString name = qEnvironmentVariable("WAYLAND_DISPLAY").section(u'/', -1);
    if (name.isEmpty()) {
        name = qEnvironmentVariable("DISPLAY").replace(screenNumber, u"\\1"_s);
    }
    return name.isEmpty() ? u"desktop"_s : name.replace(others, u"_"_s);
}

std::unique_ptr<ListeningPath> listenAt(const QString &directory, const QString &name,
                                        QString &reason)
{
    auto listening = std::make_unique<Listening>(directory, name);
    return listening->start(reason) ? std::move(listening) : nullptr;
}

LocalStream::~LocalStream()
{
    close(numberOf(*this));
}

std::optional<qsizetype> LocalStream::receive(std::span<char> first, std::span<char> second) const
{
    const std::array<iovec, 2> places{
        {{first.data(), first.size()}, {second.data(), second.size()}}};
    const ssize_t taken = readv(numberOf(*this), places.data(), places.size());
    if (taken > 0) {
        return taken;
    }
    return taken < 0 && mayTryAgain() ? std::optional<qsizetype>(0) : std::nullopt;
}

std::optional<qsizetype> LocalStream::send(std::span<const char> bytes) const
{
    const ssize_t sent = ::send(numberOf(*this), bytes.data(), bytes.size(), sendFlags);
    if (sent >= 0) {
        return sent;
    }
    return mayTryAgain() || errno == ENOBUFS ? std::optional<qsizetype>(0) : std::nullopt;
}

bool LocalStream::isPeerGone() const
{
    pollfd asked{numberOf(*this), 0, 0};
    return poll(&asked, 1, 0) > 0 && (asked.revents & (POLLHUP | POLLERR)) != 0;
}

bool LocalStream::isPeerSameUser() const
{
    const std::optional<Peer> peer = peerOf(numberOf(*this));
    return peer && peer->user == geteuid();
}

QString LocalStream::peerProgram() const
{
    return peerOf(numberOf(*this)).value_or(Peer()).program;
}

Accepted acceptFrom(const ListeningPath &listening)
{
    const int accepted = accept(static_cast<int>(listening.descriptor()), nullptr, nullptr);
    if (accepted < 0) {
        const bool isShort =
            errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
        return {nullptr, isShort};
    }
    makeNonBlockingAndOwn(accepted);
    return {std::make_unique<LocalStream>(accepted), false};
}

} // namespace platform
