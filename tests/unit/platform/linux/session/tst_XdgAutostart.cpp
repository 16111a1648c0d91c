// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/applications/DesktopEntry.h"
#include "platform/linux/session/XdgAutostart.h"
#include "startup/settingsManagerMac.h"
#include "support/Waiting.h"
#include "support/process/ChildProcess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <sys/inotify.h>
#include <unistd.h>

using namespace platform;
using namespace Qt::StringLiterals;

namespace {

/// The folder of a user, below a temporary one.
class Autostart
{
public:
    QString path() const { return scratch.filePath(u"config/autostart"_s); }
    QString file(const QString &name) const { return path() + u'/' + name; }

    void write(const QString &name, const QByteArray &text) const
    {
        QVERIFY(QDir().mkpath(path()));
        QFile entry(file(name));
        QVERIFY(entry.open(QIODevice::WriteOnly));
        entry.write(text);
    }

    QByteArray read(const QString &name) const
    {
        QFile entry(file(name));
        return entry.open(QIODevice::ReadOnly) ? entry.readAll() : QByteArray("(missing)");
    }

    /// Every file with its bytes.
    QHash<QString, QByteArray> contents() const
    {
        QHash<QString, QByteArray> all;
        for (const QString &name : names()) {
            all.insert(name, read(name));
        }
        return all;
    }

    QStringList names() const
    {
        return QDir(path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                      QDir::NoDotAndDotDot);
    }

    XdgAutostart open() const { return XdgAutostart(path()); }

    void startAtLogon(bool enable) const
    {
        settingsManagerMac(std::make_unique<XdgAutostart>(path())).startAtLogon(enable);
    }

private:
    QTemporaryDir scratch;
};

QByteArray entryOf(const QByteArray &path, const QByteArray &moreLines = {})
{
    return "[Desktop Entry]\nType=Application\nName=Another\nExec=" + path + '\n' + moreLines;
}

QByteArray ownPath()
{
    return QCoreApplication::applicationFilePath().toUtf8();
}

/// Everything that the command printed, and whether it failed.
QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    ChildProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit) {
        return process.errorString().toUtf8();
    }
    return process.readAll() + (process.exitCode() == 0 ? "" : "failed");
}

/// Creates a program there that writes a file "ran" beside itself.
void makeRecordingProgram(const QString &path)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile program(path);
    QVERIFY(program.open(QIODevice::WriteOnly));
    program.write("#!/bin/sh\necho \"$#\" > \"${0%/*}/ran\"\n");
    program.close();
    QVERIFY(program.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

bool hasRun(const QString &path)
{
    QFile record(QFileInfo(path).path() + "/ran"_L1);
    return record.open(QIODevice::ReadOnly) && record.readAll() == "0\n";
}

} // namespace

/// Start at logon on a Linux desktop: real files, read by the desktop's own tools.
class tst_XdgAutostart : public QObject
{
    Q_OBJECT

private slots:
    void missingFolderIsAnEmptyList();
    void onlyDesktopEntriesCount();
    void pathIsWhatTheEntryStarts_data();
    void pathIsWhatTheEntryStarts();
    void switchedOffEntryKeepsItsPath_data();
    void switchedOffEntryKeepsItsPath();

    void newEntrySaysWhatTheDesktopNeeds();
    void missingFolderIsMade();
    void nameThatIsTakenIsLeftAlone();
    void brokenLinkOfOurNameIsNotFollowed();
    void otherFilesAreNotTouched();
    void newFileAppearsComplete();
    void unwritableFolderIsSilent();

    void startAtLogonAddsOneEntry();
    void startAtLogonLeavesASwitchedOffEntryOff();
    void startAtLogonTurnedOffAndOnIsOnAgain();
    void onlyTheFirstMatchIsDeleted();
    void linkIsDeletedAndNotItsTarget();
    void fileIsDeletedOnlyOnce();

