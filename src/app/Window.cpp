// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/Window.h"

#include "app/HiddenDialogNotice.h"
#include "app/MessageHandler.h"
#include "app/TrayPlacement.h"
#include "messages/Messages.h"
#include "preferences/ConfigDialog.h"
#include "settings/Settings.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QIcon>
#include <QMenu>
#include <QMessageBox>
#include <QUrl>

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

QString blackLight()
{
    return u":/images/led_nero.png"_s;
}

QString orangeLight()
{
    return u":/images/led_arancio.png"_s;
}

QString greenLight()
{
    return u":/images/led_verde.png"_s;
}

QString redLight()
{
    return u":/images/led_rosso.png"_s;
}

/// The shortest time for which a light is shown after a connection has changed it. The tray paints
/// each change, and a crowd of connections causes thousands.
constexpr std::chrono::milliseconds shortestLight(100);

void raiseWindow(QWidget &window)
{
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}

/// To be called whenever the user has asked for that window.
void watchForFocus(QWidget &window)
{
    new HiddenDialogNotice(&window, Window::tr("A window of VornaServer is behind other windows."));
}

/// A window that blocks the dialog, such as its own file dialog, stays above it and gets the focus.
void bringToFront(QWidget &dialog)
{
    raiseWindow(dialog);
    QWidget *front = QApplication::activeModalWidget();
    if (front != nullptr && front != &dialog) {
        raiseWindow(*front);
    } else {
        front = &dialog;
    }
    if (!front->isActiveWindow()) {
        watchForFocus(*front);
    }
}

} // namespace

Window::Window(WindowAdapters adapters)
    : makeSettingsManager(std::move(adapters.makeSettingsManager))
    , server(nullptr, std::move(adapters.server))
{
    restoreApplicationSettings();
    server.setParent(this);
    connect(&server, SIGNAL(clientConnected(bool)), this, SLOT(connectionStatus(bool)));
    server.whenListeningChanges([this](bool isListening) {
        startStopAction->setChecked(isListening);
        showWhetherItListens(isListening);
    });
    lightIsFresh.setSingleShot(true);
    connect(&lightIsFresh, &QTimer::timeout, this, &Window::showLight);
    createActions();
    createTrayIcon();
    setIcon(blackLight());
    connect(trayIcon, SIGNAL(activated(QSystemTrayIcon::ActivationReason)), this,
            SLOT(iconActivated(QSystemTrayIcon::ActivationReason)));
    // By design: if it is off, an existing login item stays until the preferences are closed.
    if (startAtLogon) {
        updateStartupAtLogon();
    }
    trayIcon->setVisible(true);
    messageHandler->watchNotificationDaemon(adapters.watchNotificationDaemon);
    holdBalloonsUntilPlaced();
    // By design: the server does not learn pairNeedsApproval before the preferences are closed
    // once.
    startServer();
}

Window::~Window()
{
    messageHandler->shutdown();
}

QAction *Window::createAction(const QString &text, const QString &toolTip, const QObject *receiver,
                              const char *slot)
{
    auto *action = new QAction(text, this);
    if (!toolTip.isEmpty()) {
        action->setToolTip(toolTip);
    }
    connect(action, SIGNAL(triggered()), receiver, slot);
    return action;
}

void Window::createActions()
{
    aboutAction = createAction(tr("About"), QString(), this, SLOT(aboutDialog()));
    websiteAction = createAction(tr("Support Website"), tr("Online support for the Quillmote"),
                                 this, SLOT(openWebsite()));
    startStopAction = createAction(tr("Stop Server"), tr("Start/Stop the Quillmote server."), this,
                                   SLOT(startServer()));
    startStopAction->setCheckable(true);
    startStopAction->setChecked(true);
    preferencesAction = createAction(tr("Preferences..."), tr("Click open the preferences dialog"),
                                     this, SLOT(openPreferencesDialog()));
    quitAction = createAction(tr("Quit"), tr("Click to Quit the Quillmote Server"),
                              QCoreApplication::instance(), SLOT(quit()));
}

void Window::createTrayIcon()
{
    trayIconMenu = new QMenu(this);
    trayIconMenu->addAction(aboutAction);
    trayIconMenu->addSeparator();
    trayIconMenu->addAction(websiteAction);
    trayIconMenu->addAction(startStopAction);
    trayIconMenu->addAction(preferencesAction);
    trayIconMenu->addSeparator();
    trayIconMenu->addAction(quitAction);

    trayIcon = new QSystemTrayIcon(this);
    trayIcon->setContextMenu(trayIconMenu);

    messageHandler = MessageHandler::instance();
    messageHandler->installMessageHandler(trayIcon);
}

