// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/DownloadFile.h"

#include "support/session/PrivateHome.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

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
    home->subdirectory(u"received/sub"_s);
    for (const char *ending : {"", "/", "//", "/sub/.."}) {
        const QString directory = home->path(u"received"_s) + QLatin1StringView(ending);
        QFile file;
        QVERIFY(openDownload(file, directory, name));
        QCOMPARE(file.write("content"), qint64(7));
        file.close();
        QCOMPARE(contentOf(directory + u"/"_s + name), QByteArray("content"));
        QVERIFY(QFile::remove(directory + u"/"_s + name));
    }
}

void tst_DownloadFile::anExistingFileIsExtended()
{
    for (int time = 0; time < 2; ++time) {
        QFile file;
        QVERIFY(openDownload(file, home->subdirectory(u"received"_s), u"note"_s));
        QCOMPARE(file.write("again "), qint64(6));
    }
    QCOMPARE(contentOf(home->path(u"received/note"_s)), QByteArray("again again "));
}

void tst_DownloadFile::whatIsWrittenIsInTheFileAtOnce()
{
    QFile file;
    QVERIFY(openDownload(file, home->subdirectory(u"received"_s), u"note"_s));
    // Also behind what other programs append in the meantime.
    for (const char *bytes : {"a", "b"}) {
        QCOMPARE(file.write(bytes), qint64(1));
        QFile other(home->path(u"received/note"_s));
        QVERIFY(other.open(QIODevice::Append));
        QCOMPARE(other.write("+"), qint64(1));
    }
    QCOMPARE(contentOf(home->path(u"received/note"_s)), QByteArray("a+b+"));
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
    QTest::newRow("with a NUL") << u"note"_s + QChar::Null;
    QTest::newRow("with a NUL in the middle") << u"no"_s + QChar::Null + u"te"_s;
}

void tst_DownloadFile::namesThatLeadElsewhereAreRefused()
{
    QFETCH(QString, name);
    home->subdirectory(u"received/sub"_s);
    QVERIFY(QFile::link(home->subdirectory(u"pictures/of/mine"_s), home->path(u"received/link"_s)));
    QFile file;
    QVERIFY(!openDownload(file, home->path(u"received"_s), name));
    QVERIFY(!file.isOpen());
    QCOMPARE(QDir(home->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList({u"pictures"_s, u"received"_s}));
    QCOMPARE(QDir(home->path(u"pictures/of"_s)).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
             QStringList{u"mine"_s});
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
    home->subdirectory(u"here/received"_s);
    const QString before = QDir::currentPath();
    QDir::setCurrent(home->path(u"here"_s));
    QFile file;
    const bool isOpened = openDownload(file, directory, u"note"_s);
    const bool isOpenedByAFullPath = openDownload(file, directory, home->path(u"here/note"_s));
    QDir::setCurrent(before);
    QVERIFY(!isDownloadDirectory(directory));
    QVERIFY(!isOpened);
    QVERIFY(!isOpenedByAFullPath);
    QVERIFY(isDownloadDirectory(home->path(u"here"_s)));
    QVERIFY(!QFile::exists(home->path(u"here/note"_s)));
    QVERIFY(!QFile::exists(home->path(u"here/received/note"_s)));
}

void tst_DownloadFile::theRootDirectoryIsOneToo()
{
    QVERIFY(isDownloadDirectory(u"/"_s));
    QFile file;
    // By its full path below the root directory, which is no way out of it.
    QVERIFY(openDownload(file, u"/"_s, home->path(u"note"_s)));
    QVERIFY(QFile::exists(home->path(u"note"_s)));
}

QTEST_GUILESS_MAIN(tst_DownloadFile)
#include "tst_DownloadFile.moc"
