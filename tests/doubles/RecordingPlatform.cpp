// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/RecordingPlatform.h"

#include "platform/AdvertisementDaemon.h"
#include "platform/NotificationDaemon.h"
#include "platform/ToolkitClipboard.h"
#include "platform/ToolkitScreens.h"

PlatformRecord &PlatformRecord::current()
{
    static PlatformRecord record;
    return record;
}

namespace platform {
namespace {

class RecordingWatch final : public AdvertisementDaemonWatch
{
public:
    explicit RecordingWatch(std::function<void()> appeared)
    {
        PlatformRecord::current().daemonAppears = std::move(appeared);
    }
    ~RecordingWatch() override { PlatformRecord::current().daemonAppears = nullptr; }
};

/// Puts each text into brackets.
class RecordingNotificationDaemon final : public NotificationDaemon
{
public:
    explicit RecordingNotificationDaemon(std::function<void()> ready)
    {
        PlatformRecord::current().notificationDaemonIsReady = std::move(ready);
    }
    ~RecordingNotificationDaemon() override
    {
        PlatformRecord::current().notificationDaemonIsReady = nullptr;
    }
    bool takesOneMore() override { return PlatformRecord::current().isNotificationDaemonReady; }
    QString asPlainText(const QString &text) const override { return u'[' + text + u']'; }
    void hasOneMore() override { ++PlatformRecord::current().balloonsHanded; }
};

class SlowableClipboard final : public ToolkitClipboard
{
public:
    void requestText(TextReceiver receiver) override
    {
        PlatformRecord &record = PlatformRecord::current();
        if (record.isClipboardSlow) {
            record.waitingReaders.push_back(std::move(receiver));
        } else {
            ToolkitClipboard::requestText(std::move(receiver));
        }
    }
};

} // namespace

std::unique_ptr<EventServices> makeEventServices()
{
    return std::make_unique<RecordingEventServices>(PlatformRecord::current().events);
}

std::unique_ptr<ScriptingBridge> makeScriptingBridge()
{
    return std::make_unique<RecordingScriptingBridge>(PlatformRecord::current().scripting);
}

std::unique_ptr<LoginItems> makeLoginItems()
{
    return std::make_unique<RecordingLoginItems>(PlatformRecord::current().loginItems);
}

std::unique_ptr<SessionStart> makeSessionStart()
{
    return std::make_unique<RecordingSessionStart>(PlatformRecord::current().sessionStart);
}

std::unique_ptr<Clipboard> makeClipboard()
{
    return std::make_unique<SlowableClipboard>();
}

std::unique_ptr<Screens> makeScreens()
{
    return std::make_unique<ToolkitScreens>();
}

std::unique_ptr<AdvertisementDaemonWatch> watchAdvertisementDaemon(std::function<void()> appeared)
{
    return std::make_unique<RecordingWatch>(std::move(appeared));
}

std::unique_ptr<NotificationDaemon> watchNotificationDaemon(const QSystemTrayIcon & /*icon*/,
                                                            std::function<void()> ready)
{
    if (!PlatformRecord::current().hasNotificationDaemon) {
        return nullptr;
    }
    return std::make_unique<RecordingNotificationDaemon>(std::move(ready));
}

} // namespace platform
