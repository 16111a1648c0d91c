// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/NamedKeySymbols.h"
#include "platform/linux/input/OwnKeymap.h"
#include "platform/linux/input/TypingKeymap.h"
#include "platform/linux/input/XkbHandles.h"

#include <QTest>

#include <array>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <set>

using namespace Qt::StringLiterals;
using namespace platform;

namespace {

XkbKeymap compiled(const QByteArray &text)
{
    const XkbContext context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    return XkbKeymap(xkb_keymap_new_from_string(
        context.get(), text.constData(), XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS));
}

QByteArray writtenAnew(xkb_keymap *keymap)
{
    char *text = xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
    const QByteArray copy = text;
    std::free(text);
    return copy;
}

std::vector<std::uint32_t> keysymsOf(const QString &characters)
{
    std::vector<std::uint32_t> keysyms;
    for (const uint character : characters.toUcs4()) {
        keysyms.push_back(keysymOf(char32_t{character}));
    }
    return keysyms;
}

std::uint32_t producedBy(xkb_keymap *keymap, const TypingKeymap::Place &place)
{
    const XkbState state(xkb_state_new(keymap));
    xkb_state_update_mask(state.get(), 0, 0, 0, 0, 0, place.group);
    return xkb_state_key_get_one_sym(state.get(), place.keycode);
}

} // namespace

class tst_TypingKeymap : public QObject
{
    Q_OBJECT

private slots:
    void everyKeysymComesOutWhereItIs_data();
    void everyKeysymComesOutWhereItIs();
    void enterTabAndSpaceAreInEveryGroup();
    void whatDoesNotFitIsLeftOut();
    void noKeyIsOneThatProgramsKnowByItsPosition();
    void aCompositorKeepsTheName();
    void equalKeysymsHaveEqualKeymaps();
};

void tst_TypingKeymap::everyKeysymComesOutWhereItIs_data()
{
    QTest::addColumn<std::vector<std::uint32_t>>("keysyms");
    QTest::newRow("none") << std::vector<std::uint32_t>();
    QTest::newRow("one") << keysymsOf(u"ä"_s);
    QTest::newRow("of all planes") << keysymsOf(u"aZ~ÿĀ€ЖあΩ漢\U0001F600\U000E0101\U0010FFFD"_s);
    std::vector<std::uint32_t> many(TypingKeymap::capacity);
    std::iota(many.begin(), many.end(), 0x01000000U + 0x4e00U);
    QTest::newRow("as many as fit") << many;
    QTest::newRow("a named key") << std::vector<std::uint32_t>{XKB_KEY_F24, XKB_KEY_XF86Copy};
}

void tst_TypingKeymap::everyKeysymComesOutWhereItIs()
{
    QFETCH(std::vector<std::uint32_t>, keysyms);
    const TypingKeymap keymap(keysyms);
    const XkbKeymap parsed = compiled(keymap.text());
    QVERIFY(parsed);
    QCOMPARE(keymap.keysyms(), keysyms);
    for (const std::uint32_t keysym : keysyms) {
        const auto place = keymap.placeOf(keysym);
        QVERIFY(place);
        QCOMPARE(producedBy(parsed.get(), *place), keysym);
    }
}

/// At their usual places: some programs know them by these.
void tst_TypingKeymap::enterTabAndSpaceAreInEveryGroup()
{
    constexpr std::array usual = {std::pair{XKB_KEY_Return, 36}, std::pair{XKB_KEY_Tab, 23},
                                  std::pair{XKB_KEY_space, 65}};
    std::vector<std::uint32_t> many(TypingKeymap::capacity);
    std::iota(many.begin(), many.end(), 0x01000000U + 0x4e00U);
    const TypingKeymap keymap(many);
    const XkbKeymap parsed = compiled(keymap.text());
    for (const auto &[keysym, keycode] : usual) {
        const auto place = keymap.placeOf(keysym);
        QVERIFY(place);
        QCOMPARE(int{place->keycode}, keycode);
        for (std::uint32_t group = 0; group < 4; ++group) {
            QCOMPARE(producedBy(parsed.get(), {place->keycode, group}), std::uint32_t(keysym));
        }
    }
}

void tst_TypingKeymap::whatDoesNotFitIsLeftOut()
{
    std::vector<std::uint32_t> many(TypingKeymap::capacity + 1);
    std::iota(many.begin(), many.end(), 0x01000000U + 0x4e00U);
    const TypingKeymap keymap(many);
    QVERIFY(keymap.placeOf(many.at(TypingKeymap::capacity - 1)));
    QVERIFY(!keymap.placeOf(many.back()));
    QVERIFY(TypingKeymap::capacity >= 200);
}

void tst_TypingKeymap::noKeyIsOneThatProgramsKnowByItsPosition()
{
    std::vector<std::uint32_t> many(TypingKeymap::capacity);
    std::iota(many.begin(), many.end(), 0x01000000U + 0x4e00U);
    const TypingKeymap keymap(many);
    // Escape, Backspace, Tab, Enter, the modifiers, Caps Lock, Space, F1 to F12, and the keypad.
    const std::set<int> known = {9,  22, 23, 36, 37, 50, 62, 63, 64, 65, 66,  67,  68, 69,
                                 70, 71, 72, 73, 74, 75, 76, 77, 78, 79, 80,  81,  82, 83,
                                 84, 85, 86, 87, 88, 89, 90, 91, 95, 96, 104, 105, 108};
    std::set<std::pair<int, std::uint32_t>> taken;
    for (const std::uint32_t keysym : many) {
        const auto place = keymap.placeOf(keysym);
        QVERIFY2(!known.contains(place->keycode), qPrintable(QString::number(place->keycode)));
        QVERIFY(place->keycode < 140);
        taken.emplace(place->keycode, place->group);
    }
    QCOMPARE(taken.size(), many.size());
}

void tst_TypingKeymap::aCompositorKeepsTheName()
{
    const TypingKeymap keymap(keysymsOf(u"äж"_s));
    QVERIFY(OwnKeymap::isNamed(keymap.text()));
    QVERIFY(OwnKeymap::isNamed(writtenAnew(compiled(keymap.text()).get())));
    const XkbContext context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    const XkbKeymap usual(
        xkb_keymap_new_from_names(context.get(), nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS));
    const QByteArray text = writtenAnew(usual.get());
    QVERIFY(!OwnKeymap::isNamed(text));
    const QByteArray ours = OwnKeymap::named(text);
    QVERIFY(OwnKeymap::isNamed(writtenAnew(compiled(ours).get())));
    for (const char *broken : {"", "xkb_keycodes", "xkb_keycodes { \"vornaserver\" }", "\""}) {
        QVERIFY(!OwnKeymap::isNamed(broken));
        QCOMPARE(OwnKeymap::named(broken), QByteArray(broken));
    }
}

void tst_TypingKeymap::equalKeysymsHaveEqualKeymaps()
{
    QCOMPARE(TypingKeymap(keysymsOf(u"äжä"_s)).text(), TypingKeymap(keysymsOf(u"äж"_s)).text());
    QVERIFY(TypingKeymap(keysymsOf(u"ä"_s)).text() != TypingKeymap(keysymsOf(u"ö"_s)).text());
}

QTEST_APPLESS_MAIN(tst_TypingKeymap)
#include "tst_TypingKeymap.moc"
