// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/FileToSend.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace quillmote;
using Place = FileAnnouncement::Place;

class tst_FileToSend : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void unreadableFilesAreReportedInTheSystemsWords();
    void aPipeIsNotWaitedFor();
    void itIsSavedUnderItsOwnNameOrTheGivenOne();
    void namesThatTheServerCannotUseAreRefused_data();
    void namesThatTheServerCannotUseAreRefused();
    void theRestoringCommandGivesTheFileBack_data();
    void theRestoringCommandGivesTheFileBack();

private:
    QString path(const QString &name) const { return folder.filePath(name); }
    void write(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), bytes.size());
    }

    QTemporaryDir folder;
};

void tst_FileToSend::initTestCase()
{
    QVERIFY(folder.isValid());
    write(u"note.txt"_s, "words\n");
    write(u"table.csv"_s, "1,2\n");
}

void tst_FileToSend::unreadableFilesAreReportedInTheSystemsWords()
{
    const auto problem = [this](const QString &name) {
        return FileToSend::at(path(name)).problem.remove(folder.path());
    };
    QCOMPARE(problem(u"absent"_s), u"/absent: no such file."_s);
    QCOMPARE(problem(u"note.txt/x"_s), u"/note.txt/x: no such file."_s);
    QCOMPARE(problem(u"\u001b[2J"_s), u"/\\u001b[2J: no such file."_s);
    QCOMPARE(problem(u"."_s), u"/.: is a directory; pack it into an archive, or name its files."_s);
    QVERIFY(QFile::link(u"/nowhere/at/all"_s, path(u"dangling"_s)));
    QCOMPARE(problem(u"dangling"_s), u"/dangling: no such file."_s);
    QCOMPARE(FileToSend::at(u"/dev/null"_s).problem, u"/dev/null: is not a regular file."_s);
    QCOMPARE(problem(u"note.txt"_s), QString());
}

void tst_FileToSend::aPipeIsNotWaitedFor()
{
    const QString pipe = path(u"pipe"_s);
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QVERIFY(FileToSend::at(pipe).problem.contains(u"is not a regular file"_s));
}

void tst_FileToSend::itIsSavedUnderItsOwnNameOrTheGivenOne()
{
    const FileToSend own = FileToSend::at(path(u"note.txt"_s));
    QCOMPARE(own.name, u"note.txt"_s);
    QCOMPARE(own.place, Place::FirstLine);
    const FileToSend table = FileToSend::at(path(u"table.csv"_s));
    QCOMPARE(table.place, Place::InFront);
    QVERIFY(!table.obstacle.isEmpty());
    const FileToSend other = FileToSend::at(path(u"table.csv"_s), u"folder/table.txt"_s);
    QCOMPARE(other.problem, QString());
    QCOMPARE(other.name, u"folder/table.txt"_s);
    QCOMPARE(other.place, Place::FirstLine);
}

void tst_FileToSend::namesThatTheServerCannotUseAreRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    QTest::newRow("empty") << u""_s << u"it names no file"_s;
    QTest::newRow("folder") << u"a/"_s << u"it names no file"_s;
    QTest::newRow("dot") << u"a/."_s << u"it names no file"_s;
    QTest::newRow("above") << u"../a"_s << u"out of the download directory"_s;
    QTest::newRow("above in the middle") << u"a/../../b"_s << u"out of the download directory"_s;
    QTest::newRow("control") << u"a\u0007"_s << u"\"a\\u0007\" cannot be used"_s;
    QTest::newRow("no-break space") << u"a\u00a0b"_s << u"a character that nobody sees"_s;
    QTest::newRow("beyond Latin-1") << u"\u017elu\u0165.txt"_s << u"outside Latin-1"_s;
    QTest::newRow("quote") << u"a\"b"_s << u"double quote"_s;
}

void tst_FileToSend::namesThatTheServerCannotUseAreRefused()
{
    QFETCH(QString, name);
    QFETCH(QString, reason);
    const QString problem = FileToSend::at(path(u"note.txt"_s), name).problem;
    QVERIFY2(problem.contains(reason), qPrintable(problem));
    QVERIFY2(problem.endsWith(u"name with --as."_s) || problem.endsWith(u"one with --as."_s),
             qPrintable(problem));
}

void tst_FileToSend::theRestoringCommandGivesTheFileBack_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"a.png", "my photo.png", "it's.png", "-n", "$(touch x)", "a'b\\c `d`",
                             "*", "gr\xfc\xdf.png", "x;rm y", "#a"}) {
        QTest::newRow(name) << QString::fromLatin1(name);
    }
}

void tst_FileToSend::theRestoringCommandGivesTheFileBack()
{
    QFETCH(QString, name);
    const QTemporaryDir received;
    const QByteArray content("\0\n bytes \xff\n\n", 12);
    QFile file(received.filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("{ announcement }\n" + content);
    file.close();
    QProcess shell;
    shell.setWorkingDirectory(received.path());
    shell.start(u"sh"_s, {u"-c"_s, restoringCommand(name, content.size())});
    QVERIFY(shell.waitForFinished());
    QCOMPARE(shell.readAllStandardError(), QByteArray());
    QCOMPARE(shell.exitCode(), 0);
    QCOMPARE(
        QDir(received.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList{name});
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), content);
}

QTEST_GUILESS_MAIN(tst_FileToSend)
#include "tst_FileToSend.moc"
