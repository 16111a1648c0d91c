// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How long a device waits for the text of the clipboard that another program owns.
//
// Needs VORNA_SERVER (the server's executable); an argument is the number of requests.

#include "ServerBench.h"
#include "support/Sample.h"
#include "support/session/ClipboardOwner.h"

using namespace Qt::StringLiterals;

using std::chrono::duration;
using std::chrono::steady_clock;

namespace {

constexpr int UsualNumberOfRequests = 1000;

double millisecondsFor(Handheld &handheld, const QByteArray &request)
{
    const auto start = steady_clock::now();
    const auto answer = handheld.ask(request);
    const duration<double, std::milli> time = steady_clock::now() - start;
    ServerBench::require(answer && answer->value(u"serverResponse"_s) == u"OK"_s, "a request");
    return time.count();
}

void measure(const ServerBench &bench, const char *name, const QByteArray &text, int requests)
{
    const ClipboardOwner owner(bench.session(), text);
    ServerBench::require(owner.isServing(), "taking the clipboard");
    Handheld handheld(bench.port());
    const QByteArray request = commandText(u"SERVER_CLIPBOARD_REQUEST"_s);
    Sample times;
    for (int i = 0; i < requests; ++i) {
        times.add(millisecondsFor(handheld, request));
    }
    std::printf("%-8s median %6.2f ms   p99 %6.2f ms   (%zu requests)\n", name, times.median(),
                times.atShare(0.99), times.size());
}

void measureAll(int requests)
{
    ServerBench bench(u"/nonexistent"_s);
    bench.start();
    measure(bench, "a line", "The quick brown fox jumps over the lazy dog.", requests);
    measure(bench, "3 MiB", QByteArray(3 * 1024 * 1024, 'x'), requests / 50 + 1);
    std::printf("(goal for a line: median at most 5 ms)\n");
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const int number = QCoreApplication::arguments().value(1).toInt();
    return ServerBench::run([&] { measureAll(number > 0 ? number : UsualNumberOfRequests); });
}
