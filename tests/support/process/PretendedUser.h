// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

/// While it exists, geteuid() in this program tells another user, who owns none of its files and
/// sockets. The system is not deceived, so this needs no rights.
class PretendedUser
{
public:
    PretendedUser();
    ~PretendedUser();
    PretendedUser(const PretendedUser &) = delete;
    PretendedUser &operator=(const PretendedUser &) = delete;
};
