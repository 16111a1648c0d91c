// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/DisplayAccess.h"

#include <QLocalServer>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

using platform::displayProblem;

/// Which display is looked for, and the message when it cannot be opened. Displays that answer are
/// played by sockets of compositors; X servers are left to the tests on a desktop.
class tst_DisplayAccess : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void aPluginWithoutADisplayHasNoProblem_data();
    void aPluginWithoutADisplayHasNoProblem();
    void theProblemNamesTheDisplay_data();
    void theProblemNamesTheDisplay();
    void aCompositorThatAnswersIsEnough_data();
    void aCompositorThatAnswersIsEnough();
    void aChosenDisplayIsEverybodys();
    void aChosenDisplayComesBeforeTheCompositor();
    void withoutAChoiceTheEnvironmentStays();

private:
    QTemporaryDir folder;
};

void tst_DisplayAccess::init()
{
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(folder.path()));
    for (const char *variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        qunsetenv(variable);
    }
}

void tst_DisplayAccess::aPluginWithoutADisplayHasNoProblem_data()
{
    QTest::addColumn<QByteArray>("ofTheCommandLine");
    QTest::addColumn<QByteArray>("ofTheEnvironment");
    QTest::newRow("of the command line") << QByteArray("offscreen") << QByteArray();
    QTest::newRow("of the environment") << QByteArray() << QByteArray("minimal");
    QTest::newRow("the command line counts") << QByteArray("vnc:port=1") << QByteArray("xcb");
}

void tst_DisplayAccess::aPluginWithoutADisplayHasNoProblem()
{
    QFETCH(QByteArray, ofTheCommandLine);
    QFETCH(QByteArray, ofTheEnvironment);
    qputenv("QT_QPA_PLATFORM", ofTheEnvironment);
    QCOMPARE(displayProblem({ofTheCommandLine, ":4711"}), QString());
}

void tst_DisplayAccess::theProblemNamesTheDisplay_data()
{
    QTest::addColumn<QByteArray>("plugin");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("problem");
    const QString none = u"No display is set"_s;
    QTest::newRow("none") << QByteArray() << QByteArray() << none;
    QTest::newRow("none for the plugin") << QByteArray("xcb") << QByteArray() << none;
    QTest::newRow("by name") << QByteArray() << QByteArray(":4711")
                             << "The display \":4711\" cannot be opened";
    QTest::newRow("by name, of several plugins") << QByteArray("wayland;xcb") << QByteArray(":4711")
                                                 << "The display \":4711\" cannot be opened";
    QTest::newRow("Wayland's has no name on the command line")
        << QByteArray("wayland") << QByteArray(":4711") << none;
}

void tst_DisplayAccess::theProblemNamesTheDisplay()
{
    QFETCH(QByteArray, plugin);
    QFETCH(QByteArray, name);
    QFETCH(QString, problem);
    const QString variable = plugin == "wayland" ? u"WAYLAND_DISPLAY"_s : u"DISPLAY"_s;
    QCOMPARE(displayProblem({plugin, name}),
             problem + u"; start the program from a graphical session, or set "_s + variable +
                 u" to the display of one."_s);
}

void tst_DisplayAccess::aCompositorThatAnswersIsEnough_data()
{
    QTest::addColumn<QByteArray>("plugin");
    QTest::addColumn<bool>("isEnough");
    QTest::newRow("any plugin") << QByteArray() << true;
    QTest::newRow("wayland") << QByteArray("wayland") << true;
    QTest::newRow("wayland-egl") << QByteArray("wayland-egl") << true;
    QTest::newRow("several plugins") << QByteArray("xcb;wayland") << true;
    QTest::newRow("xcb") << QByteArray("xcb") << false;
}

void tst_DisplayAccess::aCompositorThatAnswersIsEnough()
{
    QFETCH(QByteArray, plugin);
    QLocalServer compositor;
    QVERIFY(compositor.listen(folder.filePath(u"wayland-7"_s)));
    for (const QByteArray &name : {QByteArray("wayland-7"), compositor.fullServerName().toUtf8()}) {
        qputenv("WAYLAND_DISPLAY", name);
        QTEST(displayProblem({plugin, {}}).isEmpty(), "isEnough");
        // The other one may be dead.
        QTEST(displayProblem({plugin, ":4711"}).isEmpty(), "isEnough");
    }
    compositor.close();
    QVERIFY(!displayProblem({plugin, {}}).isEmpty());
}

void tst_DisplayAccess::aChosenDisplayIsEverybodys()
{
    qputenv("DISPLAY", ":1");
    platform::adoptDisplay({"xcb", ":7"});
    QCOMPARE(qgetenv("DISPLAY"), QByteArray(":7"));
}

void tst_DisplayAccess::aChosenDisplayComesBeforeTheCompositor()
{
    qputenv("WAYLAND_DISPLAY", "wayland-0");
    platform::adoptDisplay({"wayland", ":7"});
    QVERIFY(qEnvironmentVariableIsSet("WAYLAND_DISPLAY"));
    platform::adoptDisplay({{}, ":7"});
    QVERIFY(!qEnvironmentVariableIsSet("WAYLAND_DISPLAY"));
}

void tst_DisplayAccess::withoutAChoiceTheEnvironmentStays()
{
    qputenv("DISPLAY", ":1");
    qputenv("WAYLAND_DISPLAY", "wayland-0");
    platform::adoptDisplay({"xcb", {}});
    QCOMPARE(qgetenv("DISPLAY"), QByteArray(":1"));
    QCOMPARE(qgetenv("WAYLAND_DISPLAY"), QByteArray("wayland-0"));
    QVERIFY(!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"));
}

QTEST_GUILESS_MAIN(tst_DisplayAccess)
#include "tst_DisplayAccess.moc"
