// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The input commands: key, move, click.

#include "program/Commands.h"
#include "program/JsonOutput.h"
#include "program/KeyNames.h"
#include "program/KeyStroke.h"
#include "program/LocalCommands.h"
#include "program/Session.h"
#include "program/Target.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QHash>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
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

ExitCode connectAndRun(const Target &target, const Arguments &arguments,
                       const std::vector<Request> &requests, milliseconds *longestGap = nullptr)
{
    Session session(target, arguments);
    const ExitCode code =
        session.isOpen() ? runAll(session, requests, longestGap) : session.exitCode();
    JsonOutput::printDone(arguments, code);
    return code;
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

/// A click as the server of this desktop knows it.
struct LocalClick
{
    QString button;
    QString action;
};

std::optional<LocalClick> localClickNamed(const QString &name)
{
    static const QStringList buttons = {u"left"_s, u"middle"_s, u"right"_s, u"back"_s,
                                        u"forward"_s};
    if (name == "double"_L1) {
        return LocalClick{u"left"_s, u"double"_s};
    }
    const QString button = name == "center"_L1 ? u"middle"_s : name;
    return buttons.contains(button) ? std::optional(LocalClick{button, u"click"_s}) : std::nullopt;
}

ExitCode checkMove(double dx, double dy)
{
    const bool areWhole = dx == std::trunc(dx) && dy == std::trunc(dy);
    return areWhole
               ? ExitCode::Done
               : Terminal::misused(u"The network has no fractions of pixels; move takes two whole "
                                   "numbers, as in quillmote move 100 -20."_s);
}

ExitCode checkClick(const QString &name)
{
    return clickNamed(name)
               ? ExitCode::Done
               : Terminal::misused(
                     u"There is no click \"%1\"; it is left, right, center or double."_s.arg(name));
}

ExitCode clickOnNetwork(const Target &target, const Arguments &arguments, const Click &click)
{
    const auto count = static_cast<size_t>(click.count) * static_cast<size_t>(arguments.repeat);
    milliseconds longestGap{0};
    const ExitCode code = connectAndRun(
        target, arguments, std::vector(count, Request::click(click.button)), &longestGap);
    if (click.count > 1 && longestGap > doubleClickTime) {
        Terminal::note(
            u"The clicks came %1 ms apart; the desktop may take them for single ones."_s.arg(
                longestGap.count()));
    }
    return code;
}

/// The shortcut that a handheld on the network sends for that word; none if it has no word for it.
std::optional<QString> shortcutFor(const QString &word)
{
    const auto shortcut = KeyNames::forServer(word);
    const auto stroke = KeyStroke::of(word);
    return shortcut || !stroke ? shortcut : stroke->onNetwork();
}

ExitCode checkKeys(const QStringList &words)
{
    for (const QString &word : words) {
        if (!shortcutFor(word)) {
            return Terminal::misused(
                u"The network has no word for the key \"%1\"; only the server of this "
                "desktop can press it (--local)."_s.arg(word));
        }
    }
    return ExitCode::Done;
}

ExitCode typeOnNetwork(const Target &target, const Arguments &arguments)
{
    std::vector<Request> requests;
    for (const QString &word : arguments.values) {
        requests.push_back(Request::key(shortcutFor(word).value_or(QString())));
    }
    const std::vector<Request> once = requests;
    for (int count = 1; count < arguments.repeat; ++count) {
        requests.insert(requests.end(), once.begin(), once.end());
    }
    return connectAndRun(target, arguments, requests);
}

} // namespace

ExitCode Commands::key(const Arguments &arguments)
{
    std::vector<KeyStroke> strokes;
    for (const QString &value : arguments.values) {
        const auto stroke = KeyStroke::of(value);
        if (!stroke) {
            return Terminal::misused(
                u"There is no key \"%1\".%2 quillmote key --help lists the keys."_s.arg(
                    value, KeyStroke::suggestionFor(value)));
        }
        strokes.push_back(*stroke);
    }
    const Target target = Target::find(arguments, [&] { return checkKeys(arguments.values); });
    if (!target.isFound()) {
        return target.code;
    }
    return target.local ? LocalCommands::key(*target.local, arguments, strokes)
                        : typeOnNetwork(target, arguments);
}

ExitCode Commands::move(const Arguments &arguments)
{
    bool isX = false;
    bool isY = false;
    const double dx = arguments.values[0].toDouble(&isX);
    const double dy = arguments.values[1].toDouble(&isY);
    const auto isFar = [](double pixels) {
        return !(std::abs(pixels) <= std::numeric_limits<int>::max());
    };
    if (!isX || !isY || isFar(dx) || isFar(dy)) {
        return Terminal::misused(
            u"move takes two numbers of pixels, as in quillmote move 100 -20."_s);
    }
    const Target target = Target::find(arguments, [&] { return checkMove(dx, dy); });
    if (!target.isFound()) {
        return target.code;
    }
    if (target.local) {
        return LocalCommands::move(*target.local, arguments, dx, dy);
    }
    return connectAndRun(target, arguments,
                         {Request::move(static_cast<int>(dx), static_cast<int>(dy))});
}

ExitCode Commands::click(const Arguments &arguments)
{
    const QString name = arguments.values.value(0, u"left"_s);
    const auto click = localClickNamed(name);
    if (!click) {
        return Terminal::misused(
            u"There is no click \"%1\"; it is left, right, middle, center, back, "
            "forward or double."_s.arg(name));
    }
    const Target target = Target::find(arguments, [&] { return checkClick(name); });
    if (!target.isFound()) {
        return target.code;
    }
    return target.local
               ? LocalCommands::click(*target.local, arguments, click->button, click->action)
               : clickOnNetwork(target, arguments, clickNamed(name).value_or(Click()));
}

} // namespace quillmote
