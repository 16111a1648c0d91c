// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/WebProcess.h"

#include <QRegularExpression>

WebProcess::WebProcess(const UserSession &session, const QStringList &arguments,
                       std::function<void()> lastPreparation)
    : redirection(session.path(u"run/quillmote-web/page.html"_s))
{
    process.setProcessEnvironment(session.environment());
    process.setWorkingDirectory(session.home());
    process.setStandardInputFile(terminal.device());
    process.setStandardOutputFile(terminal.device());
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setLastPreparation(std::move(lastPreparation));
    // A program may read from a terminal only if that is its session's.
    process.start(u"setsid"_s,
                  QStringList{u"--ctty"_s, qEnvironmentVariable("VORNA_QUILLMOTE_WEB")} +
                      arguments);
    process.waitForStarted();
}

QString WebProcess::pairingAddress()
{
    static const QRegularExpression page(u"https?://[^\\s/]+/"_s);
    static const QRegularExpression code(u"(?:[0-9A-Z]{4}-){3}[0-9A-Z]{4}"_s);
    qsizetype before = 0;
    QString found;
    const auto isShown = [&] {
        const QString shown = QString::fromUtf8(text().sliced(before));
        const QString compact = code.match(shown).captured().remove(u'-');
        found = compact.isEmpty() ? QString() : page.match(shown).captured() + u'#' + compact;
        return !found.isEmpty() || !isRunning();
    };
    waitUntil(isShown);
    before = text().size();
    terminal.type("\n");
    waitUntil(isShown);
    return found;
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
    QByteArray problem;
    if (isRunning() && end() != 0) {
        problem += "quillmote-web crashed, hung or ended with a problem\n";
    }
    for (const QByteArray &line : text().split('\n')) {
        for (const char *sign : {"Sanitizer", "runtime error:", "QObject::", "ASSERT"}) {
            if (line.contains(sign)) {
                problem += line + '\n';
            }
        }
    }
    return problem.isEmpty() ? problem : problem + '\n' + text();
}
