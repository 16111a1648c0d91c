// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/Remainder.h"

#include <QTest>

#include <limits>

using platform::Remainder;

class tst_Remainder : public QObject
{
    Q_OBJECT

private slots:
    void wholeStepsAreHandedOut();
    void whatIsLeftOverCountsNextTime();
    void aChangeOfDirectionDropsTheRest();
    void wholeStepsSurviveAChangeOfDirection();
    void noMoreThanTheLimitIsOwed();
    void whatIsNotANumberIsIgnored();
};

void tst_Remainder::wholeStepsAreHandedOut()
{
    Remainder wheel(120, 100);
    wheel.add(360);
    QCOMPARE(wheel.take(), 3);
    QCOMPARE(wheel.take(), 0);
    wheel.add(-240);
    QCOMPARE(wheel.take(), -2);
}

void tst_Remainder::whatIsLeftOverCountsNextTime()
{
    Remainder pixels(1, 100);
    int sum = 0;
    for (int count = 0; count < 40; ++count) {
        pixels.add(0.25);
        sum += pixels.take();
    }
    QCOMPARE(sum, 10);
}

void tst_Remainder::aChangeOfDirectionDropsTheRest()
{
    Remainder wheel(120, 100);
    wheel.add(119);
    wheel.add(-120);
    QCOMPARE(wheel.take(), -1);
}

void tst_Remainder::wholeStepsSurviveAChangeOfDirection()
{
    Remainder pixels(1, 100);
    pixels.add(30);
    pixels.add(-10);
    QCOMPARE(pixels.take(), 20);
}

void tst_Remainder::noMoreThanTheLimitIsOwed()
{
    Remainder wheel(120, 5);
    wheel.add(1e300);
    wheel.add(1e300);
    QCOMPARE(wheel.take(), 5);
    wheel.add(-1e300);
    QCOMPARE(wheel.take(), -5);
}

void tst_Remainder::whatIsNotANumberIsIgnored()
{
    Remainder pixels(1, 100);
    pixels.add(3);
    pixels.add(std::numeric_limits<double>::quiet_NaN());
    pixels.add(std::numeric_limits<double>::infinity());
    QCOMPARE(pixels.take(), 3);
}

QTEST_APPLESS_MAIN(tst_Remainder)
#include "tst_Remainder.moc"
