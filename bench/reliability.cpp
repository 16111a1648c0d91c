// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Puts extreme load on the server and prints the results as rows of a table: load, promise,
// measurement, and whether the promise held.
//
// Needs VORNA_SERVER (the server's executable). The argument, from 1 to 100, is the percentage of
// the load; the default is 100. Exits with status 1 if a promise was broken.

#include "LoadTable.h"
#include "ServerBench.h"
#include "support/process/ProcessMemory.h"
#include "support/protocol/Asker.h"
#include "support/protocol/Flooder.h"
#include "support/x11/InputWatcher.h"

#include "platform/DescriptorLimit.h"

#include <QElapsedTimer>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

namespace {

constexpr qint64 Kibibyte = 1024;
constexpr qint64 Mebibyte = 1024 * Kibibyte;

int scaled(int whole)
{
    return LoadTable::scaled(whole);
}

void report(const QString &load, const QString &promised, const QString &measured, bool hasHeld)
{
    LoadTable::report(load, promised, measured, hasHeld);
}

/// A new server for each load, and a check of the display afterwards.
class LoadedServer
{
public:
    LoadedServer() : bench(u"/nonexistent"_s) { bench.start(); }
    ~LoadedServer()
    {
        InputWatcher watcher(bench.session().display());
        if (!watcher.isConnected() || !waitUntil([&] { return watcher.isNothingHeld(); })) {
            report(u"(afterwards)"_s, u"no key is down"_s, u"one is"_s, false);
        }
    }
    LoadedServer(const LoadedServer &) = delete;
    LoadedServer &operator=(const LoadedServer &) = delete;

