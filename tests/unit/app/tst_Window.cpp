// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/Window.h"

#include "doubles/RecordedBalloons.h"
#include "doubles/RecordingDesktop.h"
#include "doubles/RecordingHost.h"
#include "doubles/RecordingWindowAdapters.h"
#include "preferences/ConfigDialog.h"
#include "support/MessageRecorder.h"
#include "support/process/DescriptorLimit.h"
#include "support/protocol/ServedPeer.h"
#include "support/protocol/SessionClient.h"
#include "support/session/DialogVisitor.h"
#include "support/session/PrivateHome.h"

#include <QAction>
#include <QCheckBox>
#include <QCloseEvent>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QImage>
#include <QMenu>
#include <QMessageBox>
#include <QMetaMethod>
#include <QMoveEvent>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

using LoginEntries = QList<LoginItemRecord::Entry>;

/// The name of the light that an icon shows; empty when it is none of the four.
QString lightOf(const QIcon &icon)
{
    const QImage shown = icon.pixmap(256).toImage();
    for (const char *name : {"nero", "arancio", "verde", "rosso"}) {
        const QIcon light(u":/images/led_%1.png"_s.arg(QLatin1StringView(name)));
        if (shown == light.pixmap(256).toImage()) {
            return QLatin1StringView(name);
        }
    }
    return {};
}

/// Where an icon's window stands before a tray takes it in.
const QRect unplaced(0, 0, 22, 22);

} // namespace

class tst_Window : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void theMetaObjectListsTheSlotsInTheirOrder();
    void theLightsAreFourDifferentPictures();
    void theActionsBearTheirTexts_data();
    void theActionsBearTheirTexts();
    void theMenuHoldsTheActionsInTheirOrder();
    void clicksOnTheIconReachTheWindow();
    void everythingIsTheWindowsOwn();
    void theWindowIsNotShown();

    void theServerRunsAtOnce();
    void startingIsAnnouncedByABalloon();
    void theServerDoesNotWaitForTheIconsPlace();
    void aChoiceBeforeTheIconHasItsPlaceHolds();
    void balloonsWaitForTheIconsPlace();
    void balloonsDoNotWaitLongerThanASecond();
    void balloonsThatWaitEndWithTheWindow();
    void theToggleStopsAndStarts();
    void theLightIsOrangeWhileTheServerStarts();
    void startingOrStoppingTwiceFollowsTheState();
    void aFailedFirstStartIsRed();
    void aFailedLaterStartIsRed();
    void anAddressThatIsNoneIsRedUntilASessionMendsIt();
    void clientsAreShown();
    void aClientLeavingAStoppedServerShowsOrange();
    void aCrowdChangesTheLightTenTimesASecond();
    void theLastLightOfACrowdIsShown_data();
    void theLastLightOfACrowdIsShown();
    void aChoiceInTheMenuDoesNotWaitForTheCrowd();

    void theDefaultLightIsOrange();
    void everyLightIsShownEverywhere_data();
    void everyLightIsShownEverywhere();
    void clicksOnTheIconDoNothing();

    void theStoredApprovalIsNotInForceBeforeThePreferencesClose();
    void startAtLogonIsMadeTrueAtTheStart();
    void startAtLogonThatIsOffLeavesTheListAlone();
    void liveChangesOfLogonAreTakenAtOnce();
    void otherLiveChangesAreIgnored_data();
    void otherLiveChangesAreIgnored();

    void closingHidesAndGoesOn();
    void closingWithoutATrayIconCloses();
    void theAboutBoxSaysItsWords();
    void aSecondChoiceBringsTheOpenDialogToTheFront_data();
    void aSecondChoiceBringsTheOpenDialogToTheFront();
    void theValuesOfTheOnePreferencesDialogAreTaken();
    void theFileDialogStaysAboveThePreferences();
    void aDialogCanBeOpenedAgainOnceItIsClosed();
    void theWebsiteIsOpened();
    void quitEndsTheProgramAndClosingDoesNot();
    void quitWhileADialogIsOpenEndsInOrder_data();
    void quitWhileADialogIsOpenEndsInOrder();

    void messagesGoToTheTrayForAsLongAsTheWindowLives();
    void theEndStoresThePairedDevices();

