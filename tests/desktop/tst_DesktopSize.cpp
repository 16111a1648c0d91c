// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/ServerScene.h"
#include "support/x11/XcbClient.h"

#include <QProcess>
#include <QTest>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

using Variables = QList<std::pair<QString, QString>>;

QByteArray moveBy(int right, int down)
{
    return commandText(u"MOUSE_CMD"_s, {{u"fncCommand"_s, u"4"_s},
                                        {u"cmdParameters"_s, QStringList{QString::number(right),
                                                                         QString::number(down)}}});
}

} // namespace

Q_DECLARE_METATYPE(Variables)

/// The size that the server reports is in the unit of the pointer's moves, whatever the scale.
class tst_DesktopSize : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void sizeIsInTheUnitOfThePointersMoves_data();
    void sizeIsInTheUnitOfThePointersMoves();
    void twoScreensOfDifferentScaleAreOneDesktop();
    void sizeIsReportedWhileAnotherProgramKeepsTheDisplay();

private:
    /// Runs a program of the session to its end.
    bool run(const QString &program, const QStringList &arguments, const QByteArray &input = {});
    /// Width and height as the server reports them.
    QSize toldSize();
    static QSize toldSize(Handheld &handheld);
    /// How far the pointer can be moved from the top left corner, plus one pixel.
    QSize wayOfThePointer();

    std::unique_ptr<ServerScene> scene;
};

void tst_DesktopSize::init()
{
    scene = std::make_unique<ServerScene>();
    QCOMPARE(scene->session().problem(), QByteArray());
}

void tst_DesktopSize::cleanup()
{
    QCOMPARE(scene->problemAtEnd(), QByteArray());
    scene.reset();
}

bool tst_DesktopSize::run(const QString &program, const QStringList &arguments,
                          const QByteArray &input)
{
    QProcess process;
    process.setProcessEnvironment(scene->session().environment());
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

QSize tst_DesktopSize::toldSize()
{
    Handheld handheld(scene->port());
    return toldSize(handheld);
}

QSize tst_DesktopSize::toldSize(Handheld &handheld)
{
    const auto answer = handheld.ask(serverInfo());
    if (!answer) {
        return {};
    }
    const QStringList reported = answer->value(u"cmdParameters"_s).toStringList();
    return {reported.value(1).toInt(), reported.value(0).toInt()};
}

QSize tst_DesktopSize::wayOfThePointer()
{
    Handheld handheld(scene->port());
    if (!handheld.sendAndSettle(moveBy(-100'000, -100'000)) ||
        scene->view().pointer() != QPoint(0, 0) ||
        !handheld.sendAndSettle(moveBy(100'000, 100'000))) {
        return {};
    }
    const QPoint corner = scene->view().pointer();
    return {corner.x() + 1, corner.y() + 1};
}

void tst_DesktopSize::sizeIsInTheUnitOfThePointersMoves_data()
{
    QTest::addColumn<QByteArray>("resources");
    QTest::addColumn<Variables>("variables");
    for (const int dpi : {96, 144, 192}) {
        QTest::addRow("%d dpi", dpi) << "Xft.dpi: " + QByteArray::number(dpi) + '\n' << Variables();
    }
    QTest::newRow("scale factor 2") << QByteArray() << Variables{{u"QT_SCALE_FACTOR"_s, u"2"_s}};
    QTest::newRow("scale factor 1.5 at 144 dpi")
        << QByteArray("Xft.dpi: 144\n") << Variables{{u"QT_SCALE_FACTOR"_s, u"1.5"_s}};
}

void tst_DesktopSize::sizeIsInTheUnitOfThePointersMoves()
{
    QFETCH(QByteArray, resources);
    QFETCH(Variables, variables);
    if (!resources.isEmpty()) {
        QVERIFY(run(u"xrdb"_s, {u"-nocpp"_s, u"-merge"_s}, resources));
    }
    for (const auto &[name, value] : variables) {
        scene->mutableSession().addVariable(name, value);
    }
    QVERIFY(scene->start());
    QCOMPARE(toldSize(), scene->view().picture().size());
    QCOMPARE(toldSize(), wayOfThePointer());
}

void tst_DesktopSize::twoScreensOfDifferentScaleAreOneDesktop()
{
    const QSize whole = scene->view().picture().size();
    const int half = whole.width() / 2;
    const QString screen = u"%1/%2x%3/%4+%5+0"_s;
    QVERIFY(run(u"xrandr"_s,
                {u"--setmonitor"_s, u"left"_s,
                 screen.arg(half).arg(150).arg(whole.height()).arg(150).arg(0), u"screen"_s}));
    QVERIFY(run(u"xrandr"_s,
                {u"--setmonitor"_s, u"right"_s,
                 screen.arg(whole.width() - half).arg(150).arg(whole.height()).arg(150).arg(half),
                 u"none"_s}));
    scene->mutableSession().addVariable(u"QT_SCREEN_SCALE_FACTORS"_s, u"left=1;right=2"_s);
    QVERIFY(scene->start());
    QCOMPARE(toldSize(), whole);
    QCOMPARE(toldSize(), wayOfThePointer());
}

void tst_DesktopSize::sizeIsReportedWhileAnotherProgramKeepsTheDisplay()
{
    QVERIFY(scene->start());
    Handheld handheld(scene->port());
    const QSize before = toldSize(handheld);
    QVERIFY(!before.isEmpty());
    const XcbConnection holder = XcbClient::connectTo(scene->session().display());
    QVERIFY(XcbClient::isConnected(holder));
    const auto cookie = xcb_grab_server_checked(holder.get());
    const auto failure = xcbOwned(xcb_request_check(holder.get(), cookie));
    QVERIFY(!failure);
    QCOMPARE(toldSize(handheld), before);
}

QTEST_GUILESS_MAIN(tst_DesktopSize)
#include "tst_DesktopSize.moc"
