// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "server/RefusalPauses.h"

#include <QTest>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;
using Time = RefusalPauses::Clock::time_point;

namespace {

const Time begin = Time() + 1h;

} // namespace

class tst_RefusalPauses : public QObject
{
    Q_OBJECT

private slots:
    void aNewDeviceDoesNotWait();
    void theFirstRefusalAfterTheStartOfTheClockCounts();
    void eachRefusalDoublesThePause();
    void thePauseRunsOut();
    void anotherDeviceDoesNotWaitAtFirst();
    void newIdentifiersWaitAfterARow();
    void nobodyEverWaitsLongerThanTenSeconds();
    void aRowEndsAfterACalmMinute();
    void anAcceptedDeviceEndsTheRow();
    void manyDevicesAreForgotten();
};

void tst_RefusalPauses::aNewDeviceDoesNotWait()
{
    const RefusalPauses pauses;
    QCOMPARE(pauses.pause(u"id"_s, begin), 0ms);
    QCOMPARE(pauses.pause(u""_s, Time()), 0ms);
}

void tst_RefusalPauses::theFirstRefusalAfterTheStartOfTheClockCounts()
{
    RefusalPauses pauses;
    pauses.refused(u"id"_s, Time() + 1ms);
    QCOMPARE(pauses.pause(u"id"_s, Time() + 1ms), 1'000ms);
}

void tst_RefusalPauses::eachRefusalDoublesThePause()
{
    RefusalPauses pauses;
    Time now = begin;
    for (const std::chrono::milliseconds pause : {1s, 2s, 4s, 8s, 10s, 10s, 10s}) {
        pauses.refused(u"id"_s, now);
        QCOMPARE(pauses.pause(u"id"_s, now), pause);
        now += pause;
        QCOMPARE(pauses.pause(u"id"_s, now), 0ms);
    }
}

void tst_RefusalPauses::thePauseRunsOut()
{
    RefusalPauses pauses;
    pauses.refused(u"id"_s, begin);
    QCOMPARE(pauses.pause(u"id"_s, begin + 400ms), 600ms);
    QCOMPARE(pauses.pause(u"id"_s, begin + 999'500us), 1ms);
    QCOMPARE(pauses.pause(u"id"_s, begin + 1s), 0ms);
    QCOMPARE(pauses.pause(u"id"_s, begin + 1h), 0ms);
}

void tst_RefusalPauses::anotherDeviceDoesNotWaitAtFirst()
{
    RefusalPauses pauses;
    for (int refusal = 0; refusal < RefusalPauses::refusalsOfOthers; ++refusal) {
        pauses.refused(u"id"_s, begin);
        QCOMPARE(pauses.pause(u"other"_s, begin), 0ms);
    }
    pauses.refused(u"id"_s, begin);
    QCOMPARE(pauses.pause(u"other"_s, begin), 1'000ms);
}

void tst_RefusalPauses::newIdentifiersWaitAfterARow()
{
    RefusalPauses pauses;
    int device = 0;
    for (const std::chrono::milliseconds pause : {0s, 0s, 0s, 1s, 2s, 4s, 8s, 10s, 10s}) {
        pauses.refused(QString::number(++device), begin);
        QCOMPARE(pauses.pause(u"new"_s, begin), pause);
    }
}

void tst_RefusalPauses::nobodyEverWaitsLongerThanTenSeconds()
{
    RefusalPauses pauses;
    for (int refusal = 0; refusal < 1'000; ++refusal) {
        const Time now = begin + refusal * 1s;
        pauses.refused(QString::number(refusal % 7), now);
        for (const char *device : {"0", "new"}) {
            QVERIFY(pauses.pause(QLatin1StringView(device), now) <= RefusalPauses::longest);
        }
    }
}

void tst_RefusalPauses::aRowEndsAfterACalmMinute()
{
    RefusalPauses pauses;
    for (int refusal = 0; refusal < 10; ++refusal) {
        pauses.refused(u"id"_s, begin);
    }
    pauses.refused(u"id"_s, begin + 1min);
    QCOMPARE(pauses.pause(u"id"_s, begin + 1min), 1'000ms);
    QCOMPARE(pauses.pause(u"new"_s, begin + 1min), 0ms);
}

void tst_RefusalPauses::anAcceptedDeviceEndsTheRow()
{
    RefusalPauses pauses;
    for (int refusal = 0; refusal < 10; ++refusal) {
        pauses.refused(u"id"_s, begin);
    }
    pauses.accepted(u"other"_s);
    QCOMPARE(pauses.pause(u"new"_s, begin), 0ms);
    QCOMPARE(pauses.pause(u"id"_s, begin), 10'000ms);
    pauses.accepted(u"id"_s);
    QCOMPARE(pauses.pause(u"id"_s, begin), 0ms);
}

void tst_RefusalPauses::manyDevicesAreForgotten()
{
    RefusalPauses pauses;
    pauses.refused(u"first"_s, begin);
    for (int device = 0; device < RefusalPauses::maximumDevices; ++device) {
        QCOMPARE(pauses.pause(u"first"_s, begin) > 0ms, true);
        pauses.refused(QString::number(device), begin + 1ms);
    }
    pauses.accepted(u"none"_s);
    QCOMPARE(pauses.pause(u"first"_s, begin + 1ms), 0ms);
    QCOMPARE(pauses.pause(u"0"_s, begin + 1ms), 1'000ms);
}

QTEST_APPLESS_MAIN(tst_RefusalPauses)
#include "tst_RefusalPauses.moc"
