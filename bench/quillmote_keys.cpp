// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How long a key takes from the start of quillmote until another program sees it, compared with
// xdotool, which runs on the desktop itself. They take turns in one run, so that other load on the
// machine affects both. Then sends many keys at once and counts every one.
//
// Needs VORNA_SERVER (the server's executable) and quillmote as first argument; a second one is the
// number of starts, a third the number of keys in one go.

#include "KeyObserver.h"
#include "ServerBench.h"
#include "support/Sample.h"
#include "support/x11/InputWatcher.h"

#include <QProcess>
#include <QThread>

using namespace Qt::StringLiterals;

using std::chrono::duration;
using std::chrono::steady_clock;

namespace {

constexpr int UsualNumberOfStarts = 100;
constexpr int UsualNumberOfKeys = 10'000;
constexpr unsigned long PauseMilliseconds = 30;
constexpr int LongestRunMilliseconds = 300'000;

/// A command line that types the key A.
struct Typist
{
    QString program;
    QStringList arguments;
    Sample times; // milliseconds

    void type(const QProcessEnvironment &environment, KeyObserver &observer)
    {
        QThread::msleep(PauseMilliseconds);
        QProcess process;
        process.setProcessEnvironment(environment);
        const auto start = steady_clock::now();
        process.start(program, arguments);
        ServerBench::require(observer.waitFor(XCB_INPUT_RAW_KEY_PRESS), "a key's arrival");
        times.add(duration<double, std::milli>(steady_clock::now() - start).count());
        ServerBench::require(observer.waitFor(XCB_INPUT_RAW_KEY_RELEASE), "a key's release");
        ServerBench::require(process.waitForFinished() && process.exitCode() == 0, "a key");
    }

    void print() const
    {
        std::printf("%-10s median %6.2f ms   p99 %6.2f ms   (%zu starts)\n",
                    qPrintable(program.section(u'/', -1)), times.median(), times.atShare(0.99),
                    times.size());
    }
};

QStringList serverAddress(const ServerBench &bench)
{
    return {u"--host"_s, u"127.0.0.1"_s, u"--port"_s, QString::number(bench.port())};
}

void measureOneKey(const ServerBench &bench, const QString &quillmote, int starts)
{
    KeyObserver observer(bench.session().display());
    const QProcessEnvironment environment = bench.session().environment();
    Typist ours{quillmote, QStringList{u"key"_s, u"A"_s} + serverAddress(bench), {}};
    Typist theirs{u"xdotool"_s, {u"key"_s, u"a"_s}, {}};
    for (int number = 0; number < starts; ++number) {
        ours.type(environment, observer);
        theirs.type(environment, observer);
    }
    ours.print();
    theirs.print();
    std::printf("ratio of the medians %.2f (goal: at most 3)\n",
                ours.times.median() / theirs.times.median());
}

void measureManyKeys(const ServerBench &bench, const QString &quillmote, int keys)
{
    const QString letters = u"abcdefghij"_s;
    InputWatcher watcher(bench.session().display());
    QProcess process;
    process.setProcessEnvironment(bench.session().environment());
    const auto start = steady_clock::now();
    process.start(quillmote,
                  QStringList{u"key"_s} + letters.split(QString(), Qt::SkipEmptyParts) +
                      QStringList{u"--repeat"_s, QString::number(keys / letters.size())} +
                      serverAddress(bench));
    ServerBench::require(process.waitForFinished(LongestRunMilliseconds) && process.exitCode() == 0,
                         "many keys");
    const duration<double> time = steady_clock::now() - start;
    const QString expected = letters.repeated(keys / letters.size());
    waitUntil([&] { return watcher.typedText().size() >= expected.size(); });
    watcher.sync();
    const qsizetype seen = watcher.typedText().size();
    std::printf("%lld keys sent, %lld seen, in %.2f s: %.0f keys/s\n",
                static_cast<long long>(expected.size()), static_cast<long long>(seen), time.count(),
                static_cast<double>(seen) / time.count());
    ServerBench::require(watcher.typedText() == expected, "each key once and in order");
}

void measureAll(const QStringList &arguments)
{
    const int starts = arguments.value(2).toInt();
    const int keys = arguments.value(3).toInt();
    ServerBench bench(u"/nonexistent"_s);
    bench.start();
    measureOneKey(bench, arguments.value(1), starts > 0 ? starts : UsualNumberOfStarts);
    measureManyKeys(bench, arguments.value(1), keys > 0 ? keys : UsualNumberOfKeys);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    return ServerBench::run([] { measureAll(QCoreApplication::arguments()); });
}
