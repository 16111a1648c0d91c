// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SharedAmount.h"

#include <QStringList>
#include <QTest>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

class tst_SharedAmount : public QObject
{
    Q_OBJECT

private slots:
    void sharesAreLimitedTogether();
    void whatIsHeldAnywayCounts();
    void whoeverWaitsForRoomIsCalledOnce();
    void whoeverWaitsIsCalledWhenAShareEnds();
    void allThatWaitAreCalledInTheirOrder();
    void whoeverIsLeftWithoutRoomWaitsOn();
    void aShareThatEndedIsNotCalled();
    void aShareMayEndWhenItIsCalled();
};

void tst_SharedAmount::sharesAreLimitedTogether()
{
    SharedAmount whole(10);
    SharedAmount::Share one(whole);
    {
        SharedAmount::Share other(whole);
        QVERIFY(one.resize(6));
        QVERIFY(!other.resize(5));
        QVERIFY(other.resize(4));
        QVERIFY(!one.resize(7));
        QCOMPARE(whole.total(), 10);
        QVERIFY(one.resize(5));
        QCOMPARE(whole.total(), 9);
    }
    QCOMPARE(whole.total(), 5);
    QVERIFY(one.resize(10));
}

void tst_SharedAmount::whatIsHeldAnywayCounts()
{
    SharedAmount whole(10);
    SharedAmount::Share one(whole);
    SharedAmount::Share other(whole);
    one.hold(25);
    QCOMPARE(whole.total(), 25);
    QVERIFY(!other.resize(1));
    QVERIFY(one.resize(20)); // Less is always possible.
    QVERIFY(!other.askForRoom());
    one.hold(0);
    QCOMPARE(whole.total(), 0);
    QVERIFY(other.askForRoom());
}

void tst_SharedAmount::whoeverWaitsForRoomIsCalledOnce()
{
    SharedAmount whole(10);
    int calls = 0;
    SharedAmount::Share one(whole);
    SharedAmount::Share other(whole, [&] { ++calls; });
    QVERIFY(other.askForRoom());
    one.hold(12);
    QVERIFY(!other.askForRoom());
    QVERIFY(!other.askForRoom());
    one.hold(10);
    QCOMPARE(calls, 0);
    one.hold(9);
    QCOMPARE(calls, 1);
    one.hold(12);
    one.hold(1);
    QCOMPARE(calls, 1); // It has not asked again.
}

void tst_SharedAmount::whoeverWaitsIsCalledWhenAShareEnds()
{
    SharedAmount whole(10);
    int calls = 0;
    SharedAmount::Share other(whole, [&] { ++calls; });
    {
        SharedAmount::Share one(whole);
        QVERIFY(one.resize(10));
        QVERIFY(!other.askForRoom());
    }
    QCOMPARE(calls, 1);
}

void tst_SharedAmount::allThatWaitAreCalledInTheirOrder()
{
    SharedAmount whole(10);
    QStringList calls;
    SharedAmount::Share full(whole);
    full.hold(10);
    SharedAmount::Share one(whole, [&] { calls.append(u"one"_s); });
    SharedAmount::Share two(whole, [&] { calls.append(u"two"_s); });
    SharedAmount::Share three(whole, [&] { calls.append(u"three"_s); });
    QVERIFY(!two.askForRoom());
    QVERIFY(!three.askForRoom());
    QVERIFY(!one.askForRoom());
    full.hold(9);
    QCOMPARE(calls, (QStringList{u"two"_s, u"three"_s, u"one"_s}));
}

void tst_SharedAmount::whoeverIsLeftWithoutRoomWaitsOn()
{
    SharedAmount whole(10);
    int calls = 0;
    SharedAmount::Share full(whole);
    full.hold(10);
    std::optional<SharedAmount::Share> first;
    first.emplace(whole, [&] { first->hold(5); });
    SharedAmount::Share second(whole, [&] { ++calls; });
    QVERIFY(!first->askForRoom());
    QVERIFY(!second.askForRoom());
    full.hold(9);
    QCOMPARE(calls, 0);
    first->hold(0);
    QCOMPARE(calls, 1);
}

void tst_SharedAmount::aShareThatEndedIsNotCalled()
{
    SharedAmount whole(10);
    int calls = 0;
    SharedAmount::Share full(whole);
    full.hold(10);
    {
        SharedAmount::Share ended(whole, [&] { ++calls; });
        QVERIFY(!ended.askForRoom());
    }
    full.hold(0);
    QCOMPARE(calls, 0);
}

void tst_SharedAmount::aShareMayEndWhenItIsCalled()
{
    SharedAmount whole(10);
    int calls = 0;
    SharedAmount::Share full(whole);
    full.hold(10);
    auto one = std::make_unique<SharedAmount::Share>(whole, [&] { ++calls; });
    std::optional<SharedAmount::Share> two;
    two.emplace(whole, [&] {
        one.reset();
        two.reset();
        ++calls;
    });
    QVERIFY(!two->askForRoom());
    QVERIFY(!one->askForRoom());
    full.hold(0);
    QCOMPARE(calls, 1);
    QVERIFY(!two && !one);
}

QTEST_GUILESS_MAIN(tst_SharedAmount)
#include "tst_SharedAmount.moc"
