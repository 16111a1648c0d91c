// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "applications/TKApplicationManagerImp.h"
#include "platform/ScriptingBridge.h"

#include <memory>

/// Controls a fixed table of applications, known by their bundle identifiers. Portable; the host's
/// scripting bridge finds, starts and activates them.
class TKApplicationManagerMac : public TKApplicationManagerImp
{
public:
    explicit TKApplicationManagerMac(
        InteractionManager *interactionManager,
        std::unique_ptr<platform::ScriptingBridge> bridge = platform::makeScriptingBridge());
    ~TKApplicationManagerMac() override;

    /// A failure is not reported. An application that is already running is not brought to the
    /// front.
    void openApplication(QString name) override;
    /// The shortcut goes to the active application; nothing checks that the activation has
    /// finished.
    void quitApplication(QString name) override;
    void checkAvailableApplications() override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
