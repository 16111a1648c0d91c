// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The command that sends files.

#include "program/Commands.h"
#include "program/FileSender.h"
#include "program/FileToSend.h"
#include "program/LocalCommands.h"
#include "program/Session.h"
#include "program/Target.h"

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

/// The server would append the second file to the first.
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

/// Notes for the user before the files are sent; each is shown once.
void noteHowTheyArrive(const Files &files)
{
    const QString texts = listed(files, Place::FirstLine);
    if (!texts.isEmpty()) {
        Terminal::note(u"%1: the first line will be the transfer request; the text begins on the "
                       "second line."_s.arg(texts));
    }
    Terminal::note(u"If the download directory has a file of the same name, the new bytes are "
                   "appended to it."_s);
}

ExitCode checkFiles(const Arguments &arguments, const Files &files)
{
    if (arguments.staysClosed) {
        Terminal::complain(u"Over the network the server opens each file; --no-open works with the "
                           "server of this desktop only."_s);
        return ExitCode::Usage;
    }
    if (arguments.saveAs && arguments.values.size() > 1) {
        Terminal::complain(u"--as names one file; send the others separately."_s);
        return ExitCode::Usage;
    }
    return isRefused(arguments, files) ? ExitCode::Usage : ExitCode::Done;
}

ExitCode sendOnNetwork(const Target &target, const Arguments &arguments, const Files &files)
{
    Session session(target, arguments);
    if (!session.isOpen()) {
        return session.exitCode();
    }
    noteHowTheyArrive(files);
    FileSender sender(session, arguments);
    ExitCode code = ExitCode::Done;
    for (const FileToSend &file : files) {
        if (code == ExitCode::Done) {
            code = sender.send(file);
        }
    }
    return code;
}

} // namespace

ExitCode Commands::send(const Arguments &arguments)
{
    Files files;
    const Target target = Target::find(arguments, [&] {
        files = filesOf(arguments);
        return checkFiles(arguments, files);
    });
    if (!target.isFound()) {
        return target.code;
    }
    return target.local ? LocalCommands::send(*target.local, arguments)
                        : sendOnNetwork(target, arguments, files);
}

} // namespace quillmote
