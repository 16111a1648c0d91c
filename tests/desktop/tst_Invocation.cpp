// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/LackOfPorts.h"
#include "support/ProcessTables.h"
#include "support/PseudoTerminal.h"
#include "support/ServerScene.h"

#include <QFileInfo>
#include <QTest>

using namespace std::chrono_literals;

namespace {

/// Starts that fail or answer must not wait for anything.
constexpr auto AtOnce = 8s;

const QByteArray WhatToDo =
    "; start the program from a graphical session, or set DISPLAY to the display of one.\n";
const QByteArray NoTray = "I couldn't detect any System tray on this system.";

} // namespace

/// How the program is called, and what it says to the one who calls it from a terminal.
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
    void withoutATrayATerminalTellsOfGnome();

private:
    bool open(DesktopSession::Parts parts);
    void launch(const QStringList &arguments);
    void launchWithout(const QStringList &variables, const QStringList &arguments);

    std::unique_ptr<ServerScene> m_scene;
};

void tst_Invocation::cleanup()
{
    const QByteArray problem = m_scene ? m_scene->problemAtEnd() : QByteArray();
    m_scene.reset();
    QCOMPARE(problem, QByteArray());
}

bool tst_Invocation::open(DesktopSession::Parts parts)
{
    m_scene = std::make_unique<ServerScene>(parts);
    return m_scene->session().problem().isEmpty();
}

void tst_Invocation::launch(const QStringList &arguments)
{
    m_scene->launch([] {}, arguments);
}

/// An empty variable counts as one that is not set.
void tst_Invocation::launchWithout(const QStringList &variables, const QStringList &arguments)
{
    for (const QString &variable : variables)
        m_scene->mutableSession().addVariable(variable, QString());
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
    launchWithout({"DISPLAY", "QT_QPA_PLATFORM"}, {option});
    QCOMPARE(m_scene->server().waitForEnd(AtOnce), std::optional(0));
    const QByteArray text = m_scene->server().outputText();
    QTEST(text.left(text.indexOf('\n')), "firstLine");
    QVERIFY(text.endsWith('\n'));
    QCOMPARE(m_scene->server().errorText(), QByteArray());
    QVERIFY(!QFileInfo::exists(m_scene->session().settingsFile()));
}

void tst_Invocation::everythingElseIsRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("unknown option")
        << QStringList{"--sned"} << QByteArray("Unknown option \"--sned\"");
    QTest::newRow("stray argument")
        << QStringList{"-reverse", "stop"} << QByteArray("Unexpected argument \"stop\"");
    QTest::newRow("value that is missing")
        << QStringList{"-style"} << QByteArray("Option \"-style\" needs a value");
}

void tst_Invocation::everythingElseIsRefused()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, reason);
    QVERIFY(open(DesktopSession::NoParts));
    // Refused before the display is looked for.
    launchWithout({"DISPLAY"}, arguments);
    QCOMPARE(m_scene->server().waitForEnd(AtOnce), std::optional(2));
    QCOMPARE(m_scene->server().errorText(),
             "VornaServer: " + reason + "; \"VornaServer --help\" lists the options.\n");
    QCOMPARE(m_scene->server().outputText(), QByteArray());
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
        << "" << QStringList{"-platform", "xcb"} << dead;
    QTest::newRow("nobody answers at the name of the command line")
        << ""
        << ""
        << "" << QStringList{"-display", ":4711"} << dead;
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
    m_scene->mutableSession().addVariable("DISPLAY", display);
    m_scene->mutableSession().addVariable("WAYLAND_DISPLAY", wayland);
    m_scene->mutableSession().addVariable("QT_QPA_PLATFORM", plugin);
    launch(arguments);
    QCOMPARE(m_scene->server().waitForEnd(AtOnce), std::optional(1));
    QCOMPARE(m_scene->server().errorText(), "VornaServer: " + problem + WhatToDo);
    QVERIFY(!QFileInfo::exists(m_scene->session().settingsFile()));
}

void tst_Invocation::displayPluginThatIsNotThereIsNamed()
{
    QVERIFY(open(DesktopSession::NoParts));
    launch({"-platform", "sned"});
    QCOMPARE(m_scene->server().waitForEnd(AtOnce), std::optional(1));
    const QByteArray text = m_scene->server().errorText();
    QVERIFY2(text.startsWith("VornaServer: The toolkit cannot start: "), text.constData());
    QVERIFY(text.contains("\"sned\""));
    QCOMPARE(text.count('\n'), 1);
}

