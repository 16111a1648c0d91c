// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/ConnectionKeeper.h"

#include "support/Waiting.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace quillmote;

using namespace std::chrono_literals;

namespace {

/// A connection without a server, whose client's end can be given away.
class KeptConnection
{
public:
    KeptConnection()
    {
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0) {
            server = ends[0];
            ConnectionKeeper::keep(ends[1]);
            close(ends[1]);
        }
    }
    ~KeptConnection() { close(server); }
    KeptConnection(const KeptConnection &) = delete;
    KeptConnection &operator=(const KeptConnection &) = delete;

    /// Whether the client's end is open.
    bool isOpen() const
    {
        struct pollfd event
        {
            server, POLLIN, 0
        };
        return poll(&event, 1, 0) == 0;
    }

    int server = -1;
};

/// Waits for children that have ended. False while others are still running.
bool areAllChildrenGone()
{
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    return waitpid(-1, nullptr, WNOHANG) == -1;
}

} // namespace

class tst_ConnectionKeeper : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theConnectionStaysOpenForFiveSeconds();
    void aServerThatLeavesEndsIt();
    void whatAServerSendsDoesNotEndIt();
    void theNextOneEndsTheEarlier();
    void ofSeveralAtOnceNoneOutlivesItsTime();
    void nothingOfTheCallerIsHeldOpen();
    void itBelongsToNoSessionOfTheCaller();
    void withoutARuntimeDirectoryNothingIsKept();
    void aLinkInPlaceOfTheLockIsNotFollowed();

private:
    std::unique_ptr<QTemporaryDir> runtime;
};

void tst_ConnectionKeeper::init()
{
    runtime = std::make_unique<QTemporaryDir>();
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime->path()));
}

void tst_ConnectionKeeper::cleanup()
{
    ConnectionKeeper::endEarlier();
    QVERIFY(waitUntil(areAllChildrenGone));
}

void tst_ConnectionKeeper::theConnectionStaysOpenForFiveSeconds()
{
    QElapsedTimer timer;
    timer.start();
    const KeptConnection connection;
    QVERIFY(waitUntil([&] { return !connection.isOpen(); }));
    QVERIFY2(timer.elapsed() > 4'500, qPrintable(QString::number(timer.elapsed())));
    QVERIFY2(timer.elapsed() < 7'000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(waitUntil(areAllChildrenGone, 1s));
}

void tst_ConnectionKeeper::aServerThatLeavesEndsIt()
{
    {
        const KeptConnection connection;
        QVERIFY(connection.isOpen());
    }
    QVERIFY(waitUntil(areAllChildrenGone, 2s));
}

void tst_ConnectionKeeper::whatAServerSendsDoesNotEndIt()
{
    const KeptConnection connection;
    QCOMPARE(write(connection.server, "late", 4), ssize_t(4));
    QTest::qWait(500);
    QVERIFY(connection.isOpen());
    QVERIFY(!areAllChildrenGone());
}

void tst_ConnectionKeeper::theNextOneEndsTheEarlier()
{
    const KeptConnection first;
    QVERIFY(waitUntil([&] { return QFile::exists(runtime->filePath(u"quillmote-keeper"_s)); }));
    QTest::qWait(100);
    QVERIFY(first.isOpen());
    ConnectionKeeper::endEarlier();
    QVERIFY2(!first.isOpen(), "it is gone when the call returns");
    const KeptConnection second;
    QTest::qWait(200);
    QVERIFY(second.isOpen());
}

void tst_ConnectionKeeper::ofSeveralAtOnceNoneOutlivesItsTime()
{
    QElapsedTimer timer;
    timer.start();
    const std::array<KeptConnection, 5> connections;
    QVERIFY(waitUntil(areAllChildrenGone));
    QVERIFY2(timer.elapsed() < 7'000, qPrintable(QString::number(timer.elapsed())));
    for (const KeptConnection &connection : connections) {
        QVERIFY(!connection.isOpen());
    }
}

void tst_ConnectionKeeper::nothingOfTheCallerIsHeldOpen()
{
    // One like that of a reader of the output, and one with a high number.
    std::array<int, 2> pipeEnds{};
    QCOMPARE(pipe(pipeEnds.data()), 0);
    const int high = fcntl(pipeEnds[1], F_DUPFD, 900);
    const KeptConnection connection;
    close(pipeEnds[1]);
    close(high);
    struct pollfd event
    {
        pipeEnds[0], POLLIN, 0
    };
    QCOMPARE(poll(&event, 1, 1'000), 1);
    QVERIFY(event.revents & POLLHUP);
    QVERIFY(connection.isOpen());
    close(pipeEnds[0]);
}

void tst_ConnectionKeeper::itBelongsToNoSessionOfTheCaller()
{
    const KeptConnection connection;
    QVERIFY(waitUntil([&] { return QFile::exists(runtime->filePath(u"quillmote-keeper"_s)); }));
    QFile children(u"/proc/self/task/%1/children"_s.arg(gettid()));
    QVERIFY(children.open(QIODevice::ReadOnly));
    const pid_t keeper = children.readAll().trimmed().toInt();
    QVERIFY(keeper > 0);
    QVERIFY(waitUntil([&] { return getsid(keeper) == keeper && getpgid(keeper) == keeper; }));
    QCOMPARE(QFile::symLinkTarget(u"/proc/%1/cwd"_s.arg(keeper)), u"/"_s);
}

void tst_ConnectionKeeper::withoutARuntimeDirectoryNothingIsKept()
{
    for (const char *folder : {"", "relative", "/nonexistent"}) {
        qputenv("XDG_RUNTIME_DIR", folder);
        const KeptConnection connection;
        QVERIFY(waitUntil([&] { return !connection.isOpen(); }, 2s));
        ConnectionKeeper::endEarlier();
    }
}

void tst_ConnectionKeeper::aLinkInPlaceOfTheLockIsNotFollowed()
{
    const QString target = runtime->filePath(u"target"_s);
    QVERIFY(QFile::link(target, runtime->filePath(u"quillmote-keeper"_s)));
    const KeptConnection connection;
    QVERIFY(waitUntil([&] { return !connection.isOpen(); }, 2s));
    QVERIFY(!QFile::exists(target));
}

QTEST_GUILESS_MAIN(tst_ConnectionKeeper)
#include "tst_ConnectionKeeper.moc"
