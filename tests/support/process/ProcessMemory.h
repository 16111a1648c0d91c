// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

/// How much memory other processes take, read from /proc.
namespace ProcessMemory {

/// Bytes of the process that are in memory now; 0 when it has ended.
qint64 resident(qint64 processId);

/// The most that it has had in memory so far, in bytes; 0 when it has ended.
qint64 peak(qint64 processId);

/// Lets the peak begin anew at what the process has now; false when the kernel refuses.
bool forgetPeak(qint64 processId);

} // namespace ProcessMemory
