// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/ServerProcess.h"

#include "support/process/ProcessTables.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <sys/types.h>

using namespace Qt::StringLiterals;

ServerProcess::ServerProcess(const UserSession &session, std::function<void()> lastPreparation,
                             const QStringList &arguments)
    : errorFile(session.path(u"server.log"_s))
{
    process.setProcessEnvironment(session.environment());
    process.setWorkingDirectory(session.home());
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardErrorFile(errorFile, QIODevice::Append);
    process.setLastPreparation(std::move(lastPreparation));
    process.start(qEnvironmentVariable("VORNA_SERVER"), arguments);
    process.waitForStarted();
}

quint16 ServerProcess::port(std::chrono::milliseconds limit) const
{
    // The kernel takes some milliseconds for each look at its table.
    constexpr std::chrono::milliseconds Pause{50};
    std::optional<quint16> port;
    waitUntil(
        [&] {
            port = ProcessTables::listeningPort(processId());
            return port.has_value() || !isRunning();
        },
        limit, Pause);
    return port.value_or(0);
}

bool ServerProcess::isListening() const
{
    return ProcessTables::listeningPort(processId()).has_value();
}

std::optional<int> ServerProcess::end(int signal)
{
    send(signal);
    return waitForEnd();
}

void ServerProcess::send(int signal) const
{
    if (isRunning()) {
        ::kill(static_cast<pid_t>(processId()), signal);
    }
}

std::optional<int> ServerProcess::waitForEnd(std::chrono::milliseconds limit)
{
    const bool hasEnded = waitUntil([this] { return !isRunning(); }, limit);
    if (!hasEnded || process.exitStatus() != QProcess::NormalExit) {
        return std::nullopt;
    }
    return process.exitCode();
}

std::optional<int> ServerProcess::endingSignal() const
{
    if (isRunning() || process.exitStatus() != QProcess::CrashExit) {
        return std::nullopt;
    }
    return process.exitCode();
}

int ServerProcess::openDescriptors() const
{
    const QDir descriptors(u"/proc/%1/fd"_s.arg(processId()));
    const auto all = QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System;
    return static_cast<int>(descriptors.entryList(all).size());
}

int ServerProcess::processorShare(std::chrono::milliseconds duration) const
{
    const auto before = ProcessTables::processorTime(processId());
    QTest::qWait(static_cast<int>(duration.count()));
    const auto used = ProcessTables::processorTime(processId()) - before;
    return static_cast<int>(1000 * used / duration);
}

QByteArray ServerProcess::errorText() const
{
    QFile file(errorFile);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray ServerProcess::complaints() const
{
    QByteArray found;
    for (const QByteArray &line : errorText().split('\n')) {
        for (const char *sign : {"Sanitizer", "runtime error:", "QObject::", "ASSERT"}) {
            if (line.contains(sign)) {
                found += line + '\n';
            }
        }
    }
    return found;
}

QByteArray ServerProcess::problemAtEnd()
{
    const bool wasRunning = isRunning();
    const std::optional<int> status = end();
    QByteArray problem = complaints();
    if (wasRunning && status != 0) {
        problem +=
            "exit status " + (status ? QByteArray::number(*status) : "none: crashed or hung");
    }
    return problem;
}
