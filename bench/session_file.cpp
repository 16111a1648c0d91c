// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How fast a session puts a file, compared with socat from a local socket into a file, which only
// copies. They take turns in one run, so that other load on the machine affects both. Also measures
// how much memory the server needs for it.
//
// Needs VORNA_SERVER (the server's executable) and a folder as first argument; a second one is the
// size in MiB, a third the number of rounds.

#include "FileRate.h"
#include "SessionPeer.h"
#include "support/Folders.h"
#include "support/process/ProcessMemory.h"

#include <QCryptographicHash>
#include <QDir>
#include <QTemporaryDir>

using FileRate::MiB;
using std::chrono::steady_clock;

namespace {

constexpr qint64 UsualSize = 1024;
constexpr int UsualRounds = 3;

/// Each MiB of what is sent begins with its number.
const QByteArray &piece(qint64 number)
{
    static QByteArray bytes = [] {
        QByteArray filled(MiB, Qt::Uninitialized);
        for (qsizetype i = 0; i < filled.size(); ++i) {
            filled[i] = static_cast<char>(i * 7 + i / 251);
        }
        return filled;
    }();
    bytes[0] = static_cast<char>(number);
    bytes[1] = static_cast<char>(number >> 8);
    return bytes;
}

QByteArray hashOf(qint64 pieces)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (qint64 i = 0; i < pieces; ++i) {
        hash.addData(piece(i));
    }
    return hash.result();
}

/// \return MiB a second.
double intoServer(SessionPeer &session, const QString &path, qint64 pieces)
{
    const auto start = steady_clock::now();
    const QJsonObject begun = session.ask({{u"request"_s, u"file.put"_s},
                                           {u"name"_s, path.section(u'/', -1)},
                                           {u"size"_s, pieces * MiB}});
    ServerBench::require(begun.contains(u"file"_s), "the beginning of a transfer");
    const QByteArray head = R"({"id":1,"request":"file.put","file":)" +
                            QByteArray::number(begun.value(u"file"_s).toInteger()) +
                            R"(,"body":1048576})" + '\n';
    for (qint64 i = 0; i < pieces; ++i) {
        ServerBench::require(session.send(head) && session.send(piece(i)), "a piece of a file");
    }
    for (qint64 i = 0; i + 1 < pieces; ++i) {
        ServerBench::require(session.message().contains(u"received"_s), "a piece's answer");
    }
    ServerBench::require(session.message().value(u"complete"_s).toBool(), "the end of a transfer");
    return FileRate::since(start, pieces * MiB);
}

/// \return MiB a second.
double intoSocat(const DesktopSession &session, const QString &path, qint64 pieces)
{
    const QString socketPath = session.path(u"socat"_s);
    QFile::remove(socketPath);
    ChildProcess socat;
    socat.start(u"socat"_s, {u"-u"_s, u"-b"_s, u"65536"_s, u"UNIX-LISTEN:"_s + socketPath,
                             u"OPEN:%1,creat,append"_s.arg(path)});
    SessionPeer sender = SessionPeer::soon(socketPath);
    const auto start = steady_clock::now();
    for (qint64 i = 0; i < pieces; ++i) {
        ServerBench::require(sender.send(piece(i)), "sending to socat");
    }
    sender.leave();
    ServerBench::require(socat.waitForFinished(300'000), "end of socat");
    return FileRate::since(start, pieces * MiB);
}

void compare(const QStringList &arguments)
{
    const QTemporaryDir folder(QDir(arguments.value(1)).absoluteFilePath(u"session-file-XXXXXX"_s));
    ServerBench::require(folder.isValid(), "a folder for the files");
    const qint64 pieces = arguments.value(2, QString::number(UsualSize)).toInt();
    const int rounds = arguments.value(3, QString::number(UsualRounds)).toInt();
    const QByteArray hash = hashOf(pieces);
    const QString path = folder.filePath(u"file"_s);
    const auto check = [&] {
        ServerBench::require(Folders::fileHash(path) == hash, "what was received");
        QFile::remove(path);
    };

    ServerBench bench(folder.path());
    bench.start();
    SessionPeer session = SessionPeer::soon(SessionPeer::pathOf(bench.session()));
    ServerBench::require(!session.message().isEmpty(), "a session");
    ServerBench::require(ProcessMemory::forgetPeak(bench.processId()), "the peak of memory");
    const qint64 before = ProcessMemory::resident(bench.processId());
    Sample ofServer;
    Sample ofSocat;
    for (int round = 0; round < rounds; ++round) {
        ofServer.add(intoServer(session, path, pieces));
        check();
        ofSocat.add(intoSocat(bench.session(), path, pieces));
        check();
    }
    FileRate::compare("session", ofServer, ofSocat);
    std::printf("peak memory of the server %+.1f MiB over its memory before (goal: below 16)\n",
                FileRate::inMebibytes(ProcessMemory::peak(bench.processId()) - before));
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return ServerBench::run([] { compare(QCoreApplication::arguments()); });
}
