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
    pace.begin(now);
    while (pace.hasRoom()) {
        pace.spend(TypingPace::bytesPerKey);
        ++keys;
    }
    return keys;
}

} // namespace

void tst_TypingPace::aSecondHasSomeThousandKeys()
{
    auto now = TypingPace::Clock::time_point();
    const auto end = now + 1s;
    TypingPace pace(now);
    int keys = 0;
    while (now < end) {
        keys += keysAt(pace, now);
        now += std::max(pace.pause(), std::chrono::milliseconds(1));
    }
    QVERIFY2(keys > 6'000 && keys < 6'500, qPrintable(QString::number(keys)));
}

void tst_TypingPace::aPauseSavesNoMoreThanABurst()
{
    auto now = TypingPace::Clock::time_point();
    TypingPace pace(now);
    now += 1h;
    int keys = 0;
    while (const int more = keysAt(pace, now)) {
        QVERIFY(more * TypingPace::bytesPerKey <= TypingPace::piece);
        keys += more;
    }
    QVERIFY(keys * TypingPace::bytesPerKey <= TypingPace::burst);
    QVERIFY(keys > 150);
}

QTEST_APPLESS_MAIN(tst_TypingPace)
#include "tst_TypingPace.moc"
