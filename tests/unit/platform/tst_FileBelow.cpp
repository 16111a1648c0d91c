// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/FileBelow.h"

#include "platform/posix/Beneath.h"
#include "platform/posix/Descriptor.h"
#include "support/Folders.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <memory>
#include <thread>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/// By the system's best means and by those of any system: both must keep the same rules.
enum class Way { System, Walk };

int openDescriptors()
{
    return static_cast<int>(
        QDir("/proc/self/fd").entryList(QDir::NoDotAndDotDot | QDir::Files | QDir::System).size());
}

} // namespace

Q_DECLARE_METATYPE(Way)

class tst_FileBelow : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void pathsLeadToFilesInside_data();
    void pathsLeadToFilesInside();
    void otherPathsAreRefused_data();
    void otherPathsAreRefused();
    void fortyLinksAreFollowed_data();
    void fortyLinksAreFollowed();
    void theWalkEntersSixtyFourDirectories();
    void whatChangesMeanwhileLeadsNowhereElse_data();
    void whatChangesMeanwhileLeadsNowhereElse();

    void theDirectoryMayBeALink();
    void aDirectoryThatIsNoneHoldsNothing();
    void aPipeIsRefusedWhetherReadOrNot();
    void aSocketIsRefused();
    void programsThatAreStartedDoNotGetTheFile();
    void aRefusalLeavesNothingOpen();

private:
    QString path(const QString &name) const { return base->filePath(name); }
    void link(const QString &target, const QString &name) const
    {
        QVERIFY(symlink(qPrintable(target), qPrintable(path(name))) == 0);
    }
    /// Opens below "received"; -1 when refused.
    int open(Way way, const QByteArray &name) const;

    std::unique_ptr<QTemporaryDir> base;
};

void tst_FileBelow::init()
{
    base = std::make_unique<QTemporaryDir>();
    for (const char *folder : {"received/sub/inner", "received/deep", "outside", "received-too"}) {
        QVERIFY(QDir().mkpath(path(folder)));
    }
    QVERIFY(Folders::write(path("received/old"), "old "));
    QVERIFY(Folders::write(path("outside/kept"), "kept"));
    QVERIFY(Folders::write(path("kept"), "kept"));
    link("sub", "received/in");
    link("in", "received/chain");
    link("../sub/inner", "received/deep/inner");
    link("../received/sub", "received/returning");
    link("../outside", "received/out");
    link(path("outside"), "received/far");
    link(path("received/sub"), "received/absolute");
    link("/sub", "received/rooted");
    link("old", "received/file");
    link("../outside/kept", "received/kept");
    link("../outside/none", "received/dangling");
    link("none", "received/dangling-inside");
    link("loop", "received/loop");
    link("two", "received/one");
    link("one", "received/two");
    link("..", "received/up");
    link("/proc/self/cwd", "received/magic");
    QCOMPARE(mkfifo(qPrintable(path("received/pipe")), 0600), 0);
}

void tst_FileBelow::cleanup()
{
    base.reset();
}

