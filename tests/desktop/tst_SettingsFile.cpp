// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Confinement.h"
#include "support/Folders.h"
#include "support/ServerScene.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTest>

#include <sys/stat.h>

namespace {

const QString DeviceKey = QStringLiteral("pairedDeviceList");

QByteArray pairing(const QString &device)
{
    return commandText(QStringLiteral("SERVER_PAIR"),
                       {{QStringLiteral("cmdParameters"), QStringList{device, "Anna"}}});
}

bool pairs(quint16 port, const QString &device)
{
    Handheld handheld(port);
    const auto answer = handheld.ask(pairing(device));
    return answer && answer->value(QStringLiteral("serverResponse")) == QStringLiteral("OK");
}

void setPermissions(const QString &path, mode_t mode)
{
    ::chmod(path.toUtf8().constData(), mode);
}

} // namespace

/// Whatever becomes of the settings file and its folders, the server runs on.
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

    std::unique_ptr<ServerScene> m_scene;
};

void tst_SettingsFile::init()
{
    m_scene = std::make_unique<ServerScene>();
    QCOMPARE(m_scene->session().problem(), QByteArray());
}

void tst_SettingsFile::cleanup()
{
    QCOMPARE(m_scene->problemAtEnd(), QByteArray());
    m_scene.reset();
}

