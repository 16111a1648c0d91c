// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/FileBelow.h"

#include "platform/posix/ComponentWalk.h"
#include "platform/posix/Descriptor.h"
#include "support/Folders.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// Opens by the system's best means and by those of any system: both must follow the same rules.
enum class Way { System, Walk };

int openDescriptors()
{
    return static_cast<int>(QDir(u"/proc/self/fd"_s)
                                .entryList(QDir::NoDotAndDotDot | QDir::Files | QDir::System)
                                .size());
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
        QVERIFY(QDir().mkpath(path(QLatin1StringView(folder))));
    }
    QVERIFY(Folders::write(path(u"received/old"_s), "old "));
    QVERIFY(Folders::write(path(u"outside/kept"_s), "kept"));
    QVERIFY(Folders::write(path(u"kept"_s), "kept"));
    link(u"sub"_s, u"received/in"_s);
    link(u"in"_s, u"received/chain"_s);
    link(u"../sub/inner"_s, u"received/deep/inner"_s);
    link(u"../received/sub"_s, u"received/returning"_s);
    link(u"../outside"_s, u"received/out"_s);
    link(path(u"outside"_s), u"received/far"_s);
    link(path(u"received/sub"_s), u"received/absolute"_s);
    link(u"/sub"_s, u"received/rooted"_s);
    link(u"old"_s, u"received/file"_s);
    link(u"../outside/kept"_s, u"received/kept"_s);
    link(u"../outside/none"_s, u"received/dangling"_s);
    link(u"none"_s, u"received/dangling-inside"_s);
    link(u"loop"_s, u"received/loop"_s);
    link(u"two"_s, u"received/one"_s);
    link(u"one"_s, u"received/two"_s);
    link(u".."_s, u"received/up"_s);
    link(u"/proc/self/cwd"_s, u"received/magic"_s);
    QCOMPARE(mkfifo(qPrintable(path(u"received/pipe"_s)), 0600), 0);
}

void tst_FileBelow::cleanup()
{
    base.reset();
}

int tst_FileBelow::open(Way way, const QByteArray &name) const
{
    const QByteArray directory = QFile::encodeName(path(u"received"_s));
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
            QTest::addRow("%s: %s", title, name.constData())
                << way << name << QString::fromLatin1(file);
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
        // Read as text, these would name other files.
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
    const QByteArray content = Folders::fileBytes(path(u"received/"_s + file));
    const Descriptor opened(open(way, name));
    QVERIFY(opened.isOpen());
    QCOMPARE(write(opened.get(), "bytes", 5), ssize_t(5));
    QCOMPARE(Folders::fileBytes(path(u"received/"_s + file)), content + "bytes");
    QCOMPARE(Folders::differences(before, Folders::listing(base->path())),
             QStringList{u"received/"_s + file});
}

void tst_FileBelow::otherPathsAreRefused_data()
{
    QTest::addColumn<Way>("way");
    QTest::addColumn<QByteArray>("name");

    for (const auto &[way, title] : {std::pair{Way::System, "system"}, {Way::Walk, "walk"}}) {
        const auto row = [way = way, title = title](const QByteArray &name) {
            QTest::addRow("%s: '%s'", title, name.left(40).constData()) << way << name;
        };
        // Not the name of a file.
        for (const char *name : {"", ".", "..", "./", "sub", "sub/", "sub/.", "sub/..", "in/",
                                 "new/", "new/.", "old/", "old/.", "up"}) {
            row(name);
        }
        // Out of the directory by "..", even if the path leads back.
        for (const char *name :
             {"../new", "../kept", "sub/../../new", "../received/new", "../received-too/new",
              "sub/../../received/new", "../../../../../../../../../../tmp/new"}) {
            row(name);
        }
        // Out of the directory by links.
        for (const char *name :
             {"out/new", "out/kept", "out/../kept", "out/../received/new", "far/new", "far/kept",
              "far/../kept", "in/../../kept", "up/new", "up/kept", "up/received/new",
              "returning/new", "absolute/new", "rooted/new", "deep/inner/../../../kept",
              "magic/new", "chain/../../kept"}) {
            row(name);
        }
        // The file itself is a link, wherever it leads.
        for (const char *name : {"file", "kept", "dangling", "dangling-inside", "in", "out", "far",
                                 "loop", "sub/../file"}) {
            row(name);
        }
        // Through something that is not a directory.
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
    link(u"sub"_s, u"received/1"_s);
    for (int number = 2; number <= 41; ++number) {
        link(QString::number(number - 1), u"received/%1"_s.arg(number));
    }
    QVERIFY(Descriptor(open(way, "40/new")).isOpen());
    QVERIFY(!Descriptor(open(way, "41/new")).isOpen());
    QVERIFY(QFile::exists(path(u"received/sub/new"_s)));
}

void tst_FileBelow::theWalkEntersSixtyFourDirectories()
{
    const QString deep = u"d/"_s.repeated(65);
    QVERIFY(QDir().mkpath(path(u"received/"_s + deep)));
    QVERIFY(Descriptor(open(Way::Walk, deep.left(2 * 64).toLatin1() + "new")).isOpen());
    QVERIFY(!Descriptor(open(Way::Walk, deep.toLatin1() + "new")).isOpen());
    QVERIFY(Descriptor(open(Way::System, deep.toLatin1() + "new")).isOpen());
}

void tst_FileBelow::whatChangesMeanwhileLeadsNowhereElse_data()
{
    fortyLinksAreFollowed_data();
}

/// A directory and a link that leads out are exchanged all the time.
void tst_FileBelow::whatChangesMeanwhileLeadsNowhereElse()
{
    QFETCH(Way, way);
    constexpr int attempts = 5000;
    const QByteArray one = QFile::encodeName(path(u"received/deep"_s));
    const QByteArray other = QFile::encodeName(path(u"received/out"_s));
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
    QCOMPARE(Folders::fileBytes(path(u"outside/kept"_s)), QByteArray("kept"));
    QVERIFY(!QFile::exists(path(u"outside/new"_s)));
}

// ---- What is there ------------------------------------------------------------------------------

void tst_FileBelow::theDirectoryMayBeALink()
{
    link(u"received"_s, u"elsewhere"_s);
    const Descriptor opened(
        platform::openFileBelow(QFile::encodeName(path(u"elsewhere"_s)), "new"));
    QVERIFY(opened.isOpen());
    QVERIFY(QFile::exists(path(u"received/new"_s)));
}

void tst_FileBelow::aDirectoryThatIsNoneHoldsNothing()
{
    for (const char *name : {"missing", "kept", "received/pipe", "received/dangling"}) {
        QCOMPARE(platform::openFileBelow(QFile::encodeName(path(QLatin1StringView(name))), "new"),
                 -1);
    }
    QCOMPARE(platform::openFileBelow(QByteArray(), "new"), -1);
    QVERIFY(!QFile::exists(path(u"missing"_s)));
}

void tst_FileBelow::aPipeIsRefusedWhetherReadOrNot()
{
    QCOMPARE(open(Way::System, "pipe"), -1);
    QCOMPARE(open(Way::System, "in/../pipe"), -1);
    const Descriptor reader(
        ::open(qPrintable(path(u"received/pipe"_s)), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
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
    qstrncpy(address.sun_path, qPrintable(path(u"received/socket"_s)), sizeof address.sun_path);
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
        ::open(qPrintable(path(u"received/pipe"_s)), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
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
