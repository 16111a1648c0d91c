// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// How many characters a second a session types on sway into a text of another program, until that
// program has all of them. First characters of the layout, then others.
//
// Needs VORNA_SERVER (the server's executable). The arguments are the numbers of characters of the
// two texts. sway refuses root: root starts it by as_ordinary_user.sh.

#include "SessionPeer.h"
#include "support/RandomText.h"
#include "support/session/TypingDesk.h"

#include <cstdio>

using std::chrono::steady_clock;
using namespace std::chrono_literals;

namespace {

constexpr double Goal = 5000;

/// The characters a second that come into the program; 0 if some are lost.
double measure(const char *name, TypingDesk &desk, SessionPeer &session, const QString &text)
{
    const auto program = desk.open(ControlsProgram::Kind::Qt);
    ServerBench::require(program->isReady(), "a program with a text");
    const auto start = steady_clock::now();
    const QJsonObject answer = session.ask({{u"request"_s, u"text"_s}, {u"text"_s, text}});
    ServerBench::require(answer.contains(u"ok"_s), "the answer to a text");
    const std::chrono::duration<double> typed = steady_clock::now() - start;
    const bool isThere = waitUntil([&] { return program->text() == text; }, 60s, 1ms);
    const std::chrono::duration<double> arrived = steady_clock::now() - start;
    const auto characters = static_cast<double>(text.toUcs4().size());
    std::printf("  %-16s %8.0f characters/s typed, ", name, characters / typed.count());
    if (!isThere) {
        std::printf("%lld of %lld arrived, or wrong ones\n", qint64(program->text().size()),
                    qint64(text.size()));
        return 0;
    }
    std::printf("%8.0f arrived\n", characters / arrived.count());
    return characters / arrived.count();
}

void measureAll(const QStringList &arguments)
{
    const int ofLayout = arguments.value(1, u"20000"_s).toInt();
    const int others = arguments.value(2, u"2000"_s).toInt();
    qputenv("VORNA_DESKTOP", "sway");
    const auto desk = TypingDesk::make();
    ServerBench::require(desk->start(), "sway with the server");
    SessionPeer session = SessionPeer::soon(desk->session().serverSocket());
    ServerBench::require(!session.message().isEmpty(), "a session");
    RandomText random(1);
    const double rate = measure(
        "of the layout", *desk, session,
        random.ofKeyCaps(ofLayout, u"abcdefghijklmnopqrstuvwxyzABCDEFGHIJ 0123456789,.!?"_s));
    std::printf("  goal: at least %.0f arrive: %s\n", Goal, rate >= Goal ? "yes" : "no");
    QString text;
    while (text.size() < others) {
        text += random.mixed(1, u"é"_s, [](char32_t one) { return one > 0x1ff; });
    }
    measure("of every script", *desk, session, text);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return ServerBench::run([] { measureAll(QCoreApplication::arguments()); });
}
