// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/process/LackOfPorts.h"
#include "support/process/ProcessTables.h"
#include "support/process/PseudoTerminal.h"
#include "support/session/ServerScene.h"

#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

namespace {

/// A start that fails, or only prints something, must not wait for anything.
constexpr auto AtOnce = 8s;

const QByteArray WhatToDo =
    "; start the program from a graphical session, or set DISPLAY to the display of one.\n";
const QByteArray NoTray = "I couldn't detect any System tray on this system.";

} // namespace

/// The program's command line, and what the program prints in a terminal.
class tst_Invocation : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void helpAndVersionNeedNoDisplay_data();
    void helpAndVersionNeedNoDisplay();
    void everythingElseIsRefused_data();
    void everythingElseIsRefused();
    void withoutADisplayItSaysWhatToDo_data();
    void withoutADisplayItSaysWhatToDo();
    void displayPluginThatIsNotThereIsNamed();
    void warningsOfAStartThatSucceedsAreKept();
    void optionsOfTheToolkitAreTaken_data();
    void optionsOfTheToolkitAreTaken();
    void displayOfTheCommandLineIsUsed();
    void pluginWithoutADisplayIsUsed();
    void portIsSaidOnceInATerminal();
    void portIsNotSaidElsewhere();
    void portThatIsLackingIsNotSaid();
    void withoutATrayATerminalMentionsGnome();

private:
    bool open(DesktopSession::Parts parts);
    void launch(const QStringList &arguments);
    void launchWithout(const QStringList &variables, const QStringList &arguments);

    std::unique_ptr<ServerScene> scene;
};

void tst_Invocation::cleanup()
{
    const QByteArray problem = scene ? scene->problemAtEnd() : QByteArray();
    scene.reset();
    QCOMPARE(problem, QByteArray());
}

bool tst_Invocation::open(DesktopSession::Parts parts)
{
    scene = std::make_unique<ServerScene>(parts);
    return scene->session().problem().isEmpty();
}

void tst_Invocation::launch(const QStringList &arguments)
{
    scene->launch([] {}, arguments);
}

/// An empty variable counts as one that is not set.
void tst_Invocation::launchWithout(const QStringList &variables, const QStringList &arguments)
{
    for (const QString &variable : variables) {
        scene->mutableSession().addVariable(variable, QString());
    }
    launch(arguments);
}

void tst_Invocation::helpAndVersionNeedNoDisplay_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QByteArray>("firstLine");
    QTest::newRow("help") << "--help" << QByteArray("Usage: VornaServer [OPTION]...");
    QTest::newRow("version") << "--version" << QByteArray("VornaServer 1.0");
}

void tst_Invocation::helpAndVersionNeedNoDisplay()
{
    QFETCH(QString, option);
    QVERIFY(open(DesktopSession::NoParts));
    launchWithout({u"DISPLAY"_s, u"QT_QPA_PLATFORM"_s}, {option});
    QCOMPARE(scene->server().waitForEnd(AtOnce), std::optional(0));
    const QByteArray text = scene->server().outputText();
    QTEST(text.left(text.indexOf('\n')), "firstLine");
    QVERIFY(text.endsWith('\n'));
    QCOMPARE(scene->server().errorText(), QByteArray());
    QVERIFY(!QFileInfo::exists(scene->session().settingsFile()));
}

void tst_Invocation::everythingElseIsRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("unknown option")
        << QStringList{u"--sned"_s} << QByteArray("Unknown option \"--sned\"");
    QTest::newRow("stray argument")
        << QStringList{u"-reverse"_s, u"stop"_s} << QByteArray("Unexpected argument \"stop\"");
    QTest::newRow("value that is missing")
        << QStringList{u"-style"_s} << QByteArray("Option \"-style\" needs a value");
}

void tst_Invocation::everythingElseIsRefused()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, reason);
    QVERIFY(open(DesktopSession::NoParts));
    // Refused before the display is looked for.
    launchWithout({u"DISPLAY"_s}, arguments);
    QCOMPARE(scene->server().waitForEnd(AtOnce), std::optional(2));
    QCOMPARE(scene->server().errorText(),
             "VornaServer: " + reason + "; \"VornaServer --help\" lists the options.\n");
    QCOMPARE(scene->server().outputText(), QByteArray());
}

