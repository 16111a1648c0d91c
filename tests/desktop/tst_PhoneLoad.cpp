// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Sample.h"
#include "support/process/ProcessMemory.h"
#include "support/process/ProcessTables.h"
#include "support/session/ServerScene.h"
#include "support/session/WebProcess.h"
#include "support/web/FreePort.h"
#include "support/web/RawPeer.h"
#include "support/web/WebPhone.h"
#include "support/x11/InputWatcher.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QJsonObject>
#include <QTest>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include <sys/resource.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace quillmote;

namespace {

constexpr qint64 Mebibyte = 1024 * 1024;

/// The address of those who mean harm; the phone has another one.
constexpr char Foreign[] = "127.0.0.2";

/// Connections of a crowd.
constexpr size_t CrowdSize = 500;

/// For a median, however slow the machine is.
constexpr size_t FewestAnswers = 10;

/// What memory may grow by while a crowd is there: its connections, with sanitizers.
constexpr qint64 MostGrowth = 64 * Mebibyte;

/// Those that have not shown a secret yet: 256 before their upgrade, 64 after it, and those that
/// are told why they have to go.
constexpr int MostConnections = 450;

/// What the program may do for others before it answers the phone, in milliseconds of the processor
/// and as a median. With sanitizers; without them it is a tenth of that. Unlike time, it hardly
/// depends on how busy the machine is.
constexpr double MostWork = 200;

/// Beside other tests, and with the attackers on the same processors.
constexpr double MostMedian = 2000;

/// Does harm in a thread of its own until it is stopped or destroyed.
class Attack
{
public:
    using Deed = std::function<void(const std::atomic_bool &isOver)>;

    explicit Attack(Deed deed) : worker([this, act = std::move(deed)] { act(isOver); }) {}
    ~Attack() { stop(); }
    Attack(const Attack &) = delete;
    Attack &operator=(const Attack &) = delete;

    void stop()
    {
        isOver = true;
        if (worker.joinable()) {
            worker.join();
        }
    }

private:
    std::atomic_bool isOver = false;
    std::thread worker; // last, so that the rest is there before it runs
};

/// 500 connections, each of which does something when it is new and again in each round. Whoever is
/// put out comes back in the next round.
Attack::Deed crowd(quint16 port, std::function<void(RawPeer &)> begin,
                   std::function<void(RawPeer &)> goOn, std::chrono::milliseconds pause = 50ms)
{
    return [=](const std::atomic_bool &isOver) {
        std::vector<RawPeer> peers;
        while (!isOver) {
            std::erase_if(peers, [](RawPeer &peer) { return peer.hasEnded(); });
            for (RawPeer &peer : peers) {
                goOn(peer);
            }
            while (peers.size() < CrowdSize && !isOver) {
                begin(peers.emplace_back(port, Foreign));
            }
            std::this_thread::sleep_for(pause);
        }
    };
}

/// One connection after another, as fast as they are accepted.
Attack::Deed storm(std::function<void()> visit)
{
    return [=](const std::atomic_bool &isOver) {
        while (!isOver) {
            visit();
        }
    };
}

/// What the phone's requests took, each in milliseconds.
struct Answers
{
    Sample times;
    Sample work; ///< Of the processor for the program, whomever it served meanwhile.
};

struct Secret
{
    QByteArray id;
    QByteArray bytes;
};

/// A phone that writes down what it sends, byte by byte, and may do anything on its connection. It
/// needs no event loop.
class RawPhone
{
public:
    explicit RawPhone(quint16 port, const char *from = "127.0.0.1", int receiveBuffer = 0)
        : peer(port, from, receiveBuffer)
        , to(port)
    {
    }

    bool open() { return peer.upgrade(to); }
    /// Shows that it has the secret.
    bool enter(const Secret &secret)
    {
        Initiator initiator(Credential::Phone, secret.id, secret.bytes);
        auto opened =
            sendFrame(initiator.first("{}")) ? initiator.finish(peer.nextFrame()) : std::nullopt;
        if (opened) {
            channel.emplace(std::move(opened->channel));
        }
        return channel.has_value();
    }
    bool ask(QJsonObject request, const QByteArray &body = {},
             std::chrono::milliseconds limit = GenerousLimit)
    {
        request.insert(u"id"_s, ++lastId);
        return sendFrame(channel->seal(WireText{request, body}.toBytes()), limit);
    }
    /// The next message; an empty one if none comes.
    QJsonObject next()
    {
        const QByteArray sealed = peer.nextFrame();
        const auto plain = sealed.isEmpty() ? std::nullopt : channel->open(sealed);
        return plain ? WireText::fromBytes(*plain).value_or(WireText()).object : QJsonObject();
    }
    /// Until it may use the server.
    bool becomeReady()
    {
        ask({{u"request"_s, u"hello"_s}, {u"name"_s, u"Raw phone"_s}});
        for (int i = 0; i < 3; ++i) {
            if (next().value("state"_L1).toString() == "ready"_L1) {
                return true;
            }
        }
        return false;
    }
    /// All frames so far, as whoever listens has them.
    const QByteArrayList &sent() const { return recording; }