private:
    /// What a user sees of a window that has just been made.
    void makeWindow()
    {
        window = std::make_unique<Window>(recordingWindowAdapters(host));
        trayIcon = window->findChild<QSystemTrayIcon *>();
    }
    QAction *action(const QString &text) const
    {
        for (QAction *candidate : window->findChildren<QAction *>()) {
            if (candidate->text() == text) {
                return candidate;
            }
        }
        return nullptr;
    }
    QString light() const
    {
        const QString inTray = lightOf(trayIcon->icon());
        return lightOf(window->windowIcon()) == inTray ? inTray : u"differs"_s;
    }
    /// Whether the choice opens a dialog above the one that is open; it is closed again, since the
    /// test would wait for it.
    bool secondDialogComes(const QString &choice, const QDialog &open) const
    {
        bool isThere = false;
        QTimer watch;
        connect(&watch, &QTimer::timeout, &watch, [&] {
            QWidget *top = QApplication::activeModalWidget();
            if (top != nullptr && top != &open) {
                isThere = true;
                top->close();
            }
        });
        watch.start(0);
        action(choice)->trigger();
        return isThere;
    }
    Server *server() const { return window->findChild<Server *>(); }

    std::unique_ptr<PrivateHome> home;
    RecordingHost host;
    std::unique_ptr<MessageRecorder> messages;
    std::unique_ptr<RecordingDesktop> desktop;
    std::unique_ptr<Window> window;
    QSystemTrayIcon *trayIcon = nullptr;
};

void tst_Window::initTestCase()
{
    Q_INIT_RESOURCE(VornaServer);
    QApplication::setQuitOnLastWindowClosed(false);
}

void tst_Window::init()
{
    home = std::make_unique<PrivateHome>();
    messages = std::make_unique<MessageRecorder>();
    desktop = std::make_unique<RecordingDesktop>();
    host.reset();
    recordedBalloons().clear();
    recordedIconPlace() = QRect();
}

void tst_Window::cleanup()
{
    window.reset();
    desktop.reset();
    messages.reset();
    QSettings().clear();
    home.reset();
}

// ---- What there is ------------------------------------------------------------------------------

void tst_Window::theMetaObjectListsTheSlotsInTheirOrder()
{
    const QMetaObject &meta = Window::staticMetaObject;
    QList<QByteArray> methods;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        const QMetaMethod method = meta.method(index);
        QCOMPARE(method.methodType(), QMetaMethod::Slot);
        methods.append(method.methodSignature() + ' ' + method.parameterNames().join(','));
    }
    QCOMPARE(methods, QList<QByteArray>(
                          {"update(QString,QVariant) paramName,value", "setIcon(QString) iconName",
                           "setIcon() ", "iconActivated(QSystemTrayIcon::ActivationReason) reason",
                           "updateStartupAtLogon() ", "aboutDialog() ", "openWebsite() ",
                           "startServer() ", "stopServer() ", "openPreferencesDialog() ",
                           "connectionStatus(bool) connected"}));
}

void tst_Window::theLightsAreFourDifferentPictures()
{
    QList<QImage> seen;
    for (const char *name : {"nero", "arancio", "verde", "rosso"}) {
        const QImage light(u":/images/led_%1.png"_s.arg(QLatin1StringView(name)));
        QCOMPARE(light.size(), QSize(256, 256));
        QVERIFY(light.hasAlphaChannel());
        QVERIFY(!seen.contains(light));
        seen.append(light);
    }
}

void tst_Window::theActionsBearTheirTexts_data()
{
    QTest::addColumn<QString>("toolTip");
    QTest::addColumn<bool>("isCheckable");
    // An action without a tool tip of its own returns its text.
    QTest::newRow("About") << "About" << false;
    QTest::newRow("Support Website") << "Online support for the Quillmote" << false;
    QTest::newRow("Stop Server") << "Start/Stop the Quillmote server." << true;
    QTest::newRow("Preferences...") << "Click open the preferences dialog" << false;
    QTest::newRow("Quit") << "Click to Quit the Quillmote Server" << false;
}

