// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/SpareKeys.h"

#include <QTest>

#include <array>

using namespace platform;
using namespace std::chrono_literals;

using Bindings = std::vector<SpareKeys::Binding>;

namespace {

constexpr std::uint32_t Window = 7;

const SpareKeys::Clock::time_point now = SpareKeys::Clock::now();

KeycodeSet keycodes(std::initializer_list<std::size_t> numbers)
{
    KeycodeSet set;
    for (const std::size_t number : numbers) {
        set.set(number);
    }
    return set;
}

SpareKeys spareKeys(std::initializer_list<std::size_t> numbers)
{
    SpareKeys keys;
    keys.setKeys(keycodes(numbers));
    return keys;
}

Bindings bind(SpareKeys &keys, std::vector<std::uint32_t> keysyms,
              SpareKeys::Clock::time_point time = now)
{
    return keys.bind(keysyms, time);
}

} // namespace

class tst_SpareKeys : public QObject
{
    Q_OBJECT

private slots:
    void asManyAsPossibleAreBoundAtOnce();
    void whatIsBoundStays();
    void theLongestUnusedKeyIsBoundAnew();
    void aKeyIsNotBoundAnewBeforeItWasRead();
    void anAnswerShowsThatAKeyWasRead();
    void anAnswerToAnEarlierQuestionShowsNothing();
    void anAnswerOfAnotherWindowShowsNothing();
    void aWindowThatIsGoneIsNotWaitedFor();
    void aChangeIsReadBeforeItsKeyIsUsed();
    void aChangeCountsAsReadAfterAWhile();
    void aHeldKeyIsNeverBoundAnew();
    void theFirstFreeKeyIsKnown();
    void aLostKeyIsNoLongerUsed();
    void allAreUnboundAtOnce();
    void keysThatAreNoLongerSpareAreGivenUp();
};

void tst_SpareKeys::asManyAsPossibleAreBoundAtOnce()
{
    SpareKeys keys = spareKeys({93, 97});
    QCOMPARE(bind(keys, {1, 2, 3}), (Bindings{{93, 1}, {97, 2}}));
    QCOMPARE(keys.keyOf(2, now), std::optional<std::uint8_t>(97));
    QCOMPARE(keys.keyOf(3, now), std::nullopt);
    QCOMPARE(keys.boundKeys(), keycodes({93, 97}));
}

void tst_SpareKeys::whatIsBoundStays()
{
    SpareKeys keys = spareKeys({93, 97});
    bind(keys, {1, 2});
    QCOMPARE(bind(keys, {3, 1}), (Bindings{{97, 3}}));
    QCOMPARE(keys.keyOf(1, now), std::optional<std::uint8_t>(93));
}

void tst_SpareKeys::theLongestUnusedKeyIsBoundAnew()
{
    SpareKeys keys = spareKeys({93, 97, 103});
    bind(keys, {1, 2, 3});
    for (const std::uint8_t keycode : std::array<std::uint8_t, 4>{93, 97, 103, 93}) {
        keys.use(keycode, {0, 0, now});
    }
    QCOMPARE(bind(keys, {4}), (Bindings{{97, 4}}));
}

void tst_SpareKeys::aKeyIsNotBoundAnewBeforeItWasRead()
{
    SpareKeys keys = spareKeys({93});
    bind(keys, {1});
    keys.use(93, {0, 0, now + 1s});
    QCOMPARE(bind(keys, {2}, now + 999ms), Bindings());
    QCOMPARE(bind(keys, {2}, now + 1s), (Bindings{{93, 2}}));
}

void tst_SpareKeys::anAnswerShowsThatAKeyWasRead()
{
    SpareKeys keys = spareKeys({93});
    bind(keys, {1});
    keys.use(93, {Window, 5, now + 1h});
    keys.confirm(Window, 6);
    QCOMPARE(bind(keys, {2}), (Bindings{{93, 2}}));
}

void tst_SpareKeys::anAnswerToAnEarlierQuestionShowsNothing()
{
    SpareKeys keys = spareKeys({93});
    bind(keys, {1});
    keys.use(93, {Window, 5, now + 1h});
    keys.confirm(Window, 4);
    QCOMPARE(bind(keys, {2}), Bindings());
}

