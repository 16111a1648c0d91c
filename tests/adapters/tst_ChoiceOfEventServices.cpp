// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/EventServices.h"
#include "platform/linux/input/WlrootsEventServices.h"
#include "platform/linux/input/X11EventServices.h"
#include "platform/linux/portal/PortalEventServices.h"
#include "support/Waiting.h"
#include "support/wayland/CompositorThread.h"
#include "support/wayland/SwaySession.h"
#include "support/wayland/WaylandWindow.h"
#include "support/x11/InputWatcher.h"
#include "support/x11/XServer.h"

#include <QDBusConnection>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

using namespace platform;

namespace {

void tapLetter(EventServices &services)
{
    services.postKeyboard({0, true, 0, EventTap::Session});
    services.postKeyboard({0, false, 0, EventTap::Session});
}

template <typename Adapter> bool isA(const std::unique_ptr<EventServices> &services)
{
    return dynamic_cast<Adapter *>(services.get()) != nullptr;
}

/// The X server that a compositor's X11 programs use; it shows a window over the whole output.
class Xwayland
{
public:
    explicit Xwayland(const SwaySession &session)
    {
        process.setProcessEnvironment(session.environment());
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start(u"Xwayland"_s, {u"-displayfd"_s, u"1"_s, u"-nolisten"_s, u"tcp"_s});
        if (waitUntil([this] { return process.canReadLine(); })) {
            display = ':' + process.readLine().trimmed();
        }
    }

    QByteArray display; ///< Empty if it did not come up.

private:
    ChildProcess process;
};

/// Someone who has the portal's name on the session bus.
class PortalName
{
public:
    explicit PortalName(const QString &bus)
        : connection(QDBusConnection::connectToBus(bus, u"portal"_s))
    {
    }
    ~PortalName() { QDBusConnection::disconnectFromBus(u"portal"_s); }
    PortalName(const PortalName &) = delete;
    PortalName &operator=(const PortalName &) = delete;

    bool take() { return connection.registerService(u"org.freedesktop.portal.Desktop"_s); }

private:
    QDBusConnection connection;
};

void reach(const SwaySession &session)
{
    qputenv("XDG_RUNTIME_DIR", session.runtimeDirectory().toLocal8Bit());
    qputenv("WAYLAND_DISPLAY", session.display().toLatin1());
}

} // namespace

/// Which adapter a session gets, and the message to the user if there is none.
class tst_ChoiceOfEventServices : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void anX11DisplayIsTypedOn_data();
    void anX11DisplayIsTypedOn();
    void aCompositorWithKeyboardAndPointerIsTypedOnAndNotItsXwayland();
    void oneOfTheTwoLeavesItToThePortal_data();
    void oneOfTheTwoLeavesItToThePortal();
    void oneOfTheTwoIsNotEnoughWithoutAPortal_data() { oneOfTheTwoLeavesItToThePortal_data(); }
    void oneOfTheTwoIsNotEnoughWithoutAPortal();
    void anXwaylandAloneIsNotTypedInto_data();
    void anXwaylandAloneIsNotTypedInto();
    void sessionsWithoutAdapterSayOnceWhatToDo_data();
    void sessionsWithoutAdapterSayOnceWhatToDo();
    void nobodyIsWarnedBeforeSomethingIsPosted();

private:
    std::unique_ptr<SwaySession> sway;
};

void tst_ChoiceOfEventServices::initTestCase()
{
    sway = std::make_unique<SwaySession>(SwaySession::SessionBus);
    QCOMPARE(sway->problem(), QByteArray());
    // The process keeps its first connection.
    qputenv("DBUS_SESSION_BUS_ADDRESS", sway->busAddress().toLocal8Bit());
}

void tst_ChoiceOfEventServices::cleanupTestCase()
{
    sway.reset();
}

