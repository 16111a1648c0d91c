// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/WebProcess.h"

#include "support/Folders.h"

#include <QRegularExpression>

WebProcess::WebProcess(const UserSession &session, const QStringList &arguments,
                       std::function<void()> lastPreparation)
    : errorFile(session.path(u"web.log"_s))
{
    process.setProcessEnvironment(session.environment());
    process.setWorkingDirectory(session.home());
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardErrorFile(errorFile, QIODevice::Append);
    process.setLastPreparation(std::move(lastPreparation));
    process.start(qEnvironmentVariable("VORNA_QUILLMOTE_WEB"), arguments);
    process.waitForStarted();
}

QString WebProcess::pairingAddress()
{
    static const QRegularExpression address(u"https?://\\S+/#\\S+"_s);
    QString found;
    waitUntil([&] {
        found = address.match(QString::fromUtf8(outputText())).captured();
        return !found.isEmpty() || !isRunning();
    });
    return found;
}

QByteArray WebProcess::errorText() const
{
    return Folders::fileBytes(errorFile);
}

void WebProcess::kill()
{
    process.kill();
    process.waitForFinished();
}

std::optional<int> WebProcess::end()
{
    process.terminate();
    const bool hasEnded = waitUntil([this] { return !isRunning(); });
    return hasEnded && process.exitStatus() == QProcess::NormalExit
               ? std::optional(process.exitCode())
               : std::nullopt;
}

QByteArray WebProcess::problemAtEnd()
{
    const bool wasRunning = isRunning();
    const std::optional<int> status = wasRunning ? end() : std::nullopt;
    QByteArray problem;
    for (const QByteArray &line : errorText().split('\n')) {
        for (const char *sign : {"Sanitizer", "runtime error:", "QObject::", "ASSERT"}) {
            if (line.contains(sign)) {
                problem += line + '\n';
            }
        }
    }
    if (wasRunning && status != 0) {
        problem += "quillmote-web ended with " +
                   (status ? QByteArray::number(*status) : "no status: crashed or hung");
    }
    return problem.isEmpty() ? problem : problem + '\n' + errorText();
}