    RawPeer peer;
    bool isRecording = true;

private:
    bool sendFrame(const QByteArray &message, std::chrono::milliseconds limit = GenerousLimit)
    {
        const QByteArray bytes = RawPeer::frame(RawPeer::Binary, message);
        if (isRecording) {
            recording += bytes;
        }
        return peer.send(bytes, limit);
    }

    quint16 to;
    QByteArrayList recording;
    std::optional<Channel> channel;
    int lastId = 0;
};

bool isServed(const Answers &answers)
{
    return answers.times.size() >= FewestAnswers && answers.times.median() < MostMedian &&
           answers.work.median() < MostWork;
}

/// The first message of a handshake with that secret, as it goes over the wire.
QByteArray firstFrame(Credential credential, const QByteArray &id, const QByteArray &secret)
{
    return RawPeer::frame(RawPeer::Binary, Initiator(credential, id, secret).first("{}"));
}

} // namespace

/// quillmote-web among peers that mean harm: the phone is served, and memory stays as it is.
class tst_PhoneLoad : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void peersOfAllKindsHoldNobodyUp_data();
    void peersOfAllKindsHoldNobodyUp();
    void whoComesOftenPushesNobodyOut();
    void aRecordedConnectionDoesNothing();
    void phonesThatDoHarmHoldNobodyUp_data();
    void phonesThatDoHarmHoldNobodyUp();
    void phonesThatComeAndGoLeaveNothing();

private:
    void startWeb();
    std::optional<Secret> pair();
    std::unique_ptr<WebPhone> comeIn(const Secret &secret);
    Attack::Deed attackOf(const QByteArray &kind) const;
    Answers answersTo(WebPhone &phone, std::chrono::milliseconds duration) const;
    std::chrono::nanoseconds work() const { return ProcessTables::processorTime(web->processId()); }
    qint64 memory() const { return ProcessMemory::resident(web->processId()); }
    int descriptors() const
    {
        return int(QDir(u"/proc/%1/fd"_s.arg(web->processId())).entryList().size());
    }
    bool comesToRest() const;

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<WebProcess> web;
    quint16 port = 0;
};

void tst_PhoneLoad::initTestCase()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
}

void tst_PhoneLoad::init()
{
    scene->beginAnew();
    // Otherwise the sanitizer keeps freed memory, which would look like growth.
    scene->mutableSession().addVariable(
        u"ASAN_OPTIONS"_s, QString::fromLocal8Bit(qgetenv("ASAN_OPTIONS")) +
                               u":quarantine_size_mb=0:thread_local_quarantine_size_kb=0"_s);
    QVERIFY(scene->start());
}

void tst_PhoneLoad::cleanup()
{
    if (web) {
        QCOMPARE(web->problemAtEnd(), QByteArray());
        web.reset();
    }
    QVERIFY(scene->waitUntilNothingIsHeld());
    QCOMPARE(scene->problemAtEnd(), QByteArray());
}

void tst_PhoneLoad::cleanupTestCase()
{
    scene.reset();
}

void tst_PhoneLoad::startWeb()
{
    port = freePort();
    web = std::make_unique<WebProcess>(
        scene->session(), QStringList{u"--no-open"_s, u"--port"_s, QString::number(port)});
}

/// Makes a phone known.
std::optional<Secret> tst_PhoneLoad::pair()
{
    const auto code = OneTimeCode::fromText(web->pairingAddress().section(u'#', 1));
    WebPhone phone(port);
    if (!code || !phone.enterByCode(*code)) {
        return std::nullopt;
    }
    const QJsonObject known = phone.sayHello().value("phone"_L1).toObject();
    const Secret secret{QByteArray::fromHex(known.value("id"_L1).toString().toLatin1()),
                        QByteArray::fromBase64(known.value("secret"_L1).toString().toLatin1())};
    return secret.bytes.isEmpty() ? std::nullopt : std::optional(secret);
}