void tst_SpareKeys::anAnswerOfAnotherWindowShowsNothing()
{
    SpareKeys keys = spareKeys({93});
    bind(keys, {1});
    keys.use(93, {Window, 5, now + 1h});
    keys.confirm(Window + 1, 5);
    QCOMPARE(bind(keys, {2}), Bindings());
}

void tst_SpareKeys::aWindowThatIsGoneIsNotWaitedFor()
{
    SpareKeys keys = spareKeys({93, 97});
    bind(keys, {1, 2});
    keys.use(93, {Window, 1, now + 30s});
    keys.use(97, {Window + 1, 2, now + 30s});
    keys.countAsRead(Window, now + 5s);
    keys.countAsRead(Window, now + 9s);
    QCOMPARE(bind(keys, {3, 4}, now + 4s), Bindings());
    QCOMPARE(bind(keys, {3, 4}, now + 5s), (Bindings{{93, 3}}));
}

void tst_SpareKeys::aChangeIsReadBeforeItsKeyIsUsed()
{
    SpareKeys keys = spareKeys({93});
    bind(keys, {1});
    QCOMPARE(keys.keyOf(1, now), std::optional<std::uint8_t>(93));
    keys.announce(93, {Window, 5, now + 1h});
    keys.confirm(Window, 4);
    keys.confirm(Window + 1, 5);
    QCOMPARE(keys.keyOf(1, now), std::nullopt);
    keys.confirm(Window, 5);
    QCOMPARE(keys.keyOf(1, now), std::optional<std::uint8_t>(93));
}

void tst_SpareKeys::aChangeCountsAsReadAfterAWhile()
{
    SpareKeys keys = spareKeys({93});
    bind(keys, {1});
    keys.announce(93, {Window, 5, now + 1s});
    QCOMPARE(keys.keyOf(1, now + 999ms), std::nullopt);
    QCOMPARE(keys.keyOf(1, now + 1s), std::optional<std::uint8_t>(93));
    QCOMPARE(keys.bindings(), (Bindings{{93, 1}}));
}

void tst_SpareKeys::aHeldKeyIsNeverBoundAnew()
{
    SpareKeys keys = spareKeys({93});
    bind(keys, {1});
    keys.hold(93);
    QVERIFY(keys.isAnyHeld());
    QCOMPARE(bind(keys, {2}, now + 1h), Bindings());
    keys.letGo(93);
    QVERIFY(!keys.isAnyHeld());
    QCOMPARE(bind(keys, {2}, now + 1h), (Bindings{{93, 2}}));
}

void tst_SpareKeys::theFirstFreeKeyIsKnown()
{
    SpareKeys keys = spareKeys({93, 97, 103});
    bind(keys, {1, 2, 3});
    keys.use(93, {0, 0, now + 3s});
    keys.use(97, {0, 0, now + 2s});
    keys.use(103, {0, 0, now + 1s});
    keys.hold(103);
    QCOMPARE(keys.nextFree(), std::optional(now + 2s));
    QCOMPARE(keys.lastRead(), now + 3s);
    QCOMPARE(SpareKeys().nextFree(), std::nullopt);
}

void tst_SpareKeys::aLostKeyIsNoLongerUsed()
{
    SpareKeys keys = spareKeys({93, 97});
    bind(keys, {1, 2});
    keys.lose(93);
    QCOMPARE(keys.bindings(), (Bindings{{97, 2}}));
    QCOMPARE(keys.count(), std::size_t{1});
}

void tst_SpareKeys::allAreUnboundAtOnce()
{
    SpareKeys keys = spareKeys({93, 97});
    bind(keys, {1, 2});
    QCOMPARE(keys.unbindAll(), (Bindings{{93, 1}, {97, 2}}));
    QCOMPARE(keys.bindings(), Bindings());
    QCOMPARE(keys.count(), std::size_t{2});
}

void tst_SpareKeys::keysThatAreNoLongerSpareAreGivenUp()
{
    SpareKeys keys = spareKeys({93, 97});
    bind(keys, {1, 2});
    keys.setKeys(keycodes({97, 103}));
    QCOMPARE(keys.bindings(), (Bindings{{97, 2}}));
    QCOMPARE(bind(keys, {3}), (Bindings{{103, 3}}));
}

QTEST_APPLESS_MAIN(tst_SpareKeys)
#include "tst_SpareKeys.moc"
