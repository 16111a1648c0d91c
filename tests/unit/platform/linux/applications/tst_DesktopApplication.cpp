// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/DesktopApplication.h"
#include "support/Waiting.h"
#include "support/process/ChildProcess.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QVariantMap>

using namespace platform;
using namespace Qt::StringLiterals;

/// A program on the session bus, as others on the bus see it.
class BusProgram : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    /// Owns the name and has the object at the path, unless the bus refuses.
    BusProgram(const QString &name, const QString &path)
        : bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"program"_s))
    {
        isOnTheBus = bus.registerObject(path, this, QDBusConnection::ExportAllSlots) &&
                     bus.registerService(name);
    }
    ~BusProgram() override { QDBusConnection::disconnectFromBus(u"program"_s); }

    bool isOnTheBus = false;
    int activations = 0;

public slots:
    void Activate(const QVariantMap &) { ++activations; }

private:
    QDBusConnection bus;
};

namespace {

DesktopApplication applicationOf(const QByteArray &lines, const QString &name = u"a"_s)
{
    return DesktopApplication(
        {KeyFile::parse("[Desktop Entry]\nType=Application\nName=A\nName[de]=B\n" + lines),
         u"/data/applications/"_s + name + u".desktop"_s});
}

} // namespace

/// Starting programs by their entries, without a display: with a session bus, and with processes.
class tst_DesktopApplication : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void nameIsInTheUsersLanguage();
    void withoutABusNameAndWindowsNothingRuns();
    void processGetsTheArgumentsAsTheyAre();
    void processStartsInTheFolderOfTheEntry();
    void processOutlivesTheApplication();
    void terminalProgramStartsInATerminal();
    void failedStartIsSilent_data();
    void failedStartIsSilent();

    void ownerOfTheBusNameRuns();
    void busNameCountsForActivatableProgramsOnly();
    void busStartsTheProgram();
    void busProgramWithoutWindowsIsRaisedByTheBus();
    void programThatTheBusCannotStartIsStartedByExec();

private:
    /// The lines of an entry whose program writes its folder and arguments to the record.
    QByteArray recordingLines(const QByteArray &arguments) const;
    /// What the program wrote; empty until it is complete.
    QStringList record() const;

    ChildProcess busDaemon;
    std::unique_ptr<QTemporaryDir> folder;
};

// The bus must be there before the first question, because the toolkit connects only once.
void tst_DesktopApplication::initTestCase()
{
    busDaemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
    QVERIFY2(waitUntil([this] { return busDaemon.canReadLine(); }), "dbus-daemon did not start");
    qputenv("DBUS_SESSION_BUS_ADDRESS", busDaemon.readLine().trimmed());
    qunsetenv("DISPLAY");
}

void tst_DesktopApplication::init()
{
    folder = std::make_unique<QTemporaryDir>();
    QFile program(folder->filePath(u"program"_s));
    QVERIFY(program.open(QIODevice::WriteOnly));
    program.write("#!/bin/sh\n"
                  "touch \"${0%/*}/started-$1\"\n"
                  "printf '%s\\n' \"$PWD\" \"$@\" end > \"${0%/*}/part\"\n"
                  "mv \"${0%/*}/part\" \"${0%/*}/record\"\n");
    program.close();
    QVERIFY(program.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
}

QByteArray tst_DesktopApplication::recordingLines(const QByteArray &arguments) const
{
    return "Exec=" + folder->filePath(u"program"_s).toUtf8() + ' ' + arguments + '\n';
}

QStringList tst_DesktopApplication::record() const
{
    QFile file(folder->filePath(u"record"_s));
    return file.open(QIODevice::ReadOnly)
               ? QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts)
               : QStringList();
}

void tst_DesktopApplication::nameIsInTheUsersLanguage()
{
    const QByteArray former = qgetenv("LC_ALL");
    qputenv("LC_ALL", "de_CH.UTF-8");
    QCOMPARE(applicationOf("").name(), u"B"_s);
    qputenv("LC_ALL", "C.UTF-8");
    QCOMPARE(applicationOf("").name(), u"A"_s);
    qputenv("LC_ALL", former);
}

void tst_DesktopApplication::withoutABusNameAndWindowsNothingRuns()
{
    QVERIFY(!applicationOf("Exec=/bin/true\n").isRunning());
    QVERIFY(!applicationOf("DBusActivatable=true\n", u"org.example.Absent"_s).isRunning());
    QVERIFY(!applicationOf("DBusActivatable=true\n", u"no bus name"_s).isRunning());
}

void tst_DesktopApplication::processGetsTheArgumentsAsTheyAre()
{
    auto application = applicationOf(
        recordingLines(R"(plain "two words" "\\$HOME" "\\`id\\`" $(id) a;b|c %U 50%% %c)"));
    application.run();
    QVERIFY(waitUntil([this] { return !record().isEmpty(); }));
    QCOMPARE(record().mid(1), (QStringList{u"plain"_s, u"two words"_s, u"$HOME"_s, u"`id`"_s,
                                           u"$(id)"_s, u"a;b|c"_s, u"50%"_s, u"A"_s, u"end"_s}));
}

