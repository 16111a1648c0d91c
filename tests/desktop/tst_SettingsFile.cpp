// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Folders.h"
#include "support/process/Confinement.h"
#include "support/session/ServerScene.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const QString DeviceKey = u"pairedDeviceList"_s;

bool pairs(quint16 port, const QString &device)
{
    Handheld handheld(port);
    return response(handheld.ask(pairing(device))) == u"OK"_s;
}

void setPermissions(const QString &path, mode_t mode)
{
    ::chmod(path.toUtf8().constData(), mode);
}

} // namespace

/// Whatever happens to the settings file and its folders, the server keeps running.
class tst_SettingsFile : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void garbageIsSurvived_data();
    void garbageIsSurvived();
    void oneDeviceWithoutAListIsRead();
    void unreadableFileIsSurvived();
    void readOnlyFolderIsSurvived();
    void folderInItsPlaceIsSurvived();
    void missingHomeIsSurvived();
    void homeThatGoesMeanwhileIsSurvived();
    void ofTwoServersTheListOfTheLaterEndStays();
    void leftOverLockHoldsUpNeitherPreferencesNorEnd_data();
    void leftOverLockHoldsUpNeitherPreferencesNorEnd();

private:
    bool writeSettings(const QByteArray &text) const;
    bool startConfined();

    std::unique_ptr<ServerScene> scene;
};

void tst_SettingsFile::init()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
}

void tst_SettingsFile::cleanup()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    scene.reset();
}

