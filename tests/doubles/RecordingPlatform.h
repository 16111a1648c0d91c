// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "doubles/RecordingEventServices.h"
#include "doubles/RecordingLoginItems.h"
#include "doubles/RecordingScriptingBridge.h"
#include "doubles/RecordingSessionStart.h"
#include "platform/Clipboard.h"

#include <functional>
#include <vector>

/// A host in memory. A test that is linked with RecordingPlatform.cpp gets recording adapters from
/// the factories of the platform: those in the test take precedence over those in the library.
struct PlatformRecord
{
    /// The one that counts for the test that runs.
    static PlatformRecord &current();
    /// Forgets everything; no adapter may be left.
    void reset() { *this = PlatformRecord(); }

    EventRecord events;
    ScriptingRecord scripting;
    LoginItemRecord loginItems;
    SessionStartRecord sessionStart;
    /// Call it as the DNS-SD daemon would when it appears; empty while it is not watched.
    std::function<void()> daemonAppears;
    /// A daemon that is handed the balloons: whether there is one, and whether it takes one more.
    bool hasNotificationDaemon = false;
    bool isNotificationDaemonReady = true;
    /// Balloons that it was handed.
    int balloonsHanded = 0;
    /// Call it as the daemon would when it takes balloons again; empty while it is not watched.
    std::function<void()> notificationDaemonIsReady;
    /// While the clipboard is slow, who wants its text waits here; otherwise the toolkit's
    /// clipboard answers at once.
    bool isClipboardSlow = false;
    std::vector<platform::Clipboard::TextReceiver> waitingReaders;
};