void tst_Window::theActionsBearTheirTexts()
{
    makeWindow();
    const QAction *found = action(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(found != nullptr);
    QTEST(found->toolTip(), "toolTip");
    QTEST(found->isCheckable(), "isCheckable");
    QTEST(found->isChecked(), "isCheckable");
    QVERIFY(found->isEnabled());
}

void tst_Window::theMenuHoldsTheActionsInTheirOrder()
{
    makeWindow();
    QStringList entries;
    for (const QAction *entry : trayIcon->contextMenu()->actions()) {
        entries.append(entry->isSeparator() ? u"-"_s : entry->text());
    }
    QCOMPARE(entries, QStringList({u"About"_s, u"-"_s, u"Support Website"_s, u"Stop Server"_s,
                                   u"Preferences..."_s, u"-"_s, u"Quit"_s}));
}

/// The window does nothing with them, so the connection itself is what can be tested.
void tst_Window::clicksOnTheIconReachTheWindow()
{
    makeWindow();
    QVERIFY(disconnect(trayIcon, SIGNAL(activated(QSystemTrayIcon::ActivationReason)), window.get(),
                       SLOT(iconActivated(QSystemTrayIcon::ActivationReason))));
}

void tst_Window::everythingIsTheWindowsOwn()
{
    makeWindow();
    QCOMPARE(trayIcon->parent(), window.get());
    QCOMPARE(trayIcon->contextMenu()->parent(), window.get());
    QCOMPARE(server()->parent(), window.get());
    for (const char *text : {"About", "Support Website", "Stop Server", "Preferences...", "Quit"}) {
        QCOMPARE(action(QLatin1StringView(text))->parent(), window.get());
    }
    QVERIFY(window->parent() == nullptr);
}

void tst_Window::theWindowIsNotShown()
{
    makeWindow();
    QVERIFY(!window->isVisible());
    QVERIFY(trayIcon->isVisible());
}

// ---- The server ---------------------------------------------------------------------------------

void tst_Window::theServerRunsAtOnce()
{
    makeWindow();
    QVERIFY(server()->isListening());
    QCOMPARE(light(), u"arancio"_s);
    QCOMPARE(trayIcon->toolTip(), u"VornaServer"_s);
}

void tst_Window::startingIsAnnouncedByABalloon()
{
    makeWindow();
    QCOMPARE(balloonTexts(), QStringList{u"Server Started... "_s});
    QCOMPARE(recordedBalloons()[0].trayIcon, trayIcon);
}

void tst_Window::theServerDoesNotWaitForTheIconsPlace()
{
    recordedIconPlace() = unplaced;
    makeWindow();
    // The window did not wait for anything: no event loop has run.
    QVERIFY(server()->isListening());
    QCOMPARE(light(), u"arancio"_s);
    QCOMPARE(balloonTexts(), QStringList());
}

void tst_Window::aChoiceBeforeTheIconHasItsPlaceHolds()
{
    recordedIconPlace() = unplaced;
    makeWindow();
    action(u"Stop Server"_s)->trigger();
    QVERIFY(!server()->isListening());
    QVERIFY(waitUntil([] { return !balloonTexts().isEmpty(); }));
    QVERIFY(!server()->isListening());
    QCOMPARE(light(), u"nero"_s);
    QVERIFY(action(u"Start Server"_s) != nullptr);
    QCOMPARE(balloonTexts(), QStringList{u"Server Started... "_s});
}

void tst_Window::balloonsWaitForTheIconsPlace()
{
    recordedIconPlace() = unplaced;
    makeWindow();
    qWarning("second");
    QCOMPARE(balloonTexts(), QStringList());
    recordedIconPlace().moveTo(100, 100);
    QMoveEvent moved(QPoint(100, 100), QPoint());
    QCoreApplication::sendEvent(window.get(), &moved);
    QVERIFY(waitUntil([] { return balloonTexts().size() == 2; }));
    QCOMPARE(balloonTexts(), QStringList({u"Server Started... "_s, u"second"_s}));
    qWarning("third");
    QCOMPARE(balloonTexts(), QStringList({u"Server Started... "_s, u"second"_s, u"third"_s}));
}

void tst_Window::balloonsDoNotWaitLongerThanASecond()
{
    recordedIconPlace() = unplaced;
    QElapsedTimer sinceShown;
    sinceShown.start();
    makeWindow();
    QVERIFY(waitUntil([] { return !balloonTexts().isEmpty(); }));
    QVERIFY2(sinceShown.elapsed() >= 990, qPrintable(QString::number(sinceShown.elapsed())));
    QVERIFY2(sinceShown.elapsed() < 3'000, qPrintable(QString::number(sinceShown.elapsed())));
    QCOMPARE(balloonTexts(), QStringList{u"Server Started... "_s});
}

void tst_Window::balloonsThatWaitEndWithTheWindow()
{
    recordedIconPlace() = unplaced;
    makeWindow();
    window.reset();
    QTest::qWait(1'200);
    QCOMPARE(balloonTexts(), QStringList());
}

void tst_Window::theToggleStopsAndStarts()
{
    makeWindow();
    QAction *toggle = action(u"Stop Server"_s);
    toggle->trigger();
    QVERIFY(!server()->isListening());
    QCOMPARE(light(), u"nero"_s);
    QCOMPARE(toggle->text(), u"Start Server"_s);
    QVERIFY(!toggle->isChecked());
    QCOMPARE(trayIcon->toolTip(), u"VornaServer"_s);
    QCOMPARE(balloonTexts().size(), 1);

    toggle->trigger();
    QVERIFY(server()->isListening());
    QCOMPARE(light(), u"arancio"_s);
    QCOMPARE(toggle->text(), u"Stop Server"_s);
    QVERIFY(toggle->isChecked());
    QCOMPARE(balloonTexts(), QStringList({u"Server Started... "_s, u"Server Started... "_s}));
}

void tst_Window::theLightIsOrangeWhileTheServerStarts()
{
    makeWindow();
    window->stopServer();
    QString seen;
    host.dnsSd.onRegister = [&] { seen = light(); };
    window->startServer();
    QCOMPARE(seen, u"arancio"_s);
}

void tst_Window::startingOrStoppingTwiceFollowsTheState()
{
    makeWindow();
    QAction *toggle = action(u"Stop Server"_s);
    // The slots do not touch the check mark; the menu sets it.
    window->stopServer();
    QVERIFY(toggle->isChecked());
    QCOMPARE(light(), u"nero"_s);
    window->setIcon(u":/images/led_verde.png"_s);
    window->stopServer();
    QCOMPARE(light(), u"verde"_s);
    QCOMPARE(toggle->text(), u"Start Server"_s);

    window->startServer();
    QVERIFY(server()->isListening());
    window->startServer();
    QVERIFY(!server()->isListening());
    QCOMPARE(toggle->text(), u"Start Server"_s);
    QVERIFY(toggle->isChecked());
}

void tst_Window::aFailedFirstStartIsRed()
{
    {
        const DescriptorLimit none(0);
        makeWindow();
    }
    QVERIFY(!server()->isListening());
    QCOMPARE(light(), u"rosso"_s);
    QAction *toggle = action(u"Stop Server"_s);
    QVERIFY(toggle != nullptr);
    QVERIFY(!toggle->isChecked());
    QCOMPARE(balloonTexts(), QStringList());

    // Choosing it tries again.
    toggle->trigger();
    QVERIFY(server()->isListening());
    QCOMPARE(light(), u"arancio"_s);
    QCOMPARE(toggle->text(), u"Stop Server"_s);
    QVERIFY(toggle->isChecked());
    QCOMPARE(balloonTexts(), QStringList{u"Server Started... "_s});
}

void tst_Window::anAddressThatIsNoneIsRedUntilASessionMendsIt()
{
    QSettings().setValue("listenAddress", u"127.0.0"_s);
    qputenv("DISPLAY", ":7");
    host.runtimeDirectory = home->path();
    makeWindow();
    QVERIFY(!server()->isListening());
    QCOMPARE(light(), u"rosso"_s);
    QAction *toggle = action(u"Stop Server"_s);
    QVERIFY(toggle != nullptr && !toggle->isChecked());
    QCOMPARE(balloonTexts().size(), 1);
    QVERIFY2(balloonTexts().constFirst().contains(u"\"127.0.0\" of the setting listenAddress"_s),
             qPrintable(balloonTexts().constFirst()));

    SessionClient client(home->path(u"vornaserver/_7.socket"_s));
    QVERIFY(client.ask(u"listen"_s, {{u"address"_s, u"127.0.0.1"_s}}).isOk());
    QVERIFY(server()->isListening());
    QCOMPARE(light(), u"arancio"_s);
    QVERIFY(toggle->isChecked());
    QCOMPARE(balloonTexts().constLast(), u"Server Started... "_s);
    // The menu agrees with that.
    toggle->trigger();
    QVERIFY(!server()->isListening());
    QCOMPARE(light(), u"nero"_s);
}

void tst_Window::aFailedLaterStartIsRed()
{
    makeWindow();
    QAction *toggle = action(u"Stop Server"_s);
    toggle->trigger();
    {
        const DescriptorLimit none(0);
        toggle->trigger();
    }
    QCOMPARE(light(), u"rosso"_s);
    QCOMPARE(toggle->text(), u"Start Server"_s);
    QVERIFY(!toggle->isChecked());
}

void tst_Window::clientsAreShown()
{
    makeWindow();
    ServedPeer peer(*server());
    QCOMPARE(light(), u"verde"_s);
    QVERIFY(action(u"Stop Server"_s)->isChecked());
    peer.leave();
    QVERIFY(waitUntil([&] { return light() == u"arancio"_s; }));
    QCOMPARE(balloonTexts(), QStringList({u"Server Started... "_s, u"Device Disconnected "_s}));
}

void tst_Window::aClientLeavingAStoppedServerShowsOrange()
{
    makeWindow();
    ServedPeer peer(*server());
    action(u"Stop Server"_s)->trigger();
    QCOMPARE(light(), u"nero"_s);
    peer.leave();
    QVERIFY(waitUntil([&] { return light() == u"arancio"_s; }));
    QVERIFY(!server()->isListening());
    QCOMPARE(trayIcon->contextMenu()->actions().at(3)->text(), u"Start Server"_s);
    window->connectionStatus(true);
    QVERIFY(waitUntil([&] { return light() == u"verde"_s; }));
}

void tst_Window::aCrowdChangesTheLightTenTimesASecond()
{
    makeWindow();
    int changes = 0;
    qint64 last = window->windowIcon().cacheKey();
    const QElapsedTimer time = [] {
        QElapsedTimer started;
        started.start();
        return started;
    }();
    bool isConnected = false;
    waitUntil(
        [&] {
            for (int i = 0; i < 51; ++i) {
                isConnected = !isConnected;
                window->connectionStatus(isConnected);
                changes += window->windowIcon().cacheKey() == last ? 0 : 1;
                last = window->windowIcon().cacheKey();
            }
            return time.elapsed() > 1'000;
        },
        GenerousLimit, std::chrono::milliseconds(1));
    QVERIFY2(changes >= 2, qPrintable(QString::number(changes)));
    QVERIFY2(changes <= 1 + time.elapsed() / 100, qPrintable(QString::number(changes)));
}

void tst_Window::theLastLightOfACrowdIsShown_data()
{
    QTest::addColumn<int>("changes");
    QTest::newRow("green at last") << 101;
    QTest::newRow("orange at last") << 102;
}

void tst_Window::theLastLightOfACrowdIsShown()
{
    QFETCH(int, changes);
    makeWindow();
    for (int change = 1; change <= changes; ++change) {
        window->connectionStatus(change % 2 == 1);
        // The first one is shown at once.
        QCOMPARE(light(), u"verde"_s);
    }
    const QString last = changes % 2 == 1 ? u"verde"_s : u"arancio"_s;
    QVERIFY(waitUntil([&] { return light() == last; }));
    QTest::qWait(250);
    QCOMPARE(light(), last);
    // Calm again, so the next change is shown at once.
    window->connectionStatus(changes % 2 == 0);
    QVERIFY(light() != last);
}

void tst_Window::aChoiceInTheMenuDoesNotWaitForTheCrowd()
{
    makeWindow();
    window->connectionStatus(true);
    window->connectionStatus(false);
    action(u"Stop Server"_s)->trigger();
    QCOMPARE(light(), u"nero"_s);
    QTest::qWait(250);
    QCOMPARE(light(), u"nero"_s);
}

// ---- The icon -----------------------------------------------------------------------------------

void tst_Window::theDefaultLightIsOrange()
{
    makeWindow();
    window->setIcon(u":/images/led_rosso.png"_s);
    window->setIcon();
    QCOMPARE(light(), u"arancio"_s);
    window->setIcon(u":/images/led_rosso.png"_s);
    QVERIFY(QMetaObject::invokeMethod(window.get(), "setIcon"));
    QCOMPARE(light(), u"arancio"_s);
}

void tst_Window::everyLightIsShownEverywhere_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"nero", "arancio", "verde", "rosso"}) {
        QTest::newRow(name) << QString::fromLatin1(name);
    }
}

