// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How long a phone's page needs from its first byte until a finger can use it, connection and all,
// in a browser whose processor is four times slower than this one, and how many bytes it is.
//
// Needs VORNA_SERVER, VORNA_QUILLMOTE_WEB and the bare program as first argument, which it leaves
// alone; a second one is the number of times.

#include "PhoneBench.h"
#include "support/Sample.h"

#include <QTemporaryDir>

namespace {

constexpr int Slowdown = 4;

void measure(const QStringList &arguments)
{
    const int times = arguments.value(2, u"20"_s).toInt();
    const QTemporaryDir folder;
    PhoneBench bench(arguments.value(1), folder.path());
    PhonePage page(bench.scene().phoneBrowser());
    bench.openPage(page);
    page.ask(u"slow"_s, {{u"factor"_s, Slowdown}});
    Sample sample;
    double bytes = 0;
    for (int time = 0; time < times; ++time) {
        const QJsonObject result =
            page.ask(u"timeToUsable"_s, {{u"expression"_s, PhoneBench::IsConnected}})
                .result.toObject();
        ServerBench::require(result.contains(u"time"_s), "the page");
        sample.add(result.value(u"time"_s).toDouble());
        bytes = result.value(u"bytes"_s).toDouble();
    }
    std::printf(
        "usable after %.0f ms (median of %zu; longest %.0f ms; goal: below 300), %.1f KiB over "
        "the wire (goal: below 100)\n",
        sample.median(), sample.size(), sample.largest(), bytes / 1024);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return ServerBench::run([] { measure(QCoreApplication::arguments()); });
}
