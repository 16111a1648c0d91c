// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/KeyStroke.h"

#include "platform/Key.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_KeyStroke : public QObject
{
    Q_OBJECT

private slots:
    void wordsAreKeys_data();
    void wordsAreKeys();
    void otherWordsAreNone_data();
    void otherWordsAreNone();
    void everyNameOfTheServerIsKnown();
    void anyCharacterIsAKey_data();
    void anyCharacterIsAKey();
    void aMistypedNameHasASuggestion();
    void theNetworkHasWordsForSome_data();
    void theNetworkHasWordsForSome();
};

void tst_KeyStroke::wordsAreKeys_data()
{
    QTest::addColumn<QString>("stroke");
    const auto row = [](const char *word, const char *stroke) {
        QTest::newRow(word) << QString::fromUtf8(stroke);
    };
    row("Enter", "Enter");
    row("enter", "Enter");
    row("Return", "Enter");
    row("KP_Enter", "Enter");
    row("BackSpace", "Backspace");
    row("Left", "ArrowLeft");
    row("Prior", "PageUp");
    row("Page_Down", "PageDown");
    row("esc", "Escape");
    row("super", "Meta");
    row("ctrl", "Control");
    row("Print", "Print");
    row("PrintScreen", "PrintScreen");
    row("XF86AudioMute", "AudioVolumeMute");
    row("AudioMute", "AudioVolumeMute");
    row("period", ".");
    row("Space", " ");
    row("plus", "+");
    row("KP_7", "7");
    row("EuroSign", "\xe2\x82\xac");
    row("Adiaeresis", "\xc3\x84");
    row("U20AC", "\xe2\x82\xac");
    row("U+1F600", "\xf0\x9f\x98\x80");
    row("a", "a");
    row("A", "A");
    row("+", "+");
    row("ctrl+c", "Control,c");
    row("Cmd+S", "Control,s");
    row("Control+Shift+t", "Control,Shift,t");
    row("Shift+A", "Shift,a");
    row("ctrl+alt+Delete", "Control,Alt,Delete");
    row("Control++", "Control,+");
    row("Control+plus", "Control,+");
    row("Ctrl+Control+a", "Control,a");
    row("super+Left", "Meta,ArrowLeft");
    row("AltGr+q", "AltGraph,q");
    row("alt+Shift", "Alt,Shift");
    row("Ctrl+ ", "Control, ");
}

void tst_KeyStroke::wordsAreKeys()
{
    QFETCH(QString, stroke);
    const auto read = KeyStroke::of(QString::fromUtf8(QTest::currentDataTag()));
    QVERIFY(read.has_value());
    QCOMPARE((read->modifiers + QStringList{read->key}).join(u','), stroke);
}

void tst_KeyStroke::otherWordsAreNone_data()
{
    QTest::addColumn<QString>("word");
    for (const char *word : {"", "Entre", "Control+", "a+b", "Enter+a", "+a", "ab", "U110000",
                             "UD800", "U0007", "F25", "\x1b", "Control+Entre", "hyper+a"}) {
        QTest::addRow("\"%s\"", word) << QString::fromUtf8(word);
    }
}

void tst_KeyStroke::otherWordsAreNone()
{
    QFETCH(QString, word);
    QVERIFY(!KeyStroke::of(word).has_value());
}

/// The list has as many names as the server has keys.
void tst_KeyStroke::everyNameOfTheServerIsKnown()
{
    QCOMPARE(KeyStroke::names().size(), qsizetype(platform::NamedKey::BrowserStop));
    for (const QString &name : KeyStroke::names()) {
        const auto stroke = KeyStroke::of(name);
        QVERIFY2(stroke && stroke->key == name && stroke->modifiers.isEmpty(), qPrintable(name));
    }
}

void tst_KeyStroke::anyCharacterIsAKey_data()
{
    QTest::addColumn<QString>("character");
    for (const char *character : {"a", "\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80", " ", "\""}) {
        QTest::newRow(character) << QString::fromUtf8(character);
    }
}

void tst_KeyStroke::anyCharacterIsAKey()
{
    QFETCH(QString, character);
    QCOMPARE(KeyStroke::of(character), std::optional(KeyStroke{character, {}}));
}

void tst_KeyStroke::aMistypedNameHasASuggestion()
{
    QCOMPARE(KeyStroke::suggestionFor(u"Entre"_s), u" Did you mean Enter?"_s);
    QCOMPARE(KeyStroke::suggestionFor(u"Control+Escpae"_s), u" Did you mean Escape?"_s);
    QCOMPARE(KeyStroke::suggestionFor(u"nonsense"_s), QString());
}

void tst_KeyStroke::theNetworkHasWordsForSome_data()
{
    QTest::addColumn<QString>("shortcut"); // empty: none
    QTest::newRow("a") << u"a"_s;
    QTest::newRow("F5") << u"F5"_s;
    QTest::newRow("F21") << u""_s;
    QTest::newRow("comma") << u","_s;
    QTest::newRow("period") << u""_s;
    QTest::newRow("Enter") << u""_s;
    QTest::newRow("control+c") << u"Ctrl+c"_s;
    QTest::newRow("ctrl+shift+F3") << u"Ctrl+Shift+F3"_s;
    QTest::newRow("super+a") << u""_s;
    QTest::newRow("space") << u"Shift+ +Shift"_s;
    QTest::newRow("bracketleft") << u"]"_s; // the server's name of that key
}

void tst_KeyStroke::theNetworkHasWordsForSome()
{
    QFETCH(QString, shortcut);
    const auto stroke = KeyStroke::of(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(stroke.has_value());
    QCOMPARE(stroke->onNetwork().value_or(QString()), shortcut);
}

QTEST_APPLESS_MAIN(tst_KeyStroke)
#include "tst_KeyStroke.moc"