std::unique_ptr<WebPhone> tst_PhoneLoad::comeIn(const Secret &secret)
{
    auto phone = std::make_unique<WebPhone>(port);
    const bool isIn = phone->enter(Credential::Phone, secret.id, secret.bytes) &&
                      !phone->sayHello().isEmpty() && phone->waitForServer(u"ready"_s);
    return isIn ? std::move(phone) : nullptr;
}

Answers tst_PhoneLoad::answersTo(WebPhone &phone, std::chrono::milliseconds duration) const
{
    Answers answers;
    QEventLoop loop;
    QTimer::singleShot(GenerousLimit, &loop, [&loop] { loop.exit(1); });
    connect(&phone.socket, &QWebSocket::binaryMessageReceived, &loop, [&] {
        if (!phone.received.empty()) {
            loop.exit(0);
        }
    });
    const QDeadlineTimer end(duration);
    while (!end.hasExpired() || answers.times.size() < FewestAnswers) {
        phone.received.clear();
        const auto workBefore = work();
        QElapsedTimer time;
        time.start();
        phone.send("screens");
        if (loop.exec() != 0) {
            return {};
        }
        answers.times.add(double(time.nsecsElapsed()) / 1e6);
        answers.work.add(double((work() - workBefore).count()) / 1e6);
        runEventLoop(10ms);
    }
    return answers;
}

bool tst_PhoneLoad::comesToRest() const
{
    return waitUntil([this] {
        const auto before = work();
        runEventLoop(500ms);
        return work() - before < 25ms;
    });
}

Attack::Deed tst_PhoneLoad::attackOf(const QByteArray &kind) const
{
    const quint16 to = port;
    const QByteArray upgrade = RawPeer::upgradeOf(to);
    const auto nothing = [](RawPeer &) {};
    const auto at = [](const QByteArray &bytes) {
        return [bytes](RawPeer &peer) { peer.sendSome(bytes); };
    };
    const auto visit = [to](const QByteArray &bytes) {
        return storm([to, bytes] {
            RawPeer peer(to, Foreign);
            peer.sendSome(bytes);
        });
    };
    // Sends these bytes for ever, and reads nothing.
    const auto flood = [to, upgrade](const QByteArray &begin, const QByteArray &bytes) {
        return storm([=] {
            RawPeer peer(to, Foreign, 4096);
            if (peer.send(upgrade + begin, 1s)) {
                for (int i = 0; i < 2000 && peer.send(bytes, 100ms); ++i) {
                }
            }
        });
    };
    const QByteArray some(64 * 1024, 'x');
    if (kind == "say nothing") {
        return crowd(to, nothing, nothing);
    }
    if (kind == "half a head") {
        return crowd(to, at(upgrade.left(60)), nothing);
    }
    if (kind == "a byte at a time") {
        return crowd(to, nothing, at("G"));
    }
    if (kind == "a head without end") {
        return crowd(to, at("GET / HTTP/1.1\r\n"), at("x-" + QByteArray(500, 'x') + ": y\r\n"));
    }
    if (kind == "sockets that say nothing") {
        return crowd(to, at(upgrade), nothing);
    }
    if (kind == "readers that do not read") {
        return crowd(
            to,
            at("GET /app.js HTTP/1.1\r\nHost: 127.0.0.1:" + QByteArray::number(to) + "\r\n\r\n"),
            nothing);
    }
    if (kind == "sockets that come and go") {
        return visit(upgrade);
    }
    if (kind == "wrong secrets") {
        return visit(upgrade +
                     firstFrame(Credential::Phone, QByteArray(16, 'i'), QByteArray(32, 's')));
    }
    if (kind == "a frame of 64 MiB") {
        return flood(RawPeer::frame(RawPeer::Binary, some, RawPeer::Whole, 64 * Mebibyte), some);
    }
    if (kind == "fragments without end") {
        return flood(RawPeer::frame(RawPeer::Binary, some, RawPeer::Open),
                     RawPeer::frame(RawPeer::Continuation, some, RawPeer::Open));
    }
    if (kind == "pings that are not read") {
        return flood({}, RawPeer::frame(RawPeer::Ping, QByteArray(125, 'p')).repeated(500));
    }
    return {};
}

void tst_PhoneLoad::peersOfAllKindsHoldNobodyUp_data()
{
    QTest::addColumn<int>("nothing");
    for (const char *kind : {"say nothing", "half a head", "a byte at a time", "a head without end",
                             "sockets that say nothing", "readers that do not read",
                             "sockets that come and go", "wrong secrets", "a frame of 64 MiB",
                             "fragments without end", "pings that are not read"}) {
        QTest::addRow("%s", kind) << 0;
    }
}

