// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/BalloonQueue.h"

#include <QTest>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;
using Time = BalloonQueue::Clock::time_point;

namespace {

const Time begin = Time() + 1h;

/// Shows what is due until that time, as the message handler does, and records when.
void run(BalloonQueue &queue, Time &now, Time until, QList<std::pair<QString, Time>> &shown)
{
    while (!queue.isEmpty() && now + queue.delay(now) <= until) {
        now += queue.delay(now);
        shown.append({queue.take(now), now});
    }
    now = until;
}

} // namespace

class tst_BalloonQueue : public QObject
{
    Q_OBJECT

private slots:
    void tenAreDueAtOnce();
    void aTextThatWaitsIsMerged();
    void ofTooManyTheOldestAreDropped();
    void noSecondHoldsMoreThanTen_data();
    void noSecondHoldsMoreThanTen();
    void theNewestIsShownSoonAfterTheStorm();
    void afterACalmSecondTenAreDueAgain();
};

void tst_BalloonQueue::tenAreDueAtOnce()
{
    BalloonQueue queue;
    QVERIFY(queue.isEmpty());
    for (int i = 0; i < 10; ++i) {
        // The same text is a separate balloon once the earlier one has been shown.
        queue.add(u"text"_s);
        QCOMPARE(queue.delay(begin), 0ms);
        QCOMPARE(queue.take(begin), u"text"_s);
        QVERIFY(queue.isEmpty());
    }
    queue.add(u"text"_s);
    QCOMPARE(queue.delay(begin), 1'000ms);
    QCOMPARE(queue.delay(begin + 999ms), 1ms);
    QCOMPARE(queue.delay(begin + 1s), 0ms);
    QCOMPARE(queue.delay(begin + 5s), 0ms);
}

void tst_BalloonQueue::aTextThatWaitsIsMerged()
{
    BalloonQueue queue;
    for (const char *text : {"a", "b", "a", "a", "c", "b"}) {
        queue.add(QLatin1StringView(text));
    }
    QStringList texts;
    while (!queue.isEmpty()) {
        texts.append(queue.take(begin));
    }
    QCOMPARE(texts, QStringList({u"a"_s, u"c"_s, u"b"_s}));
}

void tst_BalloonQueue::ofTooManyTheOldestAreDropped()
{
    BalloonQueue queue;
    QStringList sent;
    for (int i = 0; i < BalloonQueue::maximumWaiting + 3; ++i) {
        sent.append(QString::number(i));
        queue.add(sent.constLast());
    }
    QStringList texts;
    while (!queue.isEmpty()) {
        texts.append(queue.take(begin));
    }
    QCOMPARE(texts, sent.last(BalloonQueue::maximumWaiting));
}

void tst_BalloonQueue::noSecondHoldsMoreThanTen_data()
{
    QTest::addColumn<std::chrono::milliseconds>("pause");
    QTest::newRow("1000 a second") << std::chrono::milliseconds(1);
    QTest::newRow("30 a second") << std::chrono::milliseconds(33);
    QTest::newRow("11 a second") << std::chrono::milliseconds(91);
}

void tst_BalloonQueue::noSecondHoldsMoreThanTen()
{
    QFETCH(std::chrono::milliseconds, pause);
    BalloonQueue queue;
    QList<std::pair<QString, Time>> shown;
    Time now = begin;
    int sent = 0;
    while (now < begin + 10s) {
        queue.add(QString::number(++sent));
        run(queue, now, now + pause, shown);
    }
    for (qsizetype i = 0; i + 10 < shown.size(); ++i) {
        QVERIFY(shown[i + 10].second - shown[i].second >= 1s);
    }
    QVERIFY(shown.size() > 90);
    // A storm is shown one by one: showing ten at once would hold up the event loop noticeably.
    for (qsizetype i = 10; pause == 1ms && i + 1 < shown.size(); ++i) {
        QVERIFY(shown[i + 1].second - shown[i].second >= 100ms);
    }
}

void tst_BalloonQueue::theNewestIsShownSoonAfterTheStorm()
{
    BalloonQueue queue;
    QList<std::pair<QString, Time>> shown;
    Time now = begin;
    for (int i = 0; i < 5'000; ++i) {
        queue.add(QString::number(i));
        run(queue, now, now + 1ms, shown);
    }
    const Time last = now;
    run(queue, now, now + 1h, shown);
    QCOMPARE(shown.constLast().first, u"4999"_s);
    QVERIFY(shown.constLast().second - last <= 1'700ms);
}

void tst_BalloonQueue::afterACalmSecondTenAreDueAgain()
{
    BalloonQueue queue;
    for (int i = 0; i < 10; ++i) {
        queue.add(u"text"_s);
        queue.take(begin);
    }
    for (int i = 0; i < 10; ++i) {
        queue.add(u"text"_s);
        QCOMPARE(queue.delay(begin + 1s), 0ms);
        queue.take(begin + 1s);
    }
}

QTEST_APPLESS_MAIN(tst_BalloonQueue)
#include "tst_BalloonQueue.moc"
