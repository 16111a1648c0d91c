// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/network/NetworkChanges.h"

#include "support/Waiting.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace quillmote;
using namespace std::chrono_literals;

/// The test runs in a network of its own, in which there is nothing but a loopback at first.
class tst_NetworkChanges : public QObject
{
    Q_OBJECT

public:
    /// Why there is no such network; empty if there is.
    QByteArray problem;

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void withoutANetworkThereIsNoAddress();
    void whatOthersCanReachIsOffered();
    void theDefaultRoutesAddressComesFirst();
    void aTemporaryAddressIsNeverFirst();
    void addressesAreSorted_data();
    void addressesAreSorted();
    void aChangeIsReportedOnce();
    void whatChangesNoAddressIsNotReported();

private:
    static bool ip(const QString &arguments);
    static QStringList offered();
};

void tst_NetworkChanges::initTestCase()
{
    QVERIFY2(problem.isEmpty(), problem.constData());
}

void tst_NetworkChanges::init()
{
    QVERIFY(ip(u"link set lo up"_s));
    QVERIFY(ip(u"link add lan type veth peer name lanpeer"_s));
    QVERIFY(ip(u"link add docker0 type veth peer name dockerpeer"_s));
}

void tst_NetworkChanges::cleanup()
{
    QVERIFY(ip(u"link delete lan"_s));
    QVERIFY(ip(u"link delete docker0"_s));
}

bool tst_NetworkChanges::ip(const QString &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(u"ip"_s, arguments.split(u' '));
    return process.waitForFinished() && process.exitCode() == 0;
}

QStringList tst_NetworkChanges::offered()
{
    QStringList texts;
    for (const OfferedAddress &offer : offeredAddresses()) {
        texts += offer.address.toString() + (offer.isDefault ? u" default"_s : QString());
    }
    return texts;
}

void tst_NetworkChanges::withoutANetworkThereIsNoAddress()
{
    QCOMPARE(offered(), QStringList());
    QVERIFY(ip(u"address add 192.0.2.20/24 dev lan"_s));
    QCOMPARE(offered(), QStringList()); // it is not up
}

void tst_NetworkChanges::whatOthersCanReachIsOffered()
{
    for (const QString &device : {u"docker0"_s, u"dockerpeer"_s, u"lan"_s, u"lanpeer"_s}) {
        QVERIFY(ip(u"link set %1 up"_s.arg(device)));
    }
    QVERIFY(ip(u"address add 172.17.0.1/16 dev docker0"_s));
    QVERIFY(ip(u"address add 2001:db8:2::20/64 dev lan nodad"_s));
    QVERIFY(ip(u"address add 192.168.1.20/24 dev lan"_s));
    QVERIFY(ip(u"address add 169.254.7.7/16 dev lan"_s));
    const QStringList expected{u"192.168.1.20"_s, u"2001:db8:2::20"_s, u"172.17.0.1"_s};
    QVERIFY(waitUntil([] { return offered().size() == 3; }));
    QCOMPARE(offered(), expected);
}

void tst_NetworkChanges::theDefaultRoutesAddressComesFirst()
{
    for (const QString &device : {u"docker0"_s, u"dockerpeer"_s, u"lan"_s, u"lanpeer"_s}) {
        QVERIFY(ip(u"link set %1 up"_s.arg(device)));
    }
    QVERIFY(ip(u"address add 10.1.1.20/24 dev lanpeer"_s));
    QVERIFY(ip(u"address add 192.168.1.20/24 dev lan"_s));
    QVERIFY(ip(u"route add default via 192.168.1.1"_s));
    const QStringList byLan{u"192.168.1.20 default"_s, u"10.1.1.20"_s};
    QVERIFY(waitUntil([&] { return offered() == byLan; }));
    QVERIFY(ip(u"route delete default"_s));
    QVERIFY(ip(u"route add default via 10.1.1.1"_s));
    const QStringList byOther{u"10.1.1.20 default"_s, u"192.168.1.20"_s};
    QVERIFY(waitUntil([&] { return offered() == byOther; }));
}

void tst_NetworkChanges::aTemporaryAddressIsNeverFirst()
{
    for (const QString &device : {u"lan"_s, u"lanpeer"_s}) {
        QVERIFY(ip(u"link set %1 up"_s.arg(device)));
    }
    // Two whose preferred lifetime is over, and a lasting one between them.
    const QString isOver = u" preferred_lft 0 valid_lft 900"_s;
    QVERIFY(ip(u"address add 2001:db8:2::1/64 dev lan nodad"_s + isOver));
    QVERIFY(ip(u"address add 2001:db8:2::20/64 dev lan nodad"_s));
    QVERIFY(ip(u"address add 2001:db8:2::2/64 dev lan nodad"_s + isOver));
    QVERIFY(ip(u"-6 route add default via 2001:db8:2::99"_s));
    QVERIFY(waitUntil([] { return offered().value(0) == u"2001:db8:2::20 default"_s; }));
    QCOMPARE(offered().size(), 3);
}

