// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/NotificationDesk.h"
#include "support/session/ServerScene.h"

#include <QMap>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr int BalloonMilliseconds = 10'000;

constexpr QPoint InTheMiddle(500, 400);
const QString preferencesLabel = u"Preferences..."_s;

/// The dialogs' titles, by their items in the menu.
const QMap<QString, QString> titles{
    {u"About"_s, u"QMessageBox::information()"_s},
    {preferencesLabel, u"Config Dialog"_s},
};

Notification message(const QString &body)
{
    return {u"VornaServer"_s, body, BalloonMilliseconds};
}

} // namespace

/// A desktop whose panel takes icons and messages over the session bus: the same program, and the
/// exact text of its messages.
class tst_TrayByDBus : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void panelThatComesLateIsUsed();
    void startIsAnnounced();
    void devicesAreAnnounced();
    void balloonsLeaveTheLightInItsPlaceOnGnome();
    void refusedDeviceIsAnnounced();
    void keysThatCannotBeTypedAreAnnounced();
    void menuHoldsItsItems();
    void startStopItemIsRenamed();
    void quitEndsTheProgram();
    void secondChoiceShowsTheOpenDialog_data();
    void secondChoiceShowsTheOpenDialog();
    void minimizedDialogComesBack();
    void valuesOfTheOneDialogAreTaken();
    void folderChooserStaysInFront();
    void quitWhileADialogIsOpenEndsInOrder_data();
    void quitWhileADialogIsOpenEndsInOrder();
    void quitWhileAQuestionIsOpenRefusesTheDevice();

private:
    bool askBeforePairing();
    bool start();
    void choose(const QString &label) const;
    std::optional<SeenWindow> openDialog(const QString &label) const;
    bool openWindowInFront();
    QList<SeenWindow> dialogs() const { return scene->view().dialogs(scene->server().processId()); }
    bool isInFront(const SeenWindow &dialog) const;
    PublishedItem item(const QString &label) const;
    bool hasItem(const QString &label) const { return item(label).number != 0; }
    bool isAnnounced(const QString &body) const;

    std::unique_ptr<ServerScene> scene;
    std::unique_ptr<NotificationDesk> desk;
    std::unique_ptr<ChildProcess> otherProgram;
};

void tst_TrayByDBus::init()
{
    scene = std::make_unique<ServerScene>(DesktopSession::SessionBus);
    QCOMPARE(scene->session().problem(), QByteArray());
}

void tst_TrayByDBus::cleanup()
{
    const QByteArray problem = scene->problemAtEnd();
    otherProgram.reset();
    desk.reset();
    scene.reset();
    QCOMPARE(problem, QByteArray());
}

bool tst_TrayByDBus::start()
{
    desk = std::make_unique<NotificationDesk>(scene->session().busAddress());
    if (!desk->isReady()) {
        return false;
    }
    scene->launch();
    return scene->port() != 0 && waitUntil([this] { return desk->icons().size() == 1; });
}

/// The item with that label, or one with number 0.
PublishedItem tst_TrayByDBus::item(const QString &label) const
{
    for (const PublishedItem &item : desk->menu(desk->icons().constFirst())) {
        if (item.label == label) {
            return item;
        }
    }
    return {};
}

void tst_TrayByDBus::choose(const QString &label) const
{
    desk->click(desk->icons().constFirst(), item(label).number);
}

/// Chooses the item and waits for its dialog.
std::optional<SeenWindow> tst_TrayByDBus::openDialog(const QString &label) const
{
    choose(label);
    return scene->waitForDialog(titles.value(label));
}

/// Another program's window, which the user clicks into, covers the dialogs.
bool tst_TrayByDBus::openWindowInFront()
{
    const DesktopView &view = scene->view();
    const quint32 before = view.frontWindow();
    otherProgram = std::make_unique<ChildProcess>();
    otherProgram->setProcessEnvironment(scene->session().environment());
    otherProgram->start(u"xterm"_s,
                        {u"-geometry"_s, u"160x50+0+0"_s, u"-e"_s, u"sleep"_s, u"600"_s});
    const auto isInUse = [&] {
        return view.frontWindow() != before && view.activeWindow() == view.frontWindow();
    };
    return waitUntil(isInUse) && scene->user().click(InTheMiddle) && waitUntil(isInUse);
}

bool tst_TrayByDBus::isInFront(const SeenWindow &dialog) const
{
    return waitUntil([&] {
        return scene->view().frontWindow() == dialog.id &&
               scene->view().activeWindow() == dialog.id;
    });
}

bool tst_TrayByDBus::isAnnounced(const QString &body) const
{
    return waitUntil([&] { return desk->notifications().contains(message(body)); });
}

void tst_TrayByDBus::panelThatComesLateIsUsed()
{
    scene->launch();
    // Nothing happens in the meantime, so there is no condition to wait for.
    QVERIFY(!waitUntil([this] { return scene->server().isListening(); }, std::chrono::seconds(3)));
    desk = std::make_unique<NotificationDesk>(scene->session().busAddress());
    QVERIFY(desk->isReady());
    QVERIFY(scene->port() != 0);
    QVERIFY(waitUntil([this] { return desk->icons().size() == 1; }));
    QVERIFY(isAnnounced(u"Server Started... "_s));
}

