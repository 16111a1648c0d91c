// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Attacks the server on its session socket, without a pause, and prints how handhelds fared, as
// rows of a table like bench/attacks.
//
// Needs VORNA_SERVER (the server's executable). The argument, from 1 to 100, is the percentage of
// the load; the default is 100. Exits with status 1 if a promise was broken.

#include "LoadTable.h"
#include "SessionPeer.h"
#include "support/process/ProcessMemory.h"
#include "support/protocol/Asker.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <vector>

#include <sched.h>

using namespace std::chrono_literals;

namespace {

constexpr qint64 Mebibyte = 1024 * 1024;
/// How many sessions the server lets in.
constexpr int most = 128;
const QByteArray Ping = R"({"id":1,"request":"ping"})"
                        "\n";

/// A server on its own desktop, the memory that it takes from here on, and a handheld that asks it
/// all the time.
class Target
{
public:
    Target() : server(folder.path())
    {
        server.start();
        ServerBench::require(SessionPeer(path()).message().contains(u"event"_s), "a session");
        asker = std::make_unique<Asker>(server.port(), 10ms);
        ServerBench::require(waitUntil([this] { return asker->answers() > 0; }), "an answer");
        // The server opens some things at its first balloon, and keeps them.
        QTest::qWait(1000);
        ServerBench::require(ProcessMemory::forgetPeak(server.processId()), "the peak of memory");
        memoryBefore = ProcessMemory::resident(server.processId());
    }

    QString path() const { return SessionPeer::pathOf(server.session()); }
    QString downloads() const { return folder.path(); }
    int openDescriptors() const { return server.openDescriptors(); }

    /// Prints what was measured and how the handheld fared. The growth is in MiB.
    void report(const QString &attack, const QString &promised, const QString &measured,
                bool hasHeld, int allowedGrowth = 24)
    {
        const bool isServed =
            SessionPeer(path()).ask({{u"request"_s, u"ping"_s}}).contains(u"event"_s);
        const Sample times = asker->stop();
        const double growth =
            static_cast<double>(ProcessMemory::peak(server.processId()) - memoryBefore) /
            static_cast<double>(Mebibyte);
        LoadTable::report(
            attack,
            promised + u"; memory grows by less than %1 MiB, a handheld's answer within 20 ms "
                       "(99th percentile)"_s.arg(allowedGrowth),
            measured + u"; memory %1 MiB more at most; a handheld's 99th percentile %2 ms, "
                       "longest %3 ms"_s.arg(growth, 0, 'f', 1)
                           .arg(times.atShare(0.99), 0, 'f', 1)
                           .arg(times.atShare(1), 0, 'f', 1),
            hasHeld && isServed && asker->isServed() && growth < allowedGrowth &&
                times.atShare(0.99) < 20);
    }

private:
    QTemporaryDir folder;
    ServerBench server;
    std::unique_ptr<Asker> asker;
    qint64 memoryBefore = 0;
};

/// What the machine itself takes, whose other work counts unless all this is run by `chrt --rr`.
void nothing()
{
    const bool isFirst = ::sched_getscheduler(0) != SCHED_OTHER;
    Target target;
    const int seconds = LoadTable::scaled(10);
    QTest::qWait(seconds * 1000);
    target.report(u"nothing, for comparison, for %1 s"_s.arg(seconds), u"others are served"_s,
                  isFirst ? u"no attack, and real-time priority in all rows"_s : u"no attack"_s,
                  true);
}

/// What became of those that asked for a session at the same time.
struct Crowd
{
    int admitted = 0;
    int refused = 0; // and told why
};

Crowd comeAndGo(const QString &path, int count)
{
    std::vector<SessionPeer> peers;
    peers.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        peers.emplace_back(path);
    }
    Crowd crowd;
    for (SessionPeer &peer : peers) {
        const QJsonObject first = peer.message(20s);
        crowd.admitted += first.value(u"event"_s) == "hello"_L1;
        crowd.refused += first.value(u"error"_s) == "too-much"_L1;
    }
    return crowd;
}

