// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "ServerBench.h"
#include "support/Sample.h"
#include "support/process/ChildProcess.h"
#include "support/process/ProcessTables.h"

#include <QFile>

#include <chrono>
#include <cstdio>
#include <optional>

using namespace Qt::StringLiterals;

/// Shared by the programs that measure file transfers beside socat.
namespace FileRate {

constexpr qint64 MiB = 1024 * 1024;
constexpr std::chrono::milliseconds Limit = std::chrono::minutes(5);

inline double inMebibytes(qint64 bytes)
{
    return static_cast<double>(bytes) / static_cast<double>(MiB);
}

/// \return MiB a second.
inline double since(std::chrono::steady_clock::time_point start, qint64 bytes)
{
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    return inMebibytes(bytes) / time.count();
}

/// A socat that writes what one peer sends into a new file.
class SocatReceiver
{
public:
    explicit SocatReceiver(const QString &path)
    {
        QFile::remove(path);
        socat.start(u"socat"_s, {u"-u"_s, u"-b"_s, u"65536"_s, u"TCP-LISTEN:0,bind=127.0.0.1"_s,
                                 u"OPEN:%1,creat,append"_s.arg(path)});
        const bool isListening = waitUntil([&] {
            listeningPort = ProcessTables::listeningPort(socat.processId());
            return listeningPort.has_value();
        });
        ServerBench::require(isListening, "start of socat");
    }

    quint16 port() const { return *listeningPort; }

    /// It ends when its peer has left and all is written.
    void waitForEnd()
    {
        ServerBench::require(socat.waitForFinished(static_cast<int>(Limit.count())),
                             "end of socat");
    }

private:
    ChildProcess socat;
    std::optional<quint16> listeningPort;
};

/// Prints the rates of the measured program and of what it is compared with.
inline void compare(const char *name, const Sample &rates, const Sample &ofOther,
                    const char *other = "socat")
{
    const auto print = [](const char *program, const Sample &sample) {
        std::printf("%-10s median %7.1f MiB/s   from %7.1f to %7.1f\n", program, sample.median(),
                    sample.atShare(0), sample.largest());
    };
    print(name, rates);
    print(other, ofOther);
    std::printf("ratio of the medians %.2f (goal: at least 0.9)\n",
                rates.median() / ofOther.median());
}

} // namespace FileRate
