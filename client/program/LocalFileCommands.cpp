// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The commands on this desktop that transfer files: send and get.

#include "lib/PrintableText.h"
#include "lib/SignalWatch.h"
#include "program/Commands.h"
#include "program/FileToSend.h"
#include "program/JsonOutput.h"
#include "program/LocalCommands.h"
#include "program/LocalDownload.h"
#include "program/LocalSession.h"
#include "program/ProgressLine.h"
#include "program/Target.h"

#include <QDateTime>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QTemporaryFile>

#include <cstdio>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

/// The same on both ends: one component of a path.
QString problemWithName(const QString &name)
{
    const bool isComponent =
        !name.isEmpty() && !name.contains(u'/') && name != "."_L1 && name != ".."_L1;
    return isComponent ? QString()
                       : u"\"%1\" is not the name of a file; it must have no slash."_s.arg(name);
}

QString nameThere(const Arguments &arguments, const QString &path)
{
    return arguments.saveAs.value_or(QFileInfo(path).fileName());
}

/// Nothing is sent if one of the files cannot be.
QString problemWith(const Arguments &arguments)
{
    if (arguments.saveAs && arguments.values.size() > 1) {
        return u"--as names one file; send the others separately."_s;
    }
    for (const QString &path : arguments.values) {
        const QString unreadable = reasonAgainstReading(path);
        if (!unreadable.isEmpty()) {
            return u"%1: %2."_s.arg(printable(path), unreadable);
        }
        const QString unnamable = problemWithName(nameThere(arguments, path));
        if (!unnamable.isEmpty()) {
            return unnamable;
        }
    }
    return {};
}

void showSent(const Arguments &arguments, const QString &name, qint64 size,
              const QJsonObject &answer)
{
    const QString stored = answer.value("name"_L1).toString();
    const bool isOpened = !arguments.staysClosed && answer.value("opened"_L1).toBool(true);
    if (arguments.wantsJson) {
        JsonOutput::print(QJsonObject{{u"file"_s, name},
                                      {u"storedAs"_s, stored},
                                      {u"bytes"_s, size},
                                      {u"opened"_s, isOpened}});
        return;
    }
    Terminal::printLine(printable(stored == name ? u"%1: sent"_s.arg(name)
                                                 : u"%1: sent as %2"_s.arg(name, stored)));
    if (!isOpened && !arguments.staysClosed) {
        Terminal::note(u"%1 could not be opened there."_s.arg(stored));
    }
}

ExitCode sendOne(LocalSession &session, const Arguments &arguments, const QString &path)
{
    const auto file = std::make_shared<QFile>(path);
    if (!file->open(QIODevice::ReadOnly)) {
        return Terminal::misused(u"%1: %2."_s.arg(printable(path), file->errorString()));
    }
    const QString name = nameThere(arguments, path);
    const qint64 size = file->size();
    QEventLoop loop;
    ProgressLine progress(name);
    SessionOutcome outcome;
    session.connection().sendFile(
        name, file, static_cast<quint64>(size), !arguments.staysClosed,
        [&](quint64 received, quint64 total) { progress.show(received, total); },
        [&](const SessionOutcome &end) {
            outcome = end;
            loop.quit();
        });
    loop.exec();
    progress.clear();
    if (outcome.isDone()) {
        showSent(arguments, name, size, outcome.fields);
    }
    return LocalSession::report(outcome);
}

QJsonObject asJson(const QJsonObject &file)
{
    const qint64 modified = file.value("modified"_L1).toInteger();
    return {{u"name"_s, file.value("name"_L1)},
            {u"size"_s, file.value("size"_L1)},
            {u"modified"_s,
             QDateTime::fromMSecsSinceEpoch(modified).toUTC().toString(Qt::ISODateWithMs)}};
}

QString fileLine(const QJsonObject &file)
{
    const auto modified = QDateTime::fromMSecsSinceEpoch(file.value("modified"_L1).toInteger());
    return u"%1\t%2\t%3"_s.arg(printable(file.value("name"_L1).toString()))
        .arg(file.value("size"_L1).toInteger())
        .arg(modified.toString(u"yyyy-MM-dd HH:mm"_s));
}

/// Shows one page of the list; the last name is where the next one begins.
QString showPage(const Arguments &arguments, const QJsonArray &files, QJsonArray &all)
{
    for (const auto &file : files) {
        if (arguments.wantsJson) {
            all.append(asJson(file.toObject()));
        } else {
            Terminal::printLine(fileLine(file.toObject()));
        }
    }
    return files.last().toObject().value("name"_L1).toString();
}

ExitCode listFiles(LocalSession &session, const Arguments &arguments)
{
    QJsonArray all;
    QString after;
    bool hasMore = true;
    while (hasMore) {
        SessionOutcome outcome;
        const ExitCode code = session.run(SessionMessage::listFiles(after), &outcome);
        if (code != ExitCode::Done) {
            return code;
        }
        const QString last = showPage(arguments, outcome.fields.value("files"_L1).toArray(), all);
        hasMore = outcome.fields.value("more"_L1).toBool() && !last.isEmpty() && last != after;
        after = last;
    }
    if (arguments.wantsJson) {
        JsonOutput::print(all);
    }
    return ExitCode::Done;
}

