// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/Connection.h"
#include "lib/FileAnnouncement.h"
#include "lib/SignalWatch.h"
#include "program/Terminal.h"

#include <QString>

#include <memory>

class QFile;

namespace quillmote {

class Session;
struct Arguments;
struct FileToSend;

/// Sends files over one connection and reports the result of each. When a signal interrupts it, it
/// reports what is left on the server.
class FileSender
{
public:
    FileSender(Session &server, const Arguments &given);

    /// Does not return if a signal has interrupted it.
    Terminal::ExitCode send(const FileToSend &wanted);

private:
    Terminal::ExitCode transfer(const QString &name, const FileAnnouncement &announcement,
                                quint64 tag, const std::shared_ptr<QFile> &file, quint64 size);
    Terminal::ExitCode end(const QString &name, const Outcome &outcome, bool hasBegun);

    Session &session;
    const Arguments &arguments;
    SignalWatch signalWatch;
};

} // namespace quillmote