void tst_DesktopApplication::processStartsInTheFolderOfTheEntry()
{
    auto application = applicationOf(recordingLines("") + "Path=/usr/share\n");
    application.run();
    QVERIFY(waitUntil([this] { return !record().isEmpty(); }));
    QCOMPARE(record().first(), u"/usr/share"_s);
}

void tst_DesktopApplication::processOutlivesTheApplication()
{
    applicationOf(recordingLines("alive")).run();
    QVERIFY(waitUntil([this] { return record().contains(u"alive"_s); }));
}

void tst_DesktopApplication::terminalProgramStartsInATerminal()
{
    QVERIFY(
        QFile::copy(folder->filePath(u"program"_s), folder->filePath(u"x-terminal-emulator"_s)));
    const QByteArray former = qgetenv("PATH");
    qputenv("PATH", folder->path().toUtf8() + ':' + former);
    auto application = applicationOf("Exec=top -d \"1 2\"\nTerminal=true\n");
    application.run();
    qputenv("PATH", former);
    QVERIFY(waitUntil([this] { return !record().isEmpty(); }));
    QCOMPARE(record().mid(1), (QStringList{u"-e"_s, u"top"_s, u"-d"_s, u"1 2"_s, u"end"_s}));
}

void tst_DesktopApplication::failedStartIsSilent_data()
{
    QTest::addColumn<QByteArray>("arguments");
    QTest::addColumn<QByteArray>("moreLines");
    QTest::newRow("nothing to start") << QByteArray() << QByteArray("Exec=\n");
    QTest::newRow("no such program") << QByteArray() << QByteArray("Exec=/nowhere/program\n");
    QTest::newRow("not installed") << QByteArray() << QByteArray("TryExec=/nowhere/program\n");
    QTest::newRow("deleted") << QByteArray() << QByteArray("Hidden=true\n");
    QTest::newRow("no such folder") << QByteArray() << QByteArray("Path=/nowhere\n");
    QTest::newRow("unknown field code") << QByteArray("%x") << QByteArray();
    QTest::newRow("open quote") << QByteArray("\"") << QByteArray();
}

void tst_DesktopApplication::failedStartIsSilent()
{
    QFETCH(QByteArray, arguments);
    QFETCH(QByteArray, moreLines);
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    applicationOf(recordingLines("wrongly " + arguments) + moreLines).run();
    // If the program had been started nevertheless, it would have written by the time this one has.
    applicationOf(recordingLines("later")).run();
    QVERIFY(waitUntil([this] { return record().contains(u"later"_s); }));
    QVERIFY(!QFileInfo::exists(folder->filePath(u"started-wrongly"_s)));
}

void tst_DesktopApplication::ownerOfTheBusNameRuns()
{
    auto application = applicationOf("DBusActivatable=true\n", u"org.example.Owner"_s);
    QVERIFY(!application.isRunning());
    {
        const BusProgram program(u"org.example.Owner"_s, u"/org/example/Owner"_s);
        QVERIFY(program.isOnTheBus);
        QVERIFY(application.isRunning());
    }
    QVERIFY(waitUntil([&application] { return !application.isRunning(); }));
}

void tst_DesktopApplication::busNameCountsForActivatableProgramsOnly()
{
    const BusProgram program(u"org.example.Owner"_s, u"/org/example/Owner"_s);
    QVERIFY(program.isOnTheBus);
    QVERIFY(!applicationOf("Exec=/bin/true\n", u"org.example.Owner"_s).isRunning());
}

void tst_DesktopApplication::busStartsTheProgram()
{
    const BusProgram program(u"org.example.My-Player"_s, u"/org/example/My_Player"_s);
    QVERIFY(program.isOnTheBus);
    auto application = applicationOf("DBusActivatable=true\n" + recordingLines("by Exec"),
                                     u"org.example.My-Player"_s);
    application.run();
    QVERIFY(waitUntil([&program] { return program.activations > 0; }));
    // Long enough for the answer after which the process would be started.
    applicationOf(recordingLines("later")).run();
    QVERIFY(waitUntil([this] { return record().contains(u"later"_s); }));
    QVERIFY(!QFileInfo::exists(folder->filePath(u"started-by"_s)));
    QCOMPARE(program.activations, 1);
}

void tst_DesktopApplication::busProgramWithoutWindowsIsRaisedByTheBus()
{
    const BusProgram program(u"org.example.Player"_s, u"/org/example/Player"_s);
    QVERIFY(program.isOnTheBus);
    auto application = applicationOf("DBusActivatable=true\n", u"org.example.Player"_s);
    QElapsedTimer timer;
    timer.start();
    application.activate();
    // The program is this process, which cannot answer while it waits.
    QVERIFY2(timer.elapsed() < 5000, "waits for a program that does not answer");
    QVERIFY(waitUntil([&program] { return program.activations == 1; }));
}

void tst_DesktopApplication::programThatTheBusCannotStartIsStartedByExec()
{
    applicationOf("DBusActivatable=true\n" + recordingLines("by Exec"), u"org.example.Unknown"_s)
        .run();
    QVERIFY(waitUntil([this] { return !record().isEmpty(); }));
    QCOMPARE(record().mid(1), (QStringList{u"by"_s, u"Exec"_s, u"end"_s}));
}

QTEST_GUILESS_MAIN(tst_DesktopApplication)
#include "tst_DesktopApplication.moc"
