// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/PosixFolder.h"

#include "platform/posix/Beneath.h"
#include "platform/posix/DirectoryNames.h"
#include "platform/posix/DraftCleaning.h"
#include "platform/posix/FileListing.h"
#include "platform/posix/FolderFailure.h"
#include "platform/posix/NumberedName.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringDecoder>

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

bool isTextWithoutControls(const QByteArray &name)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(name);
    return !decoder.hasError() && std::none_of(text.begin(), text.end(), [](QChar c) {
        return c.category() == QChar::Other_Control;
    });
}

/// Reads until that many bytes or the end. Nothing if that fails.
std::optional<QByteArray> readFrom(const Descriptor &file, qint64 offset, qint64 length)
{
    QByteArray bytes(length, Qt::Uninitialized);
    qint64 have = 0;
    while (have < length) {
        const ssize_t count = pread(file.get(), bytes.data() + have,
                                    static_cast<size_t>(length - have), offset + have);
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        if (count == 0) {
            break;
        }
        have += std::max<ssize_t>(count, 0);
    }
    bytes.truncate(have);
    return bytes;
}

} // namespace

bool Folder::isName(const QByteArray &name)
{
    return !name.isEmpty() && name.size() <= longestFileName && !name.contains('/') &&
           name != "." && name != ".." && !FileDraft::isDraftName(name) &&
           isTextWithoutControls(name);
}

std::unique_ptr<Folder> Folder::open(const QString &path, QString &reason)
{
    if (!path.startsWith(u'/')) {
        reason = QCoreApplication::translate("Folder", "\"%1\" is not a directory's full path.")
                     .arg(path);
        return nullptr;
    }
    Descriptor opened(
        ::open(QFile::encodeName(path).constData(), passing | O_DIRECTORY | O_CLOEXEC));
    if (!opened.isOpen()) {
        reason = folderFailure(path);
        return nullptr;
    }
    return std::make_unique<PosixFolder>(
        std::make_shared<const OpenDirectory>(OpenDirectory{std::move(opened), path}));
}

PosixFolder::PosixFolder(std::shared_ptr<const OpenDirectory> opened) : directory(std::move(opened))
{
}

std::unique_ptr<Folder::Draft> PosixFolder::draft(QString &reason)
{
    return FileDraft::create(directory, reason);
}

std::unique_ptr<Folder::Listing> PosixFolder::list(const QByteArray &after, int limit,
                                                   QString &reason)
{
    DirectoryNames names(directory->descriptor.get());
    if (!names.isOpen()) {
        reason = folderFailure(directory->path);
        return nullptr;
    }
    return std::make_unique<FileListing>(std::move(names), after, limit);
}

std::optional<Folder::Piece> PosixFolder::read(const QByteArray &name, qint64 offset, qint64 length)
{
    if (!isName(name)) {
        return std::nullopt;
    }
    const Descriptor file(openat(directory->descriptor.get(), name.constData(),
                                 O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status
    {
    };
    if (!file.isOpen() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    auto bytes = readFrom(file, offset, std::clamp<qint64>(status.st_size - offset, 0, length));
    return bytes ? std::optional(Piece{*std::move(bytes), status.st_size}) : std::nullopt;
}

std::unique_ptr<Folder::Cleaning> PosixFolder::cleaning()
{
    DirectoryNames names(directory->descriptor.get());
    return names.isOpen() ? std::make_unique<DraftCleaning>(std::move(names)) : nullptr;
}

} // namespace platform