void tst_TrayByDBus::startIsAnnounced()
{
    QVERIFY(start());
    QVERIFY(isAnnounced(u"Server Started... "_s));
    QCOMPARE(desk->notifications(), QList<Notification>{message(u"Server Started... "_s)});
}

void tst_TrayByDBus::devicesAreAnnounced()
{
    QVERIFY(start());
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask(pairing(u"id-1"_s, u"Anna"_s)));
    QVERIFY(isAnnounced(u"Device Connected "_s));
    handheld.leave();
    QVERIFY(isAnnounced(u"Device Disconnected "_s));
    QCOMPARE(desk->notifications(),
             (QList<Notification>{message(u"Server Started... "_s), message(u"Device Connected "_s),
                                  message(u"Device Disconnected "_s)}));
}

/// While an icon calls for attention, GNOME's panel shows the balloon's icon for the light.
void tst_TrayByDBus::balloonsLeaveTheLightInItsPlaceOnGnome()
{
    scene->mutableSession().addVariable(u"XDG_CURRENT_DESKTOP"_s, u"ubuntu:GNOME"_s);
    QVERIFY(start());
    QVERIFY(isAnnounced(u"Server Started... "_s));
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask(pairing(u"id-1"_s, u"Anna"_s)));
    QVERIFY(isAnnounced(u"Device Connected "_s));
    // The balloon lasts ten seconds.
    QVERIFY(waitUntil([this] { return !desk->needsAttention(desk->icons().constFirst()); },
                      std::chrono::seconds(5)));
}

/// Starts a server that asks about devices.
bool tst_TrayByDBus::askBeforePairing()
{
    scene->storeSetting(u"pairNeedsApproval"_s, true);
    if (!start()) {
        return false;
    }
    desk->click(desk->icons().constFirst(), item(u"Preferences..."_s).number);
    const auto preferences = scene->waitForDialog(u"Config Dialog"_s);
    return preferences && scene->user().tapKey(u"Escape"_s) && scene->waitUntilGone(*preferences);
}

void tst_TrayByDBus::refusedDeviceIsAnnounced()
{
    QVERIFY(askBeforePairing());
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(pairing(u"id-1"_s, u"Anna"_s)));
    QVERIFY(scene->waitForDialog(u"VornaServer"_s));
    QVERIFY(scene->user().tapKey(u"Escape"_s));
    QVERIFY(handheld.answer());
    QVERIFY(isAnnounced(u"Device Rejected !! "_s));
}

void tst_TrayByDBus::keysThatCannotBeTypedAreAnnounced()
{
    QVERIFY(start());
    QVERIFY(isAnnounced(u"Server Started... "_s));
    Handheld handheld(scene->port());
    QVERIFY(handheld.sendAndSettle(commandText(u"KEYBOARD_CMD"_s, {{u"fncCommand"_s, u"Tab"_s}})));
    QVERIFY(isAnnounced(u"\"Problem executing the shortcut: \" "_s));
    const QString first = desk->notifications().value(1).body;
    QVERIFY2(first.startsWith(u"KeyCode not vailable for  0x"_s) ||
                 first.startsWith(u"KeyCode not vailable for 0x"_s),
             qPrintable(first));
    QVERIFY(!first.contains(u"Tab"_s));
}

void tst_TrayByDBus::menuHoldsItsItems()
{
    QVERIFY(start());
    QStringList labels;
    for (const PublishedItem &item : desk->menu(desk->icons().constFirst())) {
        labels.append(item.isSeparator ? u"-"_s : item.label);
    }
    QCOMPARE(labels, (QStringList{u"About"_s, u"-"_s, u"Support Website"_s, u"Stop Server"_s,
                                  u"Preferences..."_s, u"-"_s, u"Quit"_s}));
    QVERIFY(item(u"Stop Server"_s).isCheckable);
    QVERIFY(item(u"Stop Server"_s).isChecked);
    QCOMPARE(desk->toolTip(desk->icons().constFirst()), u"VornaServer"_s);
}

void tst_TrayByDBus::startStopItemIsRenamed()
{
    QVERIFY(start());
    const QString icon = desk->icons().constFirst();
    const quint16 firstPort = scene->port();
    desk->click(icon, item(u"Stop Server"_s).number);
    QVERIFY(waitUntil([this] { return hasItem(u"Start Server"_s); }));
    QVERIFY(!scene->server().isListening());
    QVERIFY(!Handheld(firstPort).isConnected());
    desk->click(icon, item(u"Start Server"_s).number);
    QVERIFY(waitUntil([this] { return hasItem(u"Stop Server"_s); }));
    QVERIFY(Handheld(scene->port()).ask(serverInfo()));
}

void tst_TrayByDBus::quitEndsTheProgram()
{
    QVERIFY(start());
    desk->click(desk->icons().constFirst(), item(u"Quit"_s).number);
    QCOMPARE(scene->server().waitForEnd(), std::optional(0));
}

