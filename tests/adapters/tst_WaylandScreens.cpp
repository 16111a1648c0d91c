// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/WaylandScreens.h"

#include "support/Waiting.h"
#include "support/wayland/SwaySession.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <algorithm>

using namespace std::chrono_literals;
using platform::CompositorPatience;
using platform::Screen;
using platform::WaylandConnection;
using platform::WaylandScreens;

class tst_WaylandScreens : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theOneScreenIsKnownAtOnce();
    void everyOutputIsAScreen();
    void theMainScreenIsTheOneAtTheOrigin();
    void aScaleMakesTheDesktopSmaller_data();
    void aScaleMakesTheDesktopSmaller();
    void aTurnedOutputIsAsWideAsItWasHigh();
    void aChangeIsReported();
    void anEndedWatchReportsNothing();
    void withoutACompositorThereIsNoScreen();
    void aCompositorThatIsBackIsFound();
    void aCompositorThatHangsOnItsReturnIsNotWaitedFor();

private:
    bool command(const char *text) { return session->command(QString::fromLatin1(text)); }
    bool becomes(const QList<Screen> &expected)
    {
        return waitUntil([&] { return screens->all() == expected; });
    }

    const Screen first{u"HEADLESS-1"_s, QRect(QPoint(0, 0), SwaySession::OutputSize), 1};
    const Screen second{u"HEADLESS-2"_s, QRect(1280, 0, 1920, 1080), 1};
    std::unique_ptr<SwaySession> session;
    std::unique_ptr<WaylandScreens> screens;
    int changes = 0;
};

void tst_WaylandScreens::init()
{
    changes = 0;
    session = std::make_unique<SwaySession>();
    QCOMPARE(session->problem(), QByteArray());
    qputenv("XDG_RUNTIME_DIR", session->runtimeDirectory().toLocal8Bit());
    qputenv("WAYLAND_DISPLAY", session->display().toLocal8Bit());
    auto connection = std::make_unique<WaylandConnection>();
    QVERIFY(connection->answers(GenerousLimit));
    screens =
        std::make_unique<WaylandScreens>(std::move(connection), CompositorPatience(GenerousLimit));
}

void tst_WaylandScreens::cleanup()
{
    screens.reset();
    session.reset();
}

void tst_WaylandScreens::theOneScreenIsKnownAtOnce()
{
    QCOMPARE(screens->all(), QList{first});
    QCOMPARE(screens->desktopSize(), SwaySession::OutputSize);
}

void tst_WaylandScreens::everyOutputIsAScreen()
{
    QVERIFY(command("create_output"));
    QVERIFY(becomes({first, second}));
    QCOMPARE(screens->desktopSize(), QSize(1280 + 1920, 1080));
    QVERIFY(command("output HEADLESS-2 position 1280 500"));
    QVERIFY(waitUntil([this] { return screens->desktopSize() == QSize(1280 + 1920, 1580); }));
}

void tst_WaylandScreens::theMainScreenIsTheOneAtTheOrigin()
{
    QVERIFY(command("create_output"));
    QVERIFY(becomes({first, second}));
    QVERIFY(command("output HEADLESS-1 position 1920 0"));
    QVERIFY(command("output HEADLESS-2 position 0 0"));
    Screen right = first;
    right.place.moveLeft(1920);
    Screen left = second;
    left.place.moveLeft(0);
    QVERIFY(becomes({left, right}));
    // None is there, so the one that was announced first is the main one.
    QVERIFY(command("output HEADLESS-2 position 1 0"));
    left.place.moveLeft(1);
    QVERIFY(becomes({right, left}));
    QCOMPARE(screens->desktopSize(), QSize(1919 + 1280, 1080));
}

void tst_WaylandScreens::aScaleMakesTheDesktopSmaller_data()
{
    QTest::addColumn<double>("scale");
    QTest::addColumn<QSize>("size");
    QTest::newRow("2") << 2.0 << QSize(640, 360);
    QTest::newRow("1.5, which leaves a rest") << 1.5 << QSize(853, 480);
    QTest::newRow("1.25") << 1.25 << QSize(1024, 576);
    QTest::newRow("0.5") << 0.5 << QSize(2560, 1440);
}

void tst_WaylandScreens::aScaleMakesTheDesktopSmaller()
{
    QFETCH(double, scale);
    QFETCH(QSize, size);
    QVERIFY(session->command(u"output HEADLESS-1 scale %1"_s.arg(scale)));
    QVERIFY(becomes({{first.name, QRect(QPoint(0, 0), size), scale}}));
    QCOMPARE(screens->desktopSize(), size);
}

void tst_WaylandScreens::aTurnedOutputIsAsWideAsItWasHigh()
{
    QVERIFY(command("output HEADLESS-1 scale 2 transform 90"));
    QVERIFY(becomes({{first.name, QRect(0, 0, 360, 640), 2}}));
    QVERIFY(command("output HEADLESS-1 scale 1 transform flipped-180"));
    QVERIFY(becomes({first}));
    QVERIFY(command("output HEADLESS-1 transform flipped-270"));
    QVERIFY(becomes({{first.name, QRect(0, 0, 720, 1280), 1}}));
}

void tst_WaylandScreens::aChangeIsReported()
{
    screens->watch([this] { ++changes; });
    QTest::qWait(0);
    QCOMPARE(changes, 0);
    int before = changes;
    for (const char *change :
         {"create_output", "output HEADLESS-1 scale 2", "output HEADLESS-2 position 3000 0",
          "output HEADLESS-2 transform 90"}) {
        QVERIFY(command(change));
        QVERIFY2(waitUntil([&] { return changes > before; }), change);
        before = changes;
    }
}

void tst_WaylandScreens::anEndedWatchReportsNothing()
{
    screens->watch([this] {
        ++changes;
        screens->watch({});
    });
    QVERIFY(command("output HEADLESS-1 scale 2"));
    QVERIFY(waitUntil([&] { return changes == 1; }));
    QVERIFY(command("output HEADLESS-1 scale 1"));
    QVERIFY(becomes({first}));
    QTest::qWait(0);
    QCOMPARE(changes, 1);
}

void tst_WaylandScreens::withoutACompositorThereIsNoScreen()
{
    screens->watch([this] { ++changes; });
    session->end();
    QVERIFY(becomes({}));
    QCOMPARE(screens->desktopSize(), QSize(0, 0));
    QVERIFY(waitUntil([&] { return changes == 1; }));
}

void tst_WaylandScreens::aCompositorThatIsBackIsFound()
{
    for (int i = 0; i < 2; ++i) {
        session->end();
        QVERIFY(becomes({}));
        QVERIFY(session->restart());
        QVERIFY(becomes({first}));
    }
    QVERIFY(command("create_output"));
    QVERIFY(becomes({first, second}));
}

/// It is looked for once a second, and each time it takes the connection but does not answer.
void tst_WaylandScreens::aCompositorThatHangsOnItsReturnIsNotWaitedFor()
{
    session->end();
    QVERIFY(becomes({}));
    QVERIFY(session->restart());
    session->halt();
    qint64 longest = 0;
    QElapsedTimer sinceLast;
    sinceLast.start();
    QTimer pulse;
    connect(&pulse, &QTimer::timeout, this,
            [&] { longest = std::max(longest, sinceLast.restart()); });
    pulse.start(10ms);
    QTest::qWait(3000);
    QVERIFY2(longest < 700, qPrintable(QString::number(longest)));
    session->resume();
    QVERIFY(becomes({first}));
}

QTEST_GUILESS_MAIN(tst_WaylandScreens)
#include "tst_WaylandScreens.moc"
