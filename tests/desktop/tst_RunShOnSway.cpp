// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// run.sh in a session of sway: it starts the server there, whichever displays are named.

#include "support/protocol/Handheld.h"
#include "support/protocol/Tokens.h"
#include "support/wayland/SwayScene.h"
#include "support/wayland/WaylandWindow.h"
#include "support/x11/InputWatcher.h"
#include "support/x11/XServer.h"

#include <QTest>

class tst_RunShOnSway : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void serverTypesOnTheCompositorIfThereIsOne_data();
    void serverTypesOnTheCompositorIfThereIsOne();
    void serverTypesOnAnXDisplayAlone();

private:
    bool tapA() const;

    const QByteArray server = qgetenv("VORNA_SERVER");
    std::unique_ptr<XServer> xServer;
    std::unique_ptr<SwayScene> scene;
};

void tst_RunShOnSway::init()
{
    xServer = std::make_unique<XServer>();
    QVERIFY(xServer->isRunning());
    scene = std::make_unique<SwayScene>();
    QCOMPARE(scene->problem(), QByteArray());
    // What run.sh starts, while it is what the scene starts.
    scene->session().addVariable(u"VORNA_SERVER"_s, QFile::decodeName(server));
    qputenv("VORNA_SERVER", RUN_SH);
    // The toolkit chooses, as in every user's session.
    for (const auto &name : {u"QT_QPA_PLATFORM"_s, u"GDK_BACKEND"_s}) {
        scene->session().addVariable(name, {});
    }
}

void tst_RunShOnSway::cleanup()
{
    const QByteArray problem = scene->problemAtEnd();
    scene.reset();
    qputenv("VORNA_SERVER", server);
    QCOMPARE(problem, QByteArray());
}

bool tst_RunShOnSway::tapA() const
{
    Handheld handheld(scene->port());
    return handheld.isConnected() &&
           handheld.send(commandText(u"KEYBOARD_CMD"_s, {{u"fncCommand"_s, u"A"_s}}));
}

void tst_RunShOnSway::serverTypesOnTheCompositorIfThereIsOne_data()
{
    QTest::addColumn<bool>("isOnXDisplay");
    QTest::newRow("WAYLAND_DISPLAY") << false;
    QTest::newRow("WAYLAND_DISPLAY and DISPLAY") << true;
}

void tst_RunShOnSway::serverTypesOnTheCompositorIfThereIsOne()
{
    QFETCH(bool, isOnXDisplay);
    InputWatcher watcher(xServer->display());
    if (isOnXDisplay) {
        scene->session().addVariable(u"DISPLAY"_s, xServer->display());
    }
    QVERIFY(scene->start());
    WaylandWindow window(scene->session().displayPath());
    QTRY_VERIFY(window.isShown() && window.hasFocus());
    QVERIFY(tapA());
    QTRY_COMPARE(window.typed(), u"a"_s);
    watcher.sync();
    QCOMPARE(watcher.typedText(), QString());
}

void tst_RunShOnSway::serverTypesOnAnXDisplayAlone()
{
    InputWatcher watcher(xServer->display());
    scene->session().addVariable(u"DISPLAY"_s, xServer->display());
    scene->session().addVariable(u"WAYLAND_DISPLAY"_s, {});
    QVERIFY(scene->start());
    QVERIFY(tapA());
    QTRY_COMPARE(watcher.typedText(), u"a"_s);
}

QTEST_GUILESS_MAIN(tst_RunShOnSway)
#include "tst_RunShOnSway.moc"