/// Again and again: the handheld asks too seldom for one crowd to tell much.
void crowds()
{
    constexpr int Size = 500;
    Target target;
    const int descriptors = target.openDescriptors();
    const int count = LoadTable::scaled(50);
    QElapsedTimer time;
    time.start();
    bool areAllTold = true;
    for (int i = 0; i < count; ++i) {
        // Those of the last crowd have left, and the server has seen it.
        ServerBench::require(waitUntil([&] { return target.openDescriptors() <= descriptors; }),
                             "room for a crowd");
        const Crowd crowd = comeAndGo(target.path(), Size);
        areAllTold = areAllTold && crowd.admitted == most && crowd.refused == Size - most;
    }
    target.report(u"%1 sessions at once, %2 times"_s.arg(Size).arg(count),
                  u"128 are let in, the others are told that it is too much"_s,
                  u"%1, %2 ms each time"_s.arg(areAllTold ? u"so it is"_s : u"not so"_s)
                      .arg(time.elapsed() / count),
                  areAllTold);
}

/// The same line again and again, and the error that answers it.
void lines(const QString &what, const QByteArray &line, const QString &error, int count)
{
    Target target;
    SessionPeer peer(target.path());
    peer.message();
    int answered = 0;
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < count; ++i) {
        peer.send(line);
        answered += peer.message(20s).value(u"error"_s) == error;
    }
    const bool goesOn = peer.ask({{u"request"_s, u"ping"_s}}).contains(u"ok"_s);
    target.report(u"%1 %2"_s.arg(count).arg(what), u"each is answered, the session goes on"_s,
                  u"%1 answered %2, %3 ms each"_s.arg(answered).arg(error).arg(
                      double(time.elapsed()) / count, 0, 'f', 2),
                  answered == count && goesOn);
}

void badLines()
{
    const int count = LoadTable::scaled(10'000);
    lines(u"lines of 1 MiB and a byte"_s, QByteArray(Mebibyte + 1, 'x') + '\n', u"too-long"_s,
          count);
    lines(u"lines of 1 MiB of opening brackets"_s, QByteArray(Mebibyte, '[') + '\n',
          u"bad-message"_s, count);
    lines(u"lines of 1 MiB of broken UTF-8"_s,
          R"({"id":1,"request":")" + QByteArray(Mebibyte - 30, '\xc3') + "\"}\n", u"bad-message"_s,
          count);
}

/// Sessions that begin a file, announce a piece and leave in its middle.
void halfBodies()
{
    Target target;
    const int count = LoadTable::scaled(2000);
    const int descriptors = target.openDescriptors();
    int begun = 0;
    for (int i = 0; i < count; ++i) {
        SessionPeer peer(target.path());
        peer.message();
        const QJsonObject put = peer.ask(
            {{u"request"_s, u"file.put"_s}, {u"name"_s, u"half"_s}, {u"size"_s, Mebibyte}});
        begun += put.contains(u"file"_s);
        peer.send(R"({"id":1,"request":"file.put","body":1048576,"file":)" +
                  QByteArray::number(put.value(u"file"_s).toInteger()) + "}\n" +
                  QByteArray(Mebibyte / 2, 'x'));
    }
    const bool isClean = waitUntil([&] {
        return QDir(target.downloads())
                   .isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot) &&
               target.openDescriptors() <= descriptors;
    });
    target.report(u"%1 sessions that end amid a piece of a file"_s.arg(count),
                  u"no file and no descriptor is left"_s,
                  u"%1 begun, %2 left"_s.arg(begun).arg(isClean ? u"nothing"_s : u"something"_s),
                  begun == count && isClean);
}

std::vector<SessionPeer> allSessions(const QString &path)
{
    std::vector<SessionPeer> peers;
    peers.reserve(most);
    while (peers.size() < most) {
        peers.emplace_back(path).message();
    }
    return peers;
}

/// As many sessions as there may be announce a body, and all but its last byte comes.
void endlessBodies()
{
    Target target;
    // One place stays for a session that checks whether the server serves.
    std::vector<SessionPeer> peers = allSessions(target.path());
    peers.pop_back();
    for (SessionPeer &peer : peers) {
        peer.send(R"({"id":1,"request":"clipboard.set","body":1048576})"
                  "\n" +
                  QByteArray(Mebibyte - 1, 'x'));
    }
    QTest::qWait(LoadTable::scaled(5) * 1000);
    target.report(u"%1 sessions that send all but a byte of a body of 1 MiB"_s.arg(peers.size()),
                  u"others are served"_s, u"all taken"_s, true, 128);
}

