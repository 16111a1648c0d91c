// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/RecordingHost.h"

#include "platform/ToolkitClipboard.h"
#include "platform/ToolkitScreens.h"

#include <utility>

namespace {

class RecordingWatch final : public platform::AdvertisementDaemonWatch
{
public:
    RecordingWatch(RecordingHost &recordingHost, std::function<void()> appeared)
        : host(recordingHost)
    {
        host.daemonAppears = std::move(appeared);
    }
    ~RecordingWatch() override { host.daemonAppears = nullptr; }

private:
    RecordingHost &host;
};

class SlowableClipboard final : public platform::ToolkitClipboard
{
public:
    explicit SlowableClipboard(RecordingHost &recordingHost) : host(recordingHost) {}
    void requestText(TextReceiver receiver) override
    {
        if (host.isClipboardSlow) {
            host.waitingReaders.push_back(std::move(receiver));
        } else {
            ToolkitClipboard::requestText(std::move(receiver));
        }
    }

private:
    RecordingHost &host;
};

} // namespace

ServerAdapters RecordingHost::serverAdapters(Pairing::Question question)
{
    return {std::make_unique<SlowableClipboard>(*this),
            std::make_unique<RecordingEventServices>(events),
            std::make_unique<RecordingScriptingBridge>(scripting),
            std::make_unique<platform::ToolkitScreens>(),
            dnsSd.operations(),
            [this](std::function<void()> appeared) {
                return std::make_unique<RecordingWatch>(*this, std::move(appeared));
            },
            std::move(question),
            Opener(),
            runtimeDirectory};
}
