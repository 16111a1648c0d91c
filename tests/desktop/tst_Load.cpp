// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/process/ProcessMemory.h"
#include "support/protocol/Asker.h"
#include "support/protocol/Flooder.h"
#include "support/session/ServerScene.h"

#include "platform/DescriptorLimit.h"

#include <QDir>
#include <QElapsedTimer>

#include <algorithm>
#include <atomic>
#include <deque>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

namespace {

constexpr qint64 Mebibyte = 1024 * 1024;

/// What memory still grows by once it should not: the sanitizer's share of it takes long to settle.
constexpr qint64 SettlingOfTheSanitizer = 2 * Mebibyte;

/// Enough to show how long the others wait during an attack.
constexpr int EnoughAnswers = 100;

/// Devices, the oldest first.
using Crowd = std::deque<std::unique_ptr<Handheld>>;

Crowd crowd(size_t size, quint16 port)
{
    Crowd devices;
    while (devices.size() < size) {
        devices.push_back(std::make_unique<Handheld>(port));
    }
    return devices;
}

/// As many as the server has descriptors for, and one that waits. Not many that wait: the system
/// keeps a short queue, and connections beyond it are retried after seconds.
Crowd crowdThatFills(quint16 port)
{
    Crowd devices;
    do {
        devices.push_back(std::make_unique<Handheld>(port));
    } while (devices.back()->isServed(2s));
    return devices;
}

/// A last preparation that lets the server open only so many descriptors.
std::function<void()> descriptorLimit(rlim_t most)
{
    return [most] {
        const rlimit limit{most, most};
        if (setrlimit(RLIMIT_NOFILE, &limit) != 0) {
            _exit(1);
        }
    };
}

} // namespace

/// Devices that demand a lot, or more than there is: the others are still served.
class tst_Load : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void aCrowdIsServed();
    void connectionsOneAfterAnotherLeaveNothing();
    void connectionsBeyondTheDescriptorsWaitForThem();
    void filesBeyondTheDescriptorsAreNotOpened();
    void connectionsThatComeAndGoDoNotUseUpTheReserve();
    void connectionsThatComeAndGoHoldNobodyUp();
    void floodOfTokensDoesNotHoldUpOthers_data();
    void floodOfTokensDoesNotHoldUpOthers();
    void deviceThatNeverReadsIsDisconnected();
    void deviceThatStoresTooMuchIsDisconnected_data();
    void deviceThatStoresTooMuchIsDisconnected();
    void storesOfManyDevicesAreLimitedInAll();
    void manyTokensOnOneConnectionTakeNoMemory();

private:
    bool startWithoutQuarantine();
    qint64 residentMemory() const;

    std::unique_ptr<ServerScene> scene;
};

void tst_Load::initTestCase()
{
    platform::raiseDescriptorLimit();
}

void tst_Load::init()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
}

void tst_Load::cleanup()
{
    QVERIFY(scene->waitUntilNothingIsHeld());
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    scene.reset();
}

/// Starts the server so that its memory can be measured: otherwise the sanitizer keeps freed
/// memory, which would look like growth.
bool tst_Load::startWithoutQuarantine()
{
    const QByteArray options = qgetenv("ASAN_OPTIONS");
    scene->mutableSession().addVariable(
        u"ASAN_OPTIONS"_s, QString::fromLocal8Bit(options) +
                               u":quarantine_size_mb=0:thread_local_quarantine_size_kb=0"_s);
    return scene->start();
}

qint64 tst_Load::residentMemory() const
{
    return ProcessMemory::resident(scene->server().processId());
}

void tst_Load::aCrowdIsServed()
{
    constexpr size_t CrowdSize = 1200; // More than the 1024 that some interfaces can take.
    QVERIFY(scene->start());
    QElapsedTimer time;
    time.start();
    Crowd devices = crowd(CrowdSize, scene->port());
    for (const auto &handheld : devices) {
        QVERIFY(handheld->isConnected() && handheld->isServed());
    }
    qInfo("All answered in %.1f s.", double(time.elapsed()) / 1000);
    QVERIFY(scene->server().openDescriptors() > int(CrowdSize));
    devices.clear();
    QVERIFY(waitUntil([this] { return scene->server().openDescriptors() < 100; }));
}

void tst_Load::connectionsOneAfterAnotherLeaveNothing()
{
    QVERIFY(startWithoutQuarantine());
    const quint16 port = scene->port();
    const auto connectAndLeave = [&](int count) {
        for (int i = 0; i < count; ++i) {
            Handheld handheld(port);
            QVERIFY(handheld.isServed());
        }
    };
    connectAndLeave(1000);
    const int descriptors = scene->server().openDescriptors();
    const qint64 before = residentMemory();
    connectAndLeave(2000);
    const qint64 grown = residentMemory() - before;
    qInfo("Memory grew by %lld KiB.", grown / 1024);
    QVERIFY(grown < SettlingOfTheSanitizer);
    QVERIFY(waitUntil([&] { return scene->server().openDescriptors() <= descriptors; }));
}

