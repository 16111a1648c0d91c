// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Waiting.h"
#include "support/process/ChildProcess.h"

#include <QByteArrayList>

using namespace Qt::StringLiterals;

/// A process of its own that speaks on the session socket, and can be killed.
class SessionProcess
{
public:
    explicit SessionProcess(const QString &socket)
    {
        process.start(u"socat"_s, {u"-"_s, u"UNIX-CONNECT:"_s + socket});
    }

    /// Sends the lines and waits until that many answers have come, besides the greeting.
    bool send(const QByteArrayList &lines)
    {
        for (const QByteArray &line : lines) {
            process.write(line + '\n');
        }
        return waitUntil([&] {
            said += process.readAllStandardOutput();
            return said.count("\"ok\":true") >= lines.size();
        });
    }

    /// Presses a shortcut and the left button, and lets neither go.
    bool holdInput()
    {
        return send({R"({"id":1,"request":"key","key":"Control","action":"press"})",
                     R"({"id":2,"request":"key","key":"a","action":"press"})",
                     R"({"id":3,"request":"button","action":"press"})"});
    }

    void kill()
    {
        process.kill();
        process.waitForFinished();
    }

private:
    ChildProcess process;
    QByteArray said;
};
