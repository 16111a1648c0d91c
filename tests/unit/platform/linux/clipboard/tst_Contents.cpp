// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/clipboard/Contents.h"

#include "platform/linux/clipboard/Selection.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace platform;

class tst_Contents : public QObject
{
    Q_OBJECT

private slots:
    void aTextHasEveryTypeOfText();
    void aPassingTextIsLeftOutOfHistories();
    void whatIsKeptOfContents_data();
    void whatIsKeptOfContents();
    void whatCannotBePutBackIsNotKept_data();
    void whatCannotBePutBackIsNotKept();
};

void tst_Contents::aTextHasEveryTypeOfText()
{
    const Contents contents = contentsOf(u"€\n"_s);
    QCOMPARE(contents.keys().size(), 5);
    QCOMPARE(contents.value("TEXT"), u"€\n"_s.toUtf8());
    QCOMPARE(textTypeOf(contents.keys()), std::optional<QByteArray>("text/plain;charset=utf-8"));
    QCOMPARE(textOf(contents), std::optional(u"€\n"_s));
    QCOMPARE(textOf({{"image/png", "x"}}), std::nullopt);
}

void tst_Contents::aPassingTextIsLeftOutOfHistories()
{
    const Contents contents = passingContentsOf(u"é"_s);
    QCOMPARE(contents.value("x-kde-passwordManagerHint"), "secret");
    QCOMPARE(textOf(contents), std::optional(u"é"_s));
}

void tst_Contents::whatIsKeptOfContents_data()
{
    QTest::addColumn<QByteArrayList>("types");
    QTest::addColumn<QByteArrayList>("kept");
    QTest::newRow("a text") << QByteArrayList{"TEXT", "STRING", "text/plain"}
                            << QByteArrayList{"text/plain"};
    QTest::newRow("a text of an X11 program")
        << QByteArrayList{"TARGETS", "TIMESTAMP", "UTF8_STRING"} << QByteArrayList{"UTF8_STRING"};
    QTest::newRow("a formatted text")
        << QByteArrayList{"text/html", "text/plain;charset=utf-8", "text/rtf"}
        << QByteArrayList{"text/plain;charset=utf-8", "text/html", "text/rtf"};
    QTest::newRow("files") << QByteArrayList{"text/uri-list", "application/x-kde-cutselection"}
                           << QByteArrayList{"text/uri-list", "application/x-kde-cutselection"};
    QTest::newRow("a picture in many formats")
        << QByteArrayList{"application/x-qt-image", "image/bmp", "image/png", "image/jpeg"}
        << QByteArrayList{"image/png"};
    QTest::newRow("a picture with its address")
        << QByteArrayList{"text/html", "image/png", "image/bmp"}
        << QByteArrayList{"text/html", "image/png"};
    QTest::newRow("a picture in other formats") << QByteArrayList{"image/jpeg", "image/svg+xml"}
                                                << QByteArrayList{"image/jpeg", "image/svg+xml"};
    QTest::newRow("the same twice")
        << QByteArrayList{"text/html", "text/html"} << QByteArrayList{"text/html"};
}

void tst_Contents::whatIsKeptOfContents()
{
    QFETCH(QByteArrayList, types);
    QFETCH(QByteArrayList, kept);
    QCOMPARE(typesToKeep(types), std::optional(kept));
}

void tst_Contents::whatCannotBePutBackIsNotKept_data()
{
    QTest::addColumn<QByteArrayList>("types");
    QTest::newRow("a password") << QByteArrayList{"text/plain", "x-kde-passwordManagerHint"};
    QTest::newRow("nothing that is known") << QByteArrayList{"TARGETS", "MULTIPLE"};
    QByteArrayList many;
    for (qsizetype count = 0; count < mostSelectionTypes; ++count) {
        many.append("a/" + QByteArray::number(count));
    }
    QTest::newRow("more types than are known") << many;
}

void tst_Contents::whatCannotBePutBackIsNotKept()
{
    QFETCH(QByteArrayList, types);
    QCOMPARE(typesToKeep(types), std::nullopt);
}

QTEST_GUILESS_MAIN(tst_Contents)
#include "tst_Contents.moc"
