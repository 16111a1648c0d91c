// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/CommandLine.h"

#include <QApplication>
#include <QTest>

#include <vector>

using namespace Qt::StringLiterals;

using Request = CommandLine::Request;

/// How the program reads its arguments.
class tst_CommandLine : public QObject
{
    Q_OBJECT

private slots:
    void requestsAreRead_data();
    void requestsAreRead();
    void refusalsNameTheArgument_data();
    void refusalsNameTheArgument();
    void theDisplayIsRead_data();
    void theDisplayIsRead();
    void theHelpListsItsOptions();
    void whatTheToolkitTakesIsAccepted_data();
    void whatTheToolkitTakesIsAccepted();
    void whatIsLeftByTheToolkitIsRefused_data();
    void whatIsLeftByTheToolkitIsRefused();

private:
    static QByteArrayList leftByTheToolkit(const QByteArrayList &arguments);
};

void tst_CommandLine::requestsAreRead_data()
{
    QTest::addColumn<QByteArrayList>("arguments");
    QTest::addColumn<Request>("request");
    QTest::newRow("nothing") << QByteArrayList() << Request::Run;
    QTest::newRow("help") << QByteArrayList{"--help"} << Request::ShowHelp;
    QTest::newRow("version") << QByteArrayList{"--version"} << Request::ShowVersion;
    QTest::newRow("the first counts")
        << QByteArrayList{"--version", "--help", "--sned"} << Request::ShowVersion;
    QTest::newRow("after an option of the toolkit")
        << QByteArrayList{"-platform", "offscreen", "--reverse", "--help"} << Request::ShowHelp;
    QTest::newRow("as a value") << QByteArrayList{"-title", "--help"} << Request::Run;
}

void tst_CommandLine::requestsAreRead()
{
    QFETCH(QByteArrayList, arguments);
    const CommandLine line = readCommandLine(arguments);
    QTEST(line.request, "request");
    QCOMPARE(line.refusal, QString());
}

void tst_CommandLine::refusalsNameTheArgument_data()
{
    QTest::addColumn<QByteArrayList>("arguments");
    QTest::addColumn<QString>("reason");
    const auto unknown = [](const char *name, const QByteArrayList &arguments) {
        QTest::newRow(arguments.join(' ').constData())
            << arguments << u"Unknown option \"%1\""_s.arg(QLatin1StringView(name));
    };
    unknown("--sned", {"--sned"});
    unknown("-h", {"-h"});
    unknown("-help", {"-help"});
    unknown("-version", {"-version"});
    unknown("--help=all", {"--help=all"});
    unknown("-", {"-"});
    unknown("--", {"--"});
    unknown("---style", {"---style", "fusion"});
    unknown("--platform=offscreen", {"--platform=offscreen"});
    unknown("-Style", {"-Style", "fusion"});
    unknown("--sned", {"-reverse", "--sned", "--help"});
    QTest::newRow("stray") << QByteArrayList{"stop"} << "Unexpected argument \"stop\"";
    QTest::newRow("empty") << QByteArrayList{""} << "Unexpected argument \"\"";
    QTest::newRow("after a value")
        << QByteArrayList{"-style", "fusion", "windows"} << "Unexpected argument \"windows\"";
    QTest::newRow("no value") << QByteArrayList{"--style"} << "Option \"--style\" needs a value";
    QTest::newRow("no display") << QByteArrayList{"-display"}
                                << "Option \"-display\" needs a value";
}

void tst_CommandLine::refusalsNameTheArgument()
{
    QFETCH(QByteArrayList, arguments);
    QFETCH(QString, reason);
    const CommandLine line = readCommandLine(arguments);
    QCOMPARE(line.request, Request::Refuse);
    QCOMPARE(line.refusal, reason + u"; \"VornaServer --help\" lists the options."_s);
}

void tst_CommandLine::theDisplayIsRead_data()
{
    QTest::addColumn<QByteArrayList>("arguments");
    QTest::addColumn<QByteArray>("plugin");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("none") << QByteArrayList{"-style", "fusion"} << QByteArray() << QByteArray();
    QTest::newRow("plugin") << QByteArrayList{"-platform", "xcb"} << QByteArray("xcb")
                            << QByteArray();
    QTest::newRow("name") << QByteArrayList{"--display", ":7"} << QByteArray() << QByteArray(":7");
    QTest::newRow("the last counts")
        << QByteArrayList{"-display", ":7", "-platform", "xcb", "-display", ":8"}
        << QByteArray("xcb") << QByteArray(":8");
}

