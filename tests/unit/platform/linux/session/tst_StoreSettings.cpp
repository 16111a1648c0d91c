// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/SettingsFile.h"
#include "support/session/PrivateHome.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QLockFile>
#include <QTest>

#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <fcntl.h>
#include <unistd.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

QString settingsFile()
{
    return QSettings().fileName();
}

QString lockFile()
{
    return settingsFile() + u".lock"_s;
}

void writeFile(const QString &name, const QByteArray &text)
{
    QFile file(name);
    QVERIFY(QDir().mkpath(QFileInfo(name).path()));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(text), text.size());
}

void makeOlder(const QString &name, int seconds)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    now.tv_sec -= seconds;
    const timespec times[] = {now, now};
    QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(name).constData(), times, 0), 0);
}

/// What QLockFile writes: the process, its name, the host, and the numbers of the host and its
/// boot.
QByteArray lockOfAnotherHost()
{
    return "1234\nVornaServer\nelsewhere\n0123456789abcdef0123456789abcdef\n"
           "01234567-89ab-cdef-0123-456789abcdef\n";
}

} // namespace

/// The settings are written, whatever is in the place of the toolkit's lock.
class tst_StoreSettings : public QObject
{
    Q_OBJECT

private slots:
    void init() { home = std::make_unique<PrivateHome>(); }
    void cleanup() { home.reset(); }

    void valuesAreWrittenInTheirOrder();
    void otherValuesStay();
    void aLockIsNotWaitedForLong_data();
    void aLockIsNotWaitedForLong();
    void withoutAFileALockIsNotWaitedForLong();
    void aYoungLockOfAnEndedProcessStays();
    void anOldLockIsRemoved();
    void anOldLockThatIsHeldStays();
    void aLinkStaysALink();
    void aFileThatMustNotBeWrittenIsNotReplaced();
    void readingHeedsNoLock();

private:
    std::unique_ptr<PrivateHome> home;
};

void tst_StoreSettings::valuesAreWrittenInTheirOrder()
{
    QVERIFY(platform::storeSettings(
        {{u"b"_s, QVariant(true)}, {u"a"_s, QVariant(QStringList({u"x"_s, u"y"_s}))}}));
    QCOMPARE(contentOf(settingsFile()), QByteArray("[General]\na=x, y\nb=true\n"));
    QVERIFY(!QFileInfo::exists(lockFile()));
}

void tst_StoreSettings::otherValuesStay()
{
    writeFile(settingsFile(), "[General]\nother=5\nb=1\n\n[group]\nkey=value\n");
    platform::storeSettings({{u"b"_s, QVariant(2)}});
    QCOMPARE(contentOf(settingsFile()),
             QByteArray("[General]\nb=2\nother=5\n\n[group]\nkey=value\n"));
}

void tst_StoreSettings::aLockIsNotWaitedForLong_data()
{
    QTest::addColumn<QByteArray>("lock");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("garbage") << QByteArray("\x01\xff\n\nno process\n");
    QTest::newRow("another host's") << lockOfAnotherHost();
    QTest::newRow("a folder") << QByteArray("folder");
    QTest::newRow("a named pipe") << QByteArray("pipe");
}

void tst_StoreSettings::aLockIsNotWaitedForLong()
{
    QFETCH(QByteArray, lock);
    writeFile(settingsFile(), "[General]\nb=1\nother=5\n\n[group]\nkey=value\n");
    QVERIFY(QFile::setPermissions(settingsFile(), QFile::ReadOwner | QFile::WriteOwner));
    if (lock == "folder") {
        QVERIFY(QDir().mkpath(lockFile()));
    } else if (lock == "pipe") {
        QCOMPARE(mkfifo(QFile::encodeName(lockFile()).constData(), 0600), 0);
    } else {
        writeFile(lockFile(), lock);
    }
    QElapsedTimer time;
    time.start();
    QVERIFY(platform::storeSettings(
        {{u"b"_s, QVariant(2)}, {u"c"_s, QVariant(QStringList({u"x"_s, u"y"_s}))}}));
    QVERIFY2(time.elapsed() < 6'000, qPrintable(QString::number(time.elapsed())));
    QVERIFY(QFileInfo::exists(lockFile()));
    if (QFileInfo(lockFile()).isFile()) {
        QCOMPARE(contentOf(lockFile()), lock);
    }
    QCOMPARE(contentOf(settingsFile()),
             QByteArray("[General]\nb=2\nc=x, y\nother=5\n\n[group]\nkey=value\n"));
    QCOMPARE(QSettings().value("b").toInt(), 2);
    QVERIFY(!(QFile::permissions(settingsFile()) & QFile::ReadOther));
    // Nothing is left beside them.
    QCOMPARE(QFileInfo(settingsFile())
                 .dir()
                 .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot),
             QStringList({u"VornaServer.conf"_s, u"VornaServer.conf.lock"_s}));
}