void tst_Invocation::withoutADisplayItSaysWhatToDo_data()
{
    QTest::addColumn<QString>("display");
    QTest::addColumn<QString>("wayland");
    QTest::addColumn<QString>("plugin");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("problem");
    const QByteArray none = "No display is set";
    const QByteArray dead = "The display \":4711\" cannot be opened";
    QTest::newRow("none is set") << ""
                                 << ""
                                 << "" << QStringList() << none;
    QTest::newRow("none is set for the plugin of the environment")
        << ""
        << ""
        << "xcb" << QStringList() << none;
    QTest::newRow("nobody answers") << ":4711"
                                    << ""
                                    << "" << QStringList() << dead;
    QTest::newRow("nobody answers the plugin of the command line")
        << ":4711"
        << ""
        << "" << QStringList{u"-platform"_s, u"xcb"_s} << dead;
    QTest::newRow("nobody answers at the name of the command line")
        << ""
        << ""
        << "" << QStringList{u"-display"_s, u":4711"_s} << dead;
    QTest::newRow("no compositor answers")
        << ""
        << "wayland-4711"
        << "" << QStringList() << QByteArray("The display \"wayland-4711\" cannot be opened");
}

void tst_Invocation::withoutADisplayItSaysWhatToDo()
{
    QFETCH(QString, display);
    QFETCH(QString, wayland);
    QFETCH(QString, plugin);
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, problem);
    QVERIFY(open(DesktopSession::NoParts));
    scene->mutableSession().addVariable(u"DISPLAY"_s, display);
    scene->mutableSession().addVariable(u"WAYLAND_DISPLAY"_s, wayland);
    scene->mutableSession().addVariable(u"QT_QPA_PLATFORM"_s, plugin);
    launch(arguments);
    QCOMPARE(scene->server().waitForEnd(AtOnce), std::optional(1));
    QCOMPARE(scene->server().errorText(), "VornaServer: " + problem + WhatToDo);
    QVERIFY(!QFileInfo::exists(scene->session().settingsFile()));
}

void tst_Invocation::displayPluginThatIsNotThereIsNamed()
{
    QVERIFY(open(DesktopSession::NoParts));
    launch({u"-platform"_s, u"sned"_s});
    QCOMPARE(scene->server().waitForEnd(AtOnce), std::optional(1));
    const QByteArray text = scene->server().errorText();
    QVERIFY2(text.startsWith("VornaServer: The toolkit cannot start: "), text.constData());
    QVERIFY(text.contains("\"sned\""));
    QCOMPARE(text.count('\n'), 1);
}

/// The toolkit tries the second plugin when there is no first one.
void tst_Invocation::warningsOfAStartThatSucceedsAreKept()
{
    QVERIFY(open(DesktopSession::Tray));
    launch({u"-platform"_s, u"sned;xcb"_s});
    QVERIFY(scene->port() != 0);
    const QByteArray text = scene->server().errorText();
    QVERIFY2(text.contains("\"sned\""), text.constData());
}

void tst_Invocation::optionsOfTheToolkitAreTaken_data()
{
    QTest::addColumn<QString>("dash");
    QTest::newRow("one dash") << "-";
    QTest::newRow("two dashes") << "--";
}

void tst_Invocation::optionsOfTheToolkitAreTaken()
{
    QFETCH(QString, dash);
    // Not -qwindowgeometry: the toolkit gives it to its first window, which is the icon in the
    // tray.
    QStringList arguments{u"platform"_s,    u"xcb"_s,    u"style"_s, u"fusion"_s,
                          u"reverse"_s,     u"name"_s,   u"vorna"_s, u"title"_s,
                          u"VornaServer"_s, u"nograb"_s, u"icon"_s,  u"/none"_s,
                          u"stylesheet"_s,  u"/none"_s};
    for (QString &argument : arguments) {
        static const QStringList values{u"xcb"_s, u"fusion"_s, u"vorna"_s, u"VornaServer"_s,
                                        u"/none"_s};
        if (!values.contains(argument)) {
            argument.prepend(dash);
        }
    }
    QVERIFY(open(DesktopSession::Tray));
    launch(arguments);
    QVERIFY(scene->port() != 0);
    QVERIFY(scene->showsLight(StatusLight::Orange));
    QCOMPARE(scene->server().end(), std::optional(0));
}

