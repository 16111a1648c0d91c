// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Attacks the server over its own port, without a pause, and prints how other clients fared, as
// rows of a table: attack, promise, measurement, and whether the promise held.
//
// Needs VORNA_SERVER (the server's executable). The argument, from 1 to 100, is the percentage of
// the load; the default is 100. With names after it, only these attacks are run. Exits with status
// 1 if a promise was broken.

#include "LoadTable.h"
#include "ServerBench.h"
#include "support/process/ProcessMemory.h"
#include "support/protocol/Asker.h"
#include "support/session/ClipboardOwner.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <algorithm>
#include <map>
#include <vector>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

namespace {

constexpr qint64 Mebibyte = 1024 * 1024;

/// A server on its own desktop, and the memory that it takes from here on.
class Target
{
public:
    /// Sessions usually start programs with 1,024 descriptors.
    explicit Target(const QString &downloadFolder = u"/nonexistent"_s, rlim_t descriptors = 1024)
        : victim(downloadFolder)
    {
        victim.start([descriptors] {
            rlimit limit{};
            getrlimit(RLIMIT_NOFILE, &limit);
            limit.rlim_cur = descriptors;
            if (setrlimit(RLIMIT_NOFILE, &limit) != 0) {
                _exit(1);
            }
        });
        ServerBench::require(ProcessMemory::forgetPeak(victim.processId()), "the peak of memory");
        memoryBefore = ProcessMemory::resident(victim.processId());
    }

    ServerBench &bench() { return victim; }
    quint16 port() const { return victim.port(); }
    /// The largest growth of memory, in MiB.
    qint64 growth() const
    {
        return (ProcessMemory::peak(victim.processId()) - memoryBefore) / Mebibyte;
    }
    /// How long a new device waits for its first answer, in milliseconds; -1 if none comes.
    qint64 timeToServe() const
    {
        QElapsedTimer time;
        time.start();
        Handheld handheld(port());
        return handheld.isServed(60s) ? time.elapsed() : -1;
    }

private:
    ServerBench victim;
    qint64 memoryBefore = 0;
};

QString inMilliseconds(double time)
{
    return QString::number(time, 'f', 1) + u" ms"_s;
}

/// A plain connection; -1 if it fails. All addresses of the loopback network work alike, and each
/// has its own ports.
int connectTo(quint16 port, int addressNumber = 1)
{
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK - 1 + in_addr_t(addressNumber));
    const auto *target = reinterpret_cast<const sockaddr *>(&address);
    if (connect(descriptor, target, sizeof address) != 0) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

/// Threads that do the same over and over, until it is destroyed.
class Attackers
{
public:
    template <typename Deed> Attackers(int count, Deed deed)
    {
        for (int i = 0; i < count; ++i) {
            threads.emplace_back([this, deed] {
                while (!isOver) {
                    deed();
                    ++deeds;
                }
            });
        }
    }
    ~Attackers() { stop(); }
    Attackers(const Attackers &) = delete;
    Attackers &operator=(const Attackers &) = delete;