int tst_FileBelow::open(Way way, const QByteArray &name) const
{
    const QByteArray directory = QFile::encodeName(path("received"));
    if (way == Way::System) {
        return platform::openFileBelow(directory, name);
    }
    const Descriptor root(::open(directory.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return platform::openByWalking(root.get(), name);
}

// ---- Paths --------------------------------------------------------------------------------------

void tst_FileBelow::pathsLeadToFilesInside_data()
{
    QTest::addColumn<Way>("way");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("file");

    for (const auto &[way, title] : {std::pair{Way::System, "system"}, {Way::Walk, "walk"}}) {
        const auto row = [way = way, title = title](const QByteArray &name, const char *file) {
            QTest::addRow("%s: %s", title, name.constData()) << way << name << QString(file);
        };
        row("new", "new");
        row(".hidden", ".hidden");
        row("...", "...");
        row("..new", "..new");
        row(" a \"b\" ", " a \"b\" ");
        row("old", "old");
        row("sub/new", "sub/new");
        row("./sub/.//new", "sub/new");
        row("sub/../new", "new");
        row("sub/inner/../../new", "new");
        row("sub/../sub/inner/../new", "sub/new");
        row("in/new", "sub/new");
        row("chain/inner/new", "sub/inner/new");
        // Read as text these would name other files.
        row("in/../new", "new");
        row("deep/inner/../new", "sub/new");
        row("deep/inner/../../new", "new");
    }
}

void tst_FileBelow::pathsLeadToFilesInside()
{
    QFETCH(Way, way);
    QFETCH(QByteArray, name);
    QFETCH(QString, file);
    const auto before = Folders::listing(base->path());
    const QByteArray content = Folders::fileBytes(path("received/" + file));
    const Descriptor opened(open(way, name));
    QVERIFY(opened.isOpen());
    QCOMPARE(write(opened.get(), "bytes", 5), ssize_t(5));
    QCOMPARE(Folders::fileBytes(path("received/" + file)), content + "bytes");
    QCOMPARE(Folders::differences(before, Folders::listing(base->path())),
             QStringList{"received/" + file});
}

void tst_FileBelow::otherPathsAreRefused_data()
{
    QTest::addColumn<Way>("way");
    QTest::addColumn<QByteArray>("name");

    for (const auto &[way, title] : {std::pair{Way::System, "system"}, {Way::Walk, "walk"}}) {
        const auto row = [way = way, title = title](const QByteArray &name) {
            QTest::addRow("%s: '%s'", title, name.left(40).constData()) << way << name;
        };
        // No file's name.
        for (const char *name : {"", ".", "..", "./", "sub", "sub/", "sub/.", "sub/..", "in/",
                                 "new/", "new/.", "old/", "old/.", "up"}) {
            row(name);
        }
        // By ".." out of the directory, also if the way leads back.
        for (const char *name :
             {"../new", "../kept", "sub/../../new", "../received/new", "../received-too/new",
              "sub/../../received/new", "../../../../../../../../../../tmp/new"}) {
            row(name);
        }
        // Over links out of the directory.
        for (const char *name :
             {"out/new", "out/kept", "out/../kept", "out/../received/new", "far/new", "far/kept",
              "far/../kept", "in/../../kept", "up/new", "up/kept", "up/received/new",
              "returning/new", "absolute/new", "rooted/new", "deep/inner/../../../kept",
              "magic/new", "chain/../../kept"}) {
            row(name);
        }
        // A link, wherever it leads.
        for (const char *name : {"file", "kept", "dangling", "dangling-inside", "in", "out", "far",
                                 "loop", "sub/../file"}) {
            row(name);
        }
        // Over what is no directory.
        for (const char *name :
             {"missing/new", "missing/../new", "old/new", "old/../new", "file/new", "file/../new",
              "loop/new", "one/new", "pipe/new", "dangling/new"}) {
            row(name);
        }
        row("/new");
        row("/etc/new");
        row(QByteArray(300, 'n'));
        row(QByteArray(5000, 'n'));
        row(QByteArray("./").repeated(2047) + "ab");
    }
}

void tst_FileBelow::otherPathsAreRefused()
{
    QFETCH(Way, way);
    QFETCH(QByteArray, name);
    const auto before = Folders::listing(base->path());
    const Descriptor opened(open(way, name));
    QVERIFY(!opened.isOpen());
    QCOMPARE(Folders::differences(before, Folders::listing(base->path())), QStringList());
}

void tst_FileBelow::fortyLinksAreFollowed_data()
{
    QTest::addColumn<Way>("way");
    QTest::newRow("system") << Way::System;
    QTest::newRow("walk") << Way::Walk;
}

void tst_FileBelow::fortyLinksAreFollowed()
{
    QFETCH(Way, way);
    link("sub", "received/1");
    for (int number = 2; number <= 41; ++number) {
        link(QString::number(number - 1), QString("received/%1").arg(number));
    }
    QVERIFY(Descriptor(open(way, "40/new")).isOpen());
    QVERIFY(!Descriptor(open(way, "41/new")).isOpen());
    QVERIFY(QFile::exists(path("received/sub/new")));
}

void tst_FileBelow::theWalkEntersSixtyFourDirectories()
{
    const QString deep = QString("d/").repeated(65);
    QVERIFY(QDir().mkpath(path("received/" + deep)));
    QVERIFY(Descriptor(open(Way::Walk, deep.left(2 * 64).toLatin1() + "new")).isOpen());
    QVERIFY(!Descriptor(open(Way::Walk, deep.toLatin1() + "new")).isOpen());
    QVERIFY(Descriptor(open(Way::System, deep.toLatin1() + "new")).isOpen());
}

void tst_FileBelow::whatChangesMeanwhileLeadsNowhereElse_data()
{
    fortyLinksAreFollowed_data();
}

/// A directory and a link that leads out change places all the time.
void tst_FileBelow::whatChangesMeanwhileLeadsNowhereElse()
{
    QFETCH(Way, way);
    constexpr int attempts = 5000;
    const QByteArray one = QFile::encodeName(path("received/deep"));
    const QByteArray other = QFile::encodeName(path("received/out"));
    std::atomic_bool isOver = false;
    std::atomic_int exchanges = 0;
    std::thread exchanging([&] {
        while (!isOver) {
            exchanges += renameat2(AT_FDCWD, one.constData(), AT_FDCWD, other.constData(),
                                   RENAME_EXCHANGE) == 0;
        }
    });
    int opened = 0;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        opened += Descriptor(open(way, "sub/../deep/new")).isOpen();
        opened += Descriptor(open(way, "deep/kept")).isOpen();
    }
    isOver = true;
    exchanging.join();
    QVERIFY(exchanges > 0);
    QVERIFY(opened > 0);
    QCOMPARE(Folders::fileBytes(path("outside/kept")), QByteArray("kept"));
    QVERIFY(!QFile::exists(path("outside/new")));
}

// ---- What is there ------------------------------------------------------------------------------

void tst_FileBelow::theDirectoryMayBeALink()
{
    link("received", "elsewhere");
    const Descriptor opened(platform::openFileBelow(QFile::encodeName(path("elsewhere")), "new"));
    QVERIFY(opened.isOpen());
    QVERIFY(QFile::exists(path("received/new")));
}

void tst_FileBelow::aDirectoryThatIsNoneHoldsNothing()
{
    for (const char *name : {"missing", "kept", "received/pipe", "received/dangling"}) {
        QCOMPARE(platform::openFileBelow(QFile::encodeName(path(name)), "new"), -1);
    }
    QCOMPARE(platform::openFileBelow(QByteArray(), "new"), -1);
    QVERIFY(!QFile::exists(path("missing")));
}

void tst_FileBelow::aPipeIsRefusedWhetherReadOrNot()
{
    QCOMPARE(open(Way::System, "pipe"), -1);
    QCOMPARE(open(Way::System, "in/../pipe"), -1);
    const Descriptor reader(
        ::open(qPrintable(path("received/pipe")), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    QVERIFY(reader.isOpen());
    QCOMPARE(open(Way::System, "pipe"), -1);
    QCOMPARE(open(Way::System, "in/../pipe"), -1);
    char byte = 0;
    QCOMPARE(read(reader.get(), &byte, 1), ssize_t(0));
}

void tst_FileBelow::aSocketIsRefused()
{
    const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, qPrintable(path("received/socket")), sizeof address.sun_path);
    QCOMPARE(bind(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    QCOMPARE(open(Way::System, "socket"), -1);
}

void tst_FileBelow::programsThatAreStartedDoNotGetTheFile()
{
    for (const Way way : {Way::System, Way::Walk}) {
        const Descriptor opened(open(way, "new"));
        QVERIFY(fcntl(opened.get(), F_GETFD) & FD_CLOEXEC);
    }
}

void tst_FileBelow::aRefusalLeavesNothingOpen()
{
    const int before = openDescriptors();
    {
        const Descriptor opened(open(Way::System, "sub/inner/new"));
        QCOMPARE(openDescriptors(), before + 1);
    }
    const Descriptor reader(
        ::open(qPrintable(path("received/pipe")), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    for (const char *name :
         {"../new", "out/new", "sub/inner/../../pipe", "file", "sub/missing/x"}) {
        QCOMPARE(open(Way::System, name), -1);
        const Descriptor walked(open(Way::Walk, name));
        QVERIFY(!walked.isOpen() || QByteArray(name).endsWith("pipe"));
    }
    QCOMPARE(openDescriptors(), before + 1);
}

QTEST_GUILESS_MAIN(tst_FileBelow)
#include "tst_FileBelow.moc"
