// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/PairedDevices.h"

#include "support/session/PrivateHome.h"

#include <QElapsedTimer>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

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
    QStringList list;
    std::unique_ptr<PrivateHome> home;
};

void tst_PairedDevices::theOrderIsKept()
{
    QSettings().setValue("pairedDeviceList", QStringList({u"z"_s, u"a"_s}));
    PairedDevices devices(list);
    devices.addUnasked(u"m"_s);
    devices.add(u"b"_s);
    devices.addUnasked(u""_s);
    devices.store();
    QCOMPARE(stored(), QStringList({u"z"_s, u"a"_s, u"m"_s, u"b"_s, u""_s}));
}

void tst_PairedDevices::aDeviceIsRememberedOnce()
{
    PairedDevices devices(list);
    devices.add(u"id"_s);
    devices.add(u"id"_s);
    devices.addUnasked(u"id"_s);
    devices.addUnasked(u"ID"_s);
    devices.store();
    QCOMPARE(stored(), QStringList({u"id"_s, u"ID"_s}));
}

void tst_PairedDevices::whatIsStoredStaysAsItIs()
{
    const QStringList earlier = {u"twice"_s, QString(5'000, u'x'), u"twice"_s};
    QSettings().setValue("pairedDeviceList", earlier);
    const PairedDevices devices(list);
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
    PairedDevices devices(list);
    devices.addUnasked(device);
    QCOMPARE(devices.contains(device), isRememberedUnasked);
    devices.add(device);
    QVERIFY(devices.contains(device));
    devices.store();
    QCOMPARE(stored(), QStringList{device});
}

void tst_PairedDevices::furtherDevicesAreRememberedByTheUsersWordOnly()
{
    PairedDevices devices(list);
    for (int i = 0; i < 5'000; ++i) {
        devices.addUnasked(QString::number(i));
    }
    QVERIFY(devices.contains(u"4095"_s));
    QVERIFY(!devices.contains(u"4096"_s));
    devices.add(u"accepted"_s);
    QVERIFY(devices.contains(u"accepted"_s));
    devices.store();
    QCOMPARE(stored().size(), 4'097);
    QCOMPARE(stored().constLast(), u"accepted"_s);
}

void tst_PairedDevices::aLongerListIsKept()
{
    QStringList earlier;
    for (int i = 0; i < 6'000; ++i) {
        earlier.append(QString::number(i));
    }
    QSettings().setValue("pairedDeviceList", earlier);
    PairedDevices devices(list);
    devices.addUnasked(u"new"_s);
    QVERIFY(devices.contains(u"5999"_s));
    QVERIFY(!devices.contains(u"new"_s));
    devices.store();
    QCOMPARE(stored(), earlier);
}

void tst_PairedDevices::lookingUpIsFast()
{
    PairedDevices devices(list);
    const QString start(1'000, u'x');
    for (int i = 0; i < PairedDevices::maximumUnasked; ++i) {
        devices.addUnasked(start + QString::number(i));
    }
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < 10'000; ++i) {
        QVERIFY(!devices.contains(start + u"none"_s));
    }
    // A search in a list would take 40 million comparisons of 1,000 equal characters.
    QVERIFY2(time.elapsed() < 1'000, qPrintable(QString::number(time.elapsed())));
}

QTEST_GUILESS_MAIN(tst_PairedDevices)
#include "tst_PairedDevices.moc"
