// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/PairedDevices.h"

#include "support/PrivateHome.h"

#include <QElapsedTimer>
#include <QTest>

#include <memory>

namespace {

QStringList stored()
{
    return QSettings().value("pairedDeviceList").toStringList();
}

} // namespace

class tst_PairedDevices : public QObject
{
    Q_OBJECT

private slots:
    void init() { home = std::make_unique<PrivateHome>(); }
    void cleanup()
    {
        QSettings().clear();
        home.reset();
    }

    void theOrderIsKept();
    void aDeviceIsRememberedOnce();
    void whatIsStoredStaysAsItIs();
    void longIdentifiersAreRememberedByTheUsersWordOnly_data();
    void longIdentifiersAreRememberedByTheUsersWordOnly();
    void furtherDevicesAreRememberedByTheUsersWordOnly();
    void aLongerListIsKept();
    void lookingUpIsFast();

private:
    std::unique_ptr<PrivateHome> home;
};

void tst_PairedDevices::theOrderIsKept()
{
    QSettings().setValue("pairedDeviceList", QStringList({"z", "a"}));
    PairedDevices devices;
    devices.addUnasked("m");
    devices.add("b");
    devices.addUnasked("");
    devices.store();
    QCOMPARE(stored(), QStringList({"z", "a", "m", "b", ""}));
}

void tst_PairedDevices::aDeviceIsRememberedOnce()
{
    PairedDevices devices;
    devices.add("id");
    devices.add("id");
    devices.addUnasked("id");
    devices.addUnasked("ID");
    devices.store();
    QCOMPARE(stored(), QStringList({"id", "ID"}));
}

void tst_PairedDevices::whatIsStoredStaysAsItIs()
{
    const QStringList earlier = {"twice", QString(5'000, u'x'), "twice"};
    QSettings().setValue("pairedDeviceList", earlier);
    const PairedDevices devices;
    QVERIFY(devices.contains(earlier[1]));
    devices.store();
    QCOMPARE(stored(), earlier);
}

void tst_PairedDevices::longIdentifiersAreRememberedByTheUsersWordOnly_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<bool>("isRememberedUnasked");
    QTest::newRow("1024 characters") << 1'024 << true;
    QTest::newRow("1025 characters") << 1'025 << false;
    QTest::newRow("twenty thousand characters") << 20'000 << false;
}

void tst_PairedDevices::longIdentifiersAreRememberedByTheUsersWordOnly()
{
    QFETCH(int, length);
    QFETCH(bool, isRememberedUnasked);
    const QString device(length, u'\u00e9');
    PairedDevices devices;
    devices.addUnasked(device);
    QCOMPARE(devices.contains(device), isRememberedUnasked);
    devices.add(device);
    QVERIFY(devices.contains(device));
    devices.store();
    QCOMPARE(stored(), QStringList{device});
}

void tst_PairedDevices::furtherDevicesAreRememberedByTheUsersWordOnly()
{
    PairedDevices devices;
    for (int i = 0; i < 5'000; ++i) {
        devices.addUnasked(QString::number(i));
    }
    QVERIFY(devices.contains("4095"));
    QVERIFY(!devices.contains("4096"));
    devices.add("accepted");
    QVERIFY(devices.contains("accepted"));
    devices.store();
    QCOMPARE(stored().size(), 4'097);
    QCOMPARE(stored().constLast(), QString("accepted"));
}

void tst_PairedDevices::aLongerListIsKept()
{
    QStringList earlier;
    for (int i = 0; i < 6'000; ++i) {
        earlier.append(QString::number(i));
    }
    QSettings().setValue("pairedDeviceList", earlier);
    PairedDevices devices;
    devices.addUnasked("new");
    QVERIFY(devices.contains("5999"));
    QVERIFY(!devices.contains("new"));
    devices.store();
    QCOMPARE(stored(), earlier);
}

void tst_PairedDevices::lookingUpIsFast()
{
    PairedDevices devices;
    const QString start(1'000, u'x');
    for (int i = 0; i < PairedDevices::maximumUnasked; ++i) {
        devices.addUnasked(start + QString::number(i));
    }
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < 10'000; ++i) {
        QVERIFY(!devices.contains(start + "none"));
    }
    // Through a list it takes 40 million comparisons of 1,000 equal characters.
    QVERIFY2(time.elapsed() < 1'000, qPrintable(QString::number(time.elapsed())));
}

QTEST_GUILESS_MAIN(tst_PairedDevices)
#include "tst_PairedDevices.moc"