void tst_ChoiceOfEventServices::init()
{
    qputenv("XDG_RUNTIME_DIR", sway->runtimeDirectory().toLocal8Bit());
    qunsetenv("DISPLAY");
    qunsetenv("WAYLAND_DISPLAY");
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void tst_ChoiceOfEventServices::anX11DisplayIsTypedOn_data()
{
    QTest::addColumn<QByteArray>("waylandDisplay");
    QTest::addColumn<bool>("isSilent");
    QTest::newRow("no compositor") << QByteArray() << false;
    QTest::newRow("compositor that is gone") << QByteArray("wayland-gone") << false;
    QTest::newRow("compositor that does not answer") << QByteArray() << true;
}

void tst_ChoiceOfEventServices::anX11DisplayIsTypedOn()
{
    QFETCH(QByteArray, waylandDisplay);
    QFETCH(bool, isSilent);
    const XServer server;
    QVERIFY(server.isRunning());
    InputWatcher watcher(server.display());
    qputenv("DISPLAY", server.display().toLatin1());
    qputenv("WAYLAND_DISPLAY", waylandDisplay);
    // Nobody runs its event loop before the choice is made.
    const auto silent = isSilent ? std::make_unique<StandInCompositor>() : nullptr;
    const auto services = makeEventServices();
    tapLetter(*services);
    QTRY_COMPARE(watcher.typedText(), u"a"_s);
}

void tst_ChoiceOfEventServices::aCompositorWithKeyboardAndPointerIsTypedOnAndNotItsXwayland()
{
    const Xwayland xwayland(*sway);
    QVERIFY(!xwayland.display.isEmpty());
    InputWatcher watcher(QString::fromLatin1(xwayland.display));
    PortalName portal(sway->busAddress());
    QVERIFY(portal.take());
    reach(*sway);
    qputenv("DISPLAY", xwayland.display);
    const auto services = makeEventServices();
    QVERIFY(isA<WlrootsEventServices>(services));
    WaylandWindow window(sway->displayPath());
    QTRY_VERIFY(window.isShown() && window.hasFocus());
    tapLetter(*services);
    QTRY_COMPARE(window.typed(), u"a"_s);
    watcher.sync();
    QCOMPARE(watcher.typedText(), QString());
}

void tst_ChoiceOfEventServices::oneOfTheTwoLeavesItToThePortal_data()
{
    QTest::addColumn<StandInCompositor::Offer>("offer");
    QTest::newRow("keyboard") << StandInCompositor::Offer::VirtualKeyboard;
    QTest::newRow("pointer") << StandInCompositor::Offer::VirtualPointer;
    QTest::newRow("neither") << StandInCompositor::Offer::Nothing;
}

void tst_ChoiceOfEventServices::oneOfTheTwoLeavesItToThePortal()
{
    QFETCH(StandInCompositor::Offer, offer);
    PortalName portal(sway->busAddress());
    QVERIFY(portal.take());
    const CompositorThread compositor(offer);
    QVERIFY(compositor.isRunning);
    QVERIFY(isA<PortalEventServices>(makeEventServices()));
}

void tst_ChoiceOfEventServices::oneOfTheTwoIsNotEnoughWithoutAPortal()
{
    QFETCH(StandInCompositor::Offer, offer);
    const CompositorThread compositor(offer);
    QVERIFY(compositor.isRunning);
    const auto services = makeEventServices();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"in this Wayland session"_s));
    tapLetter(*services);
}

void tst_ChoiceOfEventServices::anXwaylandAloneIsNotTypedInto_data()
{
    QTest::addColumn<QByteArray>("waylandDisplay");
    QTest::newRow("no compositor named") << QByteArray();
    QTest::newRow("compositor that is gone") << QByteArray("wayland-gone");
}

void tst_ChoiceOfEventServices::anXwaylandAloneIsNotTypedInto()
{
    QFETCH(QByteArray, waylandDisplay);
    const Xwayland xwayland(*sway);
    QVERIFY(!xwayland.display.isEmpty());
    InputWatcher watcher(QString::fromLatin1(xwayland.display));
    qputenv("DISPLAY", xwayland.display);
    qputenv("WAYLAND_DISPLAY", waylandDisplay);
    const auto services = makeEventServices();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"in this Wayland session"_s));
    tapLetter(*services);
    watcher.sync();
    QCOMPARE(watcher.typedText(), QString());
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