void tst_Window::everyLightIsShownEverywhere()
{
    QFETCH(QString, name);
    makeWindow();
    trayIcon->setToolTip(u"other"_s);
    window->setIcon(u":/images/led_"_s + name + u".png"_s);
    QCOMPARE(lightOf(trayIcon->icon()), name);
    QCOMPARE(lightOf(window->windowIcon()), name);
    QCOMPARE(trayIcon->toolTip(), u"VornaServer"_s);
}

void tst_Window::clicksOnTheIconDoNothing()
{
    makeWindow();
    recordedBalloons().clear();
    for (const auto reason : {QSystemTrayIcon::Context, QSystemTrayIcon::DoubleClick,
                              QSystemTrayIcon::Trigger, QSystemTrayIcon::MiddleClick}) {
        emit trayIcon->activated(reason);
    }
    QVERIFY(!window->isVisible());
    QVERIFY(server()->isListening());
    QCOMPARE(light(), u"arancio"_s);
    QCOMPARE(balloonTexts(), QStringList());
}

// ---- Settings in force --------------------------------------------------------------------------

void tst_Window::theStoredApprovalIsNotInForceBeforeThePreferencesClose()
{
    QSettings().setValue("pairNeedsApproval", true);
    makeWindow();
    QVERIFY(server()->deviceIsPresent(u"early"_s));
    const DialogVisitor<QDialog> visitor([&](QDialog &preferences) {
        QVERIFY(server()->deviceIsPresent(u"while it is open"_s));
        preferences.close();
    });
    action(u"Preferences..."_s)->trigger();
    QCOMPARE(visitor.visited(), 1);
    QVERIFY(!server()->deviceIsPresent(u"late"_s));
}