    void applicationPathIsTheExecutable();
    void applicationPathIsTheImageItRunsFrom();
    void imageOfAnotherProgramIsNotOurs();
    void listIsInTheConfigFolderOfTheEnvironment();

    void writtenPathIsValidAndStarts_data();
    void writtenPathIsValidAndStarts();
    void removedProgramIsNotStarted();
    void logonStartsTheEntry();
};

void tst_XdgAutostart::missingFolderIsAnEmptyList()
{
    const Autostart autostart;
    QCOMPARE(autostart.open().count(), 0);
    QVERIFY(!QFileInfo::exists(autostart.path()));
}

void tst_XdgAutostart::onlyDesktopEntriesCount()
{
    const Autostart autostart;
    autostart.write(u"b.desktop"_s, entryOf("/opt/b"));
    autostart.write(u"a.desktop"_s, entryOf("/opt/a"));
    autostart.write(u"c.desktop.bak"_s, entryOf("/opt/c"));
    autostart.write(u"d.conf"_s, entryOf("/opt/d"));
    QVERIFY(QDir().mkpath(autostart.file(u"e.desktop"_s)));
    const auto items = autostart.open();
    QCOMPARE(items.count(), 2);
    QCOMPARE(items.pathAt(0), u"/opt/a"_s);
    QCOMPARE(items.pathAt(1), u"/opt/b"_s);
}

void tst_XdgAutostart::pathIsWhatTheEntryStarts_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("path");
    QTest::newRow("plain") << entryOf("/opt/a") << u"/opt/a"_s;
    QTest::newRow("arguments") << entryOf("/opt/a --vorna /opt/VornaServer %U") << u"/opt/a"_s;
    QTest::newRow("quoted") << entryOf(R"("/opt/a b/\\$c" d)") << u"/opt/a b/$c"_s;
    QTest::newRow("name in PATH") << entryOf("a") << u"a"_s;
    QTest::newRow("no entry at all") << QByteArray("\x7f"
                                                   "ELF\0\1\2")
                                     << u""_s;
    QTest::newRow("mask of an administrator's entry")
        << QByteArray("[Desktop Entry]\nHidden=true") << u""_s;
}

void tst_XdgAutostart::pathIsWhatTheEntryStarts()
{
    QFETCH(QByteArray, text);
    const Autostart autostart;
    autostart.write(u"a.desktop"_s, text);
    const auto items = autostart.open();
    QCOMPARE(items.count(), 1);
    QTEST(items.pathAt(0), "path");
}

void tst_XdgAutostart::switchedOffEntryKeepsItsPath_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("by the standard's key") << QByteArray("Hidden=true\n");
    QTest::newRow("by the desktop's key") << QByteArray("X-GNOME-Autostart-enabled=false\n");
}

void tst_XdgAutostart::switchedOffEntryKeepsItsPath()
{
    QFETCH(QByteArray, line);
    const Autostart autostart;
    autostart.write(u"a.desktop"_s, entryOf("/opt/a", line));
    QCOMPARE(autostart.open().pathAt(0), u"/opt/a"_s);
}

void tst_XdgAutostart::newEntrySaysWhatTheDesktopNeeds()
{
    const Autostart autostart;
    auto items = autostart.open();
    items.append(u"/opt/VornaServer"_s, false);
    items.save();
    QCOMPARE(autostart.read(u"VornaServer.desktop"_s),
             QByteArray("[Desktop Entry]\n"
                        "Type=Application\n"
                        "Name=VornaServer\n"
                        "Exec=\"/opt/VornaServer\"\n"
                        "TryExec=/opt/VornaServer\n"
                        "Terminal=false\n"
                        "X-GNOME-Autostart-enabled=true\n"));
}

void tst_XdgAutostart::missingFolderIsMade()
{
    const Autostart autostart;
    auto items = autostart.open();
    items.append(u"/opt/a"_s, false);
    QVERIFY(!QFileInfo::exists(autostart.path()));
    items.save();
    QCOMPARE(autostart.names(), QStringList{u"VornaServer.desktop"_s});
}