void tst_Load::connectionsBeyondTheDescriptorsWaitForThem()
{
    constexpr int Descriptors = 128;
    scene->launch(descriptorLimit(Descriptors));
    QVERIFY(scene->port() != 0);
    Handheld first(scene->port());
    QVERIFY(first.isServed());

    Crowd devices = crowdThatFills(scene->port());
    QVERIFY(first.isServed());
    Handheld late(scene->port());
    QVERIFY(late.send(serverInfo()));
    QVERIFY(!late.answer(500ms));

    QVERIFY(scene->comesToRest());

    QVERIFY(first.isServed());
    devices.clear();
    QVERIFY(late.answer());
    QVERIFY(late.isServed());
}

/// A file takes a descriptor, and so do the balloon that announces it and the program that opens
/// it.
void tst_Load::filesBeyondTheDescriptorsAreNotOpened()
{
    constexpr int Descriptors = 160;
    const QString folder = scene->session().path(u"received"_s);
    QVERIFY(QDir().mkpath(folder));
    scene->storeSetting(u"downloadDirectory"_s, folder);
    scene->launch(descriptorLimit(Descriptors));
    QVERIFY(scene->port() != 0);
    Handheld first(scene->port());
    QVERIFY(first.isServed());

    const Crowd devices = crowdThatFills(scene->port());
    QVERIFY(first.isServed());
    for (size_t i = 0; i < devices.size(); ++i) {
        QVERIFY(devices[i]->send(fileRequest(u"file%1"_s.arg(i), u"1000000"_s)));
        QVERIFY(first.isServed());
    }
    const qsizetype files = QDir(folder).entryList(QDir::Files).size();
    qInfo("%lld files are open.", qint64(files));
    // As many as fit beside the connections, and no more.
    QVERIFY(files >= 8 && files <= 32);
    QVERIFY(scene->server().openDescriptors() <= Descriptors - 24);
    QVERIFY(scene->comesToRest());
    QVERIFY(first.isServed());
}

/// Each device that leaves makes room for one; in the end there are no more than at first.
void tst_Load::connectionsThatComeAndGoDoNotUseUpTheReserve()
{
    constexpr int Descriptors = 160;
    scene->launch(descriptorLimit(Descriptors));
    QVERIFY(scene->port() != 0);
    Handheld first(scene->port());
    QVERIFY(first.isServed());
    Crowd devices = crowdThatFills(scene->port());
    QVERIFY(first.isServed());
    const int before = scene->server().openDescriptors();
    for (int i = 0; i < 100; ++i) {
        // The oldest one has the lowest number.
        devices.pop_front();
        devices.push_back(std::make_unique<Handheld>(scene->port()));
        QVERIFY(first.isServed());
    }
    QVERIFY(waitUntil([&] { return scene->server().openDescriptors() <= before + 2; }));
}

void tst_Load::connectionsThatComeAndGoHoldNobodyUp()
{
    QVERIFY(scene->start());
    const quint16 port = scene->port();
    Asker asker(port, 10ms);
    std::atomic_bool isOver = false;
    std::atomic_int count = 0;
    std::thread storm([&] {
        while (!isOver) {
            const Handheld comingAndGoing(port);
            count += comingAndGoing.isConnected();
        }
    });
    waitUntil([&] { return count > 500 && asker.answers() >= EnoughAnswers; });
    isOver = true;
    storm.join();
    QElapsedTimer time;
    time.start();
    Handheld next(port);
    QVERIFY(next.isServed());
    const qint64 afterwards = time.elapsed();
    const Sample times = asker.stop();
    qInfo("%d came and went; others' 99th percentile %.1f ms, the next one was answered after "
          "%lld ms.",
          count.load(), times.atShare(0.99), afterwards);
    QVERIFY(count > 500);
    QVERIFY(asker.isServed() && asker.answers() >= EnoughAnswers);
    QVERIFY(times.atShare(0.99) <
            500); // with sanitizers and beside other tests; bench/ is more exact
    QVERIFY(afterwards < 2000);
}

void tst_Load::floodOfTokensDoesNotHoldUpOthers_data()
{
    QTest::addColumn<QByteArray>("token");
    QTest::newRow("with answers") << serverInfo();
    QTest::newRow("of keys") << keyCommand(u"A"_s);
    QTest::newRow("that do nothing") << commandText(u"APPLICATION_CMD"_s);
    QTest::newRow("that never end") << QByteArray("{ a = b;");
    QTest::newRow("without form") << QByteArray("}{ = ;( ");
}

