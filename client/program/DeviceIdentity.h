// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

namespace quillmote {

/// The identity by which servers recognise this user on this computer.
struct DeviceIdentity
{
    QString text;
    /// Why it will be another one next time; empty when it is kept.
    QString problem;

    /// The one that is kept in the configuration folder; made at random, once. A file that does not
    /// hold one is replaced.
    static DeviceIdentity get();
};

} // namespace quillmote
