// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/NotificationDesk.h"
#include "support/ServerScene.h"

#include <QMap>
#include <QTest>

namespace {

constexpr int BalloonMilliseconds = 10'000;

constexpr QPoint InTheMiddle(500, 400);
const QString preferencesLabel = QStringLiteral("Preferences...");

/// Of the dialogs, by their items in the menu.
const QMap<QString, QString> titles{
    {QStringLiteral("About"), QStringLiteral("QMessageBox::information()")},
    {preferencesLabel, QStringLiteral("Config Dialog")},
};

Notification message(const QString &body)
{
    return {QStringLiteral("VornaServer"), body, BalloonMilliseconds};
}

} // namespace

/// A desktop whose panel takes icons and messages over the session bus: the same program, and what
/// it says to the letter.
class tst_TrayByDBus : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void panelThatComesLateIsUsed();
    void startIsAnnounced();
    void devicesAreAnnounced();
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
    QList<SeenWindow> dialogs() const
    {
        return m_scene->view().dialogs(m_scene->server().processId());
    }
    bool isInFront(const SeenWindow &dialog) const;
    PublishedItem item(const QString &label) const;
    bool hasItem(const QString &label) const { return item(label).number != 0; }
    bool isAnnounced(const QString &body) const;

    std::unique_ptr<ServerScene> m_scene;
    std::unique_ptr<NotificationDesk> m_desk;
    std::unique_ptr<ChildProcess> m_otherProgram;
};

void tst_TrayByDBus::init()
{
    m_scene = std::make_unique<ServerScene>(DesktopSession::SessionBus);
    QCOMPARE(m_scene->session().problem(), QByteArray());
}

void tst_TrayByDBus::cleanup()
{
    const QByteArray problem = m_scene->problemAtEnd();
    m_otherProgram.reset();
    m_desk.reset();
    m_scene.reset();
    QCOMPARE(problem, QByteArray());
}

bool tst_TrayByDBus::start()
{
    m_desk = std::make_unique<NotificationDesk>(m_scene->session().busAddress());
    if (!m_desk->isReady())
        return false;
    m_scene->launch();
    return m_scene->port() != 0 && waitUntil([this] { return m_desk->icons().size() == 1; });
}

/// The item with that label, or one with number 0.
PublishedItem tst_TrayByDBus::item(const QString &label) const
{
    for (const PublishedItem &item : m_desk->menu(m_desk->icons().constFirst()))
        if (item.label == label)
            return item;
    return {};
}

void tst_TrayByDBus::choose(const QString &label) const
{
    m_desk->click(m_desk->icons().constFirst(), item(label).number);
}

/// Chooses the item and waits for its dialog.
std::optional<SeenWindow> tst_TrayByDBus::openDialog(const QString &label) const
{
    choose(label);
    return m_scene->waitForDialog(titles.value(label));
}

/// Another program's window, which the user clicks into, covers the dialogs.
bool tst_TrayByDBus::openWindowInFront()
{
    const DesktopView &view = m_scene->view();
    const quint32 before = view.frontWindow();
    m_otherProgram = std::make_unique<ChildProcess>();
    m_otherProgram->setProcessEnvironment(m_scene->session().environment());
    m_otherProgram->start(QStringLiteral("xterm"),
                          {"-geometry", "160x50+0+0", "-e", "sleep", "600"});
    const auto isInUse = [&] {
        return view.frontWindow() != before && view.activeWindow() == view.frontWindow();
    };
    return waitUntil(isInUse) && m_scene->user().click(InTheMiddle) && waitUntil(isInUse);
}

bool tst_TrayByDBus::isInFront(const SeenWindow &dialog) const
{
    return waitUntil([&] {
        return m_scene->view().frontWindow() == dialog.id &&
               m_scene->view().activeWindow() == dialog.id;
    });
}

bool tst_TrayByDBus::isAnnounced(const QString &body) const
{
    return waitUntil([&] { return m_desk->notifications().contains(message(body)); });
}

void tst_TrayByDBus::panelThatComesLateIsUsed()
{
    m_scene->launch();
    // Nothing happens meanwhile, so there is no condition to wait for.
    QVERIFY(
        !waitUntil([this] { return m_scene->server().isListening(); }, std::chrono::seconds(3)));
    m_desk = std::make_unique<NotificationDesk>(m_scene->session().busAddress());
    QVERIFY(m_desk->isReady());
    QVERIFY(m_scene->port() != 0);
    QVERIFY(waitUntil([this] { return m_desk->icons().size() == 1; }));
    QVERIFY(isAnnounced(QStringLiteral("Server Started... ")));
}

