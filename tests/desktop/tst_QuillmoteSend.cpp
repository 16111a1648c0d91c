// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How the program quillmote sends files to the real server: what arrives, and what it says.

#include "support/Folders.h"
#include "support/session/QuillmoteRun.h"
#include "support/session/RecordingOpener.h"
#include "support/session/ServerScene.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <csignal>
#include <linux/capability.h>
#include <sys/prctl.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray pngBytes = QByteArrayLiteral("\x89PNG\r\n\x1a\n\0\0\0\rnot really\n\n");

/// Drops the capability by which root reads files that nobody may read. If it cannot be dropped,
/// the process does not have it.
void giveUpReadingEverything()
{
    prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
    prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
}

} // namespace

class tst_QuillmoteSend : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void whatWouldBeDamagedIsRefusedAndNothingIsSent();
    void theForcedAreRestoredByTheCommandThatIsPrinted_data();
    void theForcedAreRestoredByTheCommandThatIsPrinted();
    void jsonHoldsTheCommandToo();
    void plainTextBeginsOnItsSecondLine();
    void aFileIsSavedUnderAnotherName();
    void oneNameForSeveralFilesIsRefused();
    void everyFileIsCheckedBeforeTheFirstIsSent();
    void aFileThatMayNotBeReadIsCalledSo();
    void twoFilesOfOneNameAreRefused();
    void whatIsSentToAnExistingNameIsAppended();
    void aSignalAmidATransferIsAnsweredWithWhatIsLeft_data();
    void aSignalAmidATransferIsAnsweredWithWhatIsLeft();

private:
    QString received(const QString &name = {}) const
    {
        return scene->session().path(u"in/"_s + name);
    }
    QString original(const QString &name = {}) const
    {
        return scene->session().path(u"out/"_s + name);
    }
    QString written(const QString &name, const QByteArray &bytes) const
    {
        return Folders::write(original(name), bytes) ? original(name) : QString();
    }
    QStringList receivedNames() const
    {
        return QDir(received()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    QuillmoteRun send(const QStringList &arguments) const
    {
        return Quillmote(*scene).run(QStringList{u"send"_s} + arguments);
    }

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<RecordingOpener> opener;
};

void tst_QuillmoteSend::initTestCase()
{
    QVERIFY2(!qEnvironmentVariableIsEmpty("VORNA_QUILLMOTE"), "the program to test is not named");
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
    scene->storeSetting(u"downloadDirectory"_s, scene->session().path(u"in"_s));
    // Other programs write beside what they open.
    opener = std::make_unique<RecordingOpener>(scene->session());
    QVERIFY(scene->start());
}

void tst_QuillmoteSend::init()
{
    QDir(received()).removeRecursively();
    QDir(original()).removeRecursively();
    QVERIFY(QDir().mkpath(received(u"folder"_s)));
    QVERIFY(QDir().mkpath(original(u"other"_s)));
}

void tst_QuillmoteSend::cleanupTestCase()
{
    if (scene) {
        QCOMPARE(scene->problemAtEnd(), QByteArray());
    }
}

void tst_QuillmoteSend::whatWouldBeDamagedIsRefusedAndNothingIsSent()
{
    const QuillmoteRun run =
        send({written(u"note.txt"_s, "words\n"), written(u"image.png"_s, pngBytes),
              written(u"table.csv"_s, "a,b\n"), written(u"gr\u00fc\u00dfe.txt"_s, "words\n")});
    QCOMPARE(run.status, 2);
    QCOMPARE(run.output, QByteArray());
    QCOMPARE(receivedNames().join(u'|'), QString());
    const QByteArray reason = " would arrive damaged: the server writes the transfer request at "
                              "the start of the file, and this format has no place for it.\n";
    QVERIFY2(run.errors.contains("quillmote: image.png" + reason), run.errors.constData());
    QVERIFY2(run.errors.contains("quillmote: table.csv" + reason), run.errors.constData());
    QVERIFY2(run.errors.contains("gr\xc3\xbc\xc3\x9f"
                                 "e.txt would arrive damaged"),
             run.errors.constData());
    QVERIFY(!run.errors.contains("note.txt"));
    QVERIFY(run.errors.endsWith("quillmote: Nothing was sent. --force sends damaged files too, and "
                                "prints the command that restores each.\n"));
}

void tst_QuillmoteSend::theForcedAreRestoredByTheCommandThatIsPrinted_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << u"image.png"_s;
    QTest::newRow("blanks and a quote") << u"Ada's new image.png"_s;
    QTest::newRow("signs of the shell") << u"-$(touch x); `y` *.png"_s;
    QTest::newRow("letters") << u"gr\u00fc\u00dfe.png"_s;
}

