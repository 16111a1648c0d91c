// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "doubles/RecordingDnsSd.h"
#include "doubles/RecordingEventServices.h"
#include "doubles/RecordingLoginItems.h"
#include "doubles/RecordingScriptingBridge.h"
#include "doubles/RecordingSessionStart.h"
#include "platform/Clipboard.h"
#include "server/ServerAdapters.h"

#include <functional>
#include <vector>

/// A host in memory: makes adapters that record what they were asked. It must outlive them.
struct RecordingHost
{
    /// What a server needs.
    ServerAdapters serverAdapters(Pairing::Question question = {});
    /// Forgets everything; no adapter may be left.
    void reset() { *this = RecordingHost(); }

    /// Where the session socket is; none by default.
    QString runtimeDirectory;
    EventRecord events;
    ScriptingRecord scripting;
    LoginItemRecord loginItems;
    SessionStartRecord sessionStart;
    RecordingDnsSd dnsSd;
    /// Call it as the DNS-SD daemon would when it appears; empty while it is not watched.
    std::function<void()> daemonAppears;
    /// A daemon that is handed the balloons: whether there is one, and whether it takes one more.
    bool hasNotificationDaemon = false;
    bool isNotificationDaemonReady = true;
    /// Balloons that it was handed.
    int balloonsHanded = 0;
    /// Call it as the daemon would when it takes balloons again; empty while it is not watched.
    std::function<void()> notificationDaemonIsReady;
    /// While the clipboard is slow, those who ask for its text wait here; otherwise the toolkit's
    /// clipboard answers at once.
    bool isClipboardSlow = false;
    std::vector<platform::Clipboard::TextReceiver> waitingReaders;
};
