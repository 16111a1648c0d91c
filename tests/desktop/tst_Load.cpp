// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/Asker.h"
#include "support/Flooder.h"
#include "support/ProcessMemory.h"
#include "support/ProcessTables.h"
#include "support/ServerScene.h"

#include "platform/DescriptorLimit.h"

#include <sys/resource.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

constexpr qint64 Mebibyte = 1024 * 1024;

QByteArray serverInfo()
{
    return commandText(QStringLiteral("SERVER_INFO"));
}

QByteArray key(const QString &name)
{
    return commandText(QStringLiteral("KEYBOARD_CMD"), {{QStringLiteral("fncCommand"), name}});
}

bool isAnswered(Handheld &handheld)
{
    const auto answer = handheld.ask(serverInfo());
    return answer && answer->value(QStringLiteral("serverResponse")) == QStringLiteral("OK");
}

/// A last preparation that lets the server open only so many descriptors.
std::function<void()> descriptorLimit(rlim_t most)
{
    return [most] {
        const rlimit limit{most, most};
        if (setrlimit(RLIMIT_NOFILE, &limit) != 0)
            _exit(1);
    };
}

} // namespace

/// Devices that ask for much, or for more than there is: the others are served all the same.
class tst_Load : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void aCrowdIsServed();
    void connectionsBeyondTheDescriptorsWaitForThem();
    void floodOfTokensDoesNotHoldUpOthers_data();
    void floodOfTokensDoesNotHoldUpOthers();
    void deviceThatNeverReadsIsDisconnected();
    void deviceThatStoresTooMuchIsDisconnected_data();
    void deviceThatStoresTooMuchIsDisconnected();
    void manyTokensOnOneConnectionTakeNoMemory();

private:
    std::unique_ptr<ServerScene> m_scene;
};

void tst_Load::initTestCase()
{
    platform::raiseDescriptorLimit();
    // The sanitizer keeps freed memory back, which would look like growth.
    qputenv("ASAN_OPTIONS", qgetenv("ASAN_OPTIONS") + ":quarantine_size_mb=1");
}

void tst_Load::init()
{
    m_scene = std::make_unique<ServerScene>();
    QCOMPARE(m_scene->session().problem(), QByteArray());
}

void tst_Load::cleanup()
{
    QVERIFY(m_scene->waitUntilNothingIsHeld());
    QCOMPARE(m_scene->problemAtEnd(), QByteArray());
    m_scene.reset();
}

void tst_Load::aCrowdIsServed()
{
    constexpr size_t CrowdSize = 300;
    QVERIFY(m_scene->start());
    std::vector<std::unique_ptr<Handheld>> crowd;
    while (crowd.size() < CrowdSize)
        crowd.push_back(std::make_unique<Handheld>(m_scene->port()));
    for (const auto &handheld : crowd)
        QVERIFY(handheld->isConnected() && isAnswered(*handheld));
    QVERIFY(m_scene->server().openDescriptors() > int(CrowdSize));
    crowd.clear();
    QVERIFY(waitUntil([this] { return m_scene->server().openDescriptors() < 100; }));
}

void tst_Load::connectionsBeyondTheDescriptorsWaitForThem()
{
    constexpr int Descriptors = 64;
    m_scene->launch(descriptorLimit(Descriptors));
    QVERIFY(m_scene->port() != 0);
    Handheld first(m_scene->port());
    QVERIFY(isAnswered(first));

    std::vector<std::unique_ptr<Handheld>> crowd;
    for (int i = 0; i < Descriptors; ++i)
        crowd.push_back(std::make_unique<Handheld>(m_scene->port()));
    QVERIFY(isAnswered(first));
    Handheld late(m_scene->port());
    QVERIFY(late.send(serverInfo()));
    QVERIFY(!late.answer(500ms));

    // Waiting must cost nothing: less than a twentieth of a core.
    const qint64 before = ProcessTables::processorTicks(m_scene->server().processId());
    QTest::qWait(2000);
    const qint64 used = ProcessTables::processorTicks(m_scene->server().processId()) - before;
    QVERIFY2(used * 1000 / sysconf(_SC_CLK_TCK) < 100, QByteArray::number(used).constData());

    QVERIFY(isAnswered(first));
    crowd.clear();
    QVERIFY(late.answer());
    QVERIFY(isAnswered(late));
}

void tst_Load::floodOfTokensDoesNotHoldUpOthers_data()
{
    QTest::addColumn<QByteArray>("token");
    QTest::newRow("with answers") << serverInfo();
    QTest::newRow("of keys") << key("A");
    QTest::newRow("that do nothing") << commandText(QStringLiteral("APPLICATION_CMD"));
    QTest::newRow("that never end") << QByteArray("{ a = b;");
    QTest::newRow("without form") << QByteArray("}{ = ;( ");
}

void tst_Load::floodOfTokensDoesNotHoldUpOthers()
{
    QFETCH(QByteArray, token);
    QVERIFY(m_scene->start());
    Flooder flooder(m_scene->port(), token);
    Asker asker(m_scene->port(), 10ms);
    QTest::qWait(4000);
    const Sample times = asker.stop();
    const qint64 taken = flooder.stop();
    qInfo("%zu answers: median %.1f ms, 99th percentile %.1f ms; %lld MiB of the flood taken.",
          times.size(), times.median(), times.atShare(0.99), taken / Mebibyte);
    QVERIFY(asker.isServed());
    QVERIFY(taken > Mebibyte);
    QVERIFY(times.median() < 500); // with sanitizers and beside other tests; bench/ tells more
}

void tst_Load::deviceThatNeverReadsIsDisconnected()
{
    QVERIFY(m_scene->start());
    Asker asker(m_scene->port(), 10ms);
    Handheld silent(m_scene->port());
    // A large value comes back in every answer.
    QVERIFY(silent.sendAndSettle("{ a = " + QByteArray(50'000, 'v') + "; }"));
    int asked = 0;
    while (asked < 1000 && silent.send(serverInfo(), 5s) && silent.waitUntilRead(2s))
        ++asked;
    QVERIFY2(asked < 1000, "still connected");
    QVERIFY(silent.waitUntilClosed());
    QVERIFY(asker.stop().atShare(0.99) < 250);
    QVERIFY(asker.isServed());
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
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
    QVERIFY(m_scene->start());
    Handheld greedy(m_scene->port());
    Handheld other(m_scene->port());
    int number = 0;
    bool isConnected = true;
    while (isConnected && number < Enough) {
        QByteArray token = "{ ";
        while (token.size() < 20'000)
            token += "key" + QByteArray::number(number++) + " = " + value + ";";
        isConnected = greedy.send(token + " }") && greedy.waitUntilRead(5s);
    }
    QVERIFY2(!isConnected || greedy.waitUntilClosed(5s), "still connected");
    QVERIFY(isAnswered(other));
}

void tst_Load::manyTokensOnOneConnectionTakeNoMemory()
{
    QVERIFY(m_scene->start());
    Handheld handheld(m_scene->port());
    for (int i = 0; i < 1000; ++i)
        QVERIFY(isAnswered(handheld));
    const qint64 before = ProcessMemory::resident(m_scene->server().processId());
    for (int i = 0; i < 10'000; ++i)
        QVERIFY(isAnswered(handheld));
    const qint64 grown = ProcessMemory::resident(m_scene->server().processId()) - before;
    qInfo("Memory grew by %lld KiB.", grown / 1024);
    QVERIFY(grown < Mebibyte);
}

QTEST_GUILESS_MAIN(tst_Load)
#include "tst_Load.moc"
