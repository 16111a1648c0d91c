// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/SessionStart.h"

namespace platform {

/// A property list in the user's folder of launch agents that opens the program at logon.
class LaunchAgent final : public SessionStart
{
public:
    /// `agentLabel` names the agent and its file, as `label.plist`.
    LaunchAgent(const QString &agentFolder, const QString &agentLabel);

    /// The file appears complete or not at all. Only a bundle can be opened; for anything else no
    /// file is written.
    void setEnabled(bool enable, const QString &applicationPath) override;

    /// The property list that opens the bundle at `applicationPath`; any path is allowed.
    static QByteArray text(const QString &label, const QString &applicationPath);

private:
    QString fileName() const;
    void write(const QByteArray &content) const;

    QString folder;
    QString label;
};

} // namespace platform