void tst_PhoneLoad::peersOfAllKindsHoldNobodyUp()
{
    startWeb();
    const auto secret = pair();
    QVERIFY(secret);
    auto phone = comeIn(*secret);
    QVERIFY(phone);
    const Answers before = answersTo(*phone, 300ms);
    const int descriptorsBefore = descriptors();
    const qint64 memoryBefore = memory();
    QVERIFY(ProcessMemory::forgetPeak(web->processId()));

    Attack attack(attackOf(QTest::currentDataTag()));
    runEventLoop(500ms);
    const Answers during = answersTo(*phone, 1s);
    const int mostDescriptors = descriptors();
    QElapsedTimer time;
    time.start();
    const auto again = comeIn(*secret);
    const qint64 entering = time.elapsed();
    attack.stop();
    const qint64 grown = ProcessMemory::peak(web->processId()) - memoryBefore;
    qInfo("Median %.1f ms, 99th percentile %.1f ms, without them %.1f and %.1f ms; the program "
          "worked %.1f and %.1f ms, without them %.1f and %.1f ms; memory grew by %lld MiB; "
          "%d descriptors; a phone came in within %lld ms.",
          during.times.median(), during.times.atShare(0.99), before.times.median(),
          before.times.atShare(0.99), during.work.median(), during.work.atShare(0.99),
          before.work.median(), before.work.atShare(0.99), grown / Mebibyte, mostDescriptors,
          entering);
    QVERIFY(isServed(during));
    QVERIFY(grown < MostGrowth);
    QVERIFY(mostDescriptors < descriptorsBefore + MostConnections);
    QVERIFY2(again, "A phone cannot come in any more.");
    QVERIFY(waitUntil([&] { return descriptors() <= descriptorsBefore; }));
    QVERIFY(comesToRest());
    QVERIFY(again->isOpen());
}

/// In each of the three rooms through which it comes in.
void tst_PhoneLoad::whoComesOftenPushesNobodyOut()
{
    startWeb();
    const auto secret = pair();
    QVERIFY(secret);
    const QByteArray upgrade = RawPeer::upgradeOf(port);
    RawPhone phone(port);
    QVERIFY(phone.peer.send(upgrade.first(10)));

    std::vector<RawPeer> visitors;
    for (int i = 0; i < 400; ++i) {
        visitors.emplace_back(port, Foreign);
    }
    QVERIFY(waitUntil([&] { return visitors.front().hasEnded(); }));
    QVERIFY(phone.peer.finishUpgrade(upgrade.sliced(10)));

    std::vector<RawPeer> strangers;
    for (int i = 0; i < 100; ++i) {
        QVERIFY(strangers.emplace_back(port, Foreign).upgrade(port));
    }
    QVERIFY(waitUntil([&] { return strangers.front().hasEnded(); }));
    QVERIFY(phone.enter(*secret));

    // They repeat what the phone has sent, and get no further.
    std::vector<RawPeer> repeaters;
    for (int i = 0; i < 30; ++i) {
        RawPeer &repeater = repeaters.emplace_back(port, Foreign);
        QVERIFY(repeater.upgrade(port) && repeater.send(phone.sent().constFirst()));
        QVERIFY(!repeater.nextFrame().isEmpty());
    }
    QVERIFY(waitUntil([&] { return repeaters.front().hasEnded(); }));
    QVERIFY(phone.becomeReady());
}

void tst_PhoneLoad::aRecordedConnectionDoesNothing()
{
    startWeb();
    const auto secret = pair();
    QVERIFY(secret);
    InputWatcher watcher(scene->session().display());
    RawPhone phone(port);
    QVERIFY(phone.open() && phone.enter(*secret) && phone.becomeReady());
    QVERIFY(phone.ask({{u"request"_s, u"text"_s}, {u"text"_s, u"Hi"_s}}));
    QVERIFY(phone.next().value("ok"_L1).toBool());
    QTRY_COMPARE(watcher.typedText(), u"Hi"_s);

    // All of it again, byte by byte, each frame when the one before it has been answered.
    RawPeer repeater(port, Foreign);
    QVERIFY(repeater.upgrade(port));
    QCOMPARE(phone.sent().size(), 3);
    for (const QByteArray &frame : phone.sent()) {
        repeater.send(frame);
        repeater.nextFrame();
    }
    QVERIFY(waitUntil([&] { return repeater.hasEnded(); }));
    // The phone is still there, and whatever had been typed would come before this.
    QVERIFY(phone.ask({{u"request"_s, u"text"_s}, {u"text"_s, u"!"_s}}));
    QVERIFY(phone.next().value("ok"_L1).toBool());
    QTRY_COMPARE(watcher.typedText(), u"Hi!"_s);
}

