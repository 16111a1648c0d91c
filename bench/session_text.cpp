// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How many characters a second a session types into a text of another program, until that program
// has all of them; xdotool types the same beside it. First characters of the layout, then others.
//
// Needs VORNA_SERVER (the server's executable). The arguments are the numbers of characters of the
// two texts.

#include "SessionPeer.h"
#include "support/RandomText.h"
#include "support/session/ControlsProgram.h"

#include <cstdio>

using std::chrono::steady_clock;
using namespace std::chrono_literals;

namespace {

using Typing = std::function<void(const QString &)>;

/// The characters a second that one way of typing brings into the program; prints whether all
/// arrived. A typist that loses some is given up after a while.
double measure(const char *name, const ServerBench &bench, const QString &text, const Typing &type)
{
    const ControlsProgram program(ControlsProgram::Kind::Qt, bench.session());
    ServerBench::require(program.isReady(), "a program with a text");
    const auto start = steady_clock::now();
    type(text);
    const std::chrono::duration<double> typed = steady_clock::now() - start;
    const bool isThere = waitUntil([&] { return program.text() == text; }, 5s, 1ms);
    const std::chrono::duration<double> arrived = steady_clock::now() - start;
    const auto characters = static_cast<double>(text.toUcs4().size());
    std::printf("  %-8s %8.0f characters/s typed, ", name, characters / typed.count());
    if (isThere) {
        std::printf("%8.0f arrived\n", characters / arrived.count());
    } else {
        std::printf("%lld of %lld arrived, or wrong ones\n", qint64(program.text().size()),
                    qint64(text.size()));
    }
    return isThere ? characters / arrived.count() : 0;
}

double compare(const ServerBench &bench, SessionPeer &session, const QString &text)
{
    const double rate = measure("session", bench, text, [&](const QString &typed) {
        const QJsonObject answer = session.ask({{u"request"_s, u"text"_s}, {u"text"_s, typed}});
        ServerBench::require(answer.contains(u"ok"_s), "the answer to a text");
    });
    measure("xdotool", bench, text, [&](const QString &typed) {
        ChildProcess xdotool;
        xdotool.setProcessEnvironment(bench.session().environment());
        xdotool.start(u"xdotool"_s, {u"type"_s, u"--delay"_s, u"0"_s, u"--"_s, typed});
        ServerBench::require(xdotool.waitForFinished(600'000), "the end of xdotool");
    });
    return rate;
}

void compareAll(const QStringList &arguments)
{
    const int ofLayout = arguments.value(1, u"20000"_s).toInt();
    const int others = arguments.value(2, u"2000"_s).toInt();
    ServerBench bench(u"/nonexistent"_s);
    bench.start();
    SessionPeer session(SessionPeer::pathOf(bench.session()));
    ServerBench::require(!session.message().isEmpty(), "a session");
    RandomText random(1);
    std::puts("of the layout:");
    const double rate = compare(
        bench, session,
        random.ofKeyCaps(ofLayout, u"abcdefghijklmnopqrstuvwxyzABCDEFGHIJ 0123456789,.!?"_s));
    std::printf("  goal: at least 5000 arrive: %s\n", rate >= 5000 ? "yes" : "no");
    std::puts("of every script, without those of the layout:");
    QString text;
    while (text.size() < others) {
        const QString character = random.mixed(1, u"é"_s, [](char32_t one) { return one > 0x1ff; });
        text += character;
    }
    compare(bench, session, text);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return ServerBench::run([] { compareAll(QCoreApplication::arguments()); });
}
