// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/protocol/Handheld.h"
#include "support/session/DesktopSession.h"
#include "support/session/ServerProcess.h"
#include "support/session/StatusLight.h"
#include "support/session/TrayMenu.h"

#include <QVariantMap>

#include <memory>

/// A desktop session with the server in it: what most whole-program tests begin with.
class ServerScene
{
public:
    explicit ServerScene(DesktopSession::Parts parts = DesktopSession::Tray);

    /// Writes to the settings store as an earlier run of the server would have.
    void storeSetting(const QString &key, const QVariant &value) const;
    /// What the settings store holds now.
    QVariant storedSetting(const QString &key) const;

    /// Empties the home and all that the server has stored, as for the first start of another user;
    /// the display, its programs and the buses stay. The server must have ended.
    void beginAnew();

    /// Starts the server without waiting for anything.
    void launch(
        std::function<void()> lastPreparation = [] {}, const QStringList &arguments = {});

    /// Starts a server whose memory can be measured: its sanitizer keeps next to nothing of what
    /// was freed, which it otherwise does to find late uses.
    void launchForgetful();

    /// Starts the server and waits until it listens and its icon is in the tray.
    bool start();

    /// Waits until the tray icon shows that light.
    bool showsLight(StatusLight light) const;
    /// Whether it shows that light now.
    bool isLight(StatusLight light) const;

    /// Waits until a window with that title stands on the screen and gets the keys.
    std::optional<SeenWindow> waitForDialog(const QString &title) const;
    bool waitUntilGone(const SeenWindow &dialog) const;

    /// Clicks a push button in the lowest row of a dialog; they count from 0 at the left.
    bool clickButton(const SeenWindow &dialog, int index) const;

    /// Waits until the server uses less than a twentieth of a core for half a second; false if it
    /// never does.
    bool comesToRest() const;

    /// Waits until no key, button or lock is on at the display, whoever set it.
    bool waitUntilNothingIsHeld() const;

    /// Whether the server runs and has written nothing that a sound run does not.
    QByteArray problemSoFar() const;

    /// Ends the server if it still runs. Returns what was wrong with its end, with what it wrote
    /// and with the keys and buttons that it left down; empty if all was well.
    QByteArray problemAtEnd();

    const DesktopSession &session() const { return desktop; }
    const DesktopView &view() const { return desktop.view(); }
    const DesktopUser &user() const { return desktop.user(); }
    DesktopSession &mutableSession() { return desktop; }
    ServerProcess &server() const { return *process; }
    TrayMenu menu() const { return TrayMenu(desktop, *process); }
    quint16 port() const { return process->port(); }

private:
    bool isAnythingHeld() const;

    DesktopSession desktop;
    std::unique_ptr<ServerProcess> process;
};
