// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "ClipboardOwner.h"

#include <csignal>

#include <sys/types.h>

namespace {

QStringList arguments(const QStringList &first, const QString &target)
{
    const QStringList all = first + QStringList{"-selection", "clipboard"};
    return target.isEmpty() ? all : all + QStringList{"-target", target};
}

} // namespace

ClipboardOwner::ClipboardOwner(const DesktopSession &session, const QByteArray &content,
                               const QString &target)
    : m_session(session)
    , m_content(content)
    , m_target(target)
{
    m_process.setProcessEnvironment(session.environment());
    m_process.setStandardErrorFile(QProcess::nullDevice());
    // Quiet means: in the foreground, with no copy of itself behind.
    m_process.start(QStringLiteral("xclip"), arguments({"-in", "-quiet"}, target));
    m_process.write(content);
    m_process.closeWriteChannel();
    while (m_process.bytesToWrite() > 0 && m_process.waitForBytesWritten()) {
    }
}

ClipboardOwner::~ClipboardOwner()
{
    kill();
}

bool ClipboardOwner::isServing() const
{
    return waitUntil([this] {
        // A read of nothing may also be that of an owner before.
        return m_process.state() == QProcess::Running && read(m_session, m_target) == m_content;
    });
}

void ClipboardOwner::halt()
{
    ::kill(static_cast<pid_t>(m_process.processId()), SIGSTOP);
}

bool ClipboardOwner::resumeUntilItEnds()
{
    ::kill(static_cast<pid_t>(m_process.processId()), SIGCONT);
    return m_process.waitForFinished();
}

void ClipboardOwner::kill()
{
    m_process.kill();
    m_process.waitForFinished();
}

std::optional<QByteArray> ClipboardOwner::read(const DesktopSession &session, const QString &target)
{
    ChildProcess reader;
    reader.setProcessEnvironment(session.environment());
    reader.setStandardErrorFile(QProcess::nullDevice());
    reader.start(QStringLiteral("xclip"), arguments({"-out"}, target));
    const bool hasText = reader.waitForFinished() && reader.exitStatus() == QProcess::NormalExit &&
                         reader.exitCode() == 0;
    return hasText ? std::optional(reader.readAllStandardOutput()) : std::nullopt;
}
