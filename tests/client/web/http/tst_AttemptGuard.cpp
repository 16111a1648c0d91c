// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/AttemptGuard.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;
using namespace std::chrono_literals;

class tst_AttemptGuard : public QObject
{
    Q_OBJECT

private slots:
    void theSixthWrongSecretIsAnsweredLateAndTheTenthShutsOut();
    void whoWasShutOutBeginsAnew();
    void wrongSecretsLongAgoDoNotCount();
    void addressesAreCountedApart_data();
    void addressesAreCountedApart();
    void theTableDoesNotGrow();
    void whoIsShutOutStaysSoWhileOthersComeAndGo();

private:
    /// Any moment but the clock's first.
    const AttemptGuard::Clock::time_point start{1000h};
};

void tst_AttemptGuard::theSixthWrongSecretIsAnsweredLateAndTheTenthShutsOut()
{
    AttemptGuard guard;
    const QHostAddress phone(u"192.0.2.7"_s);
    const std::vector<std::chrono::milliseconds> expected{0s, 0s, 0s, 0s, 0s, 1s, 2s, 4s, 8s, 16s};
    for (const auto pause : expected) {
        QCOMPARE(guard.shutOut(phone, start), 0s);
        QCOMPARE(guard.addWrong(phone, start), pause);
    }
    QCOMPARE(guard.shutOut(phone, start), 600s);
    QCOMPARE(guard.shutOut(phone, start + 599'001ms), 1s);
    QCOMPARE(guard.shutOut(phone, start + 10min), 0s);
}

void tst_AttemptGuard::whoWasShutOutBeginsAnew()
{
    AttemptGuard guard;
    const QHostAddress phone(u"192.0.2.7"_s);
    for (int i = 0; i < 9; ++i) {
        guard.addWrong(phone, start);
    }
    guard.addWrong(phone, start + 9min);
    QVERIFY(guard.shutOut(phone, start + 18min) > 0s); // counted from the last
    QCOMPARE(guard.addWrong(phone, start + 19min), 0ms);
    QCOMPARE(guard.shutOut(phone, start + 19min), 0s);
}

void tst_AttemptGuard::wrongSecretsLongAgoDoNotCount()
{
    AttemptGuard guard;
    const QHostAddress phone(u"192.0.2.7"_s);
    for (int i = 0; i < 5; ++i) {
        guard.addWrong(phone, start);
    }
    QCOMPARE(guard.addWrong(phone, start + 9min), 1000ms);
    QCOMPARE(guard.addWrong(phone, start + 10min), 0ms);
}

void tst_AttemptGuard::addressesAreCountedApart_data()
{
    QTest::addColumn<QString>("one");
    QTest::addColumn<QString>("other");
    QTest::addColumn<bool>("isSame");

    QTest::newRow("IPv4") << u"192.0.2.7"_s << u"192.0.2.8"_s << false;
    QTest::newRow("IPv4 by both kinds of sockets")
        << u"192.0.2.7"_s << u"::ffff:192.0.2.7"_s << true;
    QTest::newRow("two of an IPv6 network") << u"2001:db8::1"_s << u"2001:db8::ff:2"_s << true;
    QTest::newRow("two IPv6 networks") << u"2001:db8::1"_s << u"2001:db8:0:1::1"_s << false;
    QTest::newRow("IPv4 and IPv6") << u"0.0.0.0"_s << u"::"_s << false;
}

void tst_AttemptGuard::addressesAreCountedApart()
{
    QFETCH(QString, one);
    QFETCH(QString, other);
    QFETCH(bool, isSame);
    AttemptGuard guard;
    for (int i = 0; i < 10; ++i) {
        guard.addWrong(QHostAddress(one), start);
    }
    QCOMPARE(guard.shutOut(QHostAddress(other), start) > 0s, isSame);
}

void tst_AttemptGuard::theTableDoesNotGrow()
{
    AttemptGuard guard;
    const QHostAddress first(u"192.0.2.7"_s);
    for (int i = 0; i < 10; ++i) {
        guard.addWrong(first, start);
    }
    for (quint32 i = 0; i < AttemptGuard::mostAddresses; ++i) {
        guard.addWrong(QHostAddress(0x0a000000 + i), start + 1s + 1ms * i);
    }
    QCOMPARE(guard.shutOut(first, start + 3s), 0s);
}

void tst_AttemptGuard::whoIsShutOutStaysSoWhileOthersComeAndGo()
{
    AttemptGuard guard;
    const QHostAddress bad(u"192.0.2.7"_s);
    for (quint32 i = 0; i < AttemptGuard::mostAddresses - 1; ++i) {
        guard.addWrong(QHostAddress(0x0a000000 + i), start);
    }
    for (int i = 0; i < 10; ++i) {
        guard.addWrong(bad, start + 5min);
    }
    // Those of the start are forgotten first.
    for (quint32 i = 0; i < 10; ++i) {
        guard.addWrong(QHostAddress(0x0b000000 + i), start + 11min);
    }
    QVERIFY(guard.shutOut(bad, start + 11min) > 0s);
}

QTEST_GUILESS_MAIN(tst_AttemptGuard)
#include "tst_AttemptGuard.moc"
