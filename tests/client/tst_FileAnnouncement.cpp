// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/FileAnnouncement.h"

#include "client/StoredToken.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;
using Place = FileAnnouncement::Place;

namespace {

QStringList announcedParameters(const QByteArray &bytes)
{
    const TokenMap stored = storedTokenInFile(bytes);
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
    void theNameShowsTheLanguageOfText_data();
    void theNameShowsTheLanguageOfText();
    void theInterpreterShowsTheLanguageOfAScript_data();
    void theInterpreterShowsTheLanguageOfAScript();
    void damagedFilesAreReportedWithTheObstacle_data();
    void damagedFilesAreReportedWithTheObstacle();
    void lengthBytesOfJpegCommentsDoNoHarm();
    void namesThatTheWireCannotCarryAreRefused();
};

void tst_FileAnnouncement::theTransferEndsWithTheLastByte_data()
{
    QTest::addColumn<quint64>("size");
    // Sizes around which the number in the announcement gets one more digit.
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
    QCOMPARE(announcement.place, Place::InFront);
    QCOMPARE(announcement.skippedBytes, 0);
}

void tst_FileAnnouncement::theServerReadsItInsideAComment_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<qint64>("skipped");
    QTest::newRow("JPEG") << QByteArray("\xff\xd8\xff\xe0\x00\x10JFIF", 10)
                          << QByteArray("\xff\xd8\xff\xfe") << qint64(2);
    QTest::newRow("PDF") << QByteArray("%PDF-1.7\n") << QByteArray("%% { ") << qint64(0);
    QTest::newRow("HTML") << QByteArray("<!DOCTYPE html><html>") << QByteArray("<!-- { ")
                          << qint64(0);
    QTest::newRow("script") << QByteArray("#!/bin/sh\necho {\n") << QByteArray("#!/bin/sh\n# { ")
                            << qint64(10);
    QTest::newRow("XML") << QByteArray("<?xml version='1.0'?><a/>")
                         << QByteArray("<?xml version='1.0'?><!-- { ") << qint64(21);
    QTest::newRow("SVG") << QByteArray("<svg xmlns='http://www.w3.org/2000/svg'/>")
                         << QByteArray("<!-- { ") << qint64(0);
}

void tst_FileAnnouncement::theNameShowsTheLanguageOfText_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<Place>("place");
    QTest::addColumn<QByteArray>("start");
    QTest::addColumn<QByteArray>("end");
    const QByteArray mark = "\xef\xbb\xbf";
    const auto row = [](const char *title, const char *name, const QByteArray &head, Place place,
                        const QByteArray &start, const QByteArray &end) {
        QTest::newRow(title) << QString::fromLatin1(name) << head << place << start << end;
    };
    row("Python", "a.py", "print(1)\n", Place::Comment, "# { ", " }\n");
    row("YAML", "b.YML", "a: {}\n", Place::Comment, "# { ", " }\n");
    row("C", "c.c", "int x;\n", Place::Comment, "/* { ", " } */\n");
    row("Rust", "c.rs", "fn main() {}\n", Place::Comment, "/* { ", " } */\n");
    row("SQL", "c.sql", "select 1;\n", Place::Comment, "-- { ", " }\n");
    row("TeX", "d.tex", "\\bye\n", Place::Comment, "% { ", " }\n");
    row("HTML that begins elsewhere", "d.html", "<p>words\n", Place::Comment, "<!-- { ",
        " } -->\n");
    row("Markdown", "d.md", "# Title\n", Place::Comment, "<!-- { ", " } -->\n");
    row("Markdown with properties", "d.md", "---\ntitle: T\n---\n", Place::FirstLine, "{ ", " }\n");
    row("no suffix", "py", "print(1)\n", Place::FirstLine, "{ ", " }\n");
    row("text", "e.txt", "words\n", Place::FirstLine, "{ ", " }\n");
    row("text with returns", "e.TXT", "words\r\n", Place::FirstLine, "{ ", " }\r\n");
    row("text in Latin-1", "e.txt", "\xfc\n", Place::FirstLine, "{ ", " }\n");
    row("text in a folder", "x.png/e.txt", "words\n", Place::FirstLine, "{ ", " }\n");
    row("coloured log", "e.log", "\x1b[31mred\x1b[m\n", Place::FirstLine, "{ ", " }\n");
    row("empty", "empty", "", Place::FirstLine, "{ ", " }\n");
    row("byte order mark", "g.c", mark + "int x;", Place::Comment, mark + "/* { ", " } */\n");
    row("text with a mark", "g.txt", mark + "x", Place::FirstLine, mark + "{ ", " }\n");
}