void tst_Load::floodOfTokensDoesNotHoldUpOthers()
{
    QFETCH(QByteArray, token);
    QVERIFY(scene->start());
    Flooder flooder(scene->port(), token);
    Asker asker(scene->port(), 10ms);
    waitUntil([&] { return flooder.taken() > Mebibyte && asker.answers() >= EnoughAnswers; });
    const Sample times = asker.stop();
    const qint64 taken = flooder.stop();
    qInfo("Others' median %.1f ms, 99th percentile %.1f ms; %lld MiB of the flood taken.",
          times.median(), times.atShare(0.99), taken / Mebibyte);
    QVERIFY(asker.isServed() && asker.answers() >= EnoughAnswers);
    QVERIFY(taken > Mebibyte);
    QVERIFY(times.median() < 500); // with sanitizers and beside other tests; bench/ is more exact
}

void tst_Load::deviceThatNeverReadsIsDisconnected()
{
    QVERIFY(scene->start());
    Asker asker(scene->port(), 10ms);
    Handheld silent(scene->port());
    // A large value comes back in every answer.
    QVERIFY(silent.sendAndSettle("{ a = " + QByteArray(50'000, 'v') + "; }"));
    int asked = 0;
    while (asked < 1000 && silent.send(serverInfo(), 5s) && silent.waitUntilRead(2s)) {
        ++asked;
    }
    QVERIFY2(asked < 1000, "still connected");
    QVERIFY(silent.waitUntilClosed());
    const Sample times = asker.stop();
    qInfo("Disconnected after %d answers of 50 kB; others' 99th percentile %.1f ms.", asked,
          times.atShare(0.99));
    QVERIFY(times.atShare(0.99) < 250);
    QVERIFY(asker.isServed());
    QVERIFY(scene->showsLight(StatusLight::Orange));
}

void tst_Load::deviceThatStoresTooMuchIsDisconnected_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("many keys") << QByteArray("v");
    QTest::newRow("large values") << QByteArray(20'000, 'v');
}

void tst_Load::deviceThatStoresTooMuchIsDisconnected()
{
    QFETCH(QByteArray, value);
    constexpr int Enough = 70'000;
    QVERIFY(scene->start());
    Handheld greedy(scene->port());
    Handheld other(scene->port());
    int number = 0;
    qint64 sent = 0;
    bool isConnected = true;
    while (isConnected && number < Enough) {
        QByteArray token = "{ ";
        while (token.size() < 20'000) {
            token += "key" + QByteArray::number(number++) + " = " + value + ";";
        }
        isConnected = greedy.send(token + " }") && greedy.waitUntilRead(5s);
        sent += token.size();
    }
    qInfo("Disconnected after %d keys and %lld MiB.", number, sent / Mebibyte);
    QVERIFY2(!isConnected || greedy.waitUntilClosed(5s), "still connected");
    QVERIFY(other.isServed());
}

/// Each device stays below the limit for a single one.
void tst_Load::storesOfManyDevicesAreLimitedInAll()
{
    constexpr size_t DeviceCount = 12;
    constexpr int TokensOfEach = 250;
    QVERIFY(scene->start());
    Asker asker(scene->port(), 10ms);
    Handheld honest(scene->port());
    QVERIFY(honest.isServed());
    std::vector<std::unique_ptr<Handheld>> greedy;
    while (greedy.size() < DeviceCount) {
        greedy.push_back(std::make_unique<Handheld>(scene->port()));
    }
    const QByteArray value(60'000, 'v');
    const auto hasEnded = [](const auto &device) { return !device->throwUnreadAway(); };
    int number = 0;
    for (; number < TokensOfEach && std::none_of(greedy.begin(), greedy.end(), hasEnded);
         ++number) {
        const QByteArray token = "{ k" + QByteArray::number(number) + " = " + value + "; }";
        for (const auto &device : greedy) {
            QVERIFY((device->send(token) && device->waitUntilRead()) || hasEnded(device));
        }
    }
    const Sample times = asker.stop();
    const auto ended = std::count_if(greedy.begin(), greedy.end(), hasEnded);
    qInfo("%lld of %zu were disconnected after %d tokens of each; others' 99th percentile %.1f ms.",
          qint64(ended), DeviceCount, number, times.atShare(0.99));
    QVERIFY(ended >= 1 && ended <= 2);
    QVERIFY(asker.isServed());
    QVERIFY(honest.isServed());
}

void tst_Load::manyTokensOnOneConnectionTakeNoMemory()
{
    QVERIFY(startWithoutQuarantine());
    Handheld handheld(scene->port());
    for (int i = 0; i < 1000; ++i) {
        QVERIFY(handheld.isServed());
    }
    const qint64 before = residentMemory();
    for (int i = 0; i < 10'000; ++i) {
        QVERIFY(handheld.isServed());
    }
    const qint64 grown = residentMemory() - before;
    qInfo("Memory grew by %lld KiB.", grown / 1024);
    QVERIFY(grown < SettlingOfTheSanitizer);
}

QTEST_GUILESS_MAIN(tst_Load)
#include "tst_Load.moc"