/// The toolkit tries the second plugin when there is no first one.
void tst_Invocation::warningsOfAStartThatSucceedsAreKept()
{
    QVERIFY(open(DesktopSession::Tray));
    launch({"-platform", "sned;xcb"});
    QVERIFY(m_scene->port() != 0);
    const QByteArray text = m_scene->server().errorText();
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
    QStringList arguments{"platform", "xcb",   "style",      "fusion",      "reverse",
                          "name",     "vorna", "title",      "VornaServer", "nograb",
                          "icon",     "/none", "stylesheet", "/none"};
    for (QString &argument : arguments) {
        static const QStringList values{"xcb", "fusion", "vorna", "VornaServer", "/none"};
        if (!values.contains(argument))
            argument.prepend(dash);
    }
    QVERIFY(open(DesktopSession::Tray));
    launch(arguments);
    QVERIFY(m_scene->port() != 0);
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    QCOMPARE(m_scene->server().end(), std::optional(0));
}

void tst_Invocation::displayOfTheCommandLineIsUsed()
{
    QVERIFY(open(DesktopSession::Tray));
    const QString display = m_scene->session().display();
    launchWithout({"DISPLAY"}, {"-display", display});
    // Not after the ten seconds that a tray is waited for.
    QVERIFY(m_scene->server().port(AtOnce) != 0);
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    // The adapters type on that display too.
    Handheld handheld(m_scene->port());
    const QPoint before = m_scene->view().pointer();
    QVERIFY(handheld.sendAndSettle(
        commandText("MOUSE_CMD", {{"fncCommand", "4"}, {"cmdParameters", QStringList{"7", "5"}}})));
    QVERIFY(waitUntil([&] { return m_scene->view().pointer() != before; }));
}

void tst_Invocation::pluginWithoutADisplayIsUsed()
{
    QVERIFY(open(DesktopSession::NoParts));
    launchWithout({"DISPLAY", "QT_QPA_PLATFORM"}, {"-platform", "offscreen"});
    QVERIFY(waitUntil(
        [this] { return ProcessTables::catches(m_scene->server().processId(), SIGTERM); }));
    // It waits for a tray now.
    QTest::qWait(1'500);
    QVERIFY(m_scene->server().isRunning());
    QCOMPARE(m_scene->server().end(), std::optional(0));
    QCOMPARE(m_scene->server().errorText(), QByteArray());
}

void tst_Invocation::portIsSaidOnceInATerminal()
{
    QVERIFY(open(DesktopSession::Tray));
    PseudoTerminal terminal;
    m_scene->launch(terminal.asErrorOutput());
    const QByteArray line = "Listening on port " + QByteArray::number(m_scene->port()) + ".\r\n";
    QVERIFY(waitUntil([&] { return terminal.text().size() >= line.size(); }));
    QCOMPARE(terminal.text(), line);
    // Messages go to the tray, and another start of the server is not the program's.
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.ask(commandText("SERVER_INFO")));
    handheld.leave();
    QVERIFY(m_scene->showsLight(StatusLight::Orange));
    for (const bool isListening : {false, true}) {
        QVERIFY(m_scene->menu().choose(TrayMenu::Item::StartStop));
        QVERIFY(waitUntil([&] { return m_scene->server().isListening() == isListening; }));
    }
    QCOMPARE(m_scene->server().end(), std::optional(0));
    QCOMPARE(terminal.text(), line);
}

void tst_Invocation::portIsNotSaidElsewhere()
{
    QVERIFY(open(DesktopSession::Tray));
    QVERIFY(m_scene->start());
    QCOMPARE(m_scene->server().end(), std::optional(0));
    QCOMPARE(m_scene->server().errorText(), QByteArray());
    QCOMPARE(m_scene->server().outputText(), QByteArray());
}

void tst_Invocation::portThatIsLackingIsNotSaid()
{
    QVERIFY(open(DesktopSession::Tray));
    PseudoTerminal terminal;
    const auto asErrorOutput = terminal.asErrorOutput();
    m_scene->launch([asErrorOutput] {
        asErrorOutput();
        LackOfPorts::bring();
    });
    QVERIFY(m_scene->showsLight(StatusLight::Red));
    QCOMPARE(m_scene->server().end(), std::optional(0));
    QCOMPARE(terminal.text(), QByteArray());
}

void tst_Invocation::withoutATrayATerminalTellsOfGnome()
{
    QVERIFY(open(DesktopSession::NoParts));
    PseudoTerminal terminal;
    m_scene->launch(terminal.asErrorOutput());
    const auto box = m_scene->waitForDialog(QStringLiteral("VornaServer"));
    QVERIFY(box);
    QCOMPARE(terminal.text(), NoTray + "\r\nGNOME shows tray icons only with an extension, such as "
                                       "AppIndicator.\r\n");
    QVERIFY(m_scene->clickButton(*box, 0));
    QCOMPARE(m_scene->server().waitForEnd(), std::optional(1));
}

QTEST_GUILESS_MAIN(tst_Invocation)
#include "tst_Invocation.moc"
