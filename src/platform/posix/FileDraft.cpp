// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/FileDraft.h"

#include "platform/posix/FolderFailure.h"
#include "platform/posix/FolderSystem.h"
#include "platform/posix/NumberedName.h"

#include <QRandomGenerator>

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr char prefix[] = ".vornaserver-";
constexpr char suffix[] = ".part";
/// Names that exist, or that another process has removed, are no reason to give up.
constexpr int mostAttempts = 16;
/// How many files of one name there may be.
constexpr int highestNumber = 9999;
constexpr mode_t modeOfDrafts = S_IRUSR | S_IWUSR;
constexpr mode_t permissions = S_IRWXU | S_IRWXG | S_IRWXO;

QByteArray newDraftName()
{
    return prefix + QByteArray::number(QRandomGenerator::system()->generate64(), 36) + suffix;
}

bool isRegular(const struct stat &status)
{
    return S_ISREG(status.st_mode);
}

bool areSame(const struct stat &one, const struct stat &other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// The system or the file system does not know that way.
bool isUnknownWay()
{
    return errno == EINVAL || errno == ENOSYS || errno == ENOTSUP || errno == EPERM ||
           errno == EMLINK;
}

} // namespace

bool FileDraft::isDraftName(QByteArrayView name)
{
    return name.startsWith(prefix) && name.endsWith(suffix);
}

std::unique_ptr<FileDraft> FileDraft::create(const std::shared_ptr<const OpenDirectory> &directory,
                                             QString &reason)
{
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        const QByteArray name = newDraftName();
        Descriptor opened(openat(directory->descriptor.get(), name.constData(),
                                 O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        if (!opened.isOpen() && errno != EEXIST && errno != EINTR) {
            break;
        }
        auto draft = std::make_unique<FileDraft>(directory, name, std::move(opened));
        if (draft->hold()) {
            return draft;
        }
    }
    reason = folderFailure(directory->path);
    return nullptr;
}

void FileDraft::removeAbandoned(int directory, const QByteArray &name)
{
    const Descriptor file(openat(directory, name.constData(),
                                 O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status
    {
    };
    if (file.isOpen() && fstat(file.get(), &status) == 0 && isRegular(status) &&
        status.st_uid == geteuid() && flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
        unlinkat(directory, name.constData(), 0);
    }
}

FileDraft::FileDraft(std::shared_ptr<const OpenDirectory> openDirectory, QByteArray temporaryName,
                     Descriptor opened)
    : directory(std::move(openDirectory))
    , name(std::move(temporaryName))
    , file(std::move(opened))
{
}

FileDraft::~FileDraft()
{
    if (!isPublished && isInPlace()) {
        unlinkat(directory->descriptor.get(), name.constData(), 0);
    }
}

/// Between its creation and the lock, another process may have taken it for an abandoned one.
/// File systems without locks have no abandoned ones either: they are never removed there.
bool FileDraft::hold()
{
    struct stat status
    {
    };
    if (!file.isOpen() || fstat(file.get(), &status) != 0) {
        return false;
    }
    flock(file.get(), LOCK_EX | LOCK_NB);
    // Some file systems have no permissions to set.
    finalMode = status.st_mode & permissions;
    fchmod(file.get(), modeOfDrafts & finalMode);
    return isInPlace();
}

/// Whether the name still leads to this file. ENOENT if not.
bool FileDraft::isInPlace() const
{
    struct stat named
    {
    };
    struct stat held
    {
    };
    if (!file.isOpen() || fstat(file.get(), &held) != 0 ||
        fstatat(directory->descriptor.get(), name.constData(), &named, AT_SYMLINK_NOFOLLOW) != 0) {
        return false;
    }
    errno = ENOENT;
    return areSame(named, held);
}

bool FileDraft::append(const QByteArray &bytes, QString &reason)
{
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t count = write(file.get(), bytes.constData() + written,
                                    static_cast<size_t>(bytes.size() - written));
        if (count < 0 && errno != EINTR) {
            reason = folderFailure(directory->path);
            return false;
        }
        written += std::max<ssize_t>(count, 0);
    }
    return true;
}

std::optional<QByteArray> FileDraft::publish(const QByteArray &wanted, QString &reason)
{
    fchmod(file.get(), finalMode);
    QByteArray given = wanted;
    for (int number = 2; !isPublished && number <= highestNumber; ++number) {
        isPublished = isInPlace() && moveTo(given) == 0;
        if (!isPublished && errno != EEXIST) {
            break;
        }
        given = isPublished ? given : numberedName(wanted, number);
    }
    if (!isPublished) {
        reason = folderFailure(directory->path);
        return std::nullopt;
    }
    return given;
}

int FileDraft::moveTo(const QByteArray &newName) const
{
    int result =
        renameToFreeName(directory->descriptor.get(), name.constData(), newName.constData());
    if (result != 0 && isUnknownWay()) {
        result = linkTo(newName);
    }
    if (result != 0 && isUnknownWay()) {
        result = replaceOwnFile(newName);
    }
    return result;
}

int FileDraft::linkTo(const QByteArray &newName) const
{
    const int root = directory->descriptor.get();
    const int result = linkat(root, name.constData(), root, newName.constData(), 0);
    if (result == 0) {
        unlinkat(root, name.constData(), 0);
    }
    return result;
}

/// Where there are no second links either. An empty file takes the name, if it is free, and then
/// is replaced.
int FileDraft::replaceOwnFile(const QByteArray &newName) const
{
    const int root = directory->descriptor.get();
    const Descriptor place(openat(root, newName.constData(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                  modeOfDrafts));
    if (!place.isOpen()) {
        return -1;
    }
    const int result = renameat(root, name.constData(), root, newName.constData());
    if (result != 0) {
        const int error = errno;
        unlinkat(root, newName.constData(), 0);
        errno = error;
    }
    return result;
}

} // namespace platform
