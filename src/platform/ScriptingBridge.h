// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <memory>

namespace platform {

/// One application of the desktop, running or not, installed or not.
class ScriptableApplication
{
public:
    virtual ~ScriptableApplication() = default;

    virtual bool isRunning() = 0;
    /// Brings the running application to the front.
    virtual void activate() = 0;
    /// Starts the application; silent when that fails.
    virtual void run() = 0;
    /// The application's own name; empty when it cannot be asked.
    virtual QString name() = 0;
};

/// Finds applications of the desktop by their bundle identifier.
class ScriptingBridge
{
public:
    virtual ~ScriptingBridge() = default;

    /// Null when the host has no such application.
    virtual std::unique_ptr<ScriptableApplication>
    applicationWithBundleIdentifier(const QString &identifier) = 0;
};

std::unique_ptr<ScriptingBridge> makeScriptingBridge();

} // namespace platform
