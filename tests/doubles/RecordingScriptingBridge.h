// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/ScriptingBridge.h"

#include <QHash>
#include <QStringList>

using namespace Qt::StringLiterals;

/// What a RecordingScriptingBridge knows and was asked; the test keeps it, so it outlives the
/// adapter that the code under test owns.
struct ScriptingRecord
{
    struct Application
    {
        bool isRunning = false;
        QString name;
    };

    /// The installed applications by bundle identifier; every other identifier gives null.
    QHash<QString, Application> applications;
    /// Every call in its order: "lookup com.apple.iTunes", "isRunning com.apple.iTunes", then
    /// likewise "activate", "run" and "name".
    QStringList calls;
};

/// One application of a ScriptingRecord; running it makes it run.
class RecordingApplication final : public platform::ScriptableApplication
{
public:
    RecordingApplication(ScriptingRecord &bridgeRecord, const QString &bundleIdentifier)
        : record(bridgeRecord)
        , identifier(bundleIdentifier)
    {
    }

    bool isRunning() override { return asked("isRunning").isRunning; }
    void activate() override { asked("activate"); }
    void run() override { asked("run").isRunning = true; }
    QString name() override { return asked("name").name; }

private:
    ScriptingRecord::Application &asked(const char *call)
    {
        record.calls.append(QLatin1String(call) + QLatin1Char(' ') + identifier);
        return record.applications[identifier];
    }

    ScriptingRecord &record;
    QString identifier;
};

/// A scripting bridge in memory that writes down what it was asked.
class RecordingScriptingBridge final : public platform::ScriptingBridge
{
public:
    /// `bridgeRecord` must outlive the bridge and the applications that it hands out.
    explicit RecordingScriptingBridge(ScriptingRecord &bridgeRecord) : record(bridgeRecord) {}

    std::unique_ptr<platform::ScriptableApplication>
    applicationWithBundleIdentifier(const QString &bundleIdentifier) override
    {
        record.calls.append(u"lookup "_s + bundleIdentifier);
        if (!record.applications.contains(bundleIdentifier)) {
            return nullptr;
        }
        return std::make_unique<RecordingApplication>(record, bundleIdentifier);
    }

private:
    ScriptingRecord &record;
};
