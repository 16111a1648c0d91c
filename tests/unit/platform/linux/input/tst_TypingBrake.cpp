// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/TypingBrake.h"

#include <QTest>

using namespace platform;
using namespace std::chrono_literals;

class tst_TypingBrake : public QObject
{
    Q_OBJECT

private slots:
    void shortTextsNeedNoLook();
    void aProgramThatDoesNotReadIsWaitedFor();
    void aProgramThatReadsALittleIsWaitedFor();
    void aProgramThatHungBeforeIsNotWaitedFor();
    void aProgramThatHungBeforeAndIsTypedIntoIsWaitedFor();
    void aProgramThatHasReadSinceIsWaitedFor();
    void aProgramThatNeverReadsIsHopeless();
    void aSystemThatDoesNotTellHoldsNothing();
};

namespace {

constexpr std::uint32_t program = 7;
constexpr std::uint32_t other = 8;
constexpr int text = TypingBrake::bytesPerLook;

/// A brake, what it is told, and a clock.
struct Scene
{
    std::optional<UnreadEvents> unread = UnreadEvents();
    int looks = 0;
    TypingBrake::Clock::time_point now = TypingBrake::Clock::now();
    TypingBrake brake{[this] {
        ++looks;
        return unread;
    }};

    Scene() { brake.begin(); }

    bool isHeldAfter(int bytes)
    {
        brake.spend(bytes);
        return brake.holds(now);
    }
    bool isHeldAfter(std::chrono::milliseconds pause)
    {
        now += pause;
        return brake.holds(now);
    }
};

} // namespace

void tst_TypingBrake::shortTextsNeedNoLook()
{
    Scene scene;
    scene.unread = UnreadEvents{{program, TypingBrake::muchUnread + 1}};
    QVERIFY(!scene.isHeldAfter(text - 1));
    QCOMPARE(scene.looks, 0);
}

void tst_TypingBrake::aProgramThatDoesNotReadIsWaitedFor()
{
    Scene scene;
    scene.unread = UnreadEvents{{program, TypingBrake::muchUnread}};
    QVERIFY(!scene.isHeldAfter(text));
    scene.unread = UnreadEvents{{program, TypingBrake::muchUnread + 1}};
    QVERIFY(scene.isHeldAfter(text));
    QCOMPARE(scene.looks, 2);
    QVERIFY(scene.isHeldAfter(TypingBrake::lookInterval - 1ms));
    QCOMPARE(scene.looks, 2);
    QVERIFY(scene.isHeldAfter(1ms));
    QCOMPARE(scene.looks, 3);
    scene.unread = UnreadEvents();
    QVERIFY(!scene.isHeldAfter(TypingBrake::lookInterval));
    QVERIFY(!scene.brake.isHopeless(scene.now + 1h));
}

void tst_TypingBrake::aProgramThatReadsALittleIsWaitedFor()
{
    Scene scene;
    QVERIFY(!scene.isHeldAfter(text));
    scene.unread = UnreadEvents{{program, 3 * TypingBrake::muchUnread}};
    QVERIFY(scene.isHeldAfter(text));
    scene.unread = UnreadEvents{{program, TypingBrake::muchUnread + 1}};
    QVERIFY(scene.isHeldAfter(1s));
}

void tst_TypingBrake::aProgramThatHungBeforeIsNotWaitedFor()
{
    Scene scene;
    scene.unread = UnreadEvents{{other, 2 * TypingBrake::muchUnread}};
    QVERIFY(!scene.isHeldAfter(text));
    scene.unread = UnreadEvents{{other, 2 * TypingBrake::muchUnread + TypingBrake::moreUnread}};
    QVERIFY(!scene.isHeldAfter(text));
    (*scene.unread)[program] = TypingBrake::muchUnread + 1;
    QVERIFY(scene.isHeldAfter(text));
}

void tst_TypingBrake::aProgramThatHungBeforeAndIsTypedIntoIsWaitedFor()
{
    Scene scene;
    scene.unread = UnreadEvents{{program, 2 * TypingBrake::muchUnread}};
    QVERIFY(!scene.isHeldAfter(text));
    // Now it looks more often, and at the begin of a text.
    scene.unread =
        UnreadEvents{{program, 2 * TypingBrake::muchUnread + TypingBrake::moreUnread + 1}};
    QVERIFY(scene.isHeldAfter(TypingBrake::bytesPerCloseLook));
    scene.brake.begin();
    QVERIFY(!scene.isHeldAfter(0));
    QCOMPARE(scene.looks, 3);
    (*scene.unread)[program] += TypingBrake::moreUnread + 1;
    QVERIFY(!scene.isHeldAfter(TypingBrake::bytesPerCloseLook - 1));
    QVERIFY(scene.isHeldAfter(1));
}

void tst_TypingBrake::aProgramThatHasReadSinceIsWaitedFor()
{
    Scene scene;
    scene.unread = UnreadEvents{{program, 3 * TypingBrake::muchUnread}};
    QVERIFY(!scene.isHeldAfter(text));
    scene.unread = UnreadEvents();
    QVERIFY(!scene.isHeldAfter(text));
    scene.unread = UnreadEvents{{program, 2 * TypingBrake::muchUnread}};
    QVERIFY(scene.isHeldAfter(text));
}

void tst_TypingBrake::aProgramThatNeverReadsIsHopeless()
{
    Scene scene;
    QVERIFY(!scene.isHeldAfter(text));
    scene.unread = UnreadEvents{{program, 2 * TypingBrake::muchUnread}};
    QVERIFY(scene.isHeldAfter(text));
    QVERIFY(scene.isHeldAfter(TypingBrake::patience));
    QVERIFY(!scene.brake.isHopeless(scene.now));
    QVERIFY(scene.isHeldAfter(1ms));
    QVERIFY(scene.brake.isHopeless(scene.now));
    scene.brake.begin();
    QVERIFY(!scene.brake.isHopeless(scene.now));
}

void tst_TypingBrake::aSystemThatDoesNotTellHoldsNothing()
{
    Scene scene;
    scene.unread.reset();
    QVERIFY(!scene.isHeldAfter(text));
    QCOMPARE(scene.looks, 1);
}

QTEST_APPLESS_MAIN(tst_TypingBrake)
#include "tst_TypingBrake.moc"
