// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/ServerScene.h"

#include "support/x11/InputWatcher.h"
#include "support/x11/Pictures.h"

#include <QSettings>

namespace {

constexpr QPoint CentreOfTheScreen(512, 384);

} // namespace

ServerScene::ServerScene(DesktopSession::Parts parts) : desktop(parts) {}

void ServerScene::storeSetting(const QString &key, const QVariant &value) const
{
    QSettings(desktop.settingsFile(), QSettings::IniFormat).setValue(key, value);
}

QVariant ServerScene::storedSetting(const QString &key) const
{
    return QSettings(desktop.settingsFile(), QSettings::IniFormat).value(key);
}

void ServerScene::beginAnew()
{
    process.reset();
    desktop.beginAnew();
    // As on a new display, and over nothing that would be drawn differently because of it.
    user().moveTo(CentreOfTheScreen);
}

void ServerScene::launch(std::function<void()> lastPreparation, const QStringList &arguments)
{
    process = std::make_unique<ServerProcess>(desktop, std::move(lastPreparation), arguments);
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
    return process->port() != 0 &&
           waitUntil([this] { return view().trayIcon(process->processId()).has_value(); });
}

bool ServerScene::showsLight(StatusLight light) const
{
    return waitUntil([&] { return isLight(light); });
}

bool ServerScene::isLight(StatusLight light) const
{
    const auto icon = view().trayIcon(process->processId());
    return icon && lightIn(view().picture(*icon)) == light;
}

std::optional<SeenWindow> ServerScene::waitForDialog(const QString &title) const
{
    std::optional<SeenWindow> dialog;
    const bool isThere = waitUntil([&] {
        dialog = view().dialog(process->processId(), title);
        return dialog && view().activeWindow() == dialog->id;
    });
    return isThere ? dialog : std::nullopt;
}

bool ServerScene::waitUntilGone(const SeenWindow &dialog) const
{
    return waitUntil([&] {
        for (const SeenWindow &window : view().dialogs(process->processId())) {
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
    InputWatcher watcher(desktop.display());
    return watcher.isConnected() && waitUntil([&] { return watcher.isNothingHeld(); });
}

/// Whether a key or button is down on the display, whoever pressed it; false without a display.
bool ServerScene::isAnythingHeld() const
{
    InputWatcher watcher(desktop.display());
    return watcher.isConnected() && !watcher.isNothingDown();
}

bool ServerScene::comesToRest() const
{
    constexpr int TwentiethOfACore = 50;
    return waitUntil([this] {
        const int share = process->processorShare(std::chrono::milliseconds(500));
        qInfo("%.1f %% of a core.", share / 10.0);
        return share < TwentiethOfACore;
    });
}

QByteArray ServerScene::problemSoFar() const
{
    return process->isRunning() ? process->complaints() : QByteArray("the server has ended");
}

QByteArray ServerScene::problemAtEnd()
{
    if (!process) {
        return {};
    }
    QByteArray problem = process->problemAtEnd();
    if (isAnythingHeld()) {
        problem += "a key or button was left down";
    }
    return problem.isEmpty() ? problem : problem + '\n' + process->errorText();
}
