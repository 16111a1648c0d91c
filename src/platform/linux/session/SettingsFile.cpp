// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/SettingsFile.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>

#include <chrono>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

constexpr std::chrono::milliseconds longestWait(2'000);
constexpr std::chrono::seconds longestLife(30);
constexpr unsigned long lookAgain = 10; // ms

bool write(QSettings &settings, const std::vector<Setting> &values)
{
    for (const auto &[key, value] : values) {
        settings.setValue(key, value);
    }
    settings.sync();
    return settings.status() == QSettings::NoError;
}

bool isYoung(const QFileInfo &lock)
{
    return lock.lastModified().secsTo(QDateTime::currentDateTime()) < longestLife.count();
}

/// Whether the toolkit, which waits for its lock without limit, will get it at once. A lock that is
/// older than 30 s and that no process holds is removed.
bool isUnlocked(const QString &file)
{
    const QDeadlineTimer patience(longestWait);
    QFileInfo place(file + u".lock"_s);
    // The toolkit would also remove a recent one if its owner seems to be gone.
    while (place.exists() && place.isFile() && isYoung(place) && !patience.hasExpired()) {
        QThread::msleep(lookAgain);
        place.refresh();
    }
    if (place.exists() && (!place.isFile() || isYoung(place))) {
        return false; // Reading a named pipe would wait.
    }
    QLockFile lock(place.filePath());
    return lock.tryLock(static_cast<int>(patience.remainingTime())) ||
           lock.error() != QLockFile::LockFailedError;
}

/// Writes a copy in a folder of its own, where nobody else has a lock, and renames it to the file.
bool writeBesideTheLock(const QFileInfo &file, const std::vector<Setting> &values)
{
    const QTemporaryDir folder(file.path() + u"/VornaServer-XXXXXX"_s);
    const QString copy = folder.filePath(file.fileName());
    if (file.exists() && !QFile::copy(file.filePath(), copy)) {
        return false;
    }
    QSettings settings(copy, QSettings::NativeFormat);
    return write(settings, values) &&
           std::rename(QFile::encodeName(copy).constData(),
                       QFile::encodeName(file.filePath()).constData()) == 0;
}

/// The file that a link points to, so that the link is kept.
QFileInfo target(const QString &name)
{
    const QString canonical = QFileInfo(name).canonicalFilePath();
    return QFileInfo(canonical.isEmpty() ? name : canonical);
}

} // namespace

bool storeSettings(const std::vector<Setting> &values)
{
    QSettings settings;
    if (isUnlocked(settings.fileName())) {
        return write(settings, values);
    }
    return settings.isWritable() && writeBesideTheLock(target(settings.fileName()), values);
}

} // namespace platform