void tst_CommandLine::theDisplayIsRead()
{
    QFETCH(QByteArrayList, arguments);
    const CommandLine line = readCommandLine(arguments);
    QCOMPARE(line.request, Request::Run);
    QTEST(line.display.plugin, "plugin");
    QTEST(line.display.name, "name");
}

void tst_CommandLine::theHelpListsItsOptions()
{
    const QString help = helpText();
    for (const char *option : {"--help", "--version", "-platform", "-display", "-style"}) {
        QVERIFY2(help.contains(u"\n  %1 "_s.arg(QLatin1StringView(option))), option);
    }
    QVERIFY(help.startsWith(u"Usage: VornaServer "_s));
    QVERIFY(help.endsWith(u'\n'));
    QCOMPARE(help.split(u"\n\n"_s).size(), 4); // usage, purpose, options, and the rest
    for (const QString &line : help.split(u'\n')) {
        QVERIFY2(line.size() <= 90, qPrintable(line));
    }
}

// ---- The toolkit itself -------------------------------------------------------------------------

/// What an application object leaves of its arguments, those of a plugin for displays excepted.
QByteArrayList tst_CommandLine::leftByTheToolkit(const QByteArrayList &arguments)
{
    QByteArrayList all = QByteArrayList{"VornaServer"} + arguments;
    std::vector<char *> pointers;
    for (QByteArray &argument : all) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    int count = static_cast<int>(all.size());
    const QApplication application(count, pointers.data());
    return QByteArrayList(pointers.begin() + 1, pointers.begin() + count);
}

void tst_CommandLine::whatTheToolkitTakesIsAccepted_data()
{
    QTest::addColumn<QByteArrayList>("arguments");
    const QList<QByteArrayList> options = {
        {"-platform", "offscreen"},
        {"-platformpluginpath", "/"},
        {"-platformtheme", "none"},
        {"-plugin", "none"},
        {"-qdebug"},
        {"-qdevel"},
        {"-qmljsdebugger=x"},
        {"-qwindowgeometry", "9x9"},
        {"-qwindowicon", "/x"},
        {"-qwindowtitle", "x"},
        {"-reverse"},
        {"-session", "1_2"},
        {"-style", "fusion"},
        {"-style=fusion"},
        {"-stylesheet", "/x"},
        {"-stylesheet=/x"},
        {"-widgetcount"},
        {"-qmljsdebugger", "x"},
    };
    for (const QByteArrayList &option : options) {
        QTest::newRow(option.join(' ').constData()) << option;
        const QByteArrayList twice = QByteArrayList{"-" + option[0]} + option.mid(1);
        QTest::newRow(twice.join(' ').constData()) << twice;
    }
}

void tst_CommandLine::whatTheToolkitTakesIsAccepted()
{
    QFETCH(QByteArrayList, arguments);
    QCOMPARE(leftByTheToolkit(arguments), QByteArrayList());
    QCOMPARE(readCommandLine(arguments).request, Request::Run);
}

void tst_CommandLine::whatIsLeftByTheToolkitIsRefused_data()
{
    QTest::addColumn<QByteArrayList>("arguments");
    QTest::newRow("unknown") << QByteArrayList{"--sned"};
    QTest::newRow("stray") << QByteArrayList{"stop"};
    QTest::newRow("style without a value") << QByteArrayList{"-style"};
    QTest::newRow("session without a value") << QByteArrayList{"-session"};
    QTest::newRow("platform with a sign") << QByteArrayList{"-platform=offscreen"};
    QTest::newRow("three dashes") << QByteArrayList{"---reverse"};
}

void tst_CommandLine::whatIsLeftByTheToolkitIsRefused()
{
    QFETCH(QByteArrayList, arguments);
    QCOMPARE(leftByTheToolkit(arguments), arguments);
    QCOMPARE(readCommandLine(arguments).request, Request::Refuse);
}

QTEST_APPLESS_MAIN(tst_CommandLine)
#include "tst_CommandLine.moc"
