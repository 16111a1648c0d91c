// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/NamedKeySymbols.h"
#include "platform/linux/input/XkbHandles.h"
#include "platform/linux/input/XkbSymbolFinder.h"

#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;
using namespace platform;

namespace {

constexpr int Shift = 0x01;
constexpr int Mod5 = 0x80;

XkbKeymap keymapOf(const QByteArray &layout)
{
    const XkbContext context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    const xkb_rule_names names = {"evdev", "pc105", layout.constData(), "", ""};
    return XkbKeymap(xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS));
}

/// The finder of a layout.
struct Layout
{
    XkbKeymap keymap;
    XkbKeyFinder finder;
    XkbSymbolFinder symbols;

    explicit Layout(const QByteArray &name, const KeycodeSet &ignored = {})
        : keymap(keymapOf(name))
        , finder(keymap.get(), ignored)
        , symbols(keymap.get(), finder, ignored)
    {
    }

    /// What the key types, also while Num Lock is on.
    QString typed(std::uint32_t group, const FoundKey &key, ModifierMask locks) const
    {
        const XkbState state(xkb_state_new(keymap.get()));
        xkb_state_update_mask(state.get(), key.modifiers, 0, locks, 0, 0, group);
        const char32_t character = xkb_state_key_get_utf32(state.get(), key.keycode);
        return QString::fromUcs4(&character, 1);
    }
};

} // namespace

class tst_XkbSymbolFinder : public QObject
{
    Q_OBJECT

private slots:
    void charactersAreFoundOnEveryLevel_data();
    void charactersAreFoundOnEveryLevel();
    void aCharacterTakesTheFewestModifiers();
    void charactersOfOtherLayoutsAreNotFound();
    void theKeypadIsLeftOut();
    void ignoredKeysAreNotFound();
    void keysymsAreFound();
    void keysWithOneKeysymAreKnown();

    void everyNamedKeyHasAKeysym();
    void charactersHaveTheirKeysym();
};

void tst_XkbSymbolFinder::charactersAreFoundOnEveryLevel_data()
{
    QTest::addColumn<QByteArray>("layout");
    QTest::addColumn<int>("group");
    QTest::addColumn<QString>("characters");
    const QString ascii = u"abcxyzABCXYZ0123456789 !\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~"_s;
    QTest::newRow("us") << QByteArray("us") << 0 << ascii;
    QTest::newRow("de") << QByteArray("de") << 0
                        << QString(ascii).remove(u'^').remove(u'`') + u"äöüÄÖÜß€@µ²³"_s;
    QTest::newRow("fr") << QByteArray("fr") << 0
                        << QString(ascii).remove(u'`').remove(u'~') + u"éèçà€"_s;
    QTest::newRow("ru") << QByteArray("ru") << 0 << u"йцукенЙЦУКЕН0123456789.,№"_s;
    QTest::newRow("the second of two") << QByteArray("us,ru") << 1 << u"йцукенЙЦУКЕН"_s;
    // Some are on the fifth level.
    QTest::newRow("neo") << QByteArray("de(neo)") << 0 << ascii + u"ſ†–αβγΣ∫"_s;
}

void tst_XkbSymbolFinder::charactersAreFoundOnEveryLevel()
{
    QFETCH(QByteArray, layout);
    QFETCH(int, group);
    QFETCH(QString, characters);
    const Layout shown(layout);
    const auto number = static_cast<std::uint32_t>(group);
    for (const QChar character : characters) {
        const auto key = shown.symbols.character(number, character.unicode());
        QVERIFY2(key, qPrintable(QString(character)));
        for (const ModifierMask locks : {ModifierMask{0}, shown.finder.harmlessModifiers()}) {
            QCOMPARE(shown.typed(number, *key, locks), QString(character));
        }
    }
}

void tst_XkbSymbolFinder::aCharacterTakesTheFewestModifiers()
{
    const Layout german("de");
    QCOMPARE(german.symbols.character(0, U'a')->modifiers, 0);
    QCOMPARE(german.symbols.character(0, U'A')->modifiers, Shift);
    QCOMPARE(german.symbols.character(0, U'@')->modifiers, Mod5);
}

void tst_XkbSymbolFinder::charactersOfOtherLayoutsAreNotFound()
{
    const Layout both("us,ru");
    QVERIFY(!both.symbols.character(0, U'й'));
    QVERIFY(!both.symbols.character(1, U'q'));
    QVERIFY(both.symbols.character(2, U'q')); // Groups wrap around.
    QVERIFY(!both.symbols.character(0, U'\u0001'));
}

void tst_XkbSymbolFinder::theKeypadIsLeftOut()
{
    const Layout american("us");
    QCOMPARE(american.symbols.character(0, U'+')->keycode, 21);
    QCOMPARE(american.symbols.character(0, U'+')->modifiers, Shift);
}

void tst_XkbSymbolFinder::ignoredKeysAreNotFound()
{
    KeycodeSet ignored;
    ignored.set(38);
    QVERIFY(Layout("us").symbols.character(0, U'a'));
    QVERIFY(!Layout("us", ignored).symbols.character(0, U'a'));
    QVERIFY(!Layout("us", ignored).symbols.symbol(0, XKB_KEY_a));
}

void tst_XkbSymbolFinder::keysymsAreFound()
{
    const Layout german("de");
    QCOMPARE(german.symbols.symbol(0, XKB_KEY_F5), (FoundKey{71, 0}));
    QCOMPARE(german.symbols.symbol(0, XKB_KEY_Super_L)->keycode, 133);
    QVERIFY(!german.symbols.symbol(0, XKB_KEY_F24));
}

void tst_XkbSymbolFinder::keysWithOneKeysymAreKnown()
{
    const Layout german("de");
    QCOMPARE(german.symbols.onlySymbol(9), quint32{XKB_KEY_Escape});
    QCOMPARE(german.symbols.onlySymbol(38), quint32{0});
    QCOMPARE(german.symbols.onlySymbol(97), quint32{0});
}

void tst_XkbSymbolFinder::everyNamedKeyHasAKeysym()
{
    for (int number = 1; number <= int(NamedKey::BrowserStop); ++number) {
        const auto name = static_cast<NamedKey>(number);
        QVERIFY2(keysymsOf(name).empty() == (name == NamedKey::Print),
                 QByteArray::number(number).constData());
    }
    QCOMPARE(keysymsOf(NamedKey::F24).front(), quint32{XKB_KEY_F24});
    QVERIFY(keysymsOf(NamedKey::None).empty());
}

void tst_XkbSymbolFinder::charactersHaveTheirKeysym()
{
    QCOMPARE(keysymOf(U'é'), quint32{XKB_KEY_eacute});
    QCOMPARE(keysymOf(U'€'), quint32{0x010020ac});
    QCOMPARE(keysymOf(U'▯'), quint32{0x010025af});
    QCOMPARE(keysymOf(U'你'), quint32{0x01004f60});
    QCOMPARE(keysymOf(U'😀'), quint32{0x0101f600});
    QCOMPARE(keysymOf(U'\n'), quint32{XKB_KEY_Return});
    QCOMPARE(keysymOf(U'\t'), quint32{XKB_KEY_Tab});
    for (const char32_t none : {0x00U, 0x07U, 0x7fU, 0x85U, 0xd800U, 0xffffU, 0x110000U}) {
        QCOMPARE(keysymOf(none), quint32{0});
    }
    QCOMPARE(keysymsOf(Key{.character = U'a'}), std::vector{quint32{XKB_KEY_a}});
}

QTEST_APPLESS_MAIN(tst_XkbSymbolFinder)
#include "tst_XkbSymbolFinder.moc"
