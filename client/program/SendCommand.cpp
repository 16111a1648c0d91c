// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The command that sends files.

#include "program/Commands.h"
#include "program/FileToSend.h"
#include "program/JsonOutput.h"
#include "program/ProgressLine.h"
#include "program/Session.h"
#include "program/SignalWatch.h"

#include <QEventLoop>
#include <QFile>
#include <QJsonObject>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace quillmote {

using Place = FileAnnouncement::Place;
using Terminal::ExitCode;

namespace {

using Files = QList<FileToSend>;

Files filesOf(const Arguments &arguments)
{
    Files files;
    for (const QString &path : arguments.values) {
        files.append(FileToSend::at(path, arguments.saveAs));
    }
    return files;
}

bool complainAboutProblems(const Files &files)
{
    bool isAny = false;
    for (const FileToSend &file : files) {
        if (!file.problem.isEmpty()) {
            Terminal::complain(file.problem);
            isAny = true;
        }
    }
    return isAny;
}

/// The server appends the second of two to the first.
bool complainAboutEqualNames(const Files &files)
{
    QStringList names;
    for (const FileToSend &file : files) {
        if (names.contains(file.name)) {
            Terminal::complain(
                u"Two of the files are called %1; the server would append the second to "
                "the first. Send one of them separately, with --as."_s.arg(file.name));
            return true;
        }
        names.append(file.name);
    }
    return false;
}

bool complainAboutDamage(const Files &files)
{
    bool isAny = false;
    for (const FileToSend &file : files) {
        if (file.place == Place::InFront) {
            Terminal::complain(u"%1 would arrive damaged: the server writes the transfer request "
                               "at the start of the file, and %2."_s.arg(file.name, file.obstacle));
            isAny = true;
        }
    }
    if (isAny) {
        Terminal::complain(
            u"Nothing was sent. --force sends damaged files too, and prints the command "
            "that restores each."_s);
    }
    return isAny;
}

bool isRefused(const Arguments &arguments, const Files &files)
{
    if (complainAboutProblems(files)) {
        return true;
    }
    return !arguments.isForced && (complainAboutEqualNames(files) || complainAboutDamage(files));
}

QString listed(const Files &files, Place place)
{
    QStringList names;
    for (const FileToSend &file : files) {
        if (file.place == place) {
            names.append(file.name);
        }
    }
    return names.join(", "_L1);
}

/// What a person may want to know before the files are there; each once.
void tellHowTheyArrive(const Files &files)
{
    const QString texts = listed(files, Place::FirstLine);
    if (!texts.isEmpty()) {
        Terminal::note(u"%1: the first line will be the transfer request; the text begins on the "
                       "second line."_s.arg(texts));
    }
    Terminal::note(u"If the download directory has a file of the same name, the new bytes are "
                   "appended to it."_s);
}

void tellEnd(const Arguments &arguments, const FileToSend &sent, quint64 size,
             const FileAnnouncement &announcement)
{
    const bool isDamaged = announcement.place == Place::InFront;
    const QString restoring = isDamaged ? restoringCommand(sent.name, size) : QString();
    if (arguments.wantsJson) {
        QJsonObject object = {
            {u"file"_s, sent.name},
            {u"bytes"_s, static_cast<qint64>(size)},
            {u"bytesAhead"_s, announcement.bytes.size() - announcement.skippedBytes},
            {u"opensUnchanged"_s, announcement.place == Place::Comment}};
        if (isDamaged) {
            object.insert(u"restore"_s, restoring);
        }
        JsonOutput::print(QJsonDocument(object));
        return;
    }
    Terminal::printLine(u"%1: sent"_s.arg(sent.name));
    if (isDamaged) {
        Terminal::printLine(u"To restore the original, run this in the server's download directory "
                            "(an older file of that name is replaced):\n  "_s +
                            restoring);
    }
}

/// Sends files over one connection, and says what is left behind when it is interrupted.
class Sender
{
public:
    Sender(Session &server, const Arguments &given)
        : session(server)
        , arguments(given)
        , signalWatch([this](int) { session.connection().cancel(); })
    {
    }

    /// Does not return when a signal has interrupted it.
    ExitCode send(const FileToSend &wanted)
    {
        const auto file = std::make_shared<QFile>(wanted.path);
        if (!file->open(QIODevice::ReadOnly)) {
            Terminal::complain(
                u"%1 can no longer be read: %2."_s.arg(wanted.name, file->errorString()));
            return ExitCode::Usage;
        }
        const quint64 tag = session.connection().nextTag();
        const auto size = static_cast<quint64>(file->size());
        const FileAnnouncement announcement = announcementOf(wanted.name, *file, size, tag);
        file->seek(announcement.skippedBytes);
        const ExitCode code = transfer(wanted.name, announcement, tag, file, size);
        if (code == ExitCode::Done) {
            tellEnd(arguments, wanted, size, announcement);
        }
        return code;
    }

private:
    ExitCode transfer(const QString &name, const FileAnnouncement &announcement, quint64 tag,
                      const std::shared_ptr<QFile> &file, quint64 size)
    {
        QEventLoop loop;
        Outcome outcome;
        ProgressLine progress(name);
        bool hasBegun = false;
        session.connection().sendFile(
            announcement.bytes, tag, file, size - static_cast<quint64>(announcement.skippedBytes),
            [&](quint64 sent, quint64 total) {
                hasBegun = true;
                progress.show(sent, total);
            },
            [&](const Outcome &end) {
                outcome = end;
                loop.quit();
            });
        loop.exec();
        progress.clear();
        return end(name, outcome, hasBegun);
    }

    ExitCode end(const QString &name, const Outcome &outcome, bool hasBegun)
    {
        const bool isInterrupted = signalWatch.caught() != 0;
        // A server that cannot store the file takes its bytes and never says so.
        const ExitCode code =
            isInterrupted
                ? ExitCode::NoConnection
                : Session::report(outcome, u"Can it write to its download directory? If so, "
                                           "try a longer --timeout."_s);
        if (outcome.kind != Outcome::Kind::Done && hasBegun) {
            Terminal::note(
                u"An incomplete %1 is left in the server's download directory. Delete "
                "it there before you send the file again; otherwise the new bytes are appended "
                "to it."_s.arg(name));
        }
        if (isInterrupted) {
            SignalWatch::dieOf(signalWatch.caught());
        }
        return code;
    }

    Session &session;
    const Arguments &arguments;
    SignalWatch signalWatch;
};

} // namespace

ExitCode Commands::send(const Arguments &arguments)
{
    if (arguments.saveAs && arguments.values.size() > 1) {
        Terminal::complain(u"--as names one file; send the others separately."_s);
        return ExitCode::Usage;
    }
    const Files files = filesOf(arguments);
    if (isRefused(arguments, files)) {
        return ExitCode::Usage;
    }
    Session session(arguments);
    if (!session.isOpen()) {
        return session.exitCode();
    }
    tellHowTheyArrive(files);
    Sender sender(session, arguments);
    ExitCode code = ExitCode::Done;
    for (const FileToSend &file : files) {
        if (code == ExitCode::Done) {
            code = sender.send(file);
        }
    }
    return code;
}

} // namespace quillmote