void tst_Window::startAtLogonIsMadeTrueAtTheStart()
{
    makeWindow();
    QCOMPARE(host.loginItems.entries, LoginEntries({{host.loginItems.applicationPath, false}}));
}

void tst_Window::startAtLogonThatIsOffLeavesTheListAlone()
{
    QSettings().setValue("startAtLogon", false);
    host.loginItems.entries = {{host.loginItems.applicationPath, false}};
    makeWindow();
    QCOMPARE(host.loginItems.entries.size(), 1);
    QCOMPARE(host.loginItems.saves, 0);
}

void tst_Window::liveChangesOfLogonAreTakenAtOnce()
{
    makeWindow();
    QCOMPARE(host.loginItems.entries.size(), 1);
    window->update(u"Logon"_s, false);
    QCOMPARE(host.loginItems.entries.size(), 0);
    window->update(u"Logon"_s, true);
    QCOMPARE(host.loginItems.entries.size(), 1);
    // Stored only when the preferences close.
    QVERIFY(!QSettings().contains("startAtLogon"));
}

void tst_Window::otherLiveChangesAreIgnored_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("approval") << "PairApproval" << QVariant(true);
    QTest::newRow("directory") << "Download" << QVariant(u"/else/where"_s);
    QTest::newRow("other letter case") << "logon" << QVariant(false);
    QTest::newRow("unknown") << "Other" << QVariant(false);
    QTest::newRow("empty") << "" << QVariant();
}

