// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/ToolkitScreens.h"

#include "support/Waiting.h"
#include "support/x11/XServer.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using platform::Screen;
using platform::ToolkitScreens;

namespace {

/// The toolkit has screens that change only on a display that does.
const XServer *display = nullptr;

bool resize(const QString &size)
{
    return display->run(u"xrandr"_s, {u"--output"_s, u"screen"_s, u"--mode"_s, size});
}

} // namespace

class tst_ToolkitScreens : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void aChangeIsReported();
    void anEndedWatchReportsNothing();
};

void tst_ToolkitScreens::initTestCase()
{
    QVERIFY(display->isRunning());
    // Modes that the display does not have by itself.
    for (const QString &mode : {u"640"_s, u"320"_s}) {
        QVERIFY(display->run(u"xrandr"_s, {u"--newmode"_s, mode, u"1"_s, mode, u"0"_s, u"0"_s, mode,
                                           u"480"_s, u"0"_s, u"0"_s, u"480"_s}));
        QVERIFY(display->run(u"xrandr"_s, {u"--addmode"_s, u"screen"_s, mode}));
    }
}

void tst_ToolkitScreens::aChangeIsReported()
{
    ToolkitScreens screens;
    QList<QList<Screen>> reported;
    screens.watch([&] { reported.append(screens.all()); });
    QVERIFY(resize(u"640"_s));
    const QString name = QGuiApplication::primaryScreen()->name();
    const QList<Screen> expected{{name, QRect(0, 0, 640, 480), 1}};
    QVERIFY(waitUntil([&] { return screens.all() == expected && !reported.isEmpty(); }));
    QCOMPARE(reported.last(), expected);
    // Reported once for each change.
    QCOMPARE(std::adjacent_find(reported.begin(), reported.end()), reported.end());
}

void tst_ToolkitScreens::anEndedWatchReportsNothing()
{
    ToolkitScreens ended;
    ToolkitScreens going;
    int reports = 0;
    ended.watch([&] { reports += 100; });
    ended.watch({});
    going.watch([&] { ++reports; });
    QVERIFY(resize(u"320"_s));
    QVERIFY(waitUntil([&] { return reports > 0; }));
    QVERIFY(reports < 100);
}

int main(int count, char **arguments)
{
    const XServer server(QSize(1024, 768));
    display = &server;
    qputenv("DISPLAY", server.display().toLatin1());
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QGuiApplication application(count, arguments);
    tst_ToolkitScreens test;
    return QTest::qExec(&test, count, arguments);
}
#include "tst_ToolkitScreens.moc"
