// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

/// Makes the host system start this program at logon, or not. The base class does nothing.
class settingsManager
{
public:
    virtual void startAtLogon(bool) {}

protected:
    // Not virtual: objects are never deleted through this class.
    ~settingsManager() = default;
};