bool tst_SettingsFile::writeSettings(const QByteArray &text) const
{
    QFile file(m_scene->session().settingsFile());
    return QDir().mkpath(QFileInfo(file).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(text) == text.size();
}

bool tst_SettingsFile::startConfined()
{
    m_scene->launch(Confinement::heedsPermissions());
    return m_scene->port() != 0;
}

void tst_SettingsFile::garbageIsSurvived_data()
{
    QTest::addColumn<QByteArray>("text");
    QByteArray bytes;
    for (int i = 0; i < 100'000; ++i)
        bytes += static_cast<char>(i * 31 + i / 256);
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
    QVERIFY(m_scene->start());
    QVERIFY(pairs(m_scene->port(), QStringLiteral("new")));
    QCOMPARE(m_scene->server().end(), std::optional(0));
    QVERIFY(m_scene->storedSetting(DeviceKey).toStringList().contains(QStringLiteral("new")));
}

void tst_SettingsFile::oneDeviceWithoutAListIsRead()
{
    QVERIFY(writeSettings("[General]\npairedDeviceList=old\n"));
    QVERIFY(m_scene->start());
    QVERIFY(pairs(m_scene->port(), QStringLiteral("new")));
    QCOMPARE(m_scene->server().end(), std::optional(0));
    QCOMPARE(m_scene->storedSetting(DeviceKey).toStringList(), (QStringList{"old", "new"}));
}

void tst_SettingsFile::unreadableFileIsSurvived()
{
    QVERIFY(writeSettings("[General]\npairedDeviceList=old\n"));
    setPermissions(m_scene->session().settingsFile(), 0000);
    QVERIFY(startConfined());
    QVERIFY(pairs(m_scene->port(), QStringLiteral("new")));
    QCOMPARE(m_scene->server().end(), std::optional(0));
    setPermissions(m_scene->session().settingsFile(), 0600);
    // Not overwritten by a list that does not know what was in it.
    QCOMPARE(m_scene->storedSetting(DeviceKey).toStringList(), QStringList{"old"});
}

void tst_SettingsFile::readOnlyFolderIsSurvived()
{
    const QByteArray text = "[General]\npairedDeviceList=old\n";
    const QString file = m_scene->session().settingsFile();
    QVERIFY(writeSettings(text));
    setPermissions(file, 0444);
    setPermissions(QFileInfo(file).path(), 0555);
    QVERIFY(startConfined());
    QVERIFY(pairs(m_scene->port(), QStringLiteral("new")));
    QCOMPARE(m_scene->server().end(), std::optional(0));
    setPermissions(QFileInfo(file).path(), 0755);
    QCOMPARE(Folders::fileBytes(file), text);
}

void tst_SettingsFile::folderInItsPlaceIsSurvived()
{
    QVERIFY(QDir().mkpath(m_scene->session().settingsFile()));
    QVERIFY(m_scene->start());
    QVERIFY(pairs(m_scene->port(), QStringLiteral("new")));
    QCOMPARE(m_scene->server().end(), std::optional(0));
    QVERIFY(QFileInfo(m_scene->session().settingsFile()).isDir());
}

void tst_SettingsFile::missingHomeIsSurvived()
{
    for (const char *folder : {"config", "data", "cache", "state"})
        QVERIFY(QDir(m_scene->session().path(QLatin1String(folder))).removeRecursively());
    // The program is started in it, so it goes when that has happened.
    const QByteArray home = m_scene->session().home().toUtf8();
    m_scene->launch([home] { ::rename(home.constData(), (home + "-gone").constData()); });
    QVERIFY(m_scene->port() != 0);
    QVERIFY(!QFileInfo::exists(m_scene->session().home()));
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    QVERIFY(pairs(m_scene->port(), QStringLiteral("new")));
    Handheld handheld(m_scene->port());
    QVERIFY(
        handheld.ask(commandText(QStringLiteral("FILE_TRANSFER_AND_OPEN"),
                                 {{QStringLiteral("cmdParameters"), QStringList{"photo", "10"}}})));
    QVERIFY(handheld.sendAndSettle("some bytes"));
    QCOMPARE(m_scene->server().end(), std::optional(0));
    QVERIFY(!QFileInfo::exists(m_scene->session().home()));
}

void tst_SettingsFile::homeThatGoesMeanwhileIsSurvived()
{
    QVERIFY(m_scene->start());
    for (const char *folder : {"home", "config", "data"})
        QVERIFY(QDir(m_scene->session().path(QLatin1String(folder))).removeRecursively());
    QVERIFY(pairs(m_scene->port(), QStringLiteral("new")));
    QVERIFY(m_scene->menu().choose(TrayMenu::Item::Preferences));
    const auto dialog = m_scene->waitForDialog(QStringLiteral("Config Dialog"));
    QVERIFY(dialog);
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
    QVERIFY(m_scene->waitUntilGone(*dialog));
    QVERIFY(pairs(m_scene->port(), QStringLiteral("new")));
    QCOMPARE(m_scene->server().end(), std::optional(0));
}

void tst_SettingsFile::ofTwoServersTheListOfTheLaterEndStays()
{
    m_scene->storeSetting(DeviceKey, QStringList{"old-1", "old-2"});
    QVERIFY(m_scene->start());
    ServerProcess second(m_scene->session());
    QVERIFY(second.port() != 0);
    QVERIFY(pairs(m_scene->port(), QStringLiteral("of the first")));
    QVERIFY(pairs(second.port(), QStringLiteral("of the second")));

    QCOMPARE(second.end(), std::optional(0));
    QCOMPARE(m_scene->storedSetting(DeviceKey).toStringList(),
             (QStringList{"old-1", "old-2", "of the second"}));
    QVERIFY(pairs(m_scene->port(), QStringLiteral("late")));
    QCOMPARE(m_scene->server().end(), std::optional(0));
    QCOMPARE(m_scene->storedSetting(DeviceKey).toStringList(),
             (QStringList{"old-1", "old-2", "of the first", "late"}));
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
    const QString lockName = m_scene->session().settingsFile() + QStringLiteral(".lock");
    if (lock == "pipe") {
        QCOMPARE(::mkfifo(lockName.toUtf8().constData(), 0600), 0);
    } else {
        QFile file(lockName);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(lock) == lock.size());
    }
    QVERIFY(m_scene->start());
    QVERIFY(pairs(m_scene->port(), QStringLiteral("new")));
    QVERIFY(m_scene->menu().choose(TrayMenu::Item::Preferences));
    const auto dialog = m_scene->waitForDialog(QStringLiteral("Config Dialog"));
    QVERIFY(dialog);
    QVERIFY(m_scene->user().tapKey(QStringLiteral("space")));
    QElapsedTimer time;
    time.start();
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
    QVERIFY(m_scene->waitUntilGone(*dialog));
    QVERIFY(pairs(m_scene->port(), QStringLiteral("old")));
    QCOMPARE(m_scene->server().end(), std::optional(0));
    qInfo("Closed and ended in %lld ms.", time.elapsed());
    // Twice two seconds, and what a loaded machine adds.
    QVERIFY(time.elapsed() < 15'000);
    QCOMPARE(m_scene->storedSetting(DeviceKey).toStringList(), (QStringList{"old", "new"}));
    QCOMPARE(m_scene->storedSetting(QStringLiteral("pairNeedsApproval")).toBool(), true);
    QCOMPARE(m_scene->storedSetting(QStringLiteral("other")).toInt(), 5);
}

QTEST_GUILESS_MAIN(tst_SettingsFile)
#include "tst_SettingsFile.moc"
