// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "app/WindowAdapters.h"
#include "server/Server.h"

#include <QDialog>
#include <QHash>
#include <QIcon>
#include <QPointer>
#include <QSystemTrayIcon>
#include <QTimer>

class ConfigDialog;
class MessageHandler;
class QAction;
class QMenu;
class QMessageBox;

/// The application as the user sees it: a tray icon with a menu, whose light shows the server's
/// state. It is a dialog that is never shown, so that message boxes have a parent.
class Window : public QDialog
{
    Q_OBJECT

public:
    /// Restores the settings, shows the tray icon and starts the server.
    explicit Window(WindowAdapters adapters = WindowAdapters::ofHost());
    ~Window() override;

    /// The port that the server listens on; 0 while it does not.
    quint16 listeningPort() const { return server.serverPort(); }

public slots:
    /// Live changes from the preferences dialog.
    void update(QString paramName, QVariant value);
    /// Shows the light at once.
    void setIcon(QString iconName = QStringLiteral(":/images/led_arancio.png"));
    /// By design: nothing. The tray opens the menu by itself.
    void iconActivated(QSystemTrayIcon::ActivationReason reason);
    void updateStartupAtLogon();
    /// Returns when the box is closed. If one is already open, brings it to the front instead.
    void aboutDialog();
    void openWebsite();
    /// Starts the server, or stops it if it is running.
    void startServer();
    void stopServer();
    /// Returns when the dialog is closed and its values are applied. If one is already open, brings
    /// it to the front instead.
    void openPreferencesDialog();
    /// Shows the light at once, or a tenth of a second after the last such change.
    void connectionStatus(bool connected);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    QAction *createAction(const QString &text, const QString &toolTip, const QObject *receiver,
                          const char *slot);
    void createActions();
    void createTrayIcon();
    void holdBalloonsUntilPlaced();
    void showLight();
    void showWhetherItListens(bool isListening);
    void takePreferences(const QVariantMap &parameters);
    void restoreApplicationSettings();
    void storeApplicationSettings();

    bool serverRunning = false;
    bool pairNeedsApproval = false;
    bool startAtLogon = false;
    QString downloadDirectory;
    std::function<std::unique_ptr<settingsManagerMac>()> makeSettingsManager;
    // What the lights need must outlive the server, which emits signals when it ends.
    QHash<QString, QIcon> icons; // by file name, decoded
    QString light;               // the one to show, by file name
    QString shownLight;
    QTimer lightIsFresh; // runs for a while after a connection has changed it
    Server server;
    QAction *aboutAction = nullptr;
    QAction *websiteAction = nullptr;
    QAction *startStopAction = nullptr;
    QAction *preferencesAction = nullptr;
    QAction *quitAction = nullptr;
    QSystemTrayIcon *trayIcon = nullptr;
    MessageHandler *messageHandler = nullptr;
    QMenu *trayIconMenu = nullptr;
    QPointer<QMessageBox> aboutBox;     // the one that is open
    QPointer<ConfigDialog> preferences; // the one that is open, until its values are applied
};
