// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The command that sends files.

#include "lib/FileAnnouncement.h"
#include "program/Commands.h"
#include "program/ProgressLine.h"
#include "program/Session.h"

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;
using quillmote::FileAnnouncement;
using Terminal::ExitCode;

namespace {

constexpr qint64 headSize = 4096;

/// What a person at the other end may want to know before the file is there.
void tellHowItArrives(const QString &name, const FileAnnouncement &announcement)
{
    if (!announcement.isComment) {
        Terminal::note(
            u"%1: the server stores a line of %2 bytes ahead of the file, and this "
            "format has no place for it; there, tail -c +%3 restores the original."_s.arg(name)
                .arg(announcement.bytes.size())
                .arg(announcement.bytes.size() + 1));
    }
}

void tellEnd(const Arguments &arguments, const QString &name, qint64 size,
             const FileAnnouncement &announcement)
{
    if (arguments.wantsJson) {
        const QJsonObject object = {
            {u"file"_s, name},
            {u"bytes"_s, size},
            {u"bytesAhead"_s, announcement.bytes.size() - announcement.skippedBytes},
            {u"opensUnchanged"_s, announcement.isComment}};
        Terminal::printLine(
            QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
    } else {
        Terminal::printLine(u"%1: sent"_s.arg(name));
    }
}

ExitCode transfer(Session &session, const QString &name, const FileAnnouncement &announcement,
                  quint64 tag, const std::shared_ptr<QFile> &file)
{
    QEventLoop loop;
    quillmote::Outcome outcome;
    ProgressLine progress(name);
    session.connection().sendFile(
        announcement.bytes, tag, file,
        [&](quint64 sent, quint64 total) { progress.show(sent, total); },
        [&](const quillmote::Outcome &end) {
            outcome = end;
            loop.quit();
        });
    loop.exec();
    progress.clear();
    // A server that cannot store the file takes its bytes and never says so.
    return Session::report(outcome, u"Can it write to its download directory? If so, "
                                    "try a longer --timeout."_s);
}

ExitCode sendOne(Session &session, const Arguments &arguments, const QString &path)
{
    const QString name = QFileInfo(path).fileName();
    const auto file = std::make_shared<QFile>(path);
    if (!QFileInfo(path).isFile() || !file->open(QIODevice::ReadOnly)) {
        Terminal::complain(
            u"%1 cannot be read (%2); give a file."_s.arg(path, file->errorString()));
        return ExitCode::Usage;
    }
    const QByteArray head = file->peek(headSize);
    const quint64 tag = session.connection().nextTag();
    const auto announcement =
        FileAnnouncement::of(name, static_cast<quint64>(file->size()), head, tag);
    if (!announcement.refusal.isEmpty()) {
        Terminal::complain(announcement.refusal + u" Rename the file."_s);
        return ExitCode::Usage;
    }
    tellHowItArrives(name, announcement);
    file->seek(announcement.skippedBytes);
    const ExitCode code = transfer(session, name, announcement, tag, file);
    if (code == ExitCode::Done) {
        tellEnd(arguments, name, file->size(), announcement);
    }
    return code;
}

} // namespace

ExitCode Commands::send(const Arguments &arguments)
{
    Session session(arguments);
    ExitCode code = session.exitCode();
    for (const QString &path : arguments.values) {
        if (code == ExitCode::Done) {
            code = sendOne(session, arguments, path);
        }
    }
    return code;
}