/// As many sessions as there may be ask for a file and read nothing. One more reads.
void unreadAnswers()
{
    Target target;
    QFile file(target.downloads() + u"/file"_s);
    ServerBench::require(file.open(QIODevice::WriteOnly) && file.resize(Mebibyte), "a file");
    std::vector<SessionPeer> peers = allSessions(target.path());
    peers.pop_back();
    const QByteArray request = R"({"id":1,"request":"file.get","name":"file"})"
                               "\n";
    for (SessionPeer &peer : peers) {
        peer.send(request.repeated(10));
    }
    QTest::qWait(LoadTable::scaled(5) * 1000);
    SessionPeer reader(target.path());
    reader.message();
    const int count = LoadTable::scaled(200);
    int got = 0;
    QElapsedTimer time;
    time.start();
    for (int i = 0; i < count; ++i) {
        reader.send(request);
        got += reader.message(20s).value(u"body"_s).toInteger() == Mebibyte &&
               reader.skip(Mebibyte, 20s);
    }
    const qint64 taken = time.elapsed();
    reader.leave();
    target.report(
        u"%1 sessions that ask for 10 MiB each and never read"_s.arg(peers.size()),
        u"another session gets its file"_s,
        u"%1 of %2 MiB, %3 ms each"_s.arg(got).arg(count).arg(double(taken) / count, 0, 'f', 1),
        got == count, 192);
}

/// Sends as fast as the server takes it, until it is over.
/// \return how many bytes it took
qint64 sendUntil(const std::atomic_bool &isOver, const SessionPeer &peer, const QByteArray &bytes,
                 bool isRead)
{
    const auto size = static_cast<size_t>(bytes.size());
    const short readable = isRead ? POLLIN : 0;
    char answers[65536];
    qint64 sent = 0;
    while (!isOver) {
        pollfd waiting{peer.socket(), static_cast<short>(POLLOUT | readable), 0};
        // Not for ever: it may be over.
        ::poll(&waiting, 1, 50);
        if ((waiting.revents & POLLOUT) != 0) {
            sent += std::max<ssize_t>(
                0, ::send(peer.socket(), bytes.constData(), size, MSG_NOSIGNAL | MSG_DONTWAIT));
        }
        while (isRead && ::recv(peer.socket(), answers, sizeof answers, MSG_DONTWAIT) > 0) {
        }
    }
    return sent;
}

/// Sessions that flood the server, and read its answers or not.
void flood(const QString &what, const QByteArray &bytes, bool isRead)
{
    Target target;
    const int seconds = LoadTable::scaled(10);
    constexpr int Sessions = 8;
    std::atomic<qint64> sent = 0;
    std::atomic_bool isOver = false;
    std::vector<SessionPeer> peers;
    std::vector<std::thread> floods;
    peers.reserve(Sessions);
    floods.reserve(Sessions);
    for (int i = 0; i < Sessions; ++i) {
        peers.emplace_back(target.path());
    }
    for (SessionPeer &peer : peers) {
        floods.emplace_back([&] { sent += sendUntil(isOver, peer, bytes, isRead); });
    }
    QTest::qWait(seconds * 1000);
    isOver = true;
    for (std::thread &one : floods) {
        one.join();
    }
    peers.clear();
    target.report(
        u"eight sessions that flood %1 for %2 s"_s.arg(what).arg(seconds), u"others are served"_s,
        u"%1 MiB/s taken"_s.arg(double(sent) / double(Mebibyte) / seconds, 0, 'f', 1), true);
}

void floods()
{
    QByteArray pings;
    while (pings.size() < 60'000) {
        pings += Ping;
    }
    flood(u"pings"_s, pings, true);
    flood(u"pings and never read"_s, pings, false);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    LoadTable::takeShare(argc, argv);
    const int status = ServerBench::run([] {
        nothing();
        crowds();
        badLines();
        halfBodies();
        endlessBodies();
        unreadAnswers();
        floods();
    });
    return status != 0 || !LoadTable::haveAllHeld() ? 1 : 0;
}
