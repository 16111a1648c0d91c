// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/SettingsFile.h"

#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSettings>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

constexpr std::chrono::milliseconds longestWait(2'000);

void write(QSettings &settings, const std::vector<Setting> &values)
{
    for (const auto &[key, value] : values) {
        settings.setValue(key, value);
    }
    settings.sync();
}

/// Whether the toolkit, which waits for its lock as long as that takes, will get it at once. What a
/// program left there that has ended is removed, as is what has no living owner after 30 s.
bool isUnlocked(const QString &file)
{
    const QString name = file + u".lock"_s;
    const QFileInfo place(name);
    if (place.exists() && !place.isFile()) {
        return false; // To look into a named pipe is to wait.
    }
    QLockFile lock(name);
    return lock.tryLock(static_cast<int>(longestWait.count())) ||
           lock.error() != QLockFile::LockFailedError;
}

/// Writes a copy in a folder of its own, where nobody else has a lock, and puts it in the place of
/// the file.
void writeBesideTheLock(const QFileInfo &file, const std::vector<Setting> &values)
{
    const QTemporaryDir folder(file.path() + u"/VornaServer-XXXXXX"_s);
    const QString copy = folder.filePath(file.fileName());
    if (file.exists() && !QFile::copy(file.filePath(), copy)) {
        return;
    }
    QSettings settings(copy, QSettings::NativeFormat);
    write(settings, values);
    if (settings.status() == QSettings::NoError) {
        std::rename(QFile::encodeName(copy).constData(),
                    QFile::encodeName(file.filePath()).constData());
    }
}

/// The file that a link leads to: the link stays.
QFileInfo target(const QString &name)
{
    const QString canonical = QFileInfo(name).canonicalFilePath();
    return QFileInfo(canonical.isEmpty() ? name : canonical);
}

} // namespace

void storeSettings(const std::vector<Setting> &values)
{
    QSettings settings;
    if (isUnlocked(settings.fileName())) {
        write(settings, values);
    } else if (settings.isWritable()) {
        writeBesideTheLock(target(settings.fileName()), values);
    }
}

} // namespace platform
