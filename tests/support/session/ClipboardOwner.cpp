// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/ClipboardOwner.h"

#include <csignal>

#include <sys/types.h>

using namespace Qt::StringLiterals;

namespace {

QStringList arguments(const QStringList &first, const QString &target)
{
    const QStringList all = first + QStringList{u"-selection"_s, u"clipboard"_s};
    return target.isEmpty() ? all : all + QStringList{u"-target"_s, target};
}

} // namespace

ClipboardOwner::ClipboardOwner(const DesktopSession &session, const QByteArray &content,
                               const QString &target)
    : desktop(session)
    , offeredContent(content)
    , offeredTarget(target)
{
    process.setProcessEnvironment(session.environment());
    process.setStandardErrorFile(QProcess::nullDevice());
    // "Quiet" keeps it in the foreground, without a copy of itself in the background.
    process.start(u"xclip"_s, arguments({u"-in"_s, u"-quiet"_s}, target));
    process.write(content);
    process.closeWriteChannel();
    while (process.bytesToWrite() > 0 && process.waitForBytesWritten()) {
    }
}

ClipboardOwner::~ClipboardOwner()
{
    kill();
}

bool ClipboardOwner::isServing() const
{
    return waitUntil([this] {
        // An empty result may also come from the previous owner.
        return process.state() == QProcess::Running &&
               read(desktop, offeredTarget) == offeredContent;
    });
}

void ClipboardOwner::halt()
{
    ::kill(static_cast<pid_t>(process.processId()), SIGSTOP);
}

bool ClipboardOwner::resumeUntilItEnds()
{
    ::kill(static_cast<pid_t>(process.processId()), SIGCONT);
    return process.waitForFinished();
}

void ClipboardOwner::kill()
{
    process.kill();
    process.waitForFinished();
}

std::optional<QByteArray> ClipboardOwner::read(const DesktopSession &session, const QString &target)
{
    ChildProcess reader;
    reader.setProcessEnvironment(session.environment());
    reader.setStandardErrorFile(QProcess::nullDevice());
    reader.start(u"xclip"_s, arguments({u"-out"_s}, target));
    const bool hasText = reader.waitForFinished() && reader.exitStatus() == QProcess::NormalExit &&
                         reader.exitCode() == 0;
    return hasText ? std::optional(reader.readAllStandardOutput()) : std::nullopt;
}
