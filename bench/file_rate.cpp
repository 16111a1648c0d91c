// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How fast the server receives a file over the loopback, compared with socat, which only copies.
// They take turns in one run, so that other load on the machine affects both. Also measures how
// much memory the server needs for it.
//
// Needs VORNA_SERVER (the server's executable) and a folder on a disk as first argument; a second
// one is the size in MiB, a third the number of rounds.

#include "FileRate.h"
#include "support/Folders.h"
#include "support/process/ProcessMemory.h"

#include <QCryptographicHash>
#include <QDir>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

using FileRate::MiB;
using std::chrono::steady_clock;

namespace {

constexpr qint64 UsualSize = 1024;
constexpr int UsualRounds = 3;

/// What is sent: the same to both, with different chunks.
class Content
{
public:
    explicit Content(qint64 chunks) : chunkCount(chunks)
    {
        for (qsizetype i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<char>(i * 7 + i / 251);
        }
    }

    qint64 size() const { return chunkCount * MiB; }

    bool send(Handheld &receiver)
    {
        for (qint64 i = 0; i < chunkCount; ++i) {
            if (!receiver.send(chunk(i), FileRate::Limit)) {
                return false;
            }
        }
        return true;
    }

    QByteArray hash(const QByteArray &head)
    {
        QCryptographicHash hash(QCryptographicHash::Sha1);
        hash.addData(head);
        for (qint64 i = 0; i < chunkCount; ++i) {
            hash.addData(chunk(i));
        }
        return hash.result();
    }

private:
    const QByteArray &chunk(qint64 number)
    {
        bytes[0] = static_cast<char>(number);
        bytes[1] = static_cast<char>(number >> 8);
        return bytes;
    }

    qint64 chunkCount;
    QByteArray bytes{MiB, Qt::Uninitialized};
};

/// \return MiB a second.
double intoServer(const ServerBench &bench, const QString &path, Content &content)
{
    QFile::remove(path);
    const QByteArray head = exactRequest(path.section(u'/', -1), content.size());
    Handheld handheld(bench.port());
    ServerBench::require(handheld.ask(head).has_value(), "the request of a transfer");
    const auto start = steady_clock::now();
    ServerBench::require(content.send(handheld), "sending to the server");
    ServerBench::require(handheld.answer(FileRate::Limit).has_value(), "the end of a transfer");
    const double rate = FileRate::since(start, content.size());
    ServerBench::require(Folders::fileHash(path) == content.hash(head), "what was received");
    QFile::remove(path);
    return rate;
}

/// \return MiB a second.
double intoSocat(const QString &path, Content &content)
{
    FileRate::SocatReceiver socat(path);
    Handheld sender(socat.port());
    const auto start = steady_clock::now();
    ServerBench::require(content.send(sender), "sending to socat");
    sender.leave();
    socat.waitForEnd();
    const double rate = FileRate::since(start, content.size());
    ServerBench::require(Folders::fileHash(path) == content.hash(QByteArray()),
                         "what socat received");
    QFile::remove(path);
    return rate;
}

void compare(const QStringList &arguments)
{
    const QTemporaryDir folder(QDir(arguments.value(1)).absoluteFilePath(u"file-rate-XXXXXX"_s));
    ServerBench::require(folder.isValid(), "a folder for the files");
    const int size = arguments.value(2).toInt();
    const int rounds = arguments.value(3).toInt();

    Content content(size > 0 ? size : UsualSize);
    ServerBench bench(folder.path());
    bench.start();
    Sample ofServer;
    Sample ofSocat;
    const QString path = folder.filePath(u"file"_s);
    const qint64 before = ProcessMemory::resident(bench.processId());
    for (int round = 0; round < (rounds > 0 ? rounds : UsualRounds); ++round) {
        ofServer.add(intoServer(bench, path, content));
        ofSocat.add(intoSocat(path, content));
    }
    FileRate::compare("server", ofServer, ofSocat);
    std::printf("peak memory of the server %+.1f MiB over its memory before (goal: below 16)\n",
                FileRate::inMebibytes(ProcessMemory::peak(bench.processId()) - before));
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    return ServerBench::run([] { compare(QCoreApplication::arguments()); });
}
