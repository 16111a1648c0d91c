// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/posix/FolderFailure.h"

#include <QCoreApplication>

#include <cerrno>

namespace platform {
namespace {

const char *knownFailure(int error)
{
    switch (error) {
    case ENOSPC:
    case EDQUOT:
        return QT_TRANSLATE_NOOP("Folder", "The disk of the directory \"%1\" is full.");
    case EROFS:
    case EACCES:
    case EPERM:
        return QT_TRANSLATE_NOOP("Folder", "There is no permission to use the directory \"%1\".");
    case ENOENT:
        return QT_TRANSLATE_NOOP("Folder", "The directory \"%1\" does not exist, or what was in it "
                                           "has been removed.");
    case ENOTDIR:
        return QT_TRANSLATE_NOOP("Folder", "\"%1\" is not a directory.");
    case EFBIG:
        return QT_TRANSLATE_NOOP("Folder", "The disk of the directory \"%1\" takes no file that "
                                           "large.");
    case ENAMETOOLONG:
        return QT_TRANSLATE_NOOP("Folder", "The disk of the directory \"%1\" takes no name that "
                                           "long.");
    case EMFILE:
    case ENFILE:
        return QT_TRANSLATE_NOOP("Folder", "Nothing in the directory \"%1\" can be opened, because "
                                           "too many files are open.");
    default:
        return nullptr;
    }
}

} // namespace

QString folderFailure(const QString &directory)
{
    const int error = errno;
    if (const char *known = knownFailure(error)) {
        return QCoreApplication::translate("Folder", known).arg(directory);
    }
    return QCoreApplication::translate("Folder", "The directory \"%1\" cannot be used: %2.")
        .arg(directory, qt_error_string(error));
}

} // namespace platform
