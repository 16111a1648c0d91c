// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/HostCheck.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_HostCheck : public QObject
{
    Q_OBJECT

private slots:
    void aHostIsOursOnlyIfItNamesThisEnd_data();
    void aHostIsOursOnlyIfItNamesThisEnd();
    void theUsualPortNeedNotBeNamed();
    void aComputerHasItsNameAndThatOfMulticastDns();
    void originsAreThoseOfBrowsers();
};

void tst_HostCheck::aHostIsOursOnlyIfItNamesThisEnd_data()
{
    QTest::addColumn<QByteArray>("host");
    QTest::addColumn<QString>("local");
    QTest::addColumn<bool>("isOurs");

    const QString lan = u"192.168.1.20"_s;
    const QString mapped = u"::ffff:192.168.1.20"_s;
    const QString six = u"2001:db8::20"_s;
    const QString loop = u"127.0.0.1"_s;
    const auto row = [](const char *host, const QString &local, bool isOurs) {
        QTest::addRow("\"%s\" at %s", host, qPrintable(local))
            << QByteArray(host) << local << isOurs;
    };
    row("192.168.1.20:8642", lan, true);
    row("192.168.1.20:8642", mapped, true);
    row("[2001:db8::20]:8642", six, true);
    row("[2001:DB8:0::20]:8642", six, true);
    row("[fe80::1]:8642", u"fe80::1%lo"_s, true);
    row("[::ffff:192.168.1.20]:8642", mapped, true);
    row("[::ffff:c0a8:114]:8642", mapped, true);
    row("den:8642", lan, true);
    row("DEN.local:8642", six, true);
    row("a.phones.example:8642", lan, true);
    row("localhost:8642", loop, true);
    row("LocalHost:8642", u"::1"_s, true);
    row("localhost:8642", u"::ffff:127.0.0.1"_s, true);
    row("127.0.0.1:8642", loop, true);
    row("[::1]:8642", u"::1"_s, true);

    row("", lan, false);
    row(":8642", lan, false);
    row("192.168.1.20", lan, false);
    row("192.168.1.20:", lan, false);
    row("192.168.1.20:8643", lan, false);
    row("192.168.1.20:08642", lan, false);
    row("192.168.1.20:+8642", lan, false);
    row("192.168.1.20:74178", lan, false); // 8642 + 65536
    row("192.168.1.20:8642 ", lan, false);
    row("192.168.1.21:8642", lan, false);
    row("192.168.1.20.:8642", lan, false);
    row("192.168.276:8642", lan, false); // the same number, but no browser writes it so
    row("3232235796:8642", lan, false);
    row("0xc0a80114:8642", lan, false);
    row("[192.168.1.20]:8642", lan, false);
    row("2001:db8::20:8642", six, false);
    row("[2001:db8::20:8642", six, false);
    row("[2001:db8::20]8642", six, false);
    row("[2001:db8::20%lo]:8642", six, false);
    row("[]:8642", six, false);
    row("[den]:8642", lan, false);
    row("127.0.0.1:8642", lan, false);
    row("localhost:8642", lan, false);
    row("evil.example:8642", lan, false);
    row("den.evil.example:8642", lan, false);
    row("den@evil:8642", lan, false);
    row("phones.example:8642", lan, false);
    row("a.b.phones.example:8642", lan, false);
    row(".phones.example:8642", lan, false);
    row("*.phones.example:8642", lan, true); // as the certificate says it
    row("0.0.0.0:8642", lan, false);
    row("[::]:8642", six, false);
}

void tst_HostCheck::aHostIsOursOnlyIfItNamesThisEnd()
{
    QFETCH(QByteArray, host);
    QFETCH(QString, local);
    QFETCH(bool, isOurs);
    const HostCheck check({u"Den"_s, u"den.local"_s, u"*.phones.example"_s}, 8642, false);
    const QHostAddress end(local);
    const QHostAddress peer = end.isLoopback() ? end : QHostAddress(u"192.168.1.7"_s);
    QCOMPARE(check.isOurs(host, {end, peer}), isOurs);
}

void tst_HostCheck::theUsualPortNeedNotBeNamed()
{
    const WebPassage passage{QHostAddress(u"192.0.2.1"_s), QHostAddress(u"192.0.2.2"_s)};
    QVERIFY(HostCheck({}, 80, false).isOurs("192.0.2.1", passage));
    QVERIFY(HostCheck({}, 443, true).isOurs("192.0.2.1", passage));
    QVERIFY(!HostCheck({}, 443, false).isOurs("192.0.2.1", passage));
    QVERIFY(!HostCheck({}, 80, true).isOurs("192.0.2.1", passage));
}

void tst_HostCheck::aComputerHasItsNameAndThatOfMulticastDns()
{
    QCOMPARE(HostCheck::namesOf(u"Den"_s), QStringList({u"den"_s, u"den"_s, u"den.local"_s}));
    QCOMPARE(HostCheck::namesOf(u"den.example.org"_s),
             QStringList({u"den.example.org"_s, u"den"_s, u"den.local"_s}));
    QCOMPARE(HostCheck::namesOf(QString()), QStringList());
    // Or it would be ours from everywhere.
    QCOMPARE(HostCheck::namesOf(u"localhost.localdomain"_s), QStringList());
}

void tst_HostCheck::originsAreThoseOfBrowsers()
{
    const HostCheck plain({}, 8642, false);
    const HostCheck secure({}, 8642, true);
    QCOMPARE(plain.originOf("den:8642"), QByteArray("http://den:8642"));
    QCOMPARE(secure.originOf("den:8642"), QByteArray("https://den:8642"));
    QCOMPARE(plain.socketSourceOf("den:8642"), QByteArray("ws://den:8642"));
    QCOMPARE(secure.socketSourceOf("den:8642"), QByteArray("wss://den:8642"));
}

QTEST_GUILESS_MAIN(tst_HostCheck)
#include "tst_HostCheck.moc"
