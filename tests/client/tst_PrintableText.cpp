// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/PrintableText.h"

#include "program/JsonOutput.h"

#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_PrintableText : public QObject
{
    Q_OBJECT

private slots:
    void whatATerminalObeysIsEscaped_data();
    void whatATerminalObeysIsEscaped();
    void whatPeopleReadStays_data();
    void whatPeopleReadStays();
    void aTextOfLinesKeepsItsLines();
    void aCharacterIsShownAsPeopleSeeIt_data();
    void aCharacterIsShownAsPeopleSeeIt();
    void jsonHoldsNoControlCharacters();
};

void tst_PrintableText::whatATerminalObeysIsEscaped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("escape") << u"a\x1b[2Jb"_s << u"a\\u001b[2Jb"_s;
    QTest::newRow("escape of one byte") << u"\u009b2J"_s << u"\\u009b2J"_s;
    QTest::newRow("bell") << u"\a"_s << u"\\u0007"_s;
    QTest::newRow("delete") << u"\x7f"_s << u"\\u007f"_s;
    QTest::newRow("lines") << u"a\r\n\tb"_s << u"a\\r\\n\\tb"_s;
    QTest::newRow("direction") << u"a\u202eb"_s << u"a\\u202eb"_s;
    QTest::newRow("line separator") << u"\u2028"_s << u"\\u2028"_s;
    QTest::newRow("tag beyond the first plane") << u"\U000e0041"_s << u"\\ue0041"_s;
    QTest::newRow("NUL") << QString(QChar(u'\0')) << u"\\u0000"_s;
    // An unpaired surrogate is not a character.
    QTest::newRow("lone surrogate") << QString(QChar(0xd83d)) << QString(QChar(0xfffd));
}

void tst_PrintableText::whatATerminalObeysIsEscaped()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    QCOMPARE(printable(text), shown);
}

void tst_PrintableText::whatPeopleReadStays_data()
{
    QTest::addColumn<QString>("text");
    for (const QStringView text : {u"", u"plain \\n \"text\"", u"caf\u00e9", u"\u65e5\u672c",
                                   u"\U0001f600", u"\U0001f468\u200d\U0001f469\u200d\U0001f467"}) {
        QTest::addRow("%s", text.toUtf8().constData()) << text.toString();
    }
}

void tst_PrintableText::whatPeopleReadStays()
{
    QFETCH(QString, text);
    QCOMPARE(printable(text), text);
    QCOMPARE(printableLines(text), text);
}

void tst_PrintableText::aTextOfLinesKeepsItsLines()
{
    QCOMPARE(printableLines(u"a\n\tb\r\x1b"_s), u"a\n\tb\\r\\u001b"_s);
}

void tst_PrintableText::aCharacterIsShownAsPeopleSeeIt_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("shown");
    QTest::newRow("letter") << u"abc"_s << 1 << u"b"_s;
    QTest::newRow("emoji") << u"a\U0001f600b"_s << 1 << u"\U0001f600"_s;
    QTest::newRow("its second half") << u"a\U0001f600b"_s << 2 << u"\U0001f600"_s;
    QTest::newRow("with a tone of skin")
        << u"x\U0001f44d\U0001f3fdy"_s << 1 << u"\U0001f44d\U0001f3fd"_s;
    QTest::newRow("bell") << u"\a"_s << 0 << u"U+0007"_s;
    QTest::newRow("no-break space") << u"a\u00a0"_s << 1 << u"U+00A0"_s;
    QTest::newRow("direction") << u"a\u202eb"_s << 1 << u"U+202E"_s;
}

void tst_PrintableText::aCharacterIsShownAsPeopleSeeIt()
{
    QFETCH(QString, text);
    QFETCH(int, index);
    QFETCH(QString, shown);
    QCOMPARE(shownCharacter(text, index), shown);
}

void tst_PrintableText::jsonHoldsNoControlCharacters()
{
    const QJsonObject object = {{u"name"_s, u"a\x1b\u009b\x7f\"\u00e9"_s}};
    const QString text = JsonOutput::text(QJsonDocument(object));
    QCOMPARE(text, u"{\"name\":\"a\\u001b\\u009b\\u007f\\\"\u00e9\"}"_s);
    QCOMPARE(QJsonDocument::fromJson(text.toUtf8()).object(), object);
}

QTEST_GUILESS_MAIN(tst_PrintableText)
#include "tst_PrintableText.moc"