void tst_XdgAutostart::nameThatIsTakenIsLeftAlone()
{
    const Autostart autostart;
    autostart.write(u"VornaServer.desktop"_s, entryOf("/opt/other"));
    autostart.write(u"VornaServer-2.desktop"_s, entryOf("/opt/another"));
    const auto before = autostart.contents();
    auto items = autostart.open();
    items.append(u"/opt/a"_s, false);
    items.save();
    auto after = autostart.contents();
    QVERIFY(after.take(u"VornaServer-3.desktop"_s).contains("/opt/a"));
    QCOMPARE(after, before);
}

void tst_XdgAutostart::brokenLinkOfOurNameIsNotFollowed()
{
    const Autostart autostart;
    autostart.write(u"a.desktop"_s, entryOf("/opt/a"));
    const QString target = autostart.file(u"target"_s);
    QVERIFY(QFile::link(target, autostart.file(u"VornaServer.desktop"_s)));
    auto items = autostart.open();
    items.append(u"/opt/b"_s, false);
    items.save();
    QVERIFY(!QFileInfo::exists(target));
    QVERIFY(autostart.read(u"VornaServer-2.desktop"_s).contains("/opt/b"));
}

void tst_XdgAutostart::otherFilesAreNotTouched()
{
    const Autostart autostart;
    autostart.write(u"a.desktop"_s,
                    "# mine\r\n" + entryOf("/opt/a", "Name[de]=Anders\n\n\nX-Foo=1"));
    autostart.write(u"b.desktop"_s, QByteArray("\xff\0\1 no text", 11));
    autostart.write(u"c.desktop"_s, QByteArray());
    autostart.write(u"notes.txt"_s, "mine");
    const auto before = autostart.contents();
    autostart.startAtLogon(true);
    QVERIFY(autostart.contents() != before);
    autostart.startAtLogon(false);
    QCOMPARE(autostart.contents(), before);
}

