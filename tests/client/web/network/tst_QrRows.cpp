// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/network/QrRows.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quillmote;

class tst_QrRows : public QObject
{
    Q_OBJECT

private slots:
    void aReaderReadsTheCode_data();
    void aReaderReadsTheCode();
    void theTerminalShowsTheSameCode();
    void aTextThatIsTooLongHasNoCode();
};

namespace {

constexpr qsizetype quietZone = 4;

/// A picture in the portable format, eight pixels a module.
QByteArray pictureOf(const QStringList &rows)
{
    constexpr qsizetype scale = 8;
    const qsizetype side = (rows.size() + 2 * quietZone) * scale;
    QByteArray picture =
        "P5 " + QByteArray::number(side) + " " + QByteArray::number(side) + " 255\n";
    for (qsizetype y = 0; y < side; ++y) {
        for (qsizetype x = 0; x < side; ++x) {
            const QString row = rows.value(y / scale - quietZone);
            const qsizetype place = x / scale - quietZone;
            const bool isDark = place >= 0 && place < row.size() && row[place] == u'1';
            picture += isDark ? '\0' : '\xff';
        }
    }
    return picture;
}

/// What zbarimg reads in the code.
QByteArray readBack(const QStringList &rows)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(u"code.pgm"_s));
    if (!file.open(QIODevice::WriteOnly) || file.write(pictureOf(rows)) < 0) {
        return "no picture";
    }
    file.close();
    QProcess reader;
    reader.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    reader.start(u"zbarimg"_s,
                 {u"--quiet"_s, u"--raw"_s, u"-Sdisable"_s, u"-Sqrcode.enable"_s, file.fileName()});
    reader.waitForFinished();
    return reader.readAllStandardOutput().trimmed(); // without the line's end
}

/// The modules of a drawing for terminals, with the quiet zone.
QStringList modulesOf(const QString &drawing)
{
    QStringList modules;
    for (const QString &line : drawing.split(u'\n', Qt::SkipEmptyParts)) {
        const QString begin = u"\x1b[38;5;16;48;5;231m"_s;
        const QString end = u"\x1b[0m"_s;
        if (!line.startsWith(begin) || !line.endsWith(end)) {
            return {};
        }
        QString upper;
        QString lower;
        for (const QChar c : line.sliced(begin.size()).chopped(end.size())) {
            upper += c == u'█' || c == u'▀' ? u'1' : u'0';
            lower += c == u'█' || c == u'▄' ? u'1' : u'0';
        }
        modules += {upper, lower};
    }
    return modules;
}

} // namespace

void tst_QrRows::aReaderReadsTheCode_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("an address") << u"http://192.168.1.20:8642/#ABCDEFGHJKMNPQRS"_s;
    QTest::newRow("an address of IPv6")
        << u"http://[2001:db8:1234:5678:9abc:def0:1234:5678]:8642/#ABCDEFGHJKMNPQRS"_s;
    QTest::newRow("a name") << u"https://den.example.org:8642/#0123456789ABCDEF"_s;
}

void tst_QrRows::aReaderReadsTheCode()
{
    QFETCH(QString, text);
    QCOMPARE(readBack(qrRows(text)), text.toUtf8());
}

void tst_QrRows::theTerminalShowsTheSameCode()
{
    for (const QString &text : {u"x"_s, u"http://192.168.1.20:8642/#ABCDEFGHJKMNPQRS"_s}) {
        const QStringList rows = qrRows(text);
        const QStringList shown = modulesOf(qrForTerminal(rows));
        const QString margin(quietZone, u'0');
        const QString empty(rows.size() + 2 * quietZone, u'0');
        QStringList expected(quietZone, empty);
        for (const QString &row : rows) {
            expected += margin + row + margin;
        }
        expected += QStringList(quietZone, empty);
        if (expected.size() % 2 != 0) {
            expected += empty;
        }
        QCOMPARE(shown, expected);
    }
}

void tst_QrRows::aTextThatIsTooLongHasNoCode()
{
    QCOMPARE(qrRows(QString(3000, u'x')), QStringList());
    QCOMPARE(qrForTerminal({}), QString());
}

QTEST_GUILESS_MAIN(tst_QrRows)
#include "tst_QrRows.moc"
