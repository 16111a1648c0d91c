// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/LocalDownload.h"

#include "program/LocalSession.h"

#include <QIODevice>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

constexpr int piecesAhead = 3;

} // namespace

LocalDownload::LocalDownload(LocalSession &server, QString fileName, QIODevice &destination)
    : session(server)
    , name(std::move(fileName))
    , device(destination)
    , progress(name)
{
}

ExitCode LocalDownload::run()
{
    ask();
    loop.exec();
    isOver = true;
    progress.clear();
    return LocalSession::report(end);
}

/// The file may be longer than at the first answer, but no more than that is read.
void LocalDownload::askForMore()
{
    while (!isOver && ahead < piecesAhead && asked < size) {
        ask();
    }
    if (ahead == 0 || isOver) {
        loop.quit();
    }
}

void LocalDownload::ask()
{
    ++ahead;
    session.connection().send(SessionMessage::getFile(name, asked),
                              [this](const SessionOutcome &outcome) { take(outcome); });
    asked += longestSessionPart;
}

void LocalDownload::take(const SessionOutcome &outcome)
{
    --ahead;
    if (isOver) {
        return;
    }
    if (!outcome.isDone()) {
        end = outcome;
        isOver = true;
        loop.quit();
        return;
    }
    if (size < 0) {
        size = outcome.fields.value("size"_L1).toInteger();
    }
    const qint64 wanted = std::min<qint64>(size - written, longestSessionPart);
    if (outcome.body.size() < wanted) {
        failBecause(u"%1 has become shorter while it was read."_s.arg(name));
    } else if (device.write(outcome.body.first(wanted)) != wanted) {
        failBecause(u"%1 cannot be written: %2."_s.arg(name, device.errorString()));
    } else {
        written += wanted;
        progress.show(static_cast<quint64>(written), static_cast<quint64>(size));
        askForMore();
    }
}

void LocalDownload::failBecause(const QString &problem)
{
    end = {SessionOutcome::Kind::Unsent, {}, {}, {}, problem};
    isOver = true;
    loop.quit();
}

} // namespace quillmote
