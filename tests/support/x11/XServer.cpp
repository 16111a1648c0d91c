// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/x11/XServer.h"

#include "support/Waiting.h"

#include <csignal>
#include <sys/prctl.h>

using namespace Qt::StringLiterals;

namespace {

/// The rest of the line that the server writes when it is ready; empty when it ends before that.
QString readDisplayNumber(QProcess &process)
{
    while (!process.canReadLine()) {
        if (!process.waitForReadyRead(GenerousMilliseconds)) {
            return {};
        }
    }
    return QString::fromLatin1(process.readLine().trimmed());
}

} // namespace

XServer::XServer(QSize screen, const QStringList &arguments)
{
    const QString geometry = u"%1x%2x24"_s.arg(screen.width()).arg(screen.height());
    xvfb.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    xvfb.setStandardErrorFile(QProcess::nullDevice());
    xvfb.start(u"Xvfb"_s, QStringList{u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, geometry,
                                      u"-nolisten"_s, u"tcp"_s, u"-noreset"_s} +
                              arguments);
    const QString number = readDisplayNumber(xvfb);
    if (!number.isEmpty()) {
        displayName = QLatin1Char(':') + number;
    }
}

XServer::~XServer()
{
    end();
}

void XServer::end()
{
    resume();
    xvfb.terminate();
    if (!xvfb.waitForFinished(GenerousMilliseconds)) {
        xvfb.kill();
    }
    xvfb.waitForFinished();
}

bool XServer::isRunning() const
{
    return !displayName.isEmpty() && xvfb.state() == QProcess::Running;
}

QProcessEnvironment XServer::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_s, displayName);
    return environment;
}

bool XServer::run(const QString &program, const QStringList &arguments) const
{
    QProcess process;
    process.setProcessEnvironment(environment());
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, arguments);
    return process.waitForFinished(GenerousMilliseconds) &&
           process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

void XServer::halt()
{
    if (isRunning()) {
        kill(static_cast<pid_t>(xvfb.processId()), SIGSTOP);
    }
}

void XServer::resume()
{
    if (isRunning()) {
        kill(static_cast<pid_t>(xvfb.processId()), SIGCONT);
    }
}
