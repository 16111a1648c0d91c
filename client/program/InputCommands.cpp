// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The input commands: key, move, click.

#include "program/Commands.h"
#include "program/JsonOutput.h"
#include "program/KeyNames.h"
#include "program/Session.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QHash>

#include <algorithm>
#include <chrono>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;

namespace quillmote {

using std::chrono::milliseconds;
using Terminal::ExitCode;

namespace {

/// The default of desktops for the time between the clicks of a double click.
constexpr milliseconds doubleClickTime{400};

/// Sends the requests and waits for the last one. `longestGap` is set to the longest time between
/// two of them.
ExitCode runAll(Session &session, const std::vector<Request> &requests,
                milliseconds *longestGap = nullptr)
{
    QEventLoop loop;
    QElapsedTimer sinceLast;
    size_t remaining = requests.size();
    Outcome worst;
    for (const Request &request : requests) {
        session.connection().send(request, [&](const Outcome &outcome) {
            if (longestGap != nullptr && sinceLast.isValid()) {
                *longestGap = std::max(*longestGap, milliseconds(sinceLast.elapsed()));
            }
            sinceLast.start();
            if (worst.kind == Outcome::Kind::Done) {
                worst = outcome;
            }
            if (--remaining == 0) {
                loop.quit();
            }
        });
    }
    loop.exec();
    return Session::report(worst);
}

ExitCode connectAndRun(const Arguments &arguments, const std::vector<Request> &requests,
                       milliseconds *longestGap = nullptr)
{
    Session session(arguments);
    const ExitCode code =
        session.isOpen() ? runAll(session, requests, longestGap) : session.exitCode();
    JsonOutput::printDone(arguments, code);
    return code;
}

ExitCode misused(const QString &sentence)
{
    Terminal::complain(sentence);
    return ExitCode::Usage;
}

struct Click
{
    Button button = Button::Left;
    int count = 1;
};

std::optional<Click> clickNamed(const QString &name)
{
    static const QHash<QString, Click> clicks = {{u"left"_s, {Button::Left, 1}},
                                                 {u"right"_s, {Button::Right, 1}},
                                                 {u"center"_s, {Button::Center, 1}},
                                                 {u"double"_s, {Button::Left, 2}}};
    const auto found = clicks.find(name);
    return found == clicks.end() ? std::nullopt : std::optional(*found);
}

} // namespace

ExitCode Commands::key(const Arguments &arguments)
{
    std::vector<Request> requests;
    for (const QString &value : arguments.values) {
        const auto shortcut = KeyNames::forServer(value);
        if (!shortcut) {
            return misused(
                u"The server cannot type \"%1\"; quillmote key --help lists the keys."_s.arg(
                    value));
        }
        requests.push_back(Request::key(*shortcut));
    }
    const std::vector<Request> once = requests;
    for (int count = 1; count < arguments.repeat; ++count) {
        requests.insert(requests.end(), once.begin(), once.end());
    }
    return connectAndRun(arguments, requests);
}

ExitCode Commands::move(const Arguments &arguments)
{
    bool isX = false;
    bool isY = false;
    const int dx = arguments.values[0].toInt(&isX);
    const int dy = arguments.values[1].toInt(&isY);
    if (!isX || !isY) {
        return misused(u"move takes two whole numbers of pixels, as in quillmote move 100 -20."_s);
    }
    return connectAndRun(arguments, {Request::move(dx, dy)});
}

ExitCode Commands::click(const Arguments &arguments)
{
    const QString name = arguments.values.value(0, u"left"_s);
    const std::optional<Click> click = clickNamed(name);
    if (!click) {
        return misused(
            u"There is no click \"%1\"; it is left, right, center or double."_s.arg(name));
    }
    const auto count = static_cast<size_t>(click->count) * static_cast<size_t>(arguments.repeat);
    milliseconds longestGap{0};
    const ExitCode code =
        connectAndRun(arguments, std::vector(count, Request::click(click->button)), &longestGap);
    if (click->count > 1 && longestGap > doubleClickTime) {
        Terminal::note(
            u"The clicks came %1 ms apart; the desktop may take them for single ones."_s.arg(
                longestGap.count()));
    }
    return code;
}

} // namespace quillmote