void tst_TrayByDBus::secondChoiceShowsTheOpenDialog_data()
{
    QTest::addColumn<QString>("label");
    for (const QString &label : titles.keys()) {
        QTest::newRow(qPrintable(label)) << label;
    }
}

void tst_TrayByDBus::secondChoiceShowsTheOpenDialog()
{
    QFETCH(QString, label);
    QVERIFY(start());
    const auto dialog = openDialog(label);
    QVERIFY(dialog);
    QVERIFY(openWindowInFront());
    QVERIFY(scene->view().frontWindow() != dialog->id);
    choose(label);
    QVERIFY(isInFront(*dialog));
    QVERIFY(scene->view().saveScreenshot(u"second-choice"_s));
    QCOMPARE(dialogs().size(), 1);
    QVERIFY(scene->user().tapKey(u"Escape"_s));
    QVERIFY(scene->waitUntilGone(*dialog));
    QVERIFY(openDialog(label));
}

void tst_TrayByDBus::minimizedDialogComesBack()
{
    QVERIFY(start());
    const auto dialog = openDialog(preferencesLabel);
    QVERIFY(dialog && scene->user().minimizeWindow(dialog->id));
    QVERIFY(waitUntil([this] { return dialogs().isEmpty(); }));
    choose(preferencesLabel);
    QVERIFY(isInFront(*dialog));
    QCOMPARE(dialogs().size(), 1);
}

void tst_TrayByDBus::valuesOfTheOneDialogAreTaken()
{
    QVERIFY(start());
    const auto dialog = openDialog(preferencesLabel);
    QVERIFY(dialog && scene->user().tapKey(u"alt+a"_s));
    QVERIFY(openWindowInFront());
    choose(preferencesLabel);
    QVERIFY(isInFront(*dialog));
    QVERIFY(!scene->storedSetting(u"pairNeedsApproval"_s).isValid());
    QVERIFY(scene->user().tapKey(u"Escape"_s));
    QVERIFY(scene->waitUntilGone(*dialog));
    // A second dialog would have been closed by now, and would have stored the old value.
    choose(u"Quit"_s);
    QCOMPARE(scene->server().waitForEnd(), std::optional(0));
    QCOMPARE(scene->storedSetting(u"pairNeedsApproval"_s).toBool(), true);
}

void tst_TrayByDBus::folderChooserStaysInFront()
{
    QVERIFY(start());
    const auto dialog = openDialog(preferencesLabel);
    QVERIFY(dialog);
    // From the dialog's first control over the line edit to Choose.
    for (const char *key : {"Tab", "Tab", "space"}) {
        QVERIFY(scene->user().tapKey(QLatin1StringView(key)));
    }
    const auto chooser = scene->waitForDialog(u"Find Directory"_s);
    QVERIFY(chooser);
    QVERIFY(openWindowInFront());
    choose(preferencesLabel);
    QVERIFY(isInFront(*chooser));
    QVERIFY(scene->view().saveScreenshot(u"second-choice-while-browsing"_s));
    QCOMPARE(dialogs().size(), 2);
    // It takes keys as before.
    QVERIFY(scene->user().tapKey(u"Escape"_s));
    QVERIFY(scene->waitUntilGone(*chooser));
    QVERIFY(waitUntil([&] { return scene->view().activeWindow() == dialog->id; }));
    QVERIFY(scene->user().tapKey(u"Escape"_s));
    QVERIFY(scene->waitUntilGone(*dialog));
}

void tst_TrayByDBus::quitWhileADialogIsOpenEndsInOrder_data()
{
    secondChoiceShowsTheOpenDialog_data();
}

void tst_TrayByDBus::quitWhileADialogIsOpenEndsInOrder()
{
    QFETCH(QString, label);
    QVERIFY(start());
    Handheld handheld(scene->port());
    QVERIFY(handheld.ask(pairing(u"id-1"_s, u"Anna"_s)));
    QVERIFY(openDialog(label));
    if (label == preferencesLabel) {
        QVERIFY(scene->user().tapKey(u"space"_s));
    }
    choose(u"Quit"_s);
    QCOMPARE(scene->server().waitForEnd(), std::optional(0));
    QCOMPARE(scene->storedSetting(u"pairedDeviceList"_s).toStringList(), QStringList{u"id-1"_s});
    // The values are taken in whatever way the preferences are closed.
    QCOMPARE(scene->storedSetting(u"pairNeedsApproval"_s).toBool(), label == preferencesLabel);
}

void tst_TrayByDBus::quitWhileAQuestionIsOpenRefusesTheDevice()
{
    QVERIFY(askBeforePairing());
    Handheld handheld(scene->port());
    QVERIFY(handheld.send(pairing(u"id-1"_s, u"Anna"_s)));
    QVERIFY(scene->waitForDialog(u"VornaServer"_s));
    choose(u"Quit"_s);
    QCOMPARE(scene->server().waitForEnd(), std::optional(0));
    const auto answer = handheld.answer();
    QVERIFY(answer);
    QCOMPARE(response(answer), u"ERROR"_s);
}

QTEST_GUILESS_MAIN(tst_TrayByDBus)
#include "tst_TrayByDBus.moc"