void tst_Window::otherLiveChangesAreIgnored()
{
    QFETCH(QString, name);
    QFETCH(QVariant, value);
    makeWindow();
    const int saves = host.loginItems.saves;
    window->update(name, value);
    QCOMPARE(host.loginItems.saves, saves);
    QCOMPARE(host.loginItems.entries.size(), 1);
    QVERIFY(server()->deviceIsPresent(u"device"_s));
    QCOMPARE(QSettings().allKeys(), QStringList());
    const DialogVisitor<QDialog> visitor([&](QDialog &preferences) {
        const QVariantMap shown = preferences.property("parameters").toMap();
        preferences.close();
        QCOMPARE(shown, QVariantMap({{u"PairApproval"_s, false},
                                     {u"Logon"_s, true},
                                     {u"Download"_s, home->path(u"Downloads"_s)}}));
    });
    window->openPreferencesDialog();
    QCOMPARE(visitor.visited(), 1);
}

// ---- Boxes, and the end -------------------------------------------------------------------------

void tst_Window::closingHidesAndGoesOn()
{
    makeWindow();
    window->show();
    QVERIFY(!window->close());
    QVERIFY(!window->isVisible());
    QVERIFY(server()->isListening());
    QCloseEvent event;
    QCoreApplication::sendEvent(window.get(), &event);
    QVERIFY(!event.isAccepted());
}

