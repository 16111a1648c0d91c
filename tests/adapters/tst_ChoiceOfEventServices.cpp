// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/EventServices.h"
#include "platform/linux/input/X11EventServices.h"
#include "support/Waiting.h"
#include "support/x11/InputWatcher.h"
#include "support/x11/XServer.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

using namespace platform;

namespace {

void tapLetter(EventServices &services)
{
    services.postKeyboard({0, true, 0, EventTap::Session});
    services.postKeyboard({0, false, 0, EventTap::Session});
}

} // namespace

/// Which adapter a session gets, and the message to the user if there is none.
class tst_ChoiceOfEventServices : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void anX11DisplayIsTypedOn();
    void sessionsWithoutAdapterSayOnceWhatToDo_data();
    void sessionsWithoutAdapterSayOnceWhatToDo();
    void nobodyIsWarnedBeforeSomethingIsPosted();
};

void tst_ChoiceOfEventServices::init()
{
    qunsetenv("DISPLAY");
    qunsetenv("WAYLAND_DISPLAY");
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void tst_ChoiceOfEventServices::anX11DisplayIsTypedOn()
{
    const XServer server;
    QVERIFY(server.isRunning());
    InputWatcher watcher(server.display());
    qputenv("DISPLAY", server.display().toLatin1());
    const auto services = makeEventServices();
    tapLetter(*services);
    QTRY_COMPARE(watcher.typedText(), u"a"_s);
}

void tst_ChoiceOfEventServices::sessionsWithoutAdapterSayOnceWhatToDo_data()
{
    QTest::addColumn<QStringList>("serverArguments");
    QTest::addColumn<bool>("hasDisplay");
    QTest::addColumn<QByteArray>("waylandDisplay");
    QTest::addColumn<QString>("words");
    QTest::newRow("no display") << QStringList() << false << QByteArray() << "no display";
    QTest::newRow("no XTEST") << QStringList{u"-extension"_s, u"XTEST"_s} << true << QByteArray()
                              << "lacks the XTEST";
    QTest::newRow("compositor that is gone")
        << QStringList() << false << QByteArray("wayland-0") << "no display";
}

void tst_ChoiceOfEventServices::sessionsWithoutAdapterSayOnceWhatToDo()
{
    QFETCH(QStringList, serverArguments);
    QFETCH(bool, hasDisplay);
    QFETCH(QByteArray, waylandDisplay);
    QFETCH(QString, words);
    const XServer server({640, 480}, serverArguments);
    QVERIFY(server.isRunning());
    if (hasDisplay) {
        qputenv("DISPLAY", server.display().toLatin1());
    }
    if (!waylandDisplay.isEmpty()) {
        qputenv("WAYLAND_DISPLAY", waylandDisplay);
    }

    const auto services = makeEventServices();
    QCOMPARE(services->pointerLocation(), Location{});
    const QRegularExpression warning(QRegularExpression::escape(words));
    QTest::ignoreMessage(QtWarningMsg, warning);
    for (int count = 0; count < 3; ++count) {
        tapLetter(*services);
    }
    services->postMouse({}, std::vector{MouseEvent{}}, EventTap::Hid);
}

void tst_ChoiceOfEventServices::nobodyIsWarnedBeforeSomethingIsPosted()
{
    const auto services = makeEventServices();
    services->pointerLocation();
}

QTEST_GUILESS_MAIN(tst_ChoiceOfEventServices)
#include "tst_ChoiceOfEventServices.moc"
