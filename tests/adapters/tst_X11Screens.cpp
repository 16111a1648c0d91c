// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/session/X11Screens.h"

#include "support/Waiting.h"
#include "support/x11/XServer.h"

#include <QTest>

using namespace Qt::StringLiterals;
using platform::Screen;
using platform::X11Screens;

class tst_X11Screens : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void theOneScreenIsTheWholeDesktop();
    void everyMonitorIsAScreen();
    void theMainScreenComesFirst();
    void aChangeIsReported();
    void aChangeIsReportedOnceItCameWithAnAnswer();
    void nothingIsReportedWithoutAChange();
    void anEndedWatchReportsNothing();
    void withoutMonitorsTheDesktopIsOneScreen();

private:
    std::unique_ptr<X11Screens> screensOf(const XServer &display)
    {
        return std::make_unique<X11Screens>(
            platform::X11Connection(display.display().toLatin1().constData()));
    }
    /// Divides the display into monitors; "*" before its name marks the main one.
    bool setMonitor(const QString &name, const QString &geometry, const QString &output)
    {
        return server->run(u"xrandr"_s, {u"--setmonitor"_s, name, geometry, output});
    }
    bool divide()
    {
        return setMonitor(u"left"_s, u"500/100x600/120+0+0"_s, u"screen"_s) &&
               setMonitor(u"right"_s, u"300/60x600/120+500+0"_s, u"none"_s);
    }

    std::unique_ptr<XServer> server;
    std::unique_ptr<X11Screens> screens;
    int changes = 0;
};

void tst_X11Screens::init()
{
    screens.reset();
    changes = 0;
    server = std::make_unique<XServer>(QSize(800, 600));
    QVERIFY(server->isRunning());
    screens = screensOf(*server);
}

void tst_X11Screens::theOneScreenIsTheWholeDesktop()
{
    const QList<Screen> all = screens->all();
    QCOMPARE(all.size(), 1);
    QCOMPARE(all.first().place, QRect(0, 0, 800, 600));
    QCOMPARE(all.first().scale, 1.0);
    QVERIFY(!all.first().name.isEmpty());
    QCOMPARE(screens->desktopSize(), QSize(800, 600));
}

void tst_X11Screens::everyMonitorIsAScreen()
{
    QVERIFY(divide());
    const QList<Screen> all = screens->all();
    QCOMPARE(all.size(), 2);
    QVERIFY(all.contains(Screen{u"left"_s, QRect(0, 0, 500, 600), 1}));
    QVERIFY(all.contains(Screen{u"right"_s, QRect(500, 0, 300, 600), 1}));
    QCOMPARE(screens->desktopSize(), QSize(800, 600));
}

void tst_X11Screens::theMainScreenComesFirst()
{
    for (const auto &main : {u"left"_s, u"right"_s}) {
        for (const auto &name : {u"left"_s, u"right"_s}) {
            QVERIFY(
                setMonitor((name == main ? u"*"_s : QString()) + name,
                           name == u"left"_s ? u"500/100x600/120+0+0"_s : u"300/60x600/120+500+0"_s,
                           name == u"left"_s ? u"screen"_s : u"none"_s));
        }
        const QList<Screen> all = screens->all();
        QCOMPARE(all.size(), 2);
        QCOMPARE(all.first().name, main);
        QVERIFY(server->run(u"xrandr"_s, {u"--delmonitor"_s, u"left"_s}));
        QVERIFY(server->run(u"xrandr"_s, {u"--delmonitor"_s, u"right"_s}));
    }
}

void tst_X11Screens::aChangeIsReported()
{
    screens->watch([this] { ++changes; });
    QVERIFY(divide());
    QVERIFY(waitUntil([this] { return changes > 0 && screens->all().size() == 2; }));
    const int before = changes;
    QVERIFY(server->run(u"xrandr"_s, {u"--delmonitor"_s, u"right"_s}));
    QVERIFY(waitUntil([&] { return changes > before; }));
}

/// The event is read together with the answer, and the socket does not become readable again.
void tst_X11Screens::aChangeIsReportedOnceItCameWithAnAnswer()
{
    screens->watch([this] { ++changes; });
    QVERIFY(divide());
    screens->desktopSize();
    QCOMPARE(changes, 0);
    QVERIFY(waitUntil([this] { return changes > 0; }));
}

void tst_X11Screens::nothingIsReportedWithoutAChange()
{
    screens->watch([this] { ++changes; });
    QVERIFY(divide());
    QVERIFY(waitUntil([this] { return changes > 0 && screens->all().size() == 2; }));
    const int before = changes;
    // The server tells of this too, but it is nothing that all() has.
    QVERIFY(server->run(u"xrandr"_s, {u"--output"_s, u"screen"_s, u"--primary"_s}));
    QCOMPARE(screens->all().size(), 2);
    QTest::qWait(0);
    QCOMPARE(changes, before);
}

void tst_X11Screens::anEndedWatchReportsNothing()
{
    int others = 0;
    auto watching = screensOf(*server);
    watching->watch([&] { ++others; });
    screens->watch([this] { ++changes; });
    screens->watch({});
    QVERIFY(divide());
    QVERIFY(waitUntil([&] { return others > 0; }));
    QCOMPARE(changes, 0);
    screens->watch([this] { ++changes; });
    QVERIFY(server->run(u"xrandr"_s, {u"--delmonitor"_s, u"right"_s}));
    QVERIFY(waitUntil([this] { return changes > 0; }));
}

void tst_X11Screens::withoutMonitorsTheDesktopIsOneScreen()
{
    const XServer old(QSize(640, 480), {u"-extension"_s, u"RANDR"_s});
    QVERIFY(old.isRunning());
    const auto all = screensOf(old)->all();
    QCOMPARE(all.size(), 1);
    QCOMPARE(all.first().place, QRect(0, 0, 640, 480));
}

QTEST_GUILESS_MAIN(tst_X11Screens)
#include "tst_X11Screens.moc"
