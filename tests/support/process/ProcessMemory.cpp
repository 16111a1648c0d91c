// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/process/ProcessMemory.h"

#include <QByteArray>
#include <QFile>
#include <QList>

using namespace Qt::StringLiterals;

namespace ProcessMemory {

namespace {

/// A value of /proc/PID/status, which gives it in kibibytes (proc(5)).
qint64 statusValue(qint64 processId, const QByteArray &name)
{
    QFile file(u"/proc/%1/status"_s.arg(processId));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith(name + ':')) {
            return line.simplified().split(' ').value(1).toLongLong() * 1024;
        }
    }
    return 0;
}

} // namespace

qint64 resident(qint64 processId)
{
    return statusValue(processId, "VmRSS");
}

qint64 peak(qint64 processId)
{
    return statusValue(processId, "VmHWM");
}

bool forgetPeak(qint64 processId)
{
    QFile file(u"/proc/%1/clear_refs"_s.arg(processId));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write("5") == 1;
}

} // namespace ProcessMemory
