// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/DownloadFile.h"

#include "support/PrivateHome.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <memory>

class tst_DownloadFile : public QObject
{
    Q_OBJECT

private slots:
    void init() { home = std::make_unique<PrivateHome>(); }
    void cleanup() { home.reset(); }

    void aNameIsJoinedToTheDirectory_data();
    void aNameIsJoinedToTheDirectory();
    void anExistingFileIsExtended();
    void whatIsWrittenIsInTheFileAtOnce();
    void namesThatLeadElsewhereAreRefused_data();
    void namesThatLeadElsewhereAreRefused();
    void onlyAFullPathIsADownloadDirectory_data();
    void onlyAFullPathIsADownloadDirectory();
    void theRootDirectoryIsOneToo();

private:
    std::unique_ptr<PrivateHome> home;
};

void tst_DownloadFile::aNameIsJoinedToTheDirectory_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("plain") << "photo.jpg";
    QTest::newRow("in a directory") << "sub/photo.jpg";
    QTest::newRow("with a slash at its head") << "/photo.jpg";
    QTest::newRow("full path, which stays below") << "//sub///photo.jpg";
    QTest::newRow("letters of two bytes") << QString::fromLatin1("Gr\xfc\xdf"
                                                                 "e.txt");
    QTest::newRow("letters beyond Latin-1") << QString::fromUtf8("\u20ac");
    QTest::newRow("blank") << " ";
    QTest::newRow("a scheme") << "file:photo.jpg";
    QTest::newRow("a resource's") << ":photo.jpg";
    QTest::newRow("a home's") << "~";
}

void tst_DownloadFile::aNameIsJoinedToTheDirectory()
{
    QFETCH(QString, name);
    home->subdirectory("received/sub");
    for (const char *ending : {"", "/", "//", "/sub/.."}) {
        const QString directory = home->path("received") + ending;
        QFile file;
        QVERIFY(openDownload(file, directory, name));
        QCOMPARE(file.write("content"), qint64(7));
        file.close();
        QCOMPARE(contentOf(directory + "/" + name), QByteArray("content"));
        QVERIFY(QFile::remove(directory + "/" + name));
    }
}

void tst_DownloadFile::anExistingFileIsExtended()
{
    for (int time = 0; time < 2; ++time) {
        QFile file;
        QVERIFY(openDownload(file, home->subdirectory("received"), "note"));
        QCOMPARE(file.write("again "), qint64(6));
    }
    QCOMPARE(contentOf(home->path("received/note")), QByteArray("again again "));
}

void tst_DownloadFile::whatIsWrittenIsInTheFileAtOnce()
{
    QFile file;
    QVERIFY(openDownload(file, home->subdirectory("received"), "note"));
    // Behind what others append meanwhile, too.
    for (const char *bytes : {"a", "b"}) {
        QCOMPARE(file.write(bytes), qint64(1));
        QFile other(home->path("received/note"));
        QVERIFY(other.open(QIODevice::Append));
        QCOMPARE(other.write("+"), qint64(1));
    }
    QCOMPARE(contentOf(home->path("received/note")), QByteArray("a+b+"));
}

void tst_DownloadFile::namesThatLeadElsewhereAreRefused_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("none") << "";
    QTest::newRow("nothing but slashes") << "///";
    QTest::newRow("the directory itself") << ".";
    QTest::newRow("outside") << "../note";
    QTest::newRow("outside, with a slash at its head") << "/../note";
    QTest::newRow("out of a directory") << "sub/../../note";
    QTest::newRow("outside by a link") << "link/note";
    QTest::newRow("back from a link") << "link/../note";
    QTest::newRow("with a NUL") << QString("note") + QChar::Null;
    QTest::newRow("with a NUL in the middle") << QString("no") + QChar::Null + "te";
}

void tst_DownloadFile::namesThatLeadElsewhereAreRefused()
{
    QFETCH(QString, name);
    home->subdirectory("received/sub");
    QVERIFY(QFile::link(home->subdirectory("pictures/of/mine"), home->path("received/link")));
    QFile file;
    QVERIFY(!openDownload(file, home->path("received"), name));
    QVERIFY(!file.isOpen());
    QCOMPARE(QDir(home->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList({"pictures", "received"}));
    QCOMPARE(QDir(home->path("pictures/of")).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
             QStringList{"mine"});
}

void tst_DownloadFile::onlyAFullPathIsADownloadDirectory_data()
{
    QTest::addColumn<QString>("directory");

    QTest::newRow("none") << "";
    QTest::newRow("the working directory") << ".";
    QTest::newRow("below it") << "received";
    QTest::newRow("beside it") << "../received";
    QTest::newRow("a home's") << "~/received";
    QTest::newRow("a resource's") << ":/received";
    QTest::newRow("an address") << "file:///received";
}

/// Where a relative path leads depends on where the program was started.
void tst_DownloadFile::onlyAFullPathIsADownloadDirectory()
{
    QFETCH(QString, directory);
    home->subdirectory("here/received");
    const QString before = QDir::currentPath();
    QDir::setCurrent(home->path("here"));
    QFile file;
    const bool isOpened = openDownload(file, directory, "note");
    const bool isOpenedByAFullPath = openDownload(file, directory, home->path("here/note"));
    QDir::setCurrent(before);
    QVERIFY(!isDownloadDirectory(directory));
    QVERIFY(!isOpened);
    QVERIFY(!isOpenedByAFullPath);
    QVERIFY(isDownloadDirectory(home->path("here")));
    QVERIFY(!QFile::exists(home->path("here/note")));
    QVERIFY(!QFile::exists(home->path("here/received/note")));
}

void tst_DownloadFile::theRootDirectoryIsOneToo()
{
    QVERIFY(isDownloadDirectory("/"));
    QFile file;
    // By its full path below the root directory, which is no way out of it.
    QVERIFY(openDownload(file, "/", home->path("note")));
    QVERIFY(QFile::exists(home->path("note")));
}

QTEST_GUILESS_MAIN(tst_DownloadFile)
#include "tst_DownloadFile.moc"
