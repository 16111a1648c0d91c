// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/FileReceiver.h"

#include "messages/Messages.h"
#include "net/DownloadFile.h"
#include "settings/Settings.h"

#include <QCoreApplication>
#include <QFile>
#include <QtNumeric>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

/// What one read takes of a file, in bytes: a larger buffer would not fit into the processor's
/// cache.
constexpr qint64 pieceSize = 256 * 1024;

/// A peer may announce any size, so the count may be at either end of its range.
qint64 differenceWithinRange(qint64 count, qint64 bytes)
{
    qint64 difference = 0;
    if (qSubOverflow(count, bytes, &difference)) {
        using Range = std::numeric_limits<qint64>;
        return bytes > 0 ? Range::min() : Range::max();
    }
    return difference;
}

void warnAboutDirectory(const QString &directory)
{
    Messages::warning(
        {QCoreApplication::translate(
             "ClientHandler", "The file is not saved: the download directory \"%1\" is not a full "
                              "path. Choose a folder in Preferences.")
             .arg(directory)});
}

} // namespace

FileReceiver::FileReceiver(QString &path, quint64 &size, qint64 &remaining, QFile &openFile,
                           DescriptorBudget &budget)
    : filePath(path)
    , fileSize(size)
    , bytesRemaining(remaining)
    , file(openFile)
    , descriptors(budget)
{
}

void FileReceiver::begin(const QString &fileName, quint64 announcedSize)
{
    fileSize = announcedSize;
    bytesRemaining = static_cast<qint64>(announcedSize);
    const QString directory = Settings::receptionDirectory();
    filePath = directory + u'/' + fileName;
    Messages::debug({u"File: "_s, Messages::quoted(filePath)});
    close();
    if (!isDownloadDirectory(directory)) {
        warnAboutDirectory(directory);
    }
    // By design: a file that could not be opened is not announced as such.
    if (descriptors.hasRoomForFile()) {
        openDownload(file, directory, fileName);
    }
    if (file.isOpen()) {
        lease = DescriptorBudget::Lease(descriptors);
    }
}

bool FileReceiver::write(const QByteArray &bytes)
{
    // By design: a failed write returns -1, which raises the count.
    const qint64 written = file.isOpen() ? file.write(bytes) : -1;
    bytesRemaining = differenceWithinRange(bytesRemaining, written);
    // By design: strictly below zero, so exactly the announced bytes do not end the file.
    return bytesRemaining < 0;
}

void FileReceiver::close()
{
    // Flushes too, and does nothing if the file could not be opened.
    file.close();
    lease = {};
}

qint64 FileReceiver::readLimit() const
{
    return bytesRemaining < pieceSize ? 0 : pieceSize;
}
