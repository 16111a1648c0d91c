// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "settings/Settings.h"

#include "support/session/PrivateHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

/// The keys, types and defaults of the settings.
class tst_StoredSettings : public QObject
{
    Q_OBJECT

private slots:
    void init() { home = std::make_unique<PrivateHome>(); }
    void cleanup();

    void anEmptyStoreHasDefaults();
    void theTwoDefaultsOfTheDownloadDirectoryDiffer();
    void bothReadTheStoredDirectoryAsItIs();
    void preferencesAreStoredUnderTheirKeys();
    void storingLeavesOtherKeysAlone();
    void pairedDevicesAreStoredUnderTheirKey();
    void aSingleTextIsAListOfOneDevice();
    void theListenAddressIsStoredUnderItsKey();
    void whatIsNoTextDoesNotReadAsAllAddresses_data();
    void whatIsNoTextDoesNotReadAsAllAddresses();

private:
    std::unique_ptr<PrivateHome> home;
};

void tst_StoredSettings::cleanup()
{
    QSettings().clear();
    home.reset();
}

void tst_StoredSettings::anEmptyStoreHasDefaults()
{
    const Settings::Preferences preferences = Settings::preferences();
    QCOMPARE(preferences.pairNeedsApproval, false);
    QCOMPARE(preferences.startAtLogon, true);
    QCOMPARE(Settings::pairedDevices(), QStringList());
    QVERIFY2(QSettings().allKeys().isEmpty(), "reading has written defaults");
}

void tst_StoredSettings::theTwoDefaultsOfTheDownloadDirectoryDiffer()
{
    QCOMPARE(Settings::preferences().downloadDirectory, QDir::homePath() + u"/Downloads"_s);
    QCOMPARE(Settings::receptionDirectory(),
             QStandardPaths::writableLocation(QStandardPaths::DesktopLocation));
    QVERIFY(Settings::receptionDirectory() != Settings::preferences().downloadDirectory);
}

void tst_StoredSettings::bothReadTheStoredDirectoryAsItIs()
{
    for (const QString &directory : {u"/else/where/"_s, u"not/full"_s, u""_s}) {
        QSettings().setValue("downloadDirectory", directory);
        QCOMPARE(Settings::preferences().downloadDirectory, directory);
        QCOMPARE(Settings::receptionDirectory(), directory);
    }
}

void tst_StoredSettings::preferencesAreStoredUnderTheirKeys()
{
    Settings::store({true, false, u"/else/where"_s});
    const QSettings store;
    QCOMPARE(store.allKeys(),
             QStringList({u"downloadDirectory"_s, u"pairNeedsApproval"_s, u"startAtLogon"_s}));
    QCOMPARE(store.value("pairNeedsApproval").toBool(), true);
    QCOMPARE(store.value("startAtLogon").toBool(), false);
    QCOMPARE(store.value("downloadDirectory").toString(), u"/else/where"_s);
    const Settings::Preferences read = Settings::preferences();
    QVERIFY(read.pairNeedsApproval && !read.startAtLogon);
}

void tst_StoredSettings::storingLeavesOtherKeysAlone()
{
    QSettings().setValue("pairedDeviceList", QStringList({u"a"_s, u"b"_s}));
    QSettings().setValue("other/key", 7);
    Settings::store({});
    QCOMPARE(Settings::pairedDevices(), QStringList({u"a"_s, u"b"_s}));
    QCOMPARE(QSettings().value("other/key").toInt(), 7);
}

void tst_StoredSettings::pairedDevicesAreStoredUnderTheirKey()
{
    const QStringList devices = {u"z"_s, u""_s, u"a, \"b\""_s};
    Settings::storePairedDevices(devices);
    QCOMPARE(QSettings().value("pairedDeviceList").toStringList(), devices);
    QCOMPARE(Settings::pairedDevices(), devices);
}

void tst_StoredSettings::aSingleTextIsAListOfOneDevice()
{
    QSettings().setValue("pairedDeviceList", u"a"_s);
    QCOMPARE(Settings::pairedDevices(), QStringList{u"a"_s});
}

void tst_StoredSettings::theListenAddressIsStoredUnderItsKey()
{
    QCOMPARE(Settings::listenAddress(), QString());
    QVERIFY(Settings::storeListenAddress(u"127.0.0.1"_s));
    QCOMPARE(QSettings().value("listenAddress"), QVariant(u"127.0.0.1"_s));
    QCOMPARE(Settings::listenAddress(), u"127.0.0.1"_s);
    QVERIFY(Settings::storeListenAddress({}));
    QCOMPARE(Settings::listenAddress(), QString());
}

void tst_StoredSettings::whatIsNoTextDoesNotReadAsAllAddresses_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("address");

    QTest::newRow("nothing") << QByteArray("") << QString();
    QTest::newRow("nothing in quotes") << QByteArray("\"\"") << QString();
    QTest::newRow("blanks around it") << QByteArray("\" 127.0.0.1 \"") << u"127.0.0.1"_s;
    QTest::newRow("a list") << QByteArray("127.0.0.1, ::1") << u"127.0.0.1, ::1"_s;
    QTest::newRow("bytes") << QByteArray("@ByteArray(127.0.0.1)") << u"?"_s;
    QTest::newRow("another value") << QByteArray("@Size(1 2)") << u"?"_s;
}

void tst_StoredSettings::whatIsNoTextDoesNotReadAsAllAddresses()
{
    QFETCH(QByteArray, line);
    QDir().mkpath(QFileInfo(QSettings().fileName()).path());
    QFile file(QSettings().fileName());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[General]\nlistenAddress=" + line + '\n');
    file.close();
    QTEST(Settings::listenAddress(), "address");
}

QTEST_GUILESS_MAIN(tst_StoredSettings)
#include "tst_StoredSettings.moc"
