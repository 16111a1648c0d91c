// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How fast quillmote sends a file to the server, compared with the same file from socat to socat,
// which only copy. They take turns in one run, so that other load on the machine affects both. The
// time is that of the whole transfer, from the start of the program to the last byte in the
// received file.
//
// Needs VORNA_SERVER (the server's executable), quillmote as first argument and a folder as
// second; a third one is the size in MiB, a fourth the number of rounds.

#include "FileRate.h"
#include "support/Folders.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <unistd.h>

using namespace Qt::StringLiterals;

using FileRate::MiB;
using std::chrono::steady_clock;

namespace {

constexpr int UsualSize = 1024;
constexpr int UsualRounds = 5;

void makeFile(const QString &path, qint64 chunks)
{
    QFile file(path);
    ServerBench::require(file.open(QIODevice::WriteOnly), "a file to send");
    QByteArray chunk(MiB, Qt::Uninitialized);
    for (qsizetype i = 0; i < chunk.size(); ++i) {
        chunk[i] = static_cast<char>(i * 7 + i / 251);
    }
    for (qint64 i = 0; i < chunks; ++i) {
        chunk[0] = static_cast<char>(i);
        ServerBench::require(file.write(chunk) == MiB, "writing the file to send");
    }
    // The disk must have finished writing it when the first round begins.
    ServerBench::require(file.flush() && ::fsync(file.handle()) == 0, "writing the file to send");
}

void run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    const auto limit = static_cast<int>(FileRate::Limit.count());
    ServerBench::require(process.waitForFinished(limit) && process.exitCode() == 0,
                         "sending by " + program.toLocal8Bit());
}

/// A hash of the unread rest, like Folders::fileHash() of the whole.
QByteArray restHash(QFile &file)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    hash.addData(&file);
    return hash.result();
}

double byQuillmote(const ServerBench &bench, const QString &quillmote, const QString &original,
                   const QString &received)
{
    QFile::remove(received);
    const auto start = steady_clock::now();
    // Bytes without a format of their own have no place for the announcement.
    run(quillmote, {u"send"_s, u"--force"_s, original, u"--host"_s, u"127.0.0.1"_s, u"--port"_s,
                    QString::number(bench.port()), u"--timeout"_s, u"60"_s});
    const double rate = FileRate::since(start, QFileInfo(original).size());
    // The announcement stands in front.
    QFile file(received);
    ServerBench::require(file.open(QIODevice::ReadOnly), "a received file");
    const qint64 ahead = file.size() - QFileInfo(original).size();
    ServerBench::require(ahead > 0 && ahead < 1000, "the size of what was received");
    ServerBench::require(file.read(ahead).contains("FILE_TRANSFER_AND_OPEN"), "an announcement");
    ServerBench::require(restHash(file) == Folders::fileHash(original), "what was received");
    QFile::remove(received);
    return rate;
}

double bySocat(const QString &original, const QString &received)
{
    FileRate::SocatReceiver receiver(received);
    const auto start = steady_clock::now();
    run(u"socat"_s, {u"-u"_s, u"-b"_s, u"65536"_s, u"OPEN:%1"_s.arg(original),
                     u"TCP:127.0.0.1:%1"_s.arg(receiver.port())});
    receiver.waitForEnd();
    const double rate = FileRate::since(start, QFileInfo(original).size());
    ServerBench::require(Folders::fileHash(received) == Folders::fileHash(original),
                         "what socat received");
    QFile::remove(received);
    return rate;
}

void compare(const QStringList &arguments)
{
    const QTemporaryDir folder(
        QDir(arguments.value(2)).absoluteFilePath(u"quillmote-send-XXXXXX"_s));
    ServerBench::require(folder.isValid(), "a folder for the files");
    const int size = arguments.value(3).toInt();
    const int rounds = arguments.value(4).toInt();
    const QString original = folder.filePath(u"original"_s);
    const QString in = folder.filePath(u"in"_s);
    ServerBench::require(QDir().mkpath(in), "a folder for received files");
    makeFile(original, size > 0 ? size : UsualSize);

    ServerBench bench(in);
    bench.start();
    Sample ours;
    Sample theirs;
    for (int round = 0; round < (rounds > 0 ? rounds : UsualRounds); ++round) {
        ours.add(byQuillmote(bench, arguments.value(1), original, in + u"/original"_s));
        theirs.add(bySocat(original, in + u"/by-socat"_s));
    }
    FileRate::compare("quillmote", ours, theirs);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    return ServerBench::run([] { compare(QCoreApplication::arguments()); });
}