void tst_Window::closingWithoutATrayIconCloses()
{
    makeWindow();
    trayIcon->hide();
    window->show();
    QVERIFY(window->close());
    QCloseEvent event;
    QCoreApplication::sendEvent(window.get(), &event);
    QVERIFY(event.isAccepted());
}

void tst_Window::theAboutBoxSaysItsWords()
{
    makeWindow();
    const DialogVisitor<QMessageBox> visitor([&](QMessageBox &box) {
        QCOMPARE(box.windowTitle(), u"QMessageBox::information()"_s);
        QCOMPARE(box.text(), u"Vorna Server v1.1"_s);
        QCOMPARE(box.standardButtons(), QMessageBox::Ok);
        QCOMPARE(box.icon(), QMessageBox::Information);
        QCOMPARE(box.parent(), window.get());
        box.accept();
    });
    action(u"About"_s)->trigger();
    QCOMPARE(visitor.visited(), 1);
    QVERIFY(server()->isListening());
}

void tst_Window::aSecondChoiceBringsTheOpenDialogToTheFront_data()
{
    QTest::addColumn<QString>("choice");
    QTest::newRow("about") << "About";
    QTest::newRow("preferences") << "Preferences...";
}

void tst_Window::aSecondChoiceBringsTheOpenDialogToTheFront()
{
    QFETCH(QString, choice);
    makeWindow();
    QWidget other;
    other.show();
    const DialogVisitor<QDialog> visitor([&](QDialog &dialog) {
        dialog.showMinimized();
        other.activateWindow();
        QVERIFY(waitUntil([&] { return QApplication::activeWindow() == &other; }));
        QVERIFY(!secondDialogComes(choice, dialog));
        QVERIFY(!dialog.isMinimized());
        QVERIFY(waitUntil([&] { return QApplication::activeWindow() == &dialog; }));
        dialog.close();
    });
    action(choice)->trigger();
    QCOMPARE(visitor.visited(), 1);
}

void tst_Window::theValuesOfTheOnePreferencesDialogAreTaken()
{
    makeWindow();
    const DialogVisitor<QDialog> visitor([&](QDialog &dialog) {
        dialog.findChild<QCheckBox *>(u"PairApproval"_s)->click();
        QVERIFY(!secondDialogComes(u"Preferences..."_s, dialog));
        QVERIFY(QSettings().allKeys().isEmpty());
        dialog.findChild<QCheckBox *>(u"Logon"_s)->click();
        dialog.close();
    });
    action(u"Preferences..."_s)->trigger();
    QCOMPARE(visitor.visited(), 1);
    QCOMPARE(QSettings().value("pairNeedsApproval").toBool(), true);
    QCOMPARE(QSettings().value("startAtLogon").toBool(), false);
    QCOMPARE(host.loginItems.entries.size(), 0);
    QVERIFY(!server()->deviceIsPresent(u"device"_s));
}