void tst_QuillmoteSend::theForcedAreRestoredByTheCommandThatIsPrinted()
{
    QFETCH(QString, name);
    const QuillmoteRun run = send({u"--force"_s, u"--"_s, written(name, pngBytes)});
    QCOMPARE(run.status, 0);
    QCOMPARE(receivedNames(), QStringList{name});
    QVERIFY(Folders::fileBytes(received(name)).size() > pngBytes.size());
    const QByteArrayList lines = run.output.split('\n');
    QCOMPARE(lines.value(0), name.toUtf8() + ": sent");
    QCOMPARE(lines.value(1),
             QByteArray("To restore the original, run this in the server's download directory (an "
                        "older file of that name is replaced):"));
    QVERIFY(lines.value(2).startsWith("  "));

    QProcess shell;
    shell.setWorkingDirectory(received());
    shell.start(u"sh"_s, {u"-c"_s, QString::fromUtf8(lines.value(2))});
    QVERIFY(shell.waitForFinished());
    QCOMPARE(shell.readAllStandardError(), QByteArray());
    QCOMPARE(receivedNames(), QStringList{name});
    QCOMPARE(Folders::fileBytes(received(name)), pngBytes);
}

void tst_QuillmoteSend::jsonHoldsTheCommandToo()
{
    const QuillmoteRun run =
        send({u"--json"_s, u"--force"_s, written(u"a.png"_s, pngBytes), written(u"b"_s, "words")});
    QCOMPARE(run.status, 0);
    const QByteArrayList lines = run.output.split('\n');
    QCOMPARE(lines.size(), 3);
    const QJsonObject image = QJsonDocument::fromJson(lines[0]).object();
    QCOMPARE(image.value(u"file"_s).toString(), u"a.png"_s);
    QCOMPARE(image.value(u"bytes"_s).toInt(), pngBytes.size());
    QCOMPARE(image.value(u"opensUnchanged"_s).toBool(true), false);
    QCOMPARE(image.value(u"restore"_s).toString(),
             u"tail -c %1 ./a.png >./a.png.restored && mv ./a.png.restored ./a.png"_s.arg(
                 pngBytes.size()));
    QCOMPARE(Folders::fileBytes(received(u"a.png"_s)).mid(image.value(u"bytesAhead"_s).toInt()),
             pngBytes);
    const QJsonObject text = QJsonDocument::fromJson(lines[1]).object();
    QCOMPARE(text.value(u"file"_s).toString(), u"b"_s);
    QVERIFY(!text.contains(u"restore"_s));
}

void tst_QuillmoteSend::plainTextBeginsOnItsSecondLine()
{
    const QuillmoteRun run =
        send({written(u"a.txt"_s, "one\ntwo\n"), written(u"README"_s, "read me\n"),
              written(u"page.md"_s, "# Title\n"), written(u"dos.txt"_s, "one\r\n")});
    QCOMPARE(run.status, 0);
    const auto arrived = [this](const QString &name) {
        return Folders::fileBytes(received(name)).split('\n');
    };
    QVERIFY(arrived(u"a.txt"_s)[0].startsWith("{ quillmote"));
    QCOMPARE(arrived(u"a.txt"_s).mid(1), (QByteArrayList{"one", "two", ""}));
    QCOMPARE(arrived(u"README"_s).mid(1), (QByteArrayList{"read me", ""}));
    QVERIFY(arrived(u"page.md"_s)[0].startsWith("<!-- { "));
    QCOMPARE(arrived(u"page.md"_s).mid(1), (QByteArrayList{"# Title", ""}));
    QVERIFY(arrived(u"dos.txt"_s)[0].endsWith("}\r"));
    const QByteArray reported = "note: a.txt, README, dos.txt: the first line will be the transfer "
                                "request; the text begins on the second line.\n";
    QCOMPARE(run.errors.count("first line"), 1);
    QVERIFY2(run.errors.contains(reported), run.errors.constData());
}

void tst_QuillmoteSend::aFileIsSavedUnderAnotherName()
{
    const QString note = written(u"note.txt"_s, "words\n");
    QCOMPARE(send({note, u"--as"_s, u"my note.txt"_s}).status, 0);
    QCOMPARE(send({note, u"--as"_s, u"folder/other.txt"_s}).output,
             QByteArray("folder/other.txt: sent\n"));
    QCOMPARE(receivedNames().join(u'|'), u"my note.txt"_s);
    QVERIFY(Folders::fileBytes(received(u"my note.txt"_s)).endsWith("}\nwords\n"));
    QVERIFY(Folders::fileBytes(received(u"folder/other.txt"_s)).endsWith("}\nwords\n"));
    // The file's own name would be refused.
    QCOMPARE(send({written(u"\u017elu\u0165.txt"_s, "x"), u"--as=zlut.txt"_s}).status, 0);
    const QuillmoteRun outside = send({note, u"--as"_s, u"../note.txt"_s});
    QCOMPARE(outside.status, 2);
    QVERIFY2(outside.errors.contains("leads out of the download directory"),
             outside.errors.constData());
}