void tst_TrayByDBus::startIsAnnounced()
{
    QVERIFY(start());
    QVERIFY(isAnnounced(QStringLiteral("Server Started... ")));
    QCOMPARE(m_desk->notifications(), QList<Notification>{message("Server Started... ")});
}

void tst_TrayByDBus::devicesAreAnnounced()
{
    QVERIFY(start());
    Handheld handheld(m_scene->port());
    QVERIFY(
        handheld.ask(commandText("SERVER_PAIR", {{"cmdParameters", QStringList{"id-1", "Anna"}}})));
    QVERIFY(isAnnounced(QStringLiteral("Device Connected ")));
    handheld.leave();
    QVERIFY(isAnnounced(QStringLiteral("Device Disconnected ")));
    QCOMPARE(m_desk->notifications(),
             (QList<Notification>{message("Server Started... "), message("Device Connected "),
                                  message("Device Disconnected ")}));
}

/// Starts a server that asks about devices.
bool tst_TrayByDBus::askBeforePairing()
{
    m_scene->storeSetting(QStringLiteral("pairNeedsApproval"), true);
    if (!start())
        return false;
    m_desk->click(m_desk->icons().constFirst(), item("Preferences...").number);
    const auto preferences = m_scene->waitForDialog(QStringLiteral("Config Dialog"));
    return preferences && m_scene->user().tapKey(QStringLiteral("Escape")) &&
           m_scene->waitUntilGone(*preferences);
}

void tst_TrayByDBus::refusedDeviceIsAnnounced()
{
    QVERIFY(askBeforePairing());
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(
        commandText("SERVER_PAIR", {{"cmdParameters", QStringList{"id-1", "Anna"}}})));
    QVERIFY(m_scene->waitForDialog(QStringLiteral("VornaServer")));
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
    QVERIFY(handheld.answer());
    QVERIFY(isAnnounced(QStringLiteral("Device Rejected !! ")));
}

void tst_TrayByDBus::keysThatCannotBeTypedAreAnnounced()
{
    QVERIFY(start());
    QVERIFY(isAnnounced(QStringLiteral("Server Started... ")));
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.sendAndSettle(commandText("KEYBOARD_CMD", {{"fncCommand", "Tab"}})));
    QVERIFY(isAnnounced(QStringLiteral("\"Problem executing the shortcut: \" ")));
    const QString first = m_desk->notifications().value(1).body;
    QVERIFY2(first.startsWith(QStringLiteral("KeyCode not vailable for  0x")) ||
                 first.startsWith(QStringLiteral("KeyCode not vailable for 0x")),
             qPrintable(first));
    QVERIFY(!first.contains(QStringLiteral("Tab")));
}

void tst_TrayByDBus::menuHoldsItsItems()
{
    QVERIFY(start());
    QStringList labels;
    for (const PublishedItem &item : m_desk->menu(m_desk->icons().constFirst()))
        labels.append(item.isSeparator ? QStringLiteral("-") : item.label);
    QCOMPARE(labels, (QStringList{"About", "-", "Support Website", "Stop Server", "Preferences...",
                                  "-", "Quit"}));
    QVERIFY(item("Stop Server").isCheckable);
    QVERIFY(item("Stop Server").isChecked);
    QCOMPARE(m_desk->toolTip(m_desk->icons().constFirst()), QStringLiteral("VornaServer"));
}

void tst_TrayByDBus::startStopItemIsRenamed()
{
    QVERIFY(start());
    const QString icon = m_desk->icons().constFirst();
    const quint16 firstPort = m_scene->port();
    m_desk->click(icon, item("Stop Server").number);
    QVERIFY(waitUntil([this] { return hasItem("Start Server"); }));
    QVERIFY(!m_scene->server().isListening());
    QVERIFY(!Handheld(firstPort).isConnected());
    m_desk->click(icon, item("Start Server").number);
    QVERIFY(waitUntil([this] { return hasItem("Stop Server"); }));
    QVERIFY(Handheld(m_scene->port()).ask(commandText("SERVER_INFO")));
}

void tst_TrayByDBus::quitEndsTheProgram()
{
    QVERIFY(start());
    m_desk->click(m_desk->icons().constFirst(), item("Quit").number);
    QCOMPARE(m_scene->server().waitForEnd(), std::optional(0));
}

void tst_TrayByDBus::secondChoiceShowsTheOpenDialog_data()
{
    QTest::addColumn<QString>("label");
    for (const QString &label : titles.keys())
        QTest::newRow(qPrintable(label)) << label;
}

void tst_TrayByDBus::secondChoiceShowsTheOpenDialog()
{
    QFETCH(QString, label);
    QVERIFY(start());
    const auto dialog = openDialog(label);
    QVERIFY(dialog);
    QVERIFY(openWindowInFront());
    QVERIFY(m_scene->view().frontWindow() != dialog->id);
    choose(label);
    QVERIFY(isInFront(*dialog));
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("second-choice")));
    QCOMPARE(dialogs().size(), 1);
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
    QVERIFY(m_scene->waitUntilGone(*dialog));
    QVERIFY(openDialog(label));
}