void tst_Window::theFileDialogStaysAboveThePreferences()
{
    makeWindow();
    const DialogVisitor<QFileDialog> browsing([&](QFileDialog &browser) {
        QVERIFY(!secondDialogComes(u"Preferences..."_s, browser));
        QVERIFY(waitUntil([&] { return QApplication::activeWindow() == &browser; }));
        QCOMPARE(QApplication::activeModalWidget(), &browser);
        browser.close();
    });
    const DialogVisitor<ConfigDialog> preferences([&](ConfigDialog &dialog) {
        for (QPushButton *button : dialog.findChildren<QPushButton *>()) {
            if (button->text() == u"Choose"_s) {
                button->click();
            }
        }
        dialog.close();
    });
    action(u"Preferences..."_s)->trigger();
    QCOMPARE(browsing.visited(), 1);
    QCOMPARE(preferences.visited(), 1);
}

void tst_Window::aDialogCanBeOpenedAgainOnceItIsClosed()
{
    makeWindow();
    const DialogVisitor<QDialog> visitor([](QDialog &dialog) { dialog.close(); });
    for (const char *choice : {"About", "Preferences...", "About", "Preferences..."}) {
        action(QLatin1StringView(choice))->trigger();
    }
    QCOMPARE(visitor.visited(), 4);
}

void tst_Window::theWebsiteIsOpened()
{
    makeWindow();
    action(u"Support Website"_s)->trigger();
    QCOMPARE(desktop->opened, QStringList{QLatin1StringView(VORNA_SUPPORT_WEBSITE)});
    QVERIFY(desktop->opened[0].startsWith(u"http://"_s));
}

void tst_Window::quitEndsTheProgramAndClosingDoesNot()
{
    makeWindow();
    bool isRunningOn = false;
    QTimer::singleShot(0, window.get(), [&] {
        window->show();
        window->close();
        QTimer::singleShot(0, window.get(), [&] {
            isRunningOn = true;
            action(u"Quit"_s)->trigger();
        });
    });
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(isRunningOn);
    QVERIFY(server()->isListening());
}

void tst_Window::quitWhileADialogIsOpenEndsInOrder_data()
{
    QTest::addColumn<QString>("choice");
    QTest::newRow("about") << "About";
    QTest::newRow("preferences") << "Preferences...";
}

void tst_Window::quitWhileADialogIsOpenEndsInOrder()
{
    QFETCH(QString, choice);
    makeWindow();
    QTimer::singleShot(0, window.get(), [&] { action(choice)->trigger(); });
    const DialogVisitor<QDialog> visitor([&](QDialog &dialog) {
        if (auto *approval = dialog.findChild<QCheckBox *>(u"PairApproval"_s)) {
            approval->click();
        }
        // From the menu, whose event arrives in the dialog's event loop.
        QTimer::singleShot(0, window.get(), [&] { action(u"Quit"_s)->trigger(); });
    });
    QTimer::singleShot(GenerousLimit, window.get(), [] { QCoreApplication::exit(1); });
    QCOMPARE(QApplication::exec(), 0);
    QCOMPARE(visitor.visited(), 1);
    // The values are taken in whatever way the preferences are closed.
    QCOMPARE(QSettings().value("pairNeedsApproval").toBool(), choice == u"Preferences..."_s);
}

void tst_Window::messagesGoToTheTrayForAsLongAsTheWindowLives()
{
    qWarning("before");
    makeWindow();
    qWarning("meanwhile");
    qDebug("quiet");
    window.reset();
    qWarning("after");
    QCOMPARE(messages->all(), QStringList({u"warning: before"_s, u"warning: after"_s}));
    QCOMPARE(balloonTexts(), QStringList({u"Server Started... "_s, u"meanwhile"_s}));
}

void tst_Window::theEndStoresThePairedDevices()
{
    makeWindow();
    server()->deviceIsPresent(u"device"_s);
    QCOMPARE(QSettings().allKeys(), QStringList());
    window.reset();
    // Nothing else is stored: the preferences are stored when their dialog closes.
    QCOMPARE(QSettings().allKeys(), QStringList{u"pairedDeviceList"_s});
    QCOMPARE(host.dnsSd.living, 0);
}

QTEST_MAIN(tst_Window)
#include "tst_Window.moc"