void tst_PhoneLoad::phonesThatDoHarmHoldNobodyUp_data()
{
    QTest::addColumn<QString>("request");
    QTest::addColumn<QJsonObject>("fields");
    QTest::addColumn<qsizetype>("size");
    QTest::addColumn<bool>("isRead");
    QTest::newRow("it reads no answers")
        << u"applications"_s << QJsonObject() << qsizetype(0) << false;
    QTest::newRow("it reads no files")
        << u"file.get"_s << QJsonObject{{u"name"_s, u"large"_s}} << qsizetype(0) << false;
    QTest::newRow("it pings without end") << u"ping"_s << QJsonObject() << qsizetype(0) << true;
    QTest::newRow("it moves without end")
        << u"move"_s << QJsonObject{{u"dx"_s, 1}, {u"dy"_s, 1}} << qsizetype(0) << true;
    QTest::newRow("it begins files without end")
        << u"file.put"_s << QJsonObject{{u"name"_s, u"a"_s}, {u"size"_s, 1'000'000}} << qsizetype(0)
        << true;
    QTest::newRow("its text for the clipboard never ends")
        << u"clipboard.set"_s << QJsonObject{{u"more"_s, true}} << qsizetype(128 * 1024) << true;
    QTest::newRow("what it asks for does not exist")
        << u"nothing"_s << QJsonObject() << qsizetype(200 * 1024) << true;
}

void tst_PhoneLoad::phonesThatDoHarmHoldNobodyUp()
{
    QFETCH(QString, request);
    QFETCH(QJsonObject, fields);
    QFETCH(qsizetype, size);
    QFETCH(bool, isRead);
    const QString folder = scene->session().path(u"downloads"_s);
    scene->storeSetting(u"downloadDirectory"_s, folder);
    QVERIFY(QDir().mkpath(folder));
    QFile large(folder + u"/large"_s);
    QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(Mebibyte));
    startWeb();
    const auto secret = pair();
    const auto other = pair();
    QVERIFY(secret && other);
    const auto phone = comeIn(*secret);
    QVERIFY(phone);
    const qint64 memoryBefore = memory();
    QVERIFY(ProcessMemory::forgetPeak(web->processId()));

    fields.insert(u"request"_s, request);
    std::atomic_int asked = 0;
    Attack attack([&, to = port](const std::atomic_bool &isOver) {
        while (!isOver) {
            RawPhone harmful(to, Foreign, isRead ? 0 : 4096);
            harmful.isRecording = false; // so much that it would fill the memory
            bool isServed = harmful.open() && harmful.enter(*other) && harmful.becomeReady();
            while (isServed && !isOver) {
                isServed = harmful.ask(fields, QByteArray(size, 'x'), 1s);
                ++asked;
                if (isRead) {
                    harmful.peer.receive();
                } else {
                    // Slowly enough not to be closed for requests that wait.
                    std::this_thread::sleep_for(2ms);
                }
            }
        }
    });
    QVERIFY(waitUntil([&] { return asked > 100; }));
    const Answers during = answersTo(*phone, 1s);
    attack.stop();
    const qint64 grown = ProcessMemory::peak(web->processId()) - memoryBefore;
    qInfo("%d requests; median %.1f ms, 99th percentile %.1f ms; the program worked %.1f and "
          "%.1f ms; memory grew by %lld MiB.",
          asked.load(), during.times.median(), during.times.atShare(0.99), during.work.median(),
          during.work.atShare(0.99), grown / Mebibyte);
    QVERIFY(isServed(during));
    QVERIFY(grown < MostGrowth);
    QVERIFY(phone->isOpen());
}

void tst_PhoneLoad::phonesThatComeAndGoLeaveNothing()
{
    startWeb();
    const auto secret = pair();
    QVERIFY(secret);
    const auto comeAndGo = [&](int count) {
        for (int i = 0; i < count; ++i) {
            RawPhone phone(port);
            QVERIFY(phone.open() && phone.enter(*secret) && phone.becomeReady());
        }
    };
    comeAndGo(200);
    const int descriptorsBefore = descriptors();
    const qint64 memoryBefore = memory();
    comeAndGo(400);
    QVERIFY(waitUntil([&] { return descriptors() <= descriptorsBefore; }));
    const qint64 grown = memory() - memoryBefore;
    qInfo("Memory grew by %lld KiB.", grown / 1024);
    QVERIFY(grown < 2 * Mebibyte);
}

QTEST_GUILESS_MAIN(tst_PhoneLoad)
#include "tst_PhoneLoad.moc"
