// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/TypingPace.h"

#include <QTest>

using namespace platform;
using namespace std::chrono_literals;

class tst_TypingPace : public QObject
{
    Q_OBJECT

private slots:
    void aSecondHasSomeThousandKeys();
    void aPauseSavesNoMoreThanABurst();
};

namespace {

int keysAt(TypingPace &pace, TypingPace::Clock::time_point now)
{
    int keys = 0;
    while (pace.hasRoom(now)) {
        pace.spend(TypingPace::bytesPerKey);
        ++keys;
    }
    return keys;
}

} // namespace

void tst_TypingPace::aSecondHasSomeThousandKeys()
{
    auto now = TypingPace::Clock::time_point();
    TypingPace pace(now);
    keysAt(pace, now);
    int keys = 0;
    for (int turn = 0; turn < 125; ++turn) {
        now += 8ms;
        keys += keysAt(pace, now);
    }
    QVERIFY2(keys > 6'000 && keys < 7'000, qPrintable(QString::number(keys)));
}

void tst_TypingPace::aPauseSavesNoMoreThanABurst()
{
    auto now = TypingPace::Clock::time_point();
    TypingPace pace(now);
    const int first = keysAt(pace, now);
    QVERIFY(first * TypingPace::bytesPerKey <= TypingPace::burst);
    now += 1h;
    QVERIFY(keysAt(pace, now) <= first + 1);
}

QTEST_APPLESS_MAIN(tst_TypingPace)
#include "tst_TypingPace.moc"
