// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/FileSender.h"

#include "program/Arguments.h"
#include "program/FileToSend.h"
#include "program/JsonOutput.h"
#include "program/ProgressLine.h"
#include "program/Session.h"

#include <QEventLoop>
#include <QFile>

using namespace Qt::StringLiterals;

namespace quillmote {

using Place = FileAnnouncement::Place;
using Terminal::ExitCode;

namespace {

void showSent(const Arguments &arguments, const FileToSend &sent, quint64 size,
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
        JsonOutput::print(object);
        return;
    }
    Terminal::printLine(u"%1: sent"_s.arg(sent.name));
    if (isDamaged) {
        Terminal::printLine(u"To restore the original, run this in the server's download directory "
                            "(an older file of that name is replaced):\n  "_s +
                            restoring);
    }
}

} // namespace

FileSender::FileSender(Session &server, const Arguments &given)
    : session(server)
    , arguments(given)
    , signalWatch([this](int) { session.connection().cancel(); })
{
}

ExitCode FileSender::send(const FileToSend &wanted)
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
        showSent(arguments, wanted, size, announcement);
    }
    return code;
}

ExitCode FileSender::transfer(const QString &name, const FileAnnouncement &announcement,
                              quint64 tag, const std::shared_ptr<QFile> &file, quint64 size)
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

ExitCode FileSender::end(const QString &name, const Outcome &outcome, bool hasBegun)
{
    const bool isInterrupted = signalWatch.caught() != 0;
    // A server that cannot store the file reads its bytes and never reports that.
    const ExitCode code =
        isInterrupted ? ExitCode::NoConnection
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

} // namespace quillmote