void tst_StoreSettings::withoutAFileALockIsNotWaitedForLong()
{
    writeFile(lockFile(), "");
    QElapsedTimer time;
    time.start();
    platform::storeSettings({{u"b"_s, QVariant(2)}});
    QVERIFY(time.elapsed() < 6'000);
    QCOMPARE(contentOf(settingsFile()), QByteArray("[General]\nb=2\n"));
}

void tst_StoreSettings::aYoungLockOfAnEndedProcessStays()
{
    writeFile(settingsFile(), "[General]\nother=5\n");
    const pid_t process = fork();
    if (process == 0) {
        // Exits without releasing it.
        _exit((new QLockFile(lockFile()))->tryLock(0) ? 0 : 1);
    }
    int status = -1;
    QCOMPARE(waitpid(process, &status, 0), process);
    QCOMPARE(status, 0);
    const QByteArray lock = contentOf(lockFile());
    QVERIFY(!lock.isEmpty());
    platform::storeSettings({{u"b"_s, QVariant(2)}});
    QCOMPARE(contentOf(lockFile()), lock);
    QCOMPARE(contentOf(settingsFile()), QByteArray("[General]\nb=2\nother=5\n"));
}

void tst_StoreSettings::anOldLockIsRemoved()
{
    writeFile(lockFile(), lockOfAnotherHost());
    makeOlder(lockFile(), 60);
    QElapsedTimer time;
    time.start();
    platform::storeSettings({{u"b"_s, QVariant(2)}});
    QVERIFY(time.elapsed() < 6'000);
    QCOMPARE(QSettings().value("b").toInt(), 2);
    QVERIFY(!QFileInfo::exists(lockFile()));
}

void tst_StoreSettings::anOldLockThatIsHeldStays()
{
    writeFile(lockFile(), "");
    makeOlder(lockFile(), 60);
    const int held = open(QFile::encodeName(lockFile()).constData(), O_RDWR | O_CLOEXEC);
    QVERIFY(held >= 0);
    QCOMPARE(flock(held, LOCK_EX), 0);
    QElapsedTimer time;
    time.start();
    platform::storeSettings({{u"b"_s, QVariant(2)}});
    QVERIFY(time.elapsed() < 6'000);
    QCOMPARE(QSettings().value("b").toInt(), 2);
    QVERIFY(QFileInfo::exists(lockFile()));
    close(held);
}

void tst_StoreSettings::aLinkStaysALink()
{
    const QString elsewhere = home->subdirectory(u"elsewhere"_s) + u"/vorna.conf"_s;
    writeFile(elsewhere, "[General]\nother=5\n");
    QVERIFY(QDir().mkpath(QFileInfo(settingsFile()).path()));
    QVERIFY(QFile::link(elsewhere, settingsFile()));
    writeFile(lockFile(), "");
    platform::storeSettings({{u"b"_s, QVariant(2)}});
    QVERIFY(QFileInfo(settingsFile()).isSymLink());
    QCOMPARE(contentOf(elsewhere), QByteArray("[General]\nb=2\nother=5\n"));
}

void tst_StoreSettings::aFileThatMustNotBeWrittenIsNotReplaced()
{
    // A folder, which nobody can write as a file, whatever the permissions are.
    QVERIFY(QDir().mkpath(settingsFile()));
    QVERIFY(!platform::storeSettings({{u"b"_s, QVariant(2)}}));
    writeFile(lockFile(), "");
    QVERIFY(!platform::storeSettings({{u"b"_s, QVariant(2)}}));
    QVERIFY(QFileInfo(settingsFile()).isDir());
}

void tst_StoreSettings::readingHeedsNoLock()
{
    writeFile(settingsFile(), "[General]\nb=1\n");
    QCOMPARE(mkfifo(QFile::encodeName(lockFile()).constData(), 0600), 0);
    QElapsedTimer time;
    time.start();
    QCOMPARE(QSettings().value("b").toInt(), 1);
    writeFile(settingsFile(), "[General]\nb=10\n");
    QCOMPARE(QSettings().value("b").toInt(), 10);
    QVERIFY(time.elapsed() < 1'000);
}

QTEST_GUILESS_MAIN(tst_StoreSettings)
#include "tst_StoreSettings.moc"
