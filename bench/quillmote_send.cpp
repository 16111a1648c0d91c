// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How fast the program quillmote brings a file into the server, and beside it the same file from
// socat to socat, which only copy. They take turns in one run, so that whatever else the machine
// does bears on both. The time is that of the whole sending, from the start of the program to the
// last byte in the received file.
//
// Needs VORNA_SERVER (the server's executable), quillmote as first argument and a folder as
// second; a third one is the size in MiB, a fourth the number of rounds.

#include "ServerBench.h"
#include "support/Folders.h"
#include "support/ProcessTables.h"
#include "support/Sample.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <unistd.h>

using std::chrono::duration;
using std::chrono::steady_clock;

namespace {

constexpr qint64 MiB = 1024 * 1024;
constexpr int UsualSize = 1024;
constexpr int UsualRounds = 5;
constexpr int LimitMilliseconds = 300'000;

void makeFile(const QString &path, qint64 chunks)
{
    QFile file(path);
    ServerBench::require(file.open(QIODevice::WriteOnly), "a file to send");
    QByteArray chunk(MiB, Qt::Uninitialized);
    for (qsizetype i = 0; i < chunk.size(); ++i)
        chunk[i] = static_cast<char>(i * 7 + i / 251);
    for (qint64 i = 0; i < chunks; ++i) {
        chunk[0] = static_cast<char>(i);
        ServerBench::require(file.write(chunk) == MiB, "writing the file to send");
    }
    // The disk must not be busy with it when the first round begins.
    ServerBench::require(file.flush() && ::fsync(file.handle()) == 0, "writing the file to send");
}

/// \return MiB a second.
double rateSince(steady_clock::time_point start, const QString &path)
{
    const duration<double> time = steady_clock::now() - start;
    return static_cast<double>(QFileInfo(path).size()) / static_cast<double>(MiB) / time.count();
}

void run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    ServerBench::require(process.waitForFinished(LimitMilliseconds) && process.exitCode() == 0,
                         "sending by " + program.toLocal8Bit());
}

/// A hash of what has not been read yet, as Folders::fileHash() of the whole.
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
    run(quillmote, {"send", original, "--host", "127.0.0.1", "--port",
                    QString::number(bench.port()), "--timeout", "60"});
    const double rate = rateSince(start, original);
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
    QFile::remove(received);
    ChildProcess receiver;
    receiver.start(QStringLiteral("socat"), {"-u", "-b", "65536", "TCP-LISTEN:0,bind=127.0.0.1",
                                             QStringLiteral("OPEN:%1,creat,append").arg(received)});
    std::optional<quint16> port;
    ServerBench::require(waitUntil([&] {
                             port = ProcessTables::listeningPort(receiver.processId());
                             return port.has_value();
                         }),
                         "start of socat");
    const auto start = steady_clock::now();
    run(QStringLiteral("socat"), {"-u", "-b", "65536", QStringLiteral("OPEN:%1").arg(original),
                                  QStringLiteral("TCP:127.0.0.1:%1").arg(*port)});
    // It ends when all is written.
    ServerBench::require(receiver.waitForFinished(LimitMilliseconds), "end of socat");
    const double rate = rateSince(start, original);
    ServerBench::require(Folders::fileHash(received) == Folders::fileHash(original),
                         "what socat received");
    QFile::remove(received);
    return rate;
}

void print(const char *name, const Sample &rates)
{
    std::printf("%-10s median %7.0f MiB/s   from %7.0f to %7.0f\n", name, rates.median(),
                rates.atShare(0), rates.largest());
}

void compare(const QStringList &arguments)
{
    const QTemporaryDir folder(QDir(arguments.value(2)).absoluteFilePath("quillmote-send-XXXXXX"));
    ServerBench::require(folder.isValid(), "a folder for the files");
    const int size = arguments.value(3).toInt();
    const int rounds = arguments.value(4).toInt();
    const QString original = folder.filePath(QStringLiteral("original"));
    const QString in = folder.filePath(QStringLiteral("in"));
    ServerBench::require(QDir().mkpath(in), "a folder for received files");
    makeFile(original, size > 0 ? size : UsualSize);

    ServerBench bench(in);
    bench.start();
    Sample ours;
    Sample theirs;
    for (int round = 0; round < (rounds > 0 ? rounds : UsualRounds); ++round) {
        ours.add(byQuillmote(bench, arguments.value(1), original, in + "/original"));
        theirs.add(bySocat(original, in + "/by-socat"));
    }
    print("quillmote", ours);
    print("socat", theirs);
    std::printf("ratio of the medians %.2f (goal: at least 0.9)\n",
                ours.median() / theirs.median());
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    return ServerBench::run([] { compare(QCoreApplication::arguments()); });
}
