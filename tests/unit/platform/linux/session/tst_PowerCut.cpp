// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/SettingsFile.h"
#include "support/session/PrivateHome.h"

#include <QFileInfo>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <map>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// What reaches the disk while settings are written. From a certain step on nothing does, and files
/// that were not synchronised by then are lost.
struct Disk
{
    bool isWatched = false;
    int stepsLeft = 0;                   ///< Until the power is cut.
    int steps = 0;                       ///< Done or lost.
    std::map<ino_t, int> unsynchronised; ///< Files, each with a descriptor of our own.

    void begin(int stepsUntilCut)
    {
        isWatched = true;
        stepsLeft = stepsUntilCut;
        steps = 0;
    }

    void end()
    {
        isWatched = false;
        for (const auto &[file, descriptor] : std::exchange(unsynchronised, {})) {
            close(descriptor);
        }
    }

    void hasWritten(ino_t file, int descriptor)
    {
        if (unsynchronised.count(file) == 0) {
            unsynchronised[file] = dup(descriptor);
        }
    }

    void hasSynchronised(ino_t file)
    {
        const auto found = unsynchronised.find(file);
        if (found != unsynchronised.end()) {
            close(found->second);
            unsynchronised.erase(found);
        }
    }

    /// Whether the next step still takes effect.
    bool takesStep()
    {
        if (!isWatched) {
            return true;
        }
        ++steps;
        if (stepsLeft == 0) {
            return false;
        }
        if (--stepsLeft == 0) {
            loseTheRest();
        }
        return true;
    }

    void loseTheRest()
    {
        for (const auto &[file, descriptor] : unsynchronised) {
            [[maybe_unused]] const long result = syscall(SYS_ftruncate, descriptor, 0);
        }
    }
};

Disk disk;

/// The file's number; 0 for anything that is not a file.
ino_t fileOf(int descriptor)
{
    struct stat status
    {
    };
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) ? status.st_ino : 0;
}

} // namespace

// These take precedence over the system's library, also for the toolkit.

extern "C" ssize_t write(int descriptor, const void *data, size_t size)
{
    if (disk.isWatched && fileOf(descriptor) != 0) {
        // Before the step, because that may be the last one.
        disk.hasWritten(fileOf(descriptor), descriptor);
        if (!disk.takesStep()) {
            return static_cast<ssize_t>(size);
        }
        const long written = syscall(SYS_write, descriptor, data, size);
        if (disk.stepsLeft == 0) {
            disk.loseTheRest();
        }
        return written;
    }
    return syscall(SYS_write, descriptor, data, size);
}

extern "C" int fdatasync(int descriptor)
{
    if (disk.isWatched && disk.stepsLeft > 0) {
        disk.hasSynchronised(fileOf(descriptor));
    }
    return disk.takesStep() ? static_cast<int>(syscall(SYS_fdatasync, descriptor)) : 0;
}

extern "C" int rename(const char *from, const char *to) noexcept
{
    return disk.takesStep() ? static_cast<int>(syscall(SYS_rename, from, to)) : 0;
}

extern "C" int linkat(int fromFolder, const char *from, int toFolder, const char *to,
                      int flags) noexcept
{
    return disk.takesStep()
               ? static_cast<int>(syscall(SYS_linkat, fromFolder, from, toFolder, to, flags))
               : 0;
}

/// Whenever the power is cut, the settings are either the old or the new ones.
class tst_PowerCut : public QObject
{
    Q_OBJECT

private slots:
    void settingsAreTheOldOrTheNew_data();
    void settingsAreTheOldOrTheNew();
};

void tst_PowerCut::settingsAreTheOldOrTheNew_data()
{
    QTest::addColumn<bool>("isLocked");
    QTest::newRow("written by the toolkit") << false;
    QTest::newRow("written beside a lock") << true;
}

void tst_PowerCut::settingsAreTheOldOrTheNew()
{
    QFETCH(bool, isLocked);
    const QByteArray before = "[General]\nb=1\nother=5\n";
    const QByteArray after = "[General]\nb=2\nother=5\n";
    bool wasOld = false;
    bool wasNew = false;
    for (int cutBehind = 1; !wasNew; ++cutBehind) {
        QVERIFY(cutBehind < 50);
        const PrivateHome home;
        const QString name = QSettings().fileName();
        QVERIFY(QDir().mkpath(QFileInfo(name).path()));
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(before) == before.size());
        file.close();
        if (isLocked) {
            QVERIFY(QDir().mkpath(name + u".lock"_s));
        }
        disk.begin(cutBehind);
        platform::storeSettings({{u"b"_s, QVariant(2)}});
        disk.end();
        QVERIFY2(disk.steps >= 3, QByteArray::number(disk.steps).constData());
        const QByteArray content = contentOf(name);
        QVERIFY2(content == before || content == after, content.constData());
        wasOld = wasOld || content == before;
        wasNew = content == after;
    }
    QVERIFY(wasOld);
}

QTEST_GUILESS_MAIN(tst_PowerCut)
#include "tst_PowerCut.moc"