void tst_FileAnnouncement::theNameShowsTheLanguageOfText()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, head);
    QFETCH(Place, place);
    QFETCH(QByteArray, start);
    QFETCH(QByteArray, end);
    const auto announcement = FileAnnouncement::of(name, 1000, head, 3);
    QCOMPARE(announcement.place, place);
    QVERIFY2(announcement.bytes.startsWith(start), announcement.bytes.constData());
    QVERIFY2(announcement.bytes.endsWith(end), announcement.bytes.constData());
    QCOMPARE(announcedParameters(announcement.bytes).value(0), name);
    const auto kept = head.first(announcement.skippedBytes);
    QVERIFY(announcement.bytes.startsWith(kept));
    QCOMPARE(announcedParameters(announcement.bytes).value(1).toLongLong(),
             announcement.bytes.size() + 1000 - kept.size() - 1);
}

void tst_FileAnnouncement::theInterpreterShowsTheLanguageOfAScript_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("comment"); // empty: not known
    QTest::newRow("shell") << QByteArray("#!/bin/sh\n") << QByteArray("# { ");
    QTest::newRow("option") << QByteArray("#! /bin/bash -eu\n") << QByteArray("# { ");
    QTest::newRow("version") << QByteArray("#!/usr/bin/python3.11\n") << QByteArray("# { ");
    QTest::newRow("by env") << QByteArray("#!/usr/bin/env -S A=1 perl -w\n") << QByteArray("# { ");
    QTest::newRow("JavaScript") << QByteArray("#!/usr/bin/env node\n") << QByteArray("/* { ");
    QTest::newRow("Lua") << QByteArray("#!/usr/bin/lua5.4\n") << QByteArray("-- { ");
    QTest::newRow("unknown") << QByteArray("#!/opt/strange\n") << QByteArray();
    QTest::newRow("brace") << QByteArray("#!/bin/sh {\n") << QByteArray();
    QTest::newRow("no line end") << QByteArray("#!/bin/sh") << QByteArray();
}

void tst_FileAnnouncement::theInterpreterShowsTheLanguageOfAScript()
{
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, comment);
    const auto announcement = FileAnnouncement::of(u"tool"_s, 1000, line + "rest", 3);
    QCOMPARE(announcement.place, comment.isEmpty() ? Place::InFront : Place::Comment);
    QCOMPARE(announcement.obstacle.isEmpty(), !comment.isEmpty());
    QVERIFY2(announcement.bytes.startsWith(comment.isEmpty() ? "{ " : line + comment),
             announcement.bytes.constData());
    QCOMPARE(announcedParameters(announcement.bytes).value(0), u"tool"_s);
}

void tst_FileAnnouncement::damagedFilesAreReportedWithTheObstacle_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QString>("obstacle");
    const QString format = u"this format has no place for it"_s;
    QTest::newRow("PNG") << u"a.png"_s << QByteArray("\x89PNG\r\n\x1a\n") << format;
    QTest::newRow("table") << u"a.csv"_s << QByteArray("a,b\n1,2\n") << format;
    QTest::newRow("JSON") << u"a.json"_s << QByteArray("{}\n") << format;
    QTest::newRow("unknown suffix") << u"a.xyz"_s << QByteArray("words\n") << format;
    QTest::newRow("settings") << u".profile"_s << QByteArray("PATH=/bin\n") << format;
    QTest::newRow("bytes in a source") << u"f.py"_s << QByteArray("a\0b", 3) << format;
    QTest::newRow("bytes without a suffix") << u"core"_s
                                            << QByteArray("\x7f"
                                                          "ELF")
                                            << format;
    QTest::newRow("UTF-16") << u"a.txt"_s << QByteArray("\xff\xfe\x41\x41") << format;
    QTest::newRow("brace in the declaration")
        << u"a.xml"_s << QByteArray("<?xml a='{ '?><a/>") << format;
    QTest::newRow("dashes in the name")
        << u"a--b.svg"_s << QByteArray("<svg/>") << u"its name would end the comment (see --as)"_s;
    QTest::newRow("comment's end in the name")
        << u"a*/b.c"_s << QByteArray("int x;") << u"its name would end the comment (see --as)"_s;
    QTest::newRow("letters beyond ASCII in the name")
        << u"gr\u00fc\u00dfe.txt"_s << QByteArray("words\n")
        << u"the letters beyond ASCII in its name would spoil the text's encoding (see --as)"_s;
}

void tst_FileAnnouncement::damagedFilesAreReportedWithTheObstacle()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, head);
    QFETCH(QString, obstacle);
    const auto announcement = FileAnnouncement::of(name, 1000, head, 3);
    QCOMPARE(announcement.place, Place::InFront);
    QCOMPARE(announcement.obstacle, obstacle);
    QCOMPARE(announcement.skippedBytes, 0);
    QVERIFY(announcement.bytes.startsWith("{ "));
    QCOMPARE(announcedParameters(announcement.bytes).value(0), name);
}

void tst_FileAnnouncement::theServerReadsItInsideAComment()
{
    QFETCH(QByteArray, head);
    QFETCH(QByteArray, start);
    QFETCH(qint64, skipped);
    const quint64 size = 5000;
    const auto announcement = FileAnnouncement::of(u"my file"_s, size, head, 3);
    QCOMPARE(announcement.place, Place::Comment);
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