void tst_NetworkChanges::addressesAreSorted_data()
{
    QTest::addColumn<QStringList>("given"); // address, then a letter for each trait
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("none") << QStringList() << QStringList();
    QTest::newRow("IPv4 first") << QStringList{u"2001:db8::1"_s, u"192.0.2.1"_s}
                                << QStringList{u"192.0.2.1"_s, u"2001:db8::1"_s};
    QTest::newRow("the default first") << QStringList{u"192.0.2.1"_s, u"2001:db8::1 d"_s}
                                       << QStringList{u"2001:db8::1 default"_s, u"192.0.2.1"_s};
    QTest::newRow("one default") << QStringList{u"2001:db8::7 dt"_s, u"2001:db8::1 d"_s,
                                                u"192.0.2.1 d"_s}
                                 << QStringList{u"192.0.2.1 default"_s, u"2001:db8::1"_s,
                                                u"2001:db8::7"_s};
    QTest::newRow("bridges last") << QStringList{u"172.17.0.1 v"_s, u"2001:db8::7 t"_s}
                                  << QStringList{u"2001:db8::7"_s, u"172.17.0.1"_s};
    QTest::newRow("a tunnel with the default route")
        << QStringList{u"192.0.2.1"_s, u"10.8.0.2 vd"_s}
        << QStringList{u"10.8.0.2 default"_s, u"192.0.2.1"_s};
    QTest::newRow("their order otherwise") << QStringList{u"192.0.2.9"_s, u"192.0.2.1"_s}
                                           << QStringList{u"192.0.2.9"_s, u"192.0.2.1"_s};
}

void tst_NetworkChanges::addressesAreSorted()
{
    QFETCH(QStringList, given);
    QFETCH(QStringList, expected);
    QList<AddressTraits> traits;
    for (const QString &text : given) {
        const QString letters = text.section(u' ', 1);
        traits += {QHostAddress(text.section(u' ', 0, 0)), letters.contains(u'd'),
                   letters.contains(u'v'), letters.contains(u't')};
    }
    QStringList sorted;
    for (const OfferedAddress &offer : sortedAddresses(traits)) {
        sorted += offer.address.toString() + (offer.isDefault ? u" default"_s : QString());
    }
    QCOMPARE(sorted, expected);
}

void tst_NetworkChanges::aChangeIsReportedOnce()
{
    NetworkChanges changes;
    QSignalSpy changed(&changes, &NetworkChanges::changed);
    for (const QString &device : {u"lan"_s, u"lanpeer"_s}) {
        QVERIFY(ip(u"link set %1 up"_s.arg(device)));
    }
    QVERIFY(ip(u"address add 192.168.1.20/24 dev lan"_s));
    QVERIFY(waitUntil([&] { return changed.count() == 1; }));
    QCOMPARE(changes.addresses().size(), 1);
    // In several turns of the event loop.
    for (const QString &step : {u"add 192.168.1.21/32"_s, u"delete 192.168.1.20/24"_s,
                                u"add 192.168.1.22/32"_s, u"delete 192.168.1.21/32"_s}) {
        QVERIFY(ip(u"address %1 dev lan"_s.arg(step)));
        runEventLoop(5ms);
    }
    const QList<OfferedAddress> expected{{QHostAddress(u"192.168.1.22"_s)}};
    QVERIFY(waitUntil([&] { return changes.addresses() == expected; }));
    QCOMPARE(changed.count(), 2);
    // The cable is pulled out at its other end.
    QVERIFY(ip(u"link set lanpeer down"_s));
    QVERIFY(waitUntil([&] { return changed.count() == 3; }));
    QCOMPARE(changes.addresses(), QList<OfferedAddress>());
}

void tst_NetworkChanges::whatChangesNoAddressIsNotReported()
{
    NetworkChanges changes;
    QSignalSpy changed(&changes, &NetworkChanges::changed);
    QVERIFY(ip(u"link set docker0 mtu 1400"_s));
    QVERIFY(ip(u"address add 127.0.0.9/8 dev lo"_s));
    runEventLoop(2 * NetworkChanges::settlingTime);
    QCOMPARE(changed.count(), 0);
}

namespace {

bool write(const char *path, const QByteArray &text)
{
    const int file = ::open(path, O_WRONLY | O_CLOEXEC);
    const bool isWritten = ::write(file, text.constData(), size_t(text.size())) == text.size();
    ::close(file);
    return isWritten;
}

/// Only root can do without a user namespace, in which the user is root.
QByteArray enterOwnNetwork()
{
    const uid_t user = ::geteuid();
    if (::unshare(user == 0 ? CLONE_NEWNET : CLONE_NEWUSER | CLONE_NEWNET) != 0 ||
        (user != 0 && !write("/proc/self/uid_map", "0 " + QByteArray::number(user) + " 1"))) {
        return "This machine does not let the test make a network of its own (unshare --net).";
    }
    return {};
}

} // namespace

int main(int argc, char **argv)
{
    // Before there are threads.
    const QByteArray problem = enterOwnNetwork();
    const QCoreApplication application(argc, argv);
    tst_NetworkChanges test;
    test.problem = problem;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_NetworkChanges.moc"
