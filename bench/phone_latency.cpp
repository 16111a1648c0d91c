// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How long a finger's move needs from the browser of a phone to a pointer event at an X client,
// compared with a page that has a bare WebSocket and a program that only calls XTEST. That page is
// there twice: as anybody would write it, where the browser holds touches back until the next
// frame, and with a canvas, where it does not. They take turns in one run, so that other load on
// the machine affects all of them.
//
// Needs VORNA_SERVER, VORNA_QUILLMOTE_WEB and the bare program as first argument; a second one is
// the number of moves of a turn, a third the number of turns.

#include "MotionObserver.h"
#include "PhoneBench.h"
#include "support/Sample.h"

#include <QTemporaryDir>

#include <algorithm>

namespace {

/// Longer than a move needs, and no multiple of a frame, so that the moves come at all its times.
constexpr int BetweenMoves = 57;

/// Adds the time that each move needed.
void measure(PhonePage &page, const QPointF &middle, const QString &display, int count,
             Sample &sample)
{
    const auto toJson = [](const QPointF &place) {
        return QJsonObject{{u"x"_s, place.x()}, {u"y"_s, place.y()}};
    };
    MotionObserver observer(display);
    const auto answer = page.ask(u"timedMoves"_s, {{u"from"_s, toJson(middle)},
                                                   {u"to"_s, toJson(middle + QPointF(40, 60))},
                                                   {u"count"_s, count},
                                                   {u"pause"_s, BetweenMoves}});
    const QJsonArray sent = answer.result.toArray();
    const std::vector<double> &seen = observer.times();
    ServerBench::require(sent.size() == count, "the moves of the browser");
    int lost = 0;
    for (const auto &time : sent) {
        const double start = time.toDouble();
        const auto first = std::upper_bound(seen.begin(), seen.end(), start);
        if (first == seen.end() || *first > start + BetweenMoves) {
            ++lost;
        } else {
            sample.add(*first - start);
        }
    }
    ServerBench::require(lost * 100 < count, QByteArray::number(lost) + " moves were not seen");
}

void print(const char *name, const Sample &sample)
{
    std::printf("%-23s median %5.1f ms   99 %% below %5.1f ms   longest %5.1f ms   (%zu moves)\n",
                name, sample.median(), sample.atShare(0.99), sample.largest(), sample.size());
}

void compare(const QStringList &arguments)
{
    const int count = arguments.value(2, u"200"_s).toInt();
    const int turns = arguments.value(3, u"5"_s).toInt();
    const QTemporaryDir folder;
    PhoneBench bench(arguments.value(1), folder.path());
    PhonePage page(bench.scene().phoneBrowser());
    PhonePage floor(bench.scene().phoneBrowser());
    PhonePage floorWithCanvas(bench.scene().phoneBrowser());
    bench.openPage(page);
    bench.openFloor(floor);
    bench.openFloor(floorWithCanvas, u"#canvas"_s);
    Sample ofPage;
    Sample ofFloor;
    Sample ofFloorWithCanvas;
    for (int turn = 0; turn < turns; ++turn) {
        measure(page, bench.touchpad(page), bench.session().display(), count, ofPage);
        measure(floor, {100, 300}, bench.session().display(), count, ofFloor);
        measure(floorWithCanvas, {100, 300}, bench.session().display(), count, ofFloorWithCanvas);
    }
    print("page", ofPage);
    print("bare page", ofFloor);
    print("bare page with a canvas", ofFloorWithCanvas);
    std::printf("ratio of the medians %.2f (goal: at most 1.3), with a canvas %.2f; goals: median "
                "below 16 ms, 99 %% below 33 ms\n",
                ofPage.median() / ofFloor.median(), ofPage.median() / ofFloorWithCanvas.median());
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return ServerBench::run([] { compare(QCoreApplication::arguments()); });
}
