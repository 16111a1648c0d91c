// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/LayoutKeys.h"

#include "platform/linux/input/OwnKeymap.h"

#include <QTest>

using namespace platform;

namespace {

constexpr ModifierMask Shift = 0b1;
constexpr ModifierMask Control = 0b100;

LayoutKeys keysOf(const char *layouts)
{
    qputenv("XKB_DEFAULT_LAYOUT", layouts);
    return LayoutKeys::ofSystem().value();
}

} // namespace

class tst_LayoutKeys : public QObject
{
    Q_OBJECT

private slots:
    void theFirstLayoutThatHasACharacterCounts();
    void codesAreFoundInAnyLayout();
    void shortcutsOfOtherLettersGoByPosition();
    void locksSetNothing();
    void aKeymapThatIsNoneIsRefused();
    void theTextIsReadAgain();
};

void tst_LayoutKeys::theFirstLayoutThatHasACharacterCounts()
{
    const LayoutKeys keys = keysOf("de,ru");
    QCOMPARE(keys.character(U'z'), (LayoutKey{{29, 0}, 0}));
    QCOMPARE(keys.character(U'Ф'), (LayoutKey{{38, Shift}, 1}));
    QCOMPARE(keys.character(U'\n'), (LayoutKey{{36, 0}, 0}));
    QVERIFY(!keys.character(U'あ'));
}

void tst_LayoutKeys::codesAreFoundInAnyLayout()
{
    constexpr KeyCode c = 8;
    QCOMPARE(keysOf("ru,us").key(c), (LayoutKey{{54, 0}, 1}));
    QCOMPARE(keysOf("ru").key(c), (LayoutKey{{54, 0}, 0})); // By its position.
    QVERIFY(!keysOf("us").key(63));
    QVERIFY(!keysOf("us").key(0xffff));
}

void tst_LayoutKeys::shortcutsOfOtherLettersGoByPosition()
{
    const LayoutKeys keys = keysOf("ru");
    QVERIFY(!keys.key({.character = U'c'}, {}));
    QCOMPARE(keys.key({.character = U'c'}, {.hasControl = true}), (LayoutKey{{54, 0}, 0}));
    QCOMPARE(keys.key({.character = U'C'}, {.hasControl = true}), (LayoutKey{{54, Shift}, 0}));
    QCOMPARE(keys.masksOf(0, {.hasControl = true}), Control);
    QCOMPARE(keys.masksOf(0, Flag::Command | Flag::Shift), ModifierMask{Control | Shift});
}

void tst_LayoutKeys::locksSetNothing()
{
    const LayoutKeys keys = keysOf("us");
    QCOMPARE(keys.heldModifiers(66), ModifierMask{0});
    QCOMPARE(keys.heldModifiers(77), ModifierMask{0});
    QCOMPARE(keys.heldModifiers(50), Shift);
}

void tst_LayoutKeys::aKeymapThatIsNoneIsRefused()
{
    for (const char *text : {"", "xkb_keymap {", "nonsense", "xkb_keymap { xkb_keycodes { }; };"}) {
        QVERIFY(!LayoutKeys::fromText(text));
    }
}

void tst_LayoutKeys::theTextIsReadAgain()
{
    const LayoutKeys keys = keysOf("de");
    QVERIFY(OwnKeymap::isNamed(keys.text()));
    const auto again = LayoutKeys::fromText(keys.text());
    QVERIFY(again);
    QCOMPARE(again->text(), keys.text());
    QCOMPARE(again->character(U'ß'), keys.character(U'ß'));
}

QTEST_APPLESS_MAIN(tst_LayoutKeys)
#include "tst_LayoutKeys.moc"