    /// How often it was done in all.
    qint64 stop()
    {
        isOver = true;
        for (std::thread &thread : threads) {
            if (thread.joinable()) {
                thread.join();
            }
        }
        return deeds;
    }

private:
    std::atomic_bool isOver = false;
    std::atomic<qint64> deeds = 0;
    std::vector<std::thread> threads;
};

void storm(const QString &kind, std::chrono::microseconds pace, int attackers)
{
    Target target;
    Asker asker(target.port(), 10ms);
    const int seconds = LoadTable::scaled(10);
    Attackers storm(attackers, [port = target.port(), pace] {
        close(connectTo(port));
        std::this_thread::sleep_for(pace);
    });
    QTest::qWait(seconds * 1000);
    const qint64 count = storm.stop();
    const qint64 afterwards = target.timeToServe();
    const Sample times = asker.stop();
    LoadTable::report(u"connecting and leaving, %1, for %2 s"_s.arg(kind).arg(seconds),
                      u"another's answer within 100 ms (99th percentile)"_s,
                      u"%1 a second; median %2, 99th percentile %3, longest %4; a new device is "
                      "answered %5 ms after the end"_s.arg(count / seconds)
                          .arg(inMilliseconds(times.median()), inMilliseconds(times.atShare(0.99)),
                               inMilliseconds(times.atShare(1)))
                          .arg(afterwards),
                      asker.isServed() && times.atShare(0.99) < 100 && afterwards >= 0 &&
                          afterwards < 2000);
}

void storms()
{
    storm(u"500 times a second"_s, 2ms, 1);
    storm(u"without a pause"_s, 0us, 1);
    storm(u"four at once"_s, 0us, 4);
}

/// Each stores 14 MB and then asks for all of it again and again.
void stores()
{
    Target target;
    Asker asker(target.port(), 10ms);
    const int count = LoadTable::scaled(40);
    std::atomic<int> ended = 0;
    std::vector<std::thread> greedy;
    const int seconds = LoadTable::scaled(30);
    greedy.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        greedy.emplace_back([&, port = target.port()] {
            Handheld device(port);
            bool isConnected = true;
            for (int number = 0; isConnected && number < 280; ++number) {
                isConnected = device.send("{ k" + QByteArray::number(number) + " = " +
                                          QByteArray(50'000, 'v') + "; }");
                // The server should be busy, not this process on the same machine.
                std::this_thread::sleep_for(10ms);
            }
            QElapsedTimer time;
            time.start();
            while (isConnected && time.elapsed() < seconds * 1000) {
                isConnected = device.send(serverInfo(), 20s);
                isConnected = isConnected && device.throwUnreadAway();
                std::this_thread::sleep_for(2ms);
            }
            ended += !isConnected;
        });
    }
    for (std::thread &thread : greedy) {
        thread.join();
    }
    const Sample times = asker.stop();
    LoadTable::report(
        u"%1 devices store 14 MB each and ask for it"_s.arg(count),
        u"those that hold most are disconnected past 256 MiB in all; another's "
        "answer within 20 ms (99th percentile)"_s,
        u"%1 disconnected, memory %2 MiB more at most; 99th percentile %3, longest %4"_s
            .arg(ended.load())
            .arg(target.growth())
            .arg(inMilliseconds(times.atShare(0.99)), inMilliseconds(times.atShare(1))),
        asker.isServed() && target.growth() < 512 && times.atShare(0.99) < 20);
}

void clipboard(qint64 size, int devices)
{
    Target target;
    const ClipboardOwner owner(target.bench().session(), QByteArray(size, 'x'));
    Asker asker(target.port(), 10ms);
    std::vector<std::unique_ptr<Handheld>> waiting;
    waiting.reserve(static_cast<size_t>(devices));
    for (int i = 0; i < devices; ++i) {
        waiting.push_back(std::make_unique<Handheld>(target.port()));
    }
    for (const auto &device : waiting) {
        device->send("{ cmdType = SERVER_CLIPBOARD_REQUEST; }");
    }
    std::map<QString, int> responses;
    for (const auto &device : waiting) {
        ++responses
            [device->answer(60s).value_or(QVariantMap()).value(u"serverResponse"_s).toString()];
    }
    const Sample times = asker.stop();
    const bool fits = size <= 16 * Mebibyte;
    LoadTable::report(
        u"%1 devices ask for a clipboard of %2 MiB"_s.arg(devices).arg(size / Mebibyte),
        fits ? u"the text is in memory once; another's answer within 20 ms (99th "
               "percentile)"_s
             : u"all are answered ERROR; another's answer within 20 ms (99th "
               "percentile)"_s,
        u"%1 OK, %2 ERROR, memory %3 MiB more at most; others' 99th percentile %4, "
        "longest %5"_s.arg(responses[u"OK"_s])
            .arg(responses[u"ERROR"_s])
            .arg(target.growth())
            .arg(inMilliseconds(times.atShare(0.99)), inMilliseconds(times.atShare(1))),
        responses[fits ? u"OK"_s : u"ERROR"_s] == devices && target.growth() < 200 &&
            times.atShare(0.99) < 20);
}

void clipboards()
{
    clipboard(15 * Mebibyte, 25);
    clipboard(500 * Mebibyte, 5);
}

void descriptors()
{
    QTemporaryDir folder;
    Target target(folder.path());
    std::vector<std::unique_ptr<Handheld>> crowd;
    const size_t count = size_t(LoadTable::scaled(8'300));
    while (crowd.size() < count) {
        crowd.push_back(std::make_unique<Handheld>(target.port()));
    }
    int served = 0;
    while (served < int(crowd.size()) && crowd[size_t(served)]->isServed(2s)) {
        ++served;
    }
    int answered = 0;
    for (int i = 1; i <= std::min(served - 1, 200); ++i) {
        answered += crowd[size_t(i)]
                        ->ask("{ cmdType = FILE_TRANSFER_AND_OPEN; cmdParameters = (f" +
                              QByteArray::number(i) + ", 1000000); }")
                        .has_value();
    }
    const bool isServed = crowd.front()->isServed();
    const auto files = QDir(folder.path()).entryList(QDir::Files).size();
    const int open = target.bench().openDescriptors();
    QElapsedTimer time;
    time.start();
    const std::optional<int> status = target.bench().end();
    LoadTable::report(u"%1 connections, then 200 files"_s.arg(count),
                      u"descriptors are left for the desktop, the server goes on and "
                      "ends in order"_s,
                      u"%1 served, %2 files open, %3 descriptors; ended in %4 ms"_s.arg(served)
                          .arg(files)
                          .arg(open)
                          .arg(time.elapsed()),
                      isServed && answered == std::min(served - 1, 200) && status == 0);
}

/// As many as the system lets a process have descriptors, 65,000 at most.
void manyConnections()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const int count = LoadTable::scaled(int(std::min<rlim_t>(65'000, limit.rlim_max - 500)));
    Target target(u"/nonexistent"_s, limit.rlim_max);
    Asker asker(target.port(), 10ms);
    QElapsedTimer time;
    time.start();
    std::vector<int> crowd;
    crowd.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        crowd.push_back(connectTo(target.port(), 2 + i / 20'000));
    }
    const auto made = std::count_if(crowd.begin(), crowd.end(), [](int one) { return one >= 0; });
    const bool areAllThere =
        waitUntil([&] { return target.bench().openDescriptors() > made; }, 60s);
    const qint64 taken = time.elapsed();
    const qint64 growth = target.growth();
    for (const int descriptor : crowd) {
        close(descriptor);
    }
    const bool haveAllGone =
        waitUntil([&] { return target.bench().openDescriptors() < 100; }, 120s);
    const Sample times = asker.stop();
    LoadTable::report(
        u"%1 connections, with the limit raised"_s.arg(count),
        u"all are taken, and others served"_s,
        u"%1 made in %2 s, memory %3 MiB more at most; others' 99th "
        "percentile %4, longest %5"_s.arg(made)
            .arg(double(taken) / 1000, 0, 'f', 1)
            .arg(growth)
            .arg(inMilliseconds(times.atShare(0.99)), inMilliseconds(times.atShare(1))),
        asker.isServed() && areAllThere && haveAllGone && made == count);
}

/// Peers that disappear: their system forgets the connection.
void halfOpen()
{
    Target target;
    const int count = LoadTable::scaled(5'000);
    const int before = target.bench().openDescriptors();
    for (int i = 0; i < count; ++i) {
        const int descriptor = connectTo(target.port());
        const int on = 1;
        ServerBench::require(setsockopt(descriptor, IPPROTO_TCP, TCP_REPAIR, &on, sizeof on) == 0,
                             "a connection that can be forgotten");
        close(descriptor);
    }
    // Once a later one is served, all have been accepted.
    ServerBench::require(target.timeToServe() >= 0, "an answer");
    QElapsedTimer time;
    time.start();
    Asker asker(target.port(), 10ms);
    // The balloons need a few descriptors for a while.
    const bool haveAllGone =
        waitUntil([&] { return target.bench().openDescriptors() <= before + 10; }, 60s);
    const Sample times = asker.stop();
    LoadTable::report(
        u"%1 peers that are lost without a word"_s.arg(count),
        u"noticed within 40 s, and others served"_s,
        u"all gone after %1 s; others' 99th percentile %2, longest %3"_s
            .arg(double(time.elapsed()) / 1000, 0, 'f', 1)
            .arg(inMilliseconds(times.atShare(0.99)), inMilliseconds(times.atShare(1))),
        asker.isServed() && haveAllGone && time.elapsed() < 40'000);
}

void slowPeers()
{
    Target target;
    const int count = LoadTable::scaled(2'000);
    std::vector<int> crowd;
    crowd.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        crowd.push_back(connectTo(target.port()));
    }
    Asker asker(target.port(), 10ms);
    const int seconds = LoadTable::scaled(20);
    const QByteArray token = serverInfo();
    for (int second = 0; second < seconds; ++second) {
        for (const int descriptor : crowd) {
            ServerBench::require(
                ::send(descriptor, token.constData() + second % token.size(), 1, MSG_NOSIGNAL) == 1,
                "a byte sent");
        }
        QTest::qWait(1000);
    }
    const Sample times = asker.stop();
    LoadTable::report(
        u"%1 peers that send a byte a second, for %2 s"_s.arg(count).arg(seconds),
        u"another's answer within 100 ms (99th percentile)"_s,
        u"99th percentile %1, longest %2; memory %3 MiB more at most"_s
            .arg(inMilliseconds(times.atShare(0.99)), inMilliseconds(times.atShare(1)))
            .arg(target.growth()),
        asker.isServed() && times.atShare(0.99) < 100);
    for (const int descriptor : crowd) {
        close(descriptor);
    }
}

void pairings()
{
    Target target;
    const int count = LoadTable::scaled(5'000);
    Handheld handheld(target.port());
    int accepted = 0;
    for (int i = 0; i < count; ++i) {
        const QByteArray identifier = QByteArray::number(i) + QByteArray(50'000, 'i');
        accepted += handheld.send("{ cmdType = SERVER_PAIR; cmdParameters = (" + identifier +
                                  ", name); }") &&
                    handheld.answer().has_value();
    }
    const qint64 growth = target.growth();
    QElapsedTimer time;
    time.start();
    const std::optional<int> status = target.bench().end();
    const qint64 size = QFileInfo(target.bench().session().settingsFile()).size() / 1024;
    LoadTable::report(
        u"%1 pairings with identifiers of 50 kB"_s.arg(count),
        u"all are accepted, none is remembered"_s,
        u"%1 accepted, memory %2 MiB more at most, settings of %3 KiB, ended in %4 ms"_s
            .arg(accepted)
            .arg(growth)
            .arg(size)
            .arg(time.elapsed()),
        accepted == count && status == 0 && growth < 50 && size < 100 && time.elapsed() < 2000);
}

const std::map<QByteArray, void (*)()> attacks = {
    {"storms", storms},         {"stores", stores},
    {"clipboards", clipboards}, {"descriptors", descriptors},
    {"half-open", halfOpen},    {"slow", slowPeers},
    {"pairings", pairings},     {"connections", manyConnections},
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    LoadTable::takeShare(argc, argv);
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    const QByteArrayList named(argv + std::min(argc, 2), argv + argc);
    const int status = ServerBench::run([&] {
        for (const auto &[name, attack] : attacks) {
            if (named.isEmpty() || named.contains(name)) {
                attack();
            }
        }
    });
    return status != 0 || !LoadTable::haveAllHeld() ? 1 : 0;
}
