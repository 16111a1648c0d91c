// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/ProgressLine.h"
#include "program/Terminal.h"

#include "lib/SessionConnection.h"

#include <QEventLoop>
#include <QString>

class QIODevice;

namespace quillmote {

class LocalSession;

/// Reads one file of the server's download directory into a device, a few pieces ahead.
class LocalDownload
{
public:
    LocalDownload(LocalSession &server, QString fileName, QIODevice &destination);

    /// Failures are reported to the user.
    Terminal::ExitCode run();
    /// Ends run() early.
    void cancel() { loop.quit(); }

private:
    void askForMore();
    void ask();
    void take(const SessionOutcome &outcome);
    void failBecause(const QString &problem);

    LocalSession &session;
    QString name;
    QIODevice &device;
    ProgressLine progress;
    QEventLoop loop;
    SessionOutcome end;
    qint64 size = -1; // of the file; not known before the first answer
    qint64 asked = 0; // the offset of the next piece
    qint64 written = 0;
    int ahead = 0;
    bool isOver = false;
};

} // namespace quillmote
