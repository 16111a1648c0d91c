// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/RecordingWindowAdapters.h"

#include "app/PairingQuestion.h"
#include "doubles/RecordingHost.h"
#include "platform/NotificationDaemon.h"

#include <utility>

namespace {

/// Puts each text into brackets.
class RecordingNotificationDaemon final : public platform::NotificationDaemon
{
public:
    RecordingNotificationDaemon(RecordingHost &recordingHost, std::function<void()> ready)
        : host(recordingHost)
    {
        host.notificationDaemonIsReady = std::move(ready);
    }
    ~RecordingNotificationDaemon() override { host.notificationDaemonIsReady = nullptr; }
    bool takesOneMore() override { return host.isNotificationDaemonReady; }
    QString asPlainText(const QString &text) const override { return u'[' + text + u']'; }
    void hasOneMore() override { ++host.balloonsHanded; }

private:
    RecordingHost &host;
};

} // namespace

WindowAdapters recordingWindowAdapters(RecordingHost &host)
{
    const auto makeSettingsManager = [&host] {
        return std::make_unique<settingsManagerMac>(
            std::make_unique<RecordingLoginItems>(host.loginItems),
            std::make_unique<RecordingSessionStart>(host.sessionStart));
    };
    const auto watchNotificationDaemon =
        [&host](const QSystemTrayIcon & /*icon*/,
                std::function<void()> ready) -> std::unique_ptr<platform::NotificationDaemon> {
        if (!host.hasNotificationDaemon) {
            return nullptr;
        }
        return std::make_unique<RecordingNotificationDaemon>(host, std::move(ready));
    };
    return {host.serverAdapters(askAboutPairing), makeSettingsManager, watchNotificationDaemon};
}
