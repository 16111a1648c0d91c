// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/XkbHandles.h"
#include "platform/linux/input/XkbKeyFinder.h"
#include "support/x11/KeyboardDrawing.h"
#include "support/x11/LayoutSigns.h"

#include <QTest>

#include <optional>

using namespace platform;

namespace {

constexpr int Shift = 0x01;
constexpr int Lock = 0x02;
constexpr int Control = 0x04;
constexpr int Mod1 = 0x08;
constexpr int Mod2 = 0x10;
constexpr int Mod5 = 0x80;

XkbKeymap keymapOf(const QByteArray &layout, const QByteArray &options = {})
{
    const XkbContext context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    const xkb_rule_names names = {"evdev", "pc105", layout.constData(), "", options.constData()};
    return XkbKeymap(xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
}

/// The layout "us" with other symbols on some keys.
XkbKeymap keymapWith(const QByteArray &symbols)
{
    const QByteArray text = "xkb_keymap {"
                            "xkb_keycodes { include \"evdev\" };"
                            "xkb_types { include \"complete\" };"
                            "xkb_compat { include \"complete\" };"
                            "xkb_symbols { include \"pc+us+inet(evdev)\" " +
                            symbols + "}; };";
    const XkbContext context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    return XkbKeymap(xkb_keymap_new_from_string(
        context.get(), text.constData(), XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS));
}

xkb_keysym_t keysymOf(xkb_keymap *keymap, std::uint32_t group, const FoundKey &key)
{
    const XkbState state(xkb_state_new(keymap));
    xkb_state_update_mask(state.get(), key.modifiers, 0, 0, 0, 0, group);
    return xkb_state_key_get_one_sym(state.get(), key.keycode);
}

KeyCode codeOf(const char *name)
{
    return KeyTable::codeOf(QString::fromLatin1(name)).value();
}

std::vector<int> numbers(const std::vector<std::uint8_t> &keycodes)
{
    return {keycodes.begin(), keycodes.end()};
}

} // namespace

class tst_XkbKeyFinder : public QObject
{
    Q_OBJECT

private slots:
    void everyKeysymOfALayoutIsFoundAndOthersGoByPosition_data();
    void everyKeysymOfALayoutIsFoundAndOthersGoByPosition();
    void keysymsAreFoundOnTheKeyWithFewestModifiers_data();
    void keysymsAreFoundOnTheKeyWithFewestModifiers();
    void theUsualPositionComesFirstAmongEqualKeys();
    void aKeysymThatHasMovedIsFoundWhereItIs();
    void aGroupBeyondTheLastWrapsAround();
    void codesWithoutMeaningAreNotFound();
    void levelsThatNeedOtherModifiersAreNotUsed();
    void modifiersHaveTheirKeys_data();
    void modifiersHaveTheirKeys();
    void exchangedModifierKeysAreFoundByKeysym();
    void allKeysThatSetAModifierAreKnown();
    void numLockIsHarmlessAndNothingElse();
};

void tst_XkbKeyFinder::everyKeysymOfALayoutIsFoundAndOthersGoByPosition_data()
{
    QTest::addColumn<QByteArray>("layouts");
    QTest::addColumn<uint>("group");
    QTest::addColumn<QString>("layout");
    QTest::newRow("us") << QByteArray("us") << 0U << "us";
    QTest::newRow("fr") << QByteArray("fr") << 0U << "fr";
    QTest::newRow("de") << QByteArray("de") << 0U << "de";
    QTest::newRow("ru") << QByteArray("ru") << 0U << "ru";
    QTest::newRow("us of us,ru") << QByteArray("us,ru") << 0U << "us";
    QTest::newRow("ru of us,ru") << QByteArray("us,ru") << 1U << "ru";
}

void tst_XkbKeyFinder::everyKeysymOfALayoutIsFoundAndOthersGoByPosition()
{
    QFETCH(QByteArray, layouts);
    QFETCH(uint, group);
    QFETCH(QString, layout);
    const XkbKeymap keymap = keymapOf(layouts);
    QVERIFY(keymap);
    const XkbKeyFinder finder(keymap.get());

    const auto drawing = KeyboardDrawing::keys();
    for (const auto &[row, isBorne] : LayoutSigns::rowsOf(layout)) {
        QVERIFY2(drawing.contains(row.name), row.name.data());
        const KeyboardDrawing::Key drawn = drawing.value(row.name);
        const auto found = finder.key(group, row.code);
        QVERIFY2(found, row.name.data());
        QVERIFY2((keysymOf(keymap.get(), group, *found) == drawn.keysym) == isBorne,
                 row.name.data());
        const FoundKey atPosition{static_cast<std::uint8_t>(drawn.position), 0};
        QVERIFY2(isBorne || *found == atPosition, row.name.data());
    }
}

void tst_XkbKeyFinder::keysymsAreFoundOnTheKeyWithFewestModifiers_data()
{
    QTest::addColumn<QByteArray>("layout");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("keycode");
    QTest::addColumn<int>("modifiers");
    const auto row = [](const char *layout, const char *name, int keycode, int modifiers) {
        QTest::addRow("%s on %s", name, layout)
            << QByteArray(layout) << QByteArray(name) << keycode << modifiers;
    };
    row("us", "A", 38, 0);
    row("us", "=", 21, 0);
    row("us", "]", 34, 0); // The names of the brackets are exchanged: "]" is code 33.
    row("fr", "A", 24, 0);
    row("fr", "M", 47, 0);
    row("fr", "1", 10, Shift);
    row("fr", "=", 21, 0);
    row("fr", "-", 15, 0);
    row("fr", "/", 60, Shift);
    row("fr", "[", 20, Mod5);
    row("de", "Y", 52, 0);
    row("de", "Z", 29, 0);
    row("de", "=", 19, Shift);
    row("de", "-", 61, 0);
    row("de", "/", 16, Shift);
    row("de", "\\", 20, Mod5);
    row("ru", "A", 38, 0);
    row("ru", ",", 61, Shift);
    row("ru", ";", 13, Shift);
    row("ru", "/", 94, 0); // The key at the usual position would need Shift.
    row("pt", "\\", 49, 0);
    row("br", "[", 51, 0);
}

void tst_XkbKeyFinder::keysymsAreFoundOnTheKeyWithFewestModifiers()
{
    QFETCH(QByteArray, layout);
    QFETCH(QByteArray, name);
    const XkbKeymap keymap = keymapOf(layout);
    const auto found = XkbKeyFinder(keymap.get()).key(0, codeOf(name.constData()));
    QVERIFY(found);
    QTEST(int{found->keycode}, "keycode");
    QTEST(int{found->modifiers}, "modifiers");
}

void tst_XkbKeyFinder::theUsualPositionComesFirstAmongEqualKeys()
{
    // Caps Lock is an AltGr here as well, and has a lower key code than the right Alt key.
    const XkbKeymap keymap = keymapOf("de", "lv3:caps_switch");
    const XkbKeyFinder finder(keymap.get());
    QCOMPARE(numbers(finder.keysSetting(Mod5)), (std::vector{66, 92, 108}));
    QCOMPARE(int{finder.modifierKey(0, Modifier::Level3).value_or(0)}, 108);
}

void tst_XkbKeyFinder::aKeysymThatHasMovedIsFoundWhereItIs()
{
    const XkbKeymap keymap = keymapOf("us", "caps:swapescape");
    const XkbKeyFinder finder(keymap.get());
    QCOMPARE(int{finder.key(0, codeOf("Esc"))->keycode}, 66);
    QCOMPARE(int{finder.key(0, codeOf("CapsLock"))->keycode}, 9);
}

void tst_XkbKeyFinder::aGroupBeyondTheLastWrapsAround()
{
    const XkbKeymap keymap = keymapOf("us,fr");
    const XkbKeyFinder finder(keymap.get());
    const KeyCode letter = codeOf("A");
    QCOMPARE(int{finder.key(0, letter)->keycode}, 38);
    QCOMPARE(int{finder.key(1, letter)->keycode}, 24);
    QCOMPARE(int{finder.key(2, letter)->keycode}, 38);
    QCOMPARE(int{finder.key(3, letter)->keycode}, 24);
}

void tst_XkbKeyFinder::codesWithoutMeaningAreNotFound()
{
    const XkbKeymap keymap = keymapOf("us");
    const XkbKeyFinder finder(keymap.get());
    for (const int code : {10, 63, 127, 128, 130, 255, 0xffff}) {
        QVERIFY2(!finder.key(0, static_cast<KeyCode>(code)), qPrintable(QString::number(code)));
    }
}

void tst_XkbKeyFinder::levelsThatNeedOtherModifiersAreNotUsed()
{
    // The letter Q is only on the fifth level, which is reached by Control and Alt together.
    const XkbKeymap keymap = keymapWith("key <AD01> { type=\"CTRL+ALT\", [x, x, x, x, q] };");
    QVERIFY(keymap);
    const FoundKey atPosition{24, 0};
    QCOMPARE(XkbKeyFinder(keymap.get()).key(0, codeOf("Q")), std::optional<FoundKey>(atPosition));
}

void tst_XkbKeyFinder::modifiersHaveTheirKeys_data()
{
    QTest::addColumn<QByteArray>("layout");
    QTest::addColumn<int>("level3Key");
    // Layouts without AltGr nevertheless have a key for level three, which no real keyboard has.
    QTest::newRow("us") << QByteArray("us") << 92;
    QTest::newRow("de") << QByteArray("de") << 108;
}

void tst_XkbKeyFinder::modifiersHaveTheirKeys()
{
    QFETCH(QByteArray, layout);
    QFETCH(int, level3Key);
    const XkbKeymap keymap = keymapOf(layout);
    const XkbKeyFinder finder(keymap.get());
    const auto check = [&](Modifier modifier, int keycode, int mask) {
        return finder.modifierKey(0, modifier) == keycode &&
               finder.modifierMask(0, modifier) == mask;
    };
    QVERIFY(check(Modifier::Control, 37, Control));
    QVERIFY(check(Modifier::Alternate, 64, Mod1));
    QVERIFY(check(Modifier::Shift, 50, Shift));
    QVERIFY(check(Modifier::Level3, level3Key, Mod5));
}

void tst_XkbKeyFinder::exchangedModifierKeysAreFoundByKeysym()
{
    const XkbKeymap keymap = keymapOf("us", "ctrl:swapcaps,altwin:swap_lalt_lwin");
    const XkbKeyFinder finder(keymap.get());
    QCOMPARE(int{finder.modifierKey(0, Modifier::Control).value_or(0)}, 66);
    QCOMPARE(int{finder.modifierMask(0, Modifier::Control)}, Control);
    QCOMPARE(int{finder.modifierKey(0, Modifier::Alternate).value_or(0)}, 133);
    QCOMPARE(int{finder.modifierMask(0, Modifier::Alternate)}, Mod1);
}

void tst_XkbKeyFinder::allKeysThatSetAModifierAreKnown()
{
    const XkbKeymap us = keymapOf("us");
    const XkbKeyFinder ofUs(us.get());
    QCOMPARE(numbers(ofUs.keysSetting(Shift)), (std::vector{50, 62}));
    QCOMPARE(numbers(ofUs.keysSetting(Lock)), (std::vector{66}));
    QCOMPARE(numbers(ofUs.keysSetting(Control)), (std::vector{37, 105}));
    QCOMPARE(numbers(ofUs.keysSetting(Mod1)), (std::vector{64, 108}));
    QCOMPARE(numbers(ofUs.keysSetting(Shift | Control)), (std::vector{37, 50, 62, 105}));
    QCOMPARE(numbers(ofUs.keysSetting(0)), std::vector<int>());

    // The right Alt key is Alt in the first layout and AltGr in the second.
    const XkbKeymap both = keymapOf("us,de");
    const XkbKeyFinder ofBoth(both.get());
    QCOMPARE(numbers(ofBoth.keysSetting(Mod1)), (std::vector{64, 108}));
    QCOMPARE(numbers(ofBoth.keysSetting(Mod5)), (std::vector{92, 108}));
    QCOMPARE(int{ofBoth.modifiersSetBy(108)}, Mod1 | Mod5);
}

void tst_XkbKeyFinder::numLockIsHarmlessAndNothingElse()
{
    for (const char *layout : {"us", "fr", "de", "ru", "us,ru"}) {
        const XkbKeymap keymap = keymapOf(layout);
        QCOMPARE(int{XkbKeyFinder(keymap.get()).harmlessModifiers()}, Mod2);
    }
}

QTEST_GUILESS_MAIN(tst_XkbKeyFinder)
#include "tst_XkbKeyFinder.moc"