/// The server does not wait for that, so the menu's actions find it running.
void Window::holdBalloonsUntilPlaced()
{
    if (!TrayPlacement::isOpen(*trayIcon)) {
        return;
    }
    messageHandler->holdBalloons();
    connect(new TrayPlacement(trayIcon), &TrayPlacement::settled, this,
            [this] { messageHandler->releaseBalloons(); });
}

void Window::setIcon(QString iconName)
{
    light = iconName;
    shownLight = iconName;
    if (!icons.contains(iconName)) {
        icons.insert(iconName, QIcon(iconName));
    }
    const QIcon icon = icons.value(iconName);
    trayIcon->setIcon(icon);
    setWindowIcon(icon);
    trayIcon->setToolTip(tr("VornaServer"));
}

void Window::startServer()
{
    if (serverRunning) {
        stopServer();
        return;
    }
    setIcon(orangeLight());
    showWhetherItListens(server.startServer());
}

void Window::showWhetherItListens(bool isListening)
{
    serverRunning = isListening;
    if (serverRunning) {
        setIcon(orangeLight());
        startStopAction->setText(tr("Stop Server"));
        Messages::warning({u"Server Started..."_s});
    } else {
        setIcon(blackLight());
        startStopAction->setChecked(false);
        setIcon(redLight());
    }
}

void Window::stopServer()
{
    if (!serverRunning) {
        return;
    }
    setIcon(blackLight());
    server.stopServer();
    serverRunning = false;
    startStopAction->setText(tr("Start Server"));
}

void Window::connectionStatus(bool connected)
{
    // By design: whether the server still runs does not matter here.
    light = connected ? greenLight() : orangeLight();
    if (!lightIsFresh.isActive()) {
        showLight();
    }
}

void Window::showLight()
{
    if (light != shownLight) {
        setIcon(light);
        lightIsFresh.start(shortestLight);
    }
}

void Window::iconActivated(QSystemTrayIcon::ActivationReason) {}

void Window::closeEvent(QCloseEvent *event)
{
    if (trayIcon->isVisible()) {
        hide();
        event->ignore();
    }
}

void Window::aboutDialog()
{
    if (aboutBox != nullptr) {
        bringToFront(*aboutBox);
        return;
    }
    // By design: this title, and a version that is not the application's.
    QMessageBox box(QMessageBox::Information, tr("QMessageBox::information()"),
                    tr("Vorna Server v1.1"), QMessageBox::Ok, this);
    aboutBox = &box;
    watchForFocus(box);
    box.exec();
}

void Window::openWebsite()
{
    QDesktopServices::openUrl(QUrl(QString::fromUtf8(VORNA_SUPPORT_WEBSITE)));
}

void Window::updateStartupAtLogon()
{
    makeSettingsManager()->startAtLogon(startAtLogon);
}

void Window::update(QString paramName, QVariant value)
{
    // The other parameters are applied when the dialog closes.
    if (paramName == "Logon"_L1) {
        startAtLogon = value.toBool();
        updateStartupAtLogon();
    }
}

void Window::openPreferencesDialog()
{
    if (preferences != nullptr) {
        bringToFront(*preferences);
        return;
    }
    ConfigDialog dialog({{u"PairApproval"_s, pairNeedsApproval},
                         {u"Logon"_s, startAtLogon},
                         {u"Download"_s, downloadDirectory}});
    connect(&dialog, SIGNAL(updateSignal(QString, QVariant)), this,
            SLOT(update(QString, QVariant)));
    preferences = &dialog;
    watchForFocus(dialog);
    // By design: the values are applied however the dialog is closed.
    dialog.exec();
    takePreferences(dialog.property("parameters").toMap());
}

void Window::takePreferences(const QVariantMap &parameters)
{
    pairNeedsApproval = parameters.value(u"PairApproval"_s).toBool();
    startAtLogon = parameters.value(u"Logon"_s).toBool();
    downloadDirectory = parameters.value(u"Download"_s).toString();
    updateStartupAtLogon();
    server.setNeedsPairingApproval(pairNeedsApproval);
    storeApplicationSettings();
}

void Window::restoreApplicationSettings()
{
    const Settings::Preferences stored = Settings::preferences();
    pairNeedsApproval = stored.pairNeedsApproval;
    startAtLogon = stored.startAtLogon;
    downloadDirectory = stored.downloadDirectory;
}

void Window::storeApplicationSettings()
{
    Settings::store({pairNeedsApproval, startAtLogon, downloadDirectory});
}
