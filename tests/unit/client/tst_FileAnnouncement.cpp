// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/FileAnnouncement.h"
#include "net/TokenText.h"

#include <QTest>

using namespace Qt::StringLiterals;
using quillmote::FileAnnouncement;

namespace {

QStringList announcedParameters(const QByteArray &bytes)
{
    TokenMap stored;
    TokenText::read(bytes,
                    [&](const QString &key, const QVariant &value) { stored.insert(key, value); });
    return stored.value(u"cmdType"_s) == u"FILE_TRANSFER_AND_OPEN"_s
               ? stored.value(u"cmdParameters"_s).toStringList()
               : QStringList();
}

} // namespace

class tst_FileAnnouncement : public QObject
{
    Q_OBJECT

private slots:
    void theTransferEndsWithTheLastByte_data();
    void theTransferEndsWithTheLastByte();
    void theServerReadsItInsideAComment_data();
    void theServerReadsItInsideAComment();
    void theNameTellsTheLanguageOfText_data();
    void theNameTellsTheLanguageOfText();
    void lengthBytesOfJpegCommentsDoNoHarm();
    void namesThatTheWireCannotCarryAreRefused();
};

void tst_FileAnnouncement::theTransferEndsWithTheLastByte_data()
{
    QTest::addColumn<quint64>("size");
    // Sizes around which the number in the announcement gets a digit more.
    for (const quint64 size : {0ULL,    1ULL,     8ULL,     9ULL,     10ULL,      11ULL,     12ULL,
                               13ULL,   99ULL,    900ULL,   910ULL,   912ULL,     915ULL,    920ULL,
                               1000ULL, 9'900ULL, 9'912ULL, 9'915ULL, 1ULL << 30, 1ULL << 40}) {
        QTest::addRow("%llu bytes", size) << quint64(size);
    }
}

void tst_FileAnnouncement::theTransferEndsWithTheLastByte()
{
    QFETCH(quint64, size);
    const auto announcement = FileAnnouncement::of(u"a.bin"_s, size, "BINARY", 3);
    const QStringList parameters = announcedParameters(announcement.bytes);
    QCOMPARE(parameters.value(0), u"a.bin"_s);
    // The server stops once it has stored more than announced.
    const quint64 stored = static_cast<quint64>(announcement.bytes.size()) + size;
    QCOMPARE(parameters.value(1).toULongLong(), stored - 1);
    QVERIFY(!announcement.isComment);
    QCOMPARE(announcement.skippedBytes, 0);
}

void tst_FileAnnouncement::theServerReadsItInsideAComment_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<qint64>("skipped");
    QTest::newRow("JPEG") << QByteArray("\xff\xd8\xff\xe0\x00\x10JFIF", 10) << u"JPEG"_s
                          << QByteArray("\xff\xd8\xff\xfe") << qint64(2);
    QTest::newRow("PDF") << QByteArray("%PDF-1.7\n") << u"PDF"_s << QByteArray("%% { ")
                         << qint64(0);
    QTest::newRow("HTML") << QByteArray("<!DOCTYPE html><html>") << u"HTML"_s
                          << QByteArray("<!-- { ") << qint64(0);
    QTest::newRow("script") << QByteArray("#!/bin/sh\necho {\n") << u"script"_s
                            << QByteArray("#!/bin/sh\n# { ") << qint64(10);
    QTest::newRow("XML") << QByteArray("<?xml version='1.0'?><a/>") << u"XML"_s
                         << QByteArray("<?xml version='1.0'?><!-- { ") << qint64(21);
    QTest::newRow("SVG") << QByteArray("<svg xmlns='http://www.w3.org/2000/svg'/>") << u"XML"_s
                         << QByteArray("<!-- { ") << qint64(0);
}

void tst_FileAnnouncement::theNameTellsTheLanguageOfText_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QByteArray>("start"); // empty: not made a comment
    QTest::newRow("Python") << u"a.py"_s << QByteArray("print(1)\n") << QByteArray("# { ");
    QTest::newRow("YAML") << u"b.YML"_s << QByteArray("a: {}\n") << QByteArray("# { ");
    QTest::newRow("C") << u"c.c"_s << QByteArray("int x;\n") << QByteArray("/* { ");
    QTest::newRow("TeX") << u"d.tex"_s << QByteArray("\\bye\n") << QByteArray("% { ");
    QTest::newRow("no suffix") << u"py"_s << QByteArray("print(1)\n") << QByteArray();
    QTest::newRow("unknown") << u"e.txt"_s << QByteArray("words\n") << QByteArray();
    QTest::newRow("no text") << u"f.py"_s << QByteArray("a\0b", 3) << QByteArray();
    QTest::newRow("byte order mark")
        << u"g.c"_s << QByteArray("\xef\xbb\xbfint x;") << QByteArray();
    QTest::newRow("dashes in the name") << u"a--b.svg"_s << QByteArray("<svg/>") << QByteArray();
}

void tst_FileAnnouncement::theNameTellsTheLanguageOfText()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, head);
    QFETCH(QByteArray, start);
    const auto announcement = FileAnnouncement::of(name, 1000, head, 3);
    QCOMPARE(announcement.isComment, !start.isEmpty());
    QVERIFY(announcement.bytes.startsWith(start));
    QCOMPARE(announcedParameters(announcement.bytes).value(0), name);
}

void tst_FileAnnouncement::theServerReadsItInsideAComment()
{
    QFETCH(QByteArray, head);
    QFETCH(QString, format);
    QFETCH(QByteArray, start);
    QFETCH(qint64, skipped);
    const quint64 size = 5000;
    const auto announcement = FileAnnouncement::of(u"my file"_s, size, head, 3);
    QVERIFY(announcement.isComment);
    QCOMPARE(announcement.format, format);
    QVERIFY(announcement.bytes.startsWith(start));
    QCOMPARE(announcement.skippedBytes, skipped);
    const quint64 stored =
        static_cast<quint64>(announcement.bytes.size()) + size - static_cast<quint64>(skipped);
    QCOMPARE(announcedParameters(announcement.bytes),
             (QStringList{u"my file"_s, QString::number(stored - 1)}));
}

void tst_FileAnnouncement::lengthBytesOfJpegCommentsDoNoHarm()
{
    const QByteArray head("\xff\xd8\xff\xdb", 4);
    for (int length = 1; length < 800; ++length) {
        const QString name(length, u'n');
        const auto announcement = FileAnnouncement::of(name, 100'000, head, 3);
        QCOMPARE(announcedParameters(announcement.bytes).value(0), name);
        const auto high = static_cast<unsigned char>(announcement.bytes[4]);
        const auto low = static_cast<unsigned char>(announcement.bytes[5]);
        QCOMPARE((high << 8) + low, announcement.bytes.size() - 4);
    }
}

void tst_FileAnnouncement::namesThatTheWireCannotCarryAreRefused()
{
    const auto announcement = FileAnnouncement::of(u"\u017elu\u0165.txt"_s, 1, "x", 3);
    QVERIFY(announcement.refusal.contains(u"outside Latin-1"_s));
    QVERIFY(announcement.bytes.isEmpty());
}

QTEST_GUILESS_MAIN(tst_FileAnnouncement)
#include "tst_FileAnnouncement.moc"
