// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "net/DownloadPath.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

class tst_DownloadPath : public QObject
{
    Q_OBJECT

private slots:
    void namesAreConfinedToTheDirectory_data();
    void namesAreConfinedToTheDirectory();
    void everythingLiesBelowTheRootDirectory();
    void aRelativeDirectoryIsTakenFromTheWorkingDirectory();
    void anExistingFileIsAllowed();
    void whatIsNoFileIsRefused();
    void aLinkIsWhatItPointsTo();
};

void tst_DownloadPath::namesAreConfinedToTheDirectory_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isAllowed");

    QTest::newRow("plain name") << "photo.jpg" << true;
    QTest::newRow("leading dot") << ".hidden" << true;
    QTest::newRow("three dots are a name") << "..." << true;
    QTest::newRow("name that begins with two dots") << "..photo" << true;
    QTest::newRow("blanks and quotes") << " a \"b\" " << true;
    QTest::newRow("subdirectory") << "sub/photo.jpg" << true;
    QTest::newRow("absolute name stays below") << "/etc/passwd" << true;
    QTest::newRow("out of and back into a subdirectory") << "sub/../photo.jpg" << true;
    QTest::newRow("out of and back into the directory itself") << "../downloads/photo.jpg" << true;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("the directory itself") << "." << false;
    QTest::newRow("the directory itself by way of a subdirectory") << "sub/.." << false;
    QTest::newRow("parent") << ".." << false;
    QTest::newRow("file of the parent") << "../photo.jpg" << false;
    QTest::newRow("file of the parent by way of a subdirectory") << "sub/../../photo.jpg" << false;
    QTest::newRow("sibling with the same beginning") << "../downloads2/photo.jpg" << false;
    QTest::newRow("far up") << "../../../../../../../../../../etc/passwd" << false;
    QTest::newRow("slashes in a row") << "..//..///photo.jpg" << false;
}

void tst_DownloadPath::namesAreConfinedToTheDirectory()
{
    QFETCH(QString, name);
    QTEST(isAllowedDownloadPath("/nonexistent/downloads/" + name, "/nonexistent/downloads"),
          "isAllowed");
    QTEST(isAllowedDownloadPath("/nonexistent/downloads//" + name, "/nonexistent/downloads/"),
          "isAllowed");
}

void tst_DownloadPath::everythingLiesBelowTheRootDirectory()
{
    QVERIFY(isAllowedDownloadPath("//nonexistent", "/"));
    QVERIFY(isAllowedDownloadPath("//../nonexistent", "/"));
    QVERIFY(!isAllowedDownloadPath("//", "/"));
}

void tst_DownloadPath::aRelativeDirectoryIsTakenFromTheWorkingDirectory()
{
    const QTemporaryDir directory;
    const QString before = QDir::currentPath();
    QDir::setCurrent(directory.path());
    const bool inside = isAllowedDownloadPath("received/photo.jpg", "received");
    const bool outside = isAllowedDownloadPath("received/../photo.jpg", "received");
    // What the settings hold as an empty text stands for the working directory.
    const bool besides = isAllowedDownloadPath("/photo.jpg", "");
    QDir::setCurrent(before);
    QVERIFY(inside);
    QVERIFY(!outside);
    QVERIFY(!besides);
}

void tst_DownloadPath::anExistingFileIsAllowed()
{
    const QTemporaryDir directory;
    QFile file(directory.filePath("there"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(isAllowedDownloadPath(file.fileName(), directory.path()));
}

void tst_DownloadPath::whatIsNoFileIsRefused()
{
    const QTemporaryDir directory;
    QVERIFY(QDir(directory.path()).mkdir("sub"));
    QVERIFY(!isAllowedDownloadPath(directory.filePath("sub"), directory.path()));
    const QString pipe = directory.filePath("pipe");
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QVERIFY(!isAllowedDownloadPath(pipe, directory.path()));
}

void tst_DownloadPath::aLinkIsWhatItPointsTo()
{
    const QTemporaryDir directory;
    const QTemporaryDir elsewhere;
    QFile target(elsewhere.filePath("target"));
    QVERIFY(target.open(QIODevice::WriteOnly));
    // The user made the link, so the user wants it.
    QVERIFY(QFile::link(target.fileName(), directory.filePath("file")));
    QVERIFY(isAllowedDownloadPath(directory.filePath("file"), directory.path()));
    QVERIFY(QFile::link("/dev/full", directory.filePath("device")));
    QVERIFY(!isAllowedDownloadPath(directory.filePath("device"), directory.path()));
}

QTEST_GUILESS_MAIN(tst_DownloadPath)
#include "tst_DownloadPath.moc"