void tst_QuillmoteSend::oneNameForSeveralFilesIsRefused()
{
    const QuillmoteRun run = send(
        {written(u"a.txt"_s, "a"), written(u"b.txt"_s, "b"), u"--as"_s, u"c.txt"_s, u"--force"_s});
    QCOMPARE(run.status, 2);
    QVERIFY2(run.errors.startsWith("quillmote: --as names one file"), run.errors.constData());
    QCOMPARE(receivedNames().join(u'|'), QString());
}

void tst_QuillmoteSend::everyFileIsCheckedBeforeTheFirstIsSent()
{
    const QuillmoteRun run = send({written(u"good.txt"_s, "words"), original(u"absent"_s),
                                   original(u"other"_s), u"/dev/null"_s});
    QCOMPARE(run.status, 2);
    QCOMPARE(receivedNames().join(u'|'), QString());
    QCOMPARE(run.errors, u"quillmote: %1: no such file.\n"
                         "quillmote: %2: is a directory; pack it into an archive, or name its "
                         "files.\n"
                         "quillmote: /dev/null: is not a regular file.\n"_s
                             .arg(original(u"absent"_s), original(u"other"_s))
                             .toUtf8());
}

void tst_QuillmoteSend::aFileThatMayNotBeReadIsCalledSo()
{
    const QString secret = written(u"secret.txt"_s, "words");
    QVERIFY(QFile::setPermissions(secret, QFile::WriteOwner));
    const QuillmoteRun run =
        Quillmote(*scene).run({u"send"_s, secret}, {}, giveUpReadingEverything);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.errors, "quillmote: " + secret.toUtf8() + ": permission denied.\n");
}

void tst_QuillmoteSend::twoFilesOfOneNameAreRefused()
{
    const QStringList files = {written(u"note.txt"_s, "one\n"),
                               written(u"other/note.txt"_s, "two\n")};
    const QuillmoteRun run = send(files);
    QCOMPARE(run.status, 2);
    QVERIFY2(run.errors.contains("called note.txt; the server would append the second"),
             run.errors.constData());
    QCOMPARE(receivedNames().join(u'|'), QString());
    QCOMPARE(send(files + QStringList{u"--force"_s}).status, 0);
    const QByteArray both = Folders::fileBytes(received(u"note.txt"_s));
    QVERIFY2(both.contains("}\none\n{ ") && both.endsWith("}\ntwo\n"), both.constData());
}

void tst_QuillmoteSend::whatIsSentToAnExistingNameIsAppended()
{
    QVERIFY(Folders::write(received(u"note.txt"_s), "there before\n"));
    const QuillmoteRun run = send({written(u"note.txt"_s, "words\n")});
    QCOMPARE(run.status, 0);
    QCOMPARE(
        run.errors.count("note: If the download directory has a file of the same name, the new "
                         "bytes are appended to it.\n"),
        1);
    const QByteArray both = Folders::fileBytes(received(u"note.txt"_s));
    QVERIFY(both.startsWith("there before\n{ ") && both.endsWith("}\nwords\n"));
}

void tst_QuillmoteSend::aSignalAmidATransferIsAnsweredWithWhatIsLeft_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGHUP") << SIGHUP;
}

void tst_QuillmoteSend::aSignalAmidATransferIsAnsweredWithWhatIsLeft()
{
    QFETCH(int, signal);
    constexpr qint64 size = 200'000'000;
    const QString big = written(u"big.txt"_s, "words\n");
    QVERIFY(QFile::resize(big, size));
    ChildProcess program;
    // A halted server takes no more than its socket holds.
    const auto server = static_cast<pid_t>(scene->server().processId());
    Quillmote(*scene).start(program, {u"send"_s, u"--force"_s, u"--timeout=120"_s, big});
    QVERIFY(waitUntil([&] { return QFileInfo(received(u"big.txt"_s)).size() > 100'000; },
                      GenerousLimit, std::chrono::milliseconds(1)));
    QCOMPARE(kill(server, SIGSTOP), 0);
    const bool wasUnderWay = program.state() == QProcess::Running;
    QCOMPARE(kill(static_cast<pid_t>(program.processId()), signal), 0);
    // Long before the time limit.
    const bool hasEnded = program.waitForFinished(20'000);
    QCOMPARE(kill(server, SIGCONT), 0);
    QVERIFY(wasUnderWay && hasEnded);
    // A shell reports this as 128 plus the signal.
    QCOMPARE(program.exitStatus(), QProcess::CrashExit);
    QCOMPARE(program.exitCode(), signal);
    const QByteArray errors = program.readAllStandardError();
    QVERIFY2(
        errors.endsWith("note: An incomplete big.txt is left in the server's download "
                        "directory. Delete it there before you send the file again; otherwise the "
                        "new bytes are appended to it.\n"),
        errors.constData());
    QCOMPARE(program.readAllStandardOutput(), QByteArray());
    QVERIFY(QFileInfo(received(u"big.txt"_s)).size() < size);
}

QTEST_GUILESS_MAIN(tst_QuillmoteSend)
#include "tst_QuillmoteSend.moc"
