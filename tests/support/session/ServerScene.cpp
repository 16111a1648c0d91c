// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/ServerScene.h"

#include "support/x11/InputWatcher.h"
#include "support/x11/Pictures.h"

#include <QSettings>

ServerScene::ServerScene(DesktopSession::Parts parts) : m_session(parts) {}

void ServerScene::storeSetting(const QString &key, const QVariant &value) const
{
    QSettings(m_session.settingsFile(), QSettings::IniFormat).setValue(key, value);
}

QVariant ServerScene::storedSetting(const QString &key) const
{
    return QSettings(m_session.settingsFile(), QSettings::IniFormat).value(key);
}

void ServerScene::launch(std::function<void()> lastPreparation, const QStringList &arguments)
{
    m_server = std::make_unique<ServerProcess>(m_session, std::move(lastPreparation), arguments);
}

void ServerScene::launchForgetful()
{
    const QByteArray sanitizer = qgetenv("ASAN_OPTIONS");
    qputenv("ASAN_OPTIONS", sanitizer + ":quarantine_size_mb=1:thread_local_quarantine_size_kb=64");
    launch();
    qputenv("ASAN_OPTIONS", sanitizer);
}

bool ServerScene::start()
{
    launch();
    return m_server->port() != 0 &&
           waitUntil([this] { return view().trayIcon(m_server->processId()).has_value(); });
}

bool ServerScene::showsLight(StatusLight light) const
{
    return waitUntil([&] { return isLight(light); });
}

bool ServerScene::isLight(StatusLight light) const
{
    const auto icon = view().trayIcon(m_server->processId());
    return icon && lightIn(view().picture(*icon)) == light;
}

std::optional<SeenWindow> ServerScene::waitForDialog(const QString &title) const
{
    std::optional<SeenWindow> dialog;
    const bool isThere = waitUntil([&] {
        dialog = view().dialog(m_server->processId(), title);
        return dialog && view().activeWindow() == dialog->id;
    });
    return isThere ? dialog : std::nullopt;
}

bool ServerScene::waitUntilGone(const SeenWindow &dialog) const
{
    return waitUntil([&] {
        for (const SeenWindow &window : view().dialogs(m_server->processId())) {
            if (window.id == dialog.id) {
                return false;
            }
        }
        return true;
    });
}

bool ServerScene::clickButton(const SeenWindow &dialog, int index) const
{
    const QList<QRect> buttons = Pictures::lowestButtons(view().settledPicture(dialog.place));
    if (index >= buttons.size()) {
        return false;
    }
    return user().click(dialog.place.topLeft() + buttons[index].center());
}

bool ServerScene::waitUntilNothingIsHeld() const
{
    InputWatcher watcher(m_session.display());
    return watcher.isConnected() && waitUntil([&] { return watcher.isNothingHeld(); });
}

/// Whether a key or button is down on the display, whoever pressed it; false without a display.
bool ServerScene::isAnythingHeld() const
{
    InputWatcher watcher(m_session.display());
    return watcher.isConnected() && !watcher.isNothingDown();
}

bool ServerScene::isAtRest() const
{
    constexpr int TwentiethOfACore = 50;
    const int share = m_server->processorShare(std::chrono::seconds(2));
    qInfo("%.1f %% of a core.", share / 10.0);
    return share < TwentiethOfACore;
}

QByteArray ServerScene::problemAtEnd()
{
    if (!m_server) {
        return {};
    }
    const bool wasRunning = m_server->isRunning();
    const std::optional<int> status = m_server->end();
    QByteArray problem = m_server->complaints();
    if (wasRunning && status != 0) {
        problem +=
            "exit status " + (status ? QByteArray::number(*status) : "none: crashed or hung");
    }
    if (isAnythingHeld()) {
        problem += "a key or button was left down";
    }
    return problem.isEmpty() ? problem : problem + '\n' + m_server->errorText();
}