bool tst_SettingsFile::writeSettings(const QByteArray &text) const
{
    QFile file(scene->session().settingsFile());
    return QDir().mkpath(QFileInfo(file).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(text) == text.size();
}

bool tst_SettingsFile::startConfined()
{
    scene->launch(Confinement::heedsPermissions());
    return scene->port() != 0;
}

void tst_SettingsFile::garbageIsSurvived_data()
{
    QTest::addColumn<QByteArray>("text");
    QByteArray bytes;
    for (int i = 0; i < 100'000; ++i) {
        bytes += static_cast<char>(i * 31 + i / 256);
    }
    QTest::newRow("any bytes") << bytes;
    QTest::newRow("NUL bytes") << QByteArray(10'000, '\0');
    QTest::newRow("one endless line") << QByteArray(1'000'000, 'x');
    QTest::newRow("broken groups") << QByteArray("[General\n]]\n[[\n=\n==\n%zz=%\n");
    QTest::newRow("values of other types")
        << QByteArray("[General]\npairNeedsApproval=banana\nstartAtLogon=@Size(3 4)\n"
                      "downloadDirectory=@Rect(1 2 3 4)\npairedDeviceList=@Point(5 6)\n");
    QTest::newRow("broken values")
        << QByteArray("[General]\npairedDeviceList=@Variant(\\xff\\xff\\xff\\xff)\n"
                      "downloadDirectory=@ByteArray(\npairNeedsApproval=\"\n");
    QTest::newRow("a list where one value belongs")
        << QByteArray("[General]\ndownloadDirectory=a, b, c\npairNeedsApproval=true, false\n");
}

void tst_SettingsFile::garbageIsSurvived()
{
    QFETCH(QByteArray, text);
    QVERIFY(writeSettings(text));
    QVERIFY(scene->start());
    QVERIFY(pairs(scene->port(), u"new"_s));
    QCOMPARE(scene->server().end(), std::optional(0));
    QVERIFY(scene->storedSetting(DeviceKey).toStringList().contains(u"new"_s));
}

void tst_SettingsFile::oneDeviceWithoutAListIsRead()
{
    QVERIFY(writeSettings("[General]\npairedDeviceList=old\n"));
    QVERIFY(scene->start());
    QVERIFY(pairs(scene->port(), u"new"_s));
    QCOMPARE(scene->server().end(), std::optional(0));
    QCOMPARE(scene->storedSetting(DeviceKey).toStringList(), (QStringList{u"old"_s, u"new"_s}));
}

void tst_SettingsFile::unreadableFileIsSurvived()
{
    QVERIFY(writeSettings("[General]\npairedDeviceList=old\n"));
    setPermissions(scene->session().settingsFile(), 0000);
    QVERIFY(startConfined());
    QVERIFY(pairs(scene->port(), u"new"_s));
    QCOMPARE(scene->server().end(), std::optional(0));
    setPermissions(scene->session().settingsFile(), 0600);
    // Not overwritten by a list that does not know what was in it.
    QCOMPARE(scene->storedSetting(DeviceKey).toStringList(), QStringList{u"old"_s});
}

void tst_SettingsFile::readOnlyFolderIsSurvived()
{
    const QByteArray text = "[General]\npairedDeviceList=old\n";
    const QString file = scene->session().settingsFile();
    QVERIFY(writeSettings(text));
    setPermissions(file, 0444);
    setPermissions(QFileInfo(file).path(), 0555);
    QVERIFY(startConfined());
    QVERIFY(pairs(scene->port(), u"new"_s));
    QCOMPARE(scene->server().end(), std::optional(0));
    setPermissions(QFileInfo(file).path(), 0755);
    QCOMPARE(Folders::fileBytes(file), text);
}

void tst_SettingsFile::folderInItsPlaceIsSurvived()
{
    QVERIFY(QDir().mkpath(scene->session().settingsFile()));
    QVERIFY(scene->start());
    QVERIFY(pairs(scene->port(), u"new"_s));
    QCOMPARE(scene->server().end(), std::optional(0));
    QVERIFY(QFileInfo(scene->session().settingsFile()).isDir());
}

void tst_SettingsFile::missingHomeIsSurvived()
{
    for (const char *folder : {"config", "data", "cache", "state"}) {
        QVERIFY(QDir(scene->session().path(QLatin1String(folder))).removeRecursively());
    }
    // The program starts in this folder, so it can only be removed afterwards.
    const QByteArray home = scene->session().home().toUtf8();
    const QByteArray gone = home + "-gone"; // the new process must not allocate before its exec
    scene->launch([home, gone] { ::rename(home.constData(), gone.constData()); });
    QVERIFY(scene->port() != 0);
    QVERIFY(!QFileInfo::exists(scene->session().home()));
    QVERIFY(scene->showsLight(StatusLight::Orange));
    QVERIFY(pairs(scene->port(), u"new"_s));
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask(fileRequest(u"photo"_s, u"10"_s)));
    QVERIFY(handheld.sendAndSettle("some bytes"));
    QCOMPARE(scene->server().end(), std::optional(0));
    QVERIFY(!QFileInfo::exists(scene->session().home()));
}

void tst_SettingsFile::homeThatGoesMeanwhileIsSurvived()
{
    QVERIFY(scene->start());
    for (const char *folder : {"home", "config", "data"}) {
        QVERIFY(QDir(scene->session().path(QLatin1String(folder))).removeRecursively());
    }
    QVERIFY(pairs(scene->port(), u"new"_s));
    QVERIFY(scene->menu().choose(TrayMenu::Item::Preferences));
    const auto dialog = scene->waitForDialog(u"Config Dialog"_s);
    QVERIFY(dialog);
    QVERIFY(scene->user().tapKey(u"Escape"_s));
    QVERIFY(scene->waitUntilGone(*dialog));
    QVERIFY(pairs(scene->port(), u"new"_s));
    QCOMPARE(scene->server().end(), std::optional(0));
}

void tst_SettingsFile::ofTwoServersTheListOfTheLaterEndStays()
{
    scene->storeSetting(DeviceKey, QStringList{u"old-1"_s, u"old-2"_s});
    QVERIFY(scene->start());
    ServerProcess second(scene->session());
    QVERIFY(second.port() != 0);
    QVERIFY(pairs(scene->port(), u"of the first"_s));
    QVERIFY(pairs(second.port(), u"of the second"_s));

    QCOMPARE(second.end(), std::optional(0));
    QCOMPARE(scene->storedSetting(DeviceKey).toStringList(),
             (QStringList{u"old-1"_s, u"old-2"_s, u"of the second"_s}));
    QVERIFY(pairs(scene->port(), u"late"_s));
    QCOMPARE(scene->server().end(), std::optional(0));
    QCOMPARE(scene->storedSetting(DeviceKey).toStringList(),
             (QStringList{u"old-1"_s, u"old-2"_s, u"of the first"_s, u"late"_s}));
}

void tst_SettingsFile::leftOverLockHoldsUpNeitherPreferencesNorEnd_data()
{
    QTest::addColumn<QByteArray>("lock");
    QTest::newRow("another host's") << QByteArray("1234\nVornaServer\nelsewhere\n0123\n4567\n");
    QTest::newRow("a named pipe") << QByteArray("pipe");
}

void tst_SettingsFile::leftOverLockHoldsUpNeitherPreferencesNorEnd()
{
    QFETCH(QByteArray, lock);
    QVERIFY(writeSettings("[General]\nother=5\npairedDeviceList=old\n"));
    const QString lockName = scene->session().settingsFile() + u".lock"_s;
    if (lock == "pipe") {
        QCOMPARE(::mkfifo(lockName.toUtf8().constData(), 0600), 0);
    } else {
        QFile file(lockName);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(lock) == lock.size());
    }
    QVERIFY(scene->start());
    QVERIFY(pairs(scene->port(), u"new"_s));
    QVERIFY(scene->menu().choose(TrayMenu::Item::Preferences));
    const auto dialog = scene->waitForDialog(u"Config Dialog"_s);
    QVERIFY(dialog);
    QVERIFY(scene->user().tapKey(u"space"_s));
    QElapsedTimer time;
    time.start();
    QVERIFY(scene->user().tapKey(u"Escape"_s));
    QVERIFY(scene->waitUntilGone(*dialog));
    QVERIFY(pairs(scene->port(), u"old"_s));
    QCOMPARE(scene->server().end(), std::optional(0));
    qInfo("Closed and ended in %lld ms.", time.elapsed());
    // Twice two seconds, plus some time for a loaded machine.
    QVERIFY(time.elapsed() < 15'000);
    QCOMPARE(scene->storedSetting(DeviceKey).toStringList(), (QStringList{u"old"_s, u"new"_s}));
    QCOMPARE(scene->storedSetting(u"pairNeedsApproval"_s).toBool(), true);
    QCOMPARE(scene->storedSetting(u"other"_s).toInt(), 5);
}

QTEST_GUILESS_MAIN(tst_SettingsFile)
#include "tst_SettingsFile.moc"