void tst_Invocation::displayOfTheCommandLineIsUsed()
{
    QVERIFY(open(DesktopSession::Tray));
    const QString display = scene->session().display();
    launchWithout({u"DISPLAY"_s}, {u"-display"_s, display});
    // The program does not wait ten seconds for a tray first.
    QVERIFY(scene->server().port(AtOnce) != 0);
    QVERIFY(scene->showsLight(StatusLight::Orange));
    // The adapters type on that display too.
    Handheld handheld(scene->port());
    const QPoint before = scene->view().pointer();
    QVERIFY(handheld.sendAndSettle(
        commandText(u"MOUSE_CMD"_s, {{u"fncCommand"_s, u"4"_s},
                                     {u"cmdParameters"_s, QStringList{u"7"_s, u"5"_s}}})));
    QVERIFY(waitUntil([&] { return scene->view().pointer() != before; }));
}

void tst_Invocation::pluginWithoutADisplayIsUsed()
{
    QVERIFY(open(DesktopSession::NoParts));
    launchWithout({u"DISPLAY"_s, u"QT_QPA_PLATFORM"_s}, {u"-platform"_s, u"offscreen"_s});
    QVERIFY(
        waitUntil([this] { return ProcessTables::catches(scene->server().processId(), SIGTERM); }));
    // It waits for a tray now.
    QVERIFY(scene->comesToRest());
    QVERIFY(scene->server().isRunning());
    QCOMPARE(scene->server().end(), std::optional(0));
    QCOMPARE(scene->server().errorText(), QByteArray());
}

void tst_Invocation::portIsSaidOnceInATerminal()
{
    QVERIFY(open(DesktopSession::Tray));
    PseudoTerminal terminal;
    scene->launch(terminal.asErrorOutput());
    const QByteArray line = "Listening on port " + QByteArray::number(scene->port()) + ".\r\n";
    QVERIFY(waitUntil([&] { return terminal.text().size() >= line.size(); }));
    QCOMPARE(terminal.text(), line);
    // Messages go to the tray, and a later start of the server is not a start of the program.
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask(serverInfo()));
    handheld.leave();
    QVERIFY(scene->showsLight(StatusLight::Orange));
    for (const bool isListening : {false, true}) {
        QVERIFY(scene->menu().choose(TrayMenu::Item::StartStop));
        QVERIFY(waitUntil([&] { return scene->server().isListening() == isListening; }));
    }
    QCOMPARE(scene->server().end(), std::optional(0));
    QCOMPARE(terminal.text(), line);
}

void tst_Invocation::portIsNotSaidElsewhere()
{
    QVERIFY(open(DesktopSession::Tray));
    QVERIFY(scene->start());
    QCOMPARE(scene->server().end(), std::optional(0));
    QCOMPARE(scene->server().errorText(), QByteArray());
    QCOMPARE(scene->server().outputText(), QByteArray());
}

void tst_Invocation::portThatIsLackingIsNotSaid()
{
    QVERIFY(open(DesktopSession::Tray));
    PseudoTerminal terminal;
    const auto asErrorOutput = terminal.asErrorOutput();
    scene->launch([asErrorOutput] {
        asErrorOutput();
        LackOfPorts::bring();
    });
    QVERIFY(scene->showsLight(StatusLight::Red));
    QCOMPARE(scene->server().end(), std::optional(0));
    QCOMPARE(terminal.text(), QByteArray());
}

void tst_Invocation::withoutATrayATerminalMentionsGnome()
{
    QVERIFY(open(DesktopSession::NoParts));
    PseudoTerminal terminal;
    scene->launch(terminal.asErrorOutput());
    const auto box = scene->waitForDialog(u"VornaServer"_s);
    QVERIFY(box);
    QCOMPARE(terminal.text(), NoTray + "\r\nGNOME shows tray icons only with an extension, such as "
                                       "AppIndicator.\r\n");
    QVERIFY(scene->clickButton(*box, 0));
    QCOMPARE(scene->server().waitForEnd(), std::optional(1));
}

QTEST_GUILESS_MAIN(tst_Invocation)
#include "tst_Invocation.moc"