void tst_TrayByDBus::minimizedDialogComesBack()
{
    QVERIFY(start());
    const auto dialog = openDialog(preferencesLabel);
    QVERIFY(dialog && m_scene->user().minimizeWindow(dialog->id));
    QVERIFY(waitUntil([this] { return dialogs().isEmpty(); }));
    choose(preferencesLabel);
    QVERIFY(isInFront(*dialog));
    QCOMPARE(dialogs().size(), 1);
}

void tst_TrayByDBus::valuesOfTheOneDialogAreTaken()
{
    QVERIFY(start());
    const auto dialog = openDialog(preferencesLabel);
    QVERIFY(dialog && m_scene->user().tapKey(QStringLiteral("alt+a")));
    QVERIFY(openWindowInFront());
    choose(preferencesLabel);
    QVERIFY(isInFront(*dialog));
    QVERIFY(!m_scene->storedSetting(QStringLiteral("pairNeedsApproval")).isValid());
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
    QVERIFY(m_scene->waitUntilGone(*dialog));
    // A second dialog would have been closed by now, and would have stored the old value.
    choose(QStringLiteral("Quit"));
    QCOMPARE(m_scene->server().waitForEnd(), std::optional(0));
    QCOMPARE(m_scene->storedSetting(QStringLiteral("pairNeedsApproval")).toBool(), true);
}

void tst_TrayByDBus::folderChooserStaysInFront()
{
    QVERIFY(start());
    const auto dialog = openDialog(preferencesLabel);
    QVERIFY(dialog);
    // From the dialog's first control over the line edit to Choose.
    for (const char *key : {"Tab", "Tab", "space"})
        QVERIFY(m_scene->user().tapKey(key));
    const auto chooser = m_scene->waitForDialog(QStringLiteral("Find Directory"));
    QVERIFY(chooser);
    QVERIFY(openWindowInFront());
    choose(preferencesLabel);
    QVERIFY(isInFront(*chooser));
    QVERIFY(m_scene->view().saveScreenshot(QStringLiteral("second-choice-while-browsing")));
    QCOMPARE(dialogs().size(), 2);
    // It takes keys as before.
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
    QVERIFY(m_scene->waitUntilGone(*chooser));
    QVERIFY(waitUntil([&] { return m_scene->view().activeWindow() == dialog->id; }));
    QVERIFY(m_scene->user().tapKey(QStringLiteral("Escape")));
    QVERIFY(m_scene->waitUntilGone(*dialog));
}

void tst_TrayByDBus::quitWhileADialogIsOpenEndsInOrder_data()
{
    secondChoiceShowsTheOpenDialog_data();
}

void tst_TrayByDBus::quitWhileADialogIsOpenEndsInOrder()
{
    QFETCH(QString, label);
    QVERIFY(start());
    Handheld handheld(m_scene->port());
    QVERIFY(
        handheld.ask(commandText("SERVER_PAIR", {{"cmdParameters", QStringList{"id-1", "Anna"}}})));
    QVERIFY(openDialog(label));
    if (label == preferencesLabel)
        QVERIFY(m_scene->user().tapKey(QStringLiteral("space")));
    choose(QStringLiteral("Quit"));
    QCOMPARE(m_scene->server().waitForEnd(), std::optional(0));
    QCOMPARE(m_scene->storedSetting(QStringLiteral("pairedDeviceList")).toStringList(),
             QStringList{"id-1"});
    // However the preferences are closed, their values are taken.
    QCOMPARE(m_scene->storedSetting(QStringLiteral("pairNeedsApproval")).toBool(),
             label == preferencesLabel);
}

void tst_TrayByDBus::quitWhileAQuestionIsOpenRefusesTheDevice()
{
    QVERIFY(askBeforePairing());
    Handheld handheld(m_scene->port());
    QVERIFY(handheld.send(
        commandText("SERVER_PAIR", {{"cmdParameters", QStringList{"id-1", "Anna"}}})));
    QVERIFY(m_scene->waitForDialog(QStringLiteral("VornaServer")));
    choose(QStringLiteral("Quit"));
    QCOMPARE(m_scene->server().waitForEnd(), std::optional(0));
    const auto answer = handheld.answer();
    QVERIFY(answer);
    QCOMPARE(answer->value("serverResponse").toString(), QStringLiteral("ERROR"));
}

QTEST_GUILESS_MAIN(tst_TrayByDBus)
#include "tst_TrayByDBus.moc"
