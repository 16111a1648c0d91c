// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "net/DescriptorBudget.h"

#include <QByteArray>
#include <QString>

class QFile;

/// Stores the file that a connection receives: opens it, writes what arrives and counts it. It
/// works on fields of the connection, which must outlive it.
///
/// The path is that of the file being received, and empty while none is. A file that could not be
/// opened is received like any other: what arrives is counted and thrown away.
class FileReceiver
{
public:
    /// \param bytesRemaining what is still to come of the announced size, in bytes; below zero once
    /// more has arrived
    FileReceiver(QString &filePath, quint64 &fileSize, qint64 &bytesRemaining, QFile &file,
                 DescriptorBudget &descriptors);

    bool isReceiving() const { return !filePath.isEmpty(); }
    /// The file's full path; empty while none is received.
    const QString &path() const { return filePath; }

    /// Begins with that file in the download directory of the settings: if the file exists, what
    /// arrives is appended to it. An earlier file that has not ended is closed.
    /// \param announcedSize in bytes; any value
    void begin(const QString &fileName, quint64 announcedSize);
    /// Writes what has arrived.
    /// \return whether the file has ended, that is, whether more has arrived than was announced
    bool write(const QByteArray &bytes);
    /// Closes the file. It counts as being received until end().
    void close();
    void end() { filePath.clear(); }

    /// What the next read should take at most, in bytes; 0 for all that has arrived. It is 0 for
    /// the read that may end the file, so that the file's last bytes are not left behind.
    qint64 readLimit() const;

private:
    QString &filePath;
    quint64 &fileSize;
    qint64 &bytesRemaining;
    QFile &file;
    DescriptorBudget &descriptors;
    DescriptorBudget::Lease lease;
};
