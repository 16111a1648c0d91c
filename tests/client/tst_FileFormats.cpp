// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/FileAnnouncement.h"

#include "client/StoredToken.h"
#include "lib/RequestWriter.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

namespace {

constexpr quint64 Tag = 3;
constexpr quint64 Size = 1000;

/// The token that an announcement holds, as the server reads it.
QByteArray tokenIn(const FileAnnouncement &announcement)
{
    const QStringList parameters =
        storedTokenInFile(announcement.bytes).value(u"cmdParameters"_s).toStringList();
    return writeRequest(Request::sendFile(parameters.value(0), parameters.value(1).toULongLong()),
                        Tag)
        .bytes;
}

} // namespace

/// Which formats take the announcement as a comment, and in which form.
class tst_FileFormats : public QObject
{
    Q_OBJECT

private slots:
    void theCommentIsComplete_data();
    void theCommentIsComplete();
    void whatCannotCarryACommentIsNotTouched_data();
    void whatCannotCarryACommentIsNotTouched();
    void aCommentInAJpegHasTheSmallestHarmlessLength_data();
    void aCommentInAJpegHasTheSmallestHarmlessLength();
};

void tst_FileFormats::theCommentIsComplete_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("behind");
    QTest::addColumn<qint64>("skipped");
    const auto row = [](const char *name, const QByteArray &head, const QByteArray &before,
                        const QByteArray &behind, qint64 skipped = 0) {
        QTest::addRow("%s, %s", name, head.left(20).constData())
            << name << head << before << behind << skipped;
    };
    for (const char *suffix : {"py", "sh", "rb", "pl", "yaml", "yml", "toml", "conf"}) {
        row(qPrintable(u"a."_s + QLatin1StringView(suffix)), "text", "# ", "\n");
    }
    for (const char *suffix : {"c", "h", "cpp", "hpp", "css", "js", "ts", "java"}) {
        row(qPrintable(u"a."_s + QLatin1StringView(suffix)), "text", "/* ", " */\n");
    }
    row("a.b.TEX", "text", "% ", "\n");
    row("a", "%PDF-1.4", "%% ", "\n");
    row("a", "<html>", "<!-- ", " -->\n");
    row("a", " \n<HTML lang=de>", "<!-- ", " -->\n");
    row("a", "<!DocType HTML>", "<!-- ", " -->\n");
    row("a", "<svg>", "<!-- ", " -->\n");
    row("a", "<?xml?><a/>", "<?xml?><!-- ", " -->\n", 7);
    row("a", "#!/bin/sh\nexit", "#!/bin/sh\n# ", "\n", 10);
    row("a.py", "\xef\xbb\xbfprint", "\xef\xbb\xbf# ", "\n", 3);
    row("a.py", "#!/usr/bin/python3\n", "#!/usr/bin/python3\n# ", "\n", 19);
}

void tst_FileFormats::theCommentIsComplete()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, head);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, behind);
    const auto announcement = FileAnnouncement::of(name, Size, head, Tag);
    QVERIFY(announcement.place == FileAnnouncement::Place::Comment);
    QCOMPARE(announcement.bytes, before + tokenIn(announcement) + behind);
    QTEST(announcement.skippedBytes, "skipped");
}

void tst_FileFormats::whatCannotCarryACommentIsNotTouched_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<bool>("isText"); // a line of its own does no harm then
    QTest::newRow("empty") << u"a"_s << QByteArray() << true;
    QTest::newRow("PNG") << u"a.png"_s << QByteArray("\x89PNG\r\n\x1a\n") << false;
    QTest::newRow("almost a JPEG") << u"a.jpg"_s << QByteArray("\xff\xd8") << false;
    QTest::newRow("dashes in the name of HTML") << u"a--b.html"_s << QByteArray("<html>") << false;
    QTest::newRow("dashes in the name of XML")
        << u"a--b.xml"_s << QByteArray("<?xml?><a/>") << false;
    QTest::newRow("brace in the declaration") << u"a"_s << QByteArray("<?xml {?><a/>") << false;
    QTest::newRow("NUL in the declaration") << u"a"_s << QByteArray("<?xml \0?><a/>", 13) << false;
    QTest::newRow("endless declaration") << u"a"_s << QByteArray("<?xml version='1.0'") << false;
    QTest::newRow("brace in the first line") << u"a"_s << QByteArray("#!/bin/{\n") << false;
    QTest::newRow("NUL in the first line") << u"a"_s << QByteArray("#!/bin\0\n", 8) << false;
    QTest::newRow("endless first line") << u"a"_s << QByteArray("#!/bin/sh") << false;
    QTest::newRow("no script") << u"a"_s << QByteArray("# comment\n") << true;
    QTest::newRow("markup inside") << u"a"_s << QByteArray("a <html>") << true;
    QTest::newRow("less than a word of markup") << u"a"_s << QByteArray("<htm") << true;
    QTest::newRow("NUL in Python") << u"a.py"_s << QByteArray("\0", 1) << false;
    QTest::newRow("only the suffix") << u"tex"_s << QByteArray("text") << true;
}

void tst_FileFormats::whatCannotCarryACommentIsNotTouched()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, head);
    const auto announcement = FileAnnouncement::of(name, Size, head, Tag);
    QFETCH(bool, isText);
    QVERIFY(announcement.place ==
            (isText ? FileAnnouncement::Place::FirstLine : FileAnnouncement::Place::InFront));
    QCOMPARE(announcement.bytes, tokenIn(announcement) + (isText ? "\n" : ""));
    QCOMPARE(announcement.skippedBytes, 0);
}

void tst_FileFormats::aCommentInAJpegHasTheSmallestHarmlessLength_data()
{
    QTest::addColumn<int>("tokenSize");
    QTest::addColumn<int>("length"); // with the two bytes that hold it
    QTest::newRow("short") << 150 << 0x0101;
    QTest::newRow("just fitting") << 0x0101 - 2 << 0x0101;
    QTest::newRow("one more") << 0x0101 - 1 << 0x0102;
    QTest::newRow("with a brace") << 0x017b - 2 << 0x017c;
    QTest::newRow("with a NUL") << 0x0200 - 2 << 0x0201;
}

void tst_FileFormats::aCommentInAJpegHasTheSmallestHarmlessLength()
{
    QFETCH(int, tokenSize);
    QFETCH(int, length);
    const QByteArray head("\xff\xd8\xff\xe0", 4);
    // The announced size has four digits in all rows, so the name sets the token's size.
    const qsizetype others = writeRequest(Request::sendFile(QString(), Size), Tag).bytes.size();
    const QString name(tokenSize - others, u'n');
    const auto announcement = FileAnnouncement::of(name, Size, head, Tag);
    const QByteArray token = tokenIn(announcement);
    QCOMPARE(token.size(), tokenSize);
    QByteArray expected = "\xff\xd8\xff\xfe";
    expected += static_cast<char>(length >> 8);
    expected += static_cast<char>(length & 0xff);
    expected += token + QByteArray(length - 2 - tokenSize, ' ');
    QCOMPARE(announcement.bytes.toHex(), expected.toHex());
    QCOMPARE(announcement.skippedBytes, 2);
}

QTEST_GUILESS_MAIN(tst_FileFormats)
#include "tst_FileFormats.moc"