/// Where the file goes on this side.
QString pathHere(const Arguments &arguments, const QString &name)
{
    const QString output = arguments.output.value_or(u"."_s);
    return QFileInfo(output).isDir() ? QDir(output).filePath(name) : output;
}

/// Before anything is read, so that either all files come or none is touched.
QString problemWithGetting(const Arguments &arguments)
{
    const bool isFolder = QFileInfo(arguments.output.value_or(u"."_s)).isDir();
    if (arguments.values.size() > 1 && !isFolder) {
        return u"--output must be a folder for several files."_s;
    }
    for (const QString &name : arguments.values) {
        const QString unnamable = problemWithName(name);
        if (!unnamable.isEmpty()) {
            return unnamable;
        }
        const QString path = pathHere(arguments, name);
        if (arguments.output != u"-"_s && QFileInfo::exists(path) && !arguments.isForced) {
            return u"%1 exists; --force replaces it."_s.arg(path);
        }
    }
    return {};
}

/// Temporary files are for their owner only; what is fetched gets the rights of any new file.
void giveUsualRights(QFile &file)
{
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(file.handle(), 0666 & ~mask);
}

/// Gives the complete file its name. Without --force an existing one is left alone even if it has
/// come in the meantime.
QString problemWithNaming(QTemporaryFile &file, const QString &path, bool isForced)
{
    giveUsualRights(file);
    file.close();
    const QByteArray from = QFile::encodeName(file.fileName());
    const bool isNamed =
        isForced ? std::rename(from.constData(), QFile::encodeName(path).constData()) == 0
                 : QFile::rename(file.fileName(), path);
    file.setAutoRemove(!isNamed);
    return isNamed ? QString() : u"%1 cannot be written."_s.arg(path);
}

void showGot(const Arguments &arguments, const QString &name, const QString &path)
{
    if (arguments.wantsJson) {
        JsonOutput::print(QJsonObject{
            {u"file"_s, name}, {u"path"_s, path}, {u"bytes"_s, QFileInfo(path).size()}});
    } else {
        Terminal::printLine(printable(u"%1: saved as %2"_s.arg(name, path)));
    }
}

ExitCode download(LocalSession &session, const QString &name, QIODevice &destination,
                  int *signalNumber)
{
    LocalDownload work(session, name, destination);
    const SignalWatch signalWatch([&](int) { work.cancel(); });
    const ExitCode code = work.run();
    *signalNumber = signalWatch.caught();
    return code;
}

ExitCode getToOutput(LocalSession &session, const QString &name)
{
    QFile output;
    if (!output.open(stdout, QIODevice::WriteOnly)) {
        return Terminal::misused(u"Standard output cannot be written."_s);
    }
    int signalNumber = 0;
    const ExitCode code = download(session, name, output, &signalNumber);
    return signalNumber == 0 ? code : ExitCode::NoConnection;
}

/// The file has a hidden name until it is complete.
ExitCode getOne(LocalSession &session, const Arguments &arguments, const QString &name,
                int *signalNumber)
{
    const QString path = pathHere(arguments, name);
    QTemporaryFile file(QFileInfo(path).absolutePath() + u"/.quillmote-XXXXXX"_s);
    if (!file.open()) {
        return Terminal::misused(u"%1 cannot be written: %2."_s.arg(path, file.errorString()));
    }
    const ExitCode code = download(session, name, file, signalNumber);
    if (code != ExitCode::Done || *signalNumber != 0) {
        return code;
    }
    const QString problem =
        file.flush() ? problemWithNaming(file, path, arguments.isForced) : file.errorString();
    if (!problem.isEmpty()) {
        return Terminal::misused(problem);
    }
    showGot(arguments, name, path);
    return ExitCode::Done;
}

ExitCode getAll(LocalSession &session, const Arguments &arguments)
{
    ExitCode code = ExitCode::Done;
    int signalNumber = 0;
    for (const QString &name : arguments.values) {
        if (code == ExitCode::Done && signalNumber == 0) {
            code = arguments.output == u"-"_s ? getToOutput(session, name)
                                              : getOne(session, arguments, name, &signalNumber);
        }
    }
    if (signalNumber != 0) {
        SignalWatch::dieOf(signalNumber);
    }
    return code;
}

} // namespace

ExitCode LocalCommands::send(LocalSession &session, const Arguments &arguments)
{
    const QString problem = problemWith(arguments);
    if (!problem.isEmpty()) {
        return Terminal::misused(problem);
    }
    ExitCode code = ExitCode::Done;
    for (const QString &path : arguments.values) {
        if (code == ExitCode::Done) {
            code = sendOne(session, arguments, path);
        }
    }
    return code;
}

ExitCode Commands::get(const Arguments &arguments)
{
    const QString problem = problemWithGetting(arguments);
    if (!problem.isEmpty()) {
        return Terminal::misused(problem);
    }
    const Target target = Target::findLocal(arguments);
    if (!target.isFound()) {
        return target.code;
    }
    return arguments.values.isEmpty() ? listFiles(*target.local, arguments)
                                      : getAll(*target.local, arguments);
}

} // namespace quillmote
