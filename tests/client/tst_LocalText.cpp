// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/LocalText.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_LocalText : public QObject
{
    Q_OBJECT

private slots:
    void controlCharactersCannotBeTyped_data();
    void controlCharactersCannotBeTyped();
    void piecesSplitNoCharacter();
    void bytesThatAreNoTextAreNone_data();
    void bytesThatAreNoTextAreNone();
    void oneLineBreakIsLeftOut_data();
    void oneLineBreakIsLeftOut();
};

void tst_LocalText::controlCharactersCannotBeTyped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("named"); // empty: it can be typed
    QTest::newRow("lines") << u"a\tb\nc\r\n\rd"_s << u""_s;
    QTest::newRow("emoji") << u"\U0001f469\u200d\U0001f680"_s << u""_s;
    QTest::newRow("bell") << u"a\a"_s << u"U+0007"_s;
    QTest::newRow("delete") << u"\x7f"_s << u"U+007F"_s;
    QTest::newRow("beyond ASCII") << u"\u009b"_s << u"U+009B"_s;
    QTest::newRow("null") << QString(QChar::Null) << u"U+0000"_s;
}

void tst_LocalText::controlCharactersCannotBeTyped()
{
    QFETCH(QString, text);
    QFETCH(QString, named);
    const QString problem = LocalText::problemWithTyping(text);
    QCOMPARE(problem.isEmpty(), named.isEmpty());
    QVERIFY2(problem.contains(named), qPrintable(problem));
}

void tst_LocalText::piecesSplitNoCharacter()
{
    const QString text = u"a\r\nb\U0001f600\U0001f601c"_s;
    QCOMPARE(LocalText::pieces(text, 1),
             (QStringList{u"a"_s, u"\r\n"_s, u"b"_s, u"\U0001f600"_s, u"\U0001f601"_s, u"c"_s}));
    for (qsizetype longest = 1; longest < 10; ++longest) {
        const QStringList pieces = LocalText::pieces(text, longest);
        QCOMPARE(pieces.join(QString()), text);
        for (const QString &piece : pieces) {
            QVERIFY(!piece.isEmpty() && piece.isValidUtf16() && piece.size() <= longest + 1);
        }
    }
    QVERIFY(LocalText::pieces({}, 5).isEmpty());
}

void tst_LocalText::bytesThatAreNoTextAreNone_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("isText");
    QTest::newRow("nothing") << QByteArray() << true;
    QTest::newRow("all planes") << QByteArray("a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80") << true;
    QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf"
                                                   "a")
                                     << true;
    QTest::newRow("Latin-1") << QByteArray("\xe9") << false;
    QTest::newRow("cut") << QByteArray("\xe2\x82") << false;
    QTest::newRow("surrogate") << QByteArray("\xed\xa0\x80") << false;
}

void tst_LocalText::bytesThatAreNoTextAreNone()
{
    QFETCH(QByteArray, bytes);
    QFETCH(bool, isText);
    const auto text = LocalText::fromUtf8(bytes);
    QCOMPARE(text.has_value(), isText);
    if (text) {
        QCOMPARE(text->toUtf8(), bytes);
    }
}

void tst_LocalText::oneLineBreakIsLeftOut_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("left");
    QTest::newRow("none") << QByteArray("a") << QByteArray("a");
    QTest::newRow("one") << QByteArray("a\n") << QByteArray("a");
    QTest::newRow("two") << QByteArray("a\n\n") << QByteArray("a\n");
    QTest::newRow("of Windows") << QByteArray("a\r\n") << QByteArray("a");
    QTest::newRow("nothing else") << QByteArray("\n") << QByteArray();
}

void tst_LocalText::oneLineBreakIsLeftOut()
{
    QFETCH(QByteArray, text);
    QTEST(LocalText::withoutLastLineBreak(text), "left");
}

QTEST_APPLESS_MAIN(tst_LocalText)
#include "tst_LocalText.moc"