/// The kernel reports what happened under the name: a file that is written in place is created,
/// then modified; a complete one only gets the name.
void tst_XdgAutostart::newFileAppearsComplete()
{
    const Autostart autostart;
    QVERIFY(QDir().mkpath(autostart.path()));
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    inotify_add_watch(watch, QFile::encodeName(autostart.path()).constData(),
                      IN_CREATE | IN_MODIFY | IN_MOVED_TO);
    autostart.startAtLogon(true);
    alignas(inotify_event) char buffer[4096];
    const auto length = read(watch, buffer, sizeof buffer);
    close(watch);
    QList<quint32> changes;
    for (ssize_t at = 0; at < length;) {
        const auto *event = reinterpret_cast<const inotify_event *>(buffer + at);
        if (QLatin1String(event->name) == "VornaServer.desktop"_L1) {
            changes.append(event->mask);
        }
        at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
    QCOMPARE(changes.size(), 1);
    QVERIFY(changes.first() == IN_CREATE || changes.first() == IN_MOVED_TO);
    QCOMPARE(autostart.names(), QStringList{u"VornaServer.desktop"_s});
}

void tst_XdgAutostart::unwritableFolderIsSilent()
{
    QTemporaryDir home;
    QFile obstacle(home.filePath(u"autostart"_s));
    QVERIFY(obstacle.open(QIODevice::WriteOnly));
    XdgAutostart items(obstacle.fileName());
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    items.append(u"/opt/a"_s, false);
    items.save();
    QCOMPARE(XdgAutostart(obstacle.fileName()).count(), 0);
}

void tst_XdgAutostart::startAtLogonAddsOneEntry()
{
    const Autostart autostart;
    autostart.startAtLogon(true);
    const auto once = autostart.contents();
    QCOMPARE(once.size(), 1);
    autostart.startAtLogon(true);
    QCOMPARE(autostart.contents(), once);
    QCOMPARE(autostart.open().pathAt(0).toUtf8(), ownPath());
}

void tst_XdgAutostart::startAtLogonLeavesASwitchedOffEntryOff()
{
    const Autostart autostart;
    autostart.write(u"VornaServer.desktop"_s, entryOf(ownPath(), "Hidden=true\n"));
    const auto before = autostart.contents();
    autostart.startAtLogon(true);
    QCOMPARE(autostart.contents(), before);
}

void tst_XdgAutostart::startAtLogonTurnedOffAndOnIsOnAgain()
{
    const Autostart autostart;
    autostart.write(u"VornaServer.desktop"_s,
                    entryOf(ownPath(), "X-GNOME-Autostart-enabled=false\n"));
    autostart.startAtLogon(false);
    QCOMPARE(autostart.names(), QStringList());
    autostart.startAtLogon(true);
    QVERIFY(autostart.read(u"VornaServer.desktop"_s).contains("X-GNOME-Autostart-enabled=true"));
}

void tst_XdgAutostart::onlyTheFirstMatchIsDeleted()
{
    const Autostart autostart;
    autostart.write(u"a.desktop"_s, entryOf("/opt/other"));
    autostart.write(u"b.desktop"_s, entryOf("/elsewhere/TST_XDGAUTOSTART-old"));
    autostart.write(u"c.desktop"_s, entryOf(ownPath()));
    autostart.startAtLogon(false);
    QCOMPARE(autostart.names(), (QStringList{u"a.desktop"_s, u"c.desktop"_s}));
}

void tst_XdgAutostart::linkIsDeletedAndNotItsTarget()
{
    const Autostart autostart;
    autostart.write(u"target"_s, entryOf(ownPath()));
    QVERIFY(QFile::link(autostart.file(u"target"_s), autostart.file(u"a.desktop"_s)));
    autostart.startAtLogon(false);
    QCOMPARE(autostart.names(), QStringList{u"target"_s});
}

/// Another program may take the name after that.
void tst_XdgAutostart::fileIsDeletedOnlyOnce()
{
    const Autostart autostart;
    autostart.write(u"a.desktop"_s, entryOf(ownPath()));
    auto items = autostart.open();
    items.removeAt(0);
    items.save();
    QCOMPARE(autostart.names(), QStringList());
    autostart.write(u"a.desktop"_s, entryOf("/opt/other"));
    items.save();
    QCOMPARE(autostart.read(u"a.desktop"_s), entryOf("/opt/other"));
}

void tst_XdgAutostart::applicationPathIsTheExecutable()
{
    qunsetenv("APPIMAGE");
    qunsetenv("APPDIR");
    QCOMPARE(Autostart().open().applicationPath().toUtf8(), ownPath());
}

void tst_XdgAutostart::applicationPathIsTheImageItRunsFrom()
{
    qputenv("APPDIR", QFileInfo(QString::fromUtf8(ownPath())).path().toUtf8());
    qputenv("APPIMAGE", "/home/me/VornaServer-x86_64.AppImage");
    QCOMPARE(Autostart().open().applicationPath(), u"/home/me/VornaServer-x86_64.AppImage"_s);
    qunsetenv("APPIMAGE");
    QCOMPARE(Autostart().open().applicationPath().toUtf8(), ownPath());
    qunsetenv("APPDIR");
}

void tst_XdgAutostart::imageOfAnotherProgramIsNotOurs()
{
    qputenv("APPDIR", "/tmp/.mount_terminal");
    qputenv("APPIMAGE", "/home/me/Terminal.AppImage");
    QCOMPARE(Autostart().open().applicationPath().toUtf8(), ownPath());
    qunsetenv("APPDIR");
    qunsetenv("APPIMAGE");
}

void tst_XdgAutostart::listIsInTheConfigFolderOfTheEnvironment()
{
    const QTemporaryDir home;
    const QByteArray former = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    const auto items = makeLoginItems();
    qputenv("XDG_CONFIG_HOME", former);
    items->append(u"/opt/a"_s, false);
    items->save();
    QVERIFY(QFileInfo::exists(home.filePath(u"autostart/VornaServer.desktop"_s)));
}

void tst_XdgAutostart::writtenPathIsValidAndStarts_data()
{
    QTest::addColumn<QString>("name");
    // dex reads no escapes in TryExec, keeps backslashes inside quotes and knows no "%%".
    QTest::addColumn<bool>("dexUnderstandsIt");
    QTest::newRow("plain") << u"VornaServer"_s << true;
    QTest::newRow("blanks") << u"Vorna Server  2"_s << true;
    QTest::newRow("blank at the end") << u"Vorna "_s << false;
    QTest::newRow("single quote") << u"Vorna's"_s << true;
    QTest::newRow("characters of a shell") << u"a;b&c|d(e)<f>*?~#[g]!{h}"_s << true;
    QTest::newRow("other scripts") << u"Vörna サーバー"_s << true;
    QTest::newRow("blank of another script") << u"Vorna\u00a0"_s << true;
    QTest::newRow("equals sign") << u"a=b"_s << true;
    QTest::newRow("leading dash") << u"-Vorna"_s << true;
    QTest::newRow("tab and line end") << u"Vorna\tServer\n2"_s << false;
    QTest::newRow("double quote") << u"Vorna \"Server\""_s << false;
    QTest::newRow("dollar sign") << u"$HOME $(id) ${PATH}"_s << false;
    QTest::newRow("backquote") << u"`id`"_s << false;
    QTest::newRow("backslash") << u"a\\b\\\\c\\n"_s << false;
    QTest::newRow("percent sign") << u"100% %f %%u"_s << false;
    QTest::newRow("all at once") << u"a b\"c$d`e\\f%g'h"_s << false;
}

void tst_XdgAutostart::writtenPathIsValidAndStarts()
{
    QFETCH(QString, name);
    QFETCH(bool, dexUnderstandsIt);
    const QTemporaryDir programs;
    const QString path = programs.filePath(name + u'/' + name);
    makeRecordingProgram(path);

    const Autostart autostart;
    auto items = autostart.open();
    items.append(path, false);
    items.save();
    const QString file = autostart.file(u"VornaServer.desktop"_s);

    QCOMPARE(outputOf(u"desktop-file-validate"_s, {file}), QByteArray());
    QCOMPARE(autostart.open().pathAt(0), path);
    QVERIFY(DesktopEntry::read(file).isApplication());
    QStringList starters{u"gio launch"_s};
    if (dexUnderstandsIt) {
        starters.append(u"dex"_s);
    }
    for (const QString &starter : starters) {
        const QStringList command = starter.split(u' ') << file;
        QCOMPARE(outputOf(command.first(), command.mid(1)), QByteArray());
        QVERIFY2(waitUntil([&path] { return hasRun(path); }), qPrintable(starter));
        QVERIFY(QFile::remove(QFileInfo(path).path() + "/ran"_L1));
    }
}

void tst_XdgAutostart::removedProgramIsNotStarted()
{
    const Autostart autostart;
    auto items = autostart.open();
    items.append(u"/nowhere/VornaServer"_s, false);
    items.save();
    QVERIFY(!DesktopEntry::read(autostart.file(u"VornaServer.desktop"_s)).isApplication());
    QCOMPARE(outputOf(u"dex"_s, {autostart.file(u"VornaServer.desktop"_s)}), QByteArray());
}

void tst_XdgAutostart::logonStartsTheEntry()
{
    const QTemporaryDir programs;
    const QString path = programs.filePath(u"Vorna Server/VornaServer"_s);
    makeRecordingProgram(path);
    const Autostart autostart;
    auto items = autostart.open();
    items.append(path, false);
    items.save();
    QCOMPARE(outputOf(u"dex"_s, {u"--autostart"_s, u"--search-paths"_s, autostart.path()}),
             QByteArray());
    QVERIFY(waitUntil([&path] { return hasRun(path); }));
}

QTEST_GUILESS_MAIN(tst_XdgAutostart)
#include "tst_XdgAutostart.moc"