    quint16 port() const { return bench.port(); }
    qint64 processId() const { return bench.processId(); }
    int descriptors() const { return bench.openDescriptors(); }

private:
    ServerBench bench;
};

void crowd()
{
    const LoadedServer server;
    const size_t size = size_t(scaled(2000));
    QElapsedTimer time;
    time.start();
    std::vector<std::unique_ptr<Handheld>> handhelds;
    while (handhelds.size() < size) {
        handhelds.push_back(std::make_unique<Handheld>(server.port()));
    }
    const auto answered = std::count_if(handhelds.begin(), handhelds.end(),
                                        [](const auto &handheld) { return handheld->isServed(); });
    report(u"%1 clients at once"_s.arg(size), u"all are answered"_s,
           u"%1 answered, in %2 s"_s.arg(answered).arg(static_cast<double>(time.elapsed()) / 1000),
           size_t(answered) == size);
}

void flood(const QString &kind, const QByteArray &token, int flooderCount = 1)
{
    const LoadedServer server;
    std::vector<std::unique_ptr<Flooder>> flooders;
    while (flooders.size() < size_t(flooderCount)) {
        flooders.push_back(std::make_unique<Flooder>(server.port(), token));
    }
    Asker asker(server.port(), 10ms);
    const int seconds = scaled(30);
    QTest::qWait(seconds * 1000);
    const Sample times = asker.stop();
    qint64 taken = 0;
    for (const auto &flooder : flooders) {
        taken += flooder->stop() / Mebibyte / seconds;
    }
    report(u"a flood of %1 for %2 s"_s.arg(kind).arg(seconds),
           u"another's answer within 20 ms (99th percentile)"_s,
           u"median %1 ms, 99th percentile %2 ms; %3 MiB/s of the flood taken"_s
               .arg(times.median(), 0, 'f', 1)
               .arg(times.atShare(0.99), 0, 'f', 1)
               .arg(taken),
           asker.isServed() && times.atShare(0.99) < 20);
}

void connections()
{
    const LoadedServer server;
    const auto connectAndLeave = [&](int count) {
        for (int i = 0; i < count; ++i) {
            Handheld handheld(server.port());
            ServerBench::require(handheld.isServed(), "an answer");
        }
    };
    connectAndLeave(scaled(5000));
    QTest::qWait(1000);
    const int descriptors = server.descriptors();
    const qint64 before = ProcessMemory::resident(server.processId());
    const int count = scaled(100'000);
    QElapsedTimer time;
    time.start();
    connectAndLeave(count);
    const qint64 seconds = time.elapsed() / 1000;
    QTest::qWait(1000);
    const qint64 grown = (ProcessMemory::resident(server.processId()) - before) / Kibibyte;
    const int left = server.descriptors() - descriptors;
    report(u"%1 connections one after another"_s.arg(count),
           u"memory grows by less than 1 MiB, no descriptor is left"_s,
           u"%1 KiB, %2 descriptors, in %3 s"_s.arg(grown).arg(left).arg(seconds),
           grown < 1024 && left <= 0);
}

void tokens()
{
    const LoadedServer server;
    Handheld handheld(server.port());
    const int warmUp = scaled(10'000);
    const int count = scaled(1'000'000);
    qint64 before = 0;
    bool areAnswered = true;
    QElapsedTimer time;
    for (int i = 0; i < warmUp + count && areAnswered; ++i) {
        if (i == warmUp) {
            before = ProcessMemory::resident(server.processId());
            time.start();
        }
        areAnswered = handheld.isServed();
    }
    const qint64 grown = (ProcessMemory::resident(server.processId()) - before) / Kibibyte;
    report(u"%1 tokens on one connection"_s.arg(count),
           u"all are answered, memory grows by less than 1 MiB"_s,
           u"%1, %2 KiB, %3 us a token"_s.arg(areAnswered ? u"all answered"_s : u"not answered"_s)
               .arg(grown)
               .arg(double(time.elapsed()) * 1000 / count, 0, 'f', 0),
           areAnswered && grown < 1024);
}

void silentReader()
{
    const LoadedServer server;
    ServerBench::require(ProcessMemory::forgetPeak(server.processId()), "the peak of memory");
    const qint64 before = ProcessMemory::resident(server.processId());
    Asker asker(server.port(), 10ms);
    Handheld silent(server.port());
    ServerBench::require(silent.sendAndSettle("{ a = " + QByteArray(50'000, 'v') + "; }"),
                         "a large value");
    int asked = 0;
    while (asked < 2000 && silent.send(serverInfo(), 5s) && silent.waitUntilRead(2s)) {
        ++asked;
    }
    const Sample times = asker.stop();
    const qint64 grown = (ProcessMemory::peak(server.processId()) - before) / Mebibyte;
    report(u"a client that never reads its answers of 50 kB"_s,
           u"disconnected past 4 MiB unsent, others unharmed"_s,
           u"disconnected after %1 answers, memory %2 MiB more at most; others' 99th "
           "percentile %3 ms"_s.arg(asked)
               .arg(grown)
               .arg(times.atShare(0.99), 0, 'f', 1),
           asked < 2000 && grown < 32 && asker.isServed() && times.atShare(0.99) < 100);
}

void greedy()
{
    const LoadedServer server;
    const qint64 before = ProcessMemory::resident(server.processId());
    ServerBench::require(ProcessMemory::forgetPeak(server.processId()), "the peak of memory");
    Handheld handheld(server.port());
    qint64 sent = 0;
    for (int number = 0; sent < 64 * Mebibyte; ++number) {
        const QByteArray token =
            "{ key" + QByteArray::number(number) + " = " + QByteArray(20'000, 'v') + "; }";
        if (!handheld.send(token) || !handheld.waitUntilRead(2s)) {
            break;
        }
        sent += token.size();
    }
    const qint64 grown = (ProcessMemory::peak(server.processId()) - before) / Mebibyte;
    Handheld other(server.port());
    report(
        u"a client that stores ever more values"_s, u"disconnected past 16 MiB"_s,
        u"disconnected after %1 MiB, memory %2 MiB more at most"_s.arg(sent / Mebibyte).arg(grown),
        sent < 17 * Mebibyte && other.isServed());
}

void loadAll()
{
    crowd();
    flood(u"nothing, for comparison,"_s, {}, 0);
    flood(u"tokens with answers"_s, serverInfo());
    flood(u"keys"_s, keyCommand(u"A"_s));
    flood(u"bytes without form"_s, "}{ = ;( ");
    flood(u"tokens of 1 MiB"_s, "{ a = " + QByteArray(int(Mebibyte), 'v') + "; }");
    // Many of them arrive in one read of 1 MiB, which is then one token.
    const QByteArray emptyEntries = "{ " + QByteArray(60'000, ';') + " }";
    flood(u"a million empty entries a token"_s, emptyEntries);
    flood(u"such tokens by eight clients"_s, emptyEntries, 8);
    flood(u"lists of 20,000 items"_s, "{ a = (" + QByteArray("b, ").repeated(20'000) + "); }");
    silentReader();
    greedy();
    tokens();
    connections();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    LoadTable::takeShare(argc, argv);
    platform::raiseDescriptorLimit();
    const int status = ServerBench::run(loadAll);
    return status != 0 || !LoadTable::haveAllHeld() ? 1 : 0;
}
