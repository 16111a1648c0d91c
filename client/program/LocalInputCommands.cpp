// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The input commands on this desktop: key, move, click, and scroll, drag and hold, which only its
// own server has.

#include "lib/SignalWatch.h"
#include "program/Commands.h"
#include "program/JsonOutput.h"
#include "program/LocalCommands.h"
#include "program/LocalSession.h"
#include "program/Target.h"

#include <QEventLoop>
#include <QHash>
#include <QTimer>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace quillmote {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using Terminal::ExitCode;

namespace {

constexpr int mostNotches = 10'000;
constexpr int notchesPerRequest = 100;
constexpr double farthest = 100'000; // pixels

/// A drag is made of steps, since programs take a jump for no drag at all.
constexpr double dragStep = 10; // pixels
constexpr int mostDragSteps = 50;
constexpr milliseconds dragPause = 10ms;

std::optional<double> numberIn(const QString &word, double most)
{
    bool isNumber = false;
    const double number = word.toDouble(&isNumber);
    return isNumber && std::abs(number) <= most ? std::optional(number) : std::nullopt;
}

/// What `scroll` is to do, in notches.
struct Notches
{
    double right = 0;
    double down = 0;
};

std::optional<Notches> notchesTowards(const QString &direction, double count)
{
    static const QHash<QString, Notches> directions = {
        {u"up"_s, {0, -1}}, {u"down"_s, {0, 1}}, {u"left"_s, {-1, 0}}, {u"right"_s, {1, 0}}};
    const auto found = directions.find(direction);
    return found == directions.end()
               ? std::nullopt
               : std::optional(Notches{found->right * count, found->down * count});
}

std::optional<Notches> notchesIn(const QStringList &values)
{
    const auto first = numberIn(values[0], mostNotches);
    const auto second = numberIn(values.value(1, u"1"_s), mostNotches);
    if (first && values.size() == 2 && second) {
        return Notches{*first, *second};
    }
    return second ? notchesTowards(values[0], *second) : std::nullopt;
}

/// Requests of at most so many notches as one may have.
std::vector<SessionMessage> scrolling(const Notches &notches)
{
    const double most = std::max(std::abs(notches.right), std::abs(notches.down));
    const int count = std::max(1, static_cast<int>(std::ceil(most / notchesPerRequest)));
    const auto share = [&](double all, int index) {
        const auto upTo = [&](int end) {
            return std::lround(all * SessionMessage::notch * end / count);
        };
        return static_cast<int>(upTo(index + 1) - upTo(index));
    };
    std::vector<SessionMessage> messages;
    messages.reserve(static_cast<size_t>(count));
    for (int index = 0; index < count; ++index) {
        messages.push_back(
            SessionMessage::scroll(share(notches.right, index), share(notches.down, index)));
    }
    return messages;
}

ExitCode dragBy(LocalSession &session, const QString &button, double dx, double dy)
{
    const int steps = std::clamp(static_cast<int>(std::hypot(dx, dy) / dragStep), 1, mostDragSteps);
    ExitCode code = session.run(SessionMessage::button(button, u"press"_s));
    for (int step = 0; step < steps && code == ExitCode::Done; ++step) {
        code = session.run(SessionMessage::move(dx / steps, dy / steps));
        if (code == ExitCode::Done) {
            code = session.pause(dragPause);
        }
    }
    return code == ExitCode::Done ? session.run(SessionMessage::button(button, u"release"_s))
                                  : code;
}

QStringList buttonNames()
{
    return {u"left"_s, u"middle"_s, u"right"_s, u"back"_s, u"forward"_s};
}

QString buttonNamed(const QString &word)
{
    const QString name = word == "center"_L1 ? u"middle"_s : word;
    return buttonNames().contains(name) ? name : QString();
}

/// What presses, with "press", or releases, with "release", the key or button of each word.
std::optional<std::vector<SessionMessage>> each(const QStringList &words, const QString &action)
{
    std::vector<SessionMessage> messages;
    for (const QString &word : words) {
        const QString button = buttonNamed(word);
        const auto stroke = KeyStroke::of(word);
        if (!button.isEmpty()) {
            messages.push_back(SessionMessage::button(button, action));
        } else if (stroke) {
            for (const QString &modifier : stroke->modifiers) {
                messages.push_back(SessionMessage::key(modifier, {}, action));
            }
            messages.push_back(SessionMessage::key(stroke->key, {}, action));
        } else {
            Terminal::complain(
                u"There is no key or button \"%1\".%2"_s.arg(word, KeyStroke::suggestionFor(word)));
            return std::nullopt;
        }
    }
    return messages;
}

/// Shows the server that this program is still there, until the time is over or a signal comes.
void waitHolding(LocalSession &session, const Arguments &arguments, const SignalWatch &signalWatch,
                 QEventLoop &loop)
{
    QTimer pings;
    QObject::connect(&pings, &QTimer::timeout, &loop,
                     [&] { session.connection().send(SessionMessage::ping(), {}); });
    QObject::connect(&session.connection(), &SessionConnection::lost, &loop, &QEventLoop::quit);
    pings.start(SessionConnection::pingPause);
    if (arguments.holdTime) {
        QTimer::singleShot(*arguments.holdTime, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    }
    if (signalWatch.caught() == 0 && session.connection().isOpen()) {
        loop.exec();
    }
}

ExitCode holdDown(LocalSession &session, const Arguments &arguments,
                  const std::vector<SessionMessage> &presses,
                  const std::vector<SessionMessage> &releases)
{
    QEventLoop loop;
    const SignalWatch signalWatch([&](int) { loop.quit(); });
    ExitCode code = session.runAll(presses);
    if (code == ExitCode::Done) {
        waitHolding(session, arguments, signalWatch, loop);
        code = session.runAll(releases);
    }
    if (signalWatch.caught() != 0) {
        SignalWatch::dieOf(signalWatch.caught());
    }
    return code;
}

} // namespace

ExitCode LocalCommands::key(LocalSession &session, const Arguments &arguments,
                            const std::vector<KeyStroke> &strokes)
{
    size_t place = 0;
    int round = 0;
    const ExitCode code = session.runAll([&]() -> std::optional<SessionMessage> {
        if (place == strokes.size()) {
            place = 0;
            ++round;
        }
        return round < arguments.repeat ? std::optional(strokes[place++].message()) : std::nullopt;
    });
    JsonOutput::printDone(arguments, code);
    return code;
}

ExitCode LocalCommands::move(LocalSession &session, const Arguments &arguments, double dx,
                             double dy)
{
    const ExitCode code = session.run(SessionMessage::move(dx, dy));
    JsonOutput::printDone(arguments, code);
    return code;
}

ExitCode LocalCommands::click(LocalSession &session, const Arguments &arguments,
                              const QString &button, const QString &action)
{
    int round = 0;
    const ExitCode code = session.runAll([&] {
        return round++ < arguments.repeat ? std::optional(SessionMessage::button(button, action))
                                          : std::nullopt;
    });
    JsonOutput::printDone(arguments, code);
    return code;
}

ExitCode Commands::scroll(const Arguments &arguments)
{
    const auto notches = notchesIn(arguments.values);
    if (!notches) {
        return Terminal::misused(
            u"scroll takes up, down, left or right and a number of notches, or two "
            "numbers, as in quillmote scroll down 3."_s);
    }
    const Target target = Target::findLocal(arguments);
    if (!target.isFound()) {
        return target.code;
    }
    const ExitCode code = target.local->runAll(scrolling(*notches));
    JsonOutput::printDone(arguments, code);
    return code;
}

ExitCode Commands::drag(const Arguments &arguments)
{
    const auto dx = numberIn(arguments.values[0], farthest);
    const auto dy = numberIn(arguments.values[1], farthest);
    const QString button = buttonNamed(arguments.button);
    if (!dx || !dy) {
        return Terminal::misused(
            u"drag takes two numbers of pixels, as in quillmote drag 100 -20."_s);
    }
    if (button.isEmpty()) {
        return Terminal::misused(
            u"There is no button \"%1\"; it is left, middle, right, back or forward."_s.arg(
                arguments.button));
    }
    const Target target = Target::findLocal(arguments);
    if (!target.isFound()) {
        return target.code;
    }
    const ExitCode code = dragBy(*target.local, button, *dx, *dy);
    JsonOutput::printDone(arguments, code);
    return code;
}

ExitCode Commands::hold(const Arguments &arguments)
{
    const auto presses = each(arguments.values, u"press"_s);
    if (!presses) {
        return ExitCode::Usage;
    }
    auto releases = *each(arguments.values, u"release"_s);
    std::reverse(releases.begin(), releases.end());
    const Target target = Target::findLocal(arguments);
    if (!target.isFound()) {
        return target.code;
    }
    const ExitCode code = holdDown(*target.local, arguments, *presses, releases);
    JsonOutput::printDone(arguments, code);
    return code;
}

} // namespace quillmote
