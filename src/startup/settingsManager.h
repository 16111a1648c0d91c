// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

/// How the host system is told to start this program at logon. The base does nothing.
class settingsManager
{
public:
    virtual void startAtLogon(bool) {}

protected:
    // Not virtual: objects are made and freed as what they are.
    ~settingsManager() = default;
};
