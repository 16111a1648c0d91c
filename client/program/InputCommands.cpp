// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The commands of input: key, move, click.

#include "program/Commands.h"
#include "program/KeyNames.h"
#include "program/Session.h"

#include <QEventLoop>

#include <vector>

using namespace Qt::StringLiterals;
using quillmote::Button;
using quillmote::Request;
using Terminal::ExitCode;

namespace {

/// Sends all of them and waits for the last.
ExitCode runAll(Session &session, const std::vector<Request> &requests)
{
    QEventLoop loop;
    size_t remaining = requests.size();
    quillmote::Outcome worst;
    for (const Request &request : requests) {
        session.connection().send(request, [&](const quillmote::Outcome &outcome) {
            if (worst.kind == quillmote::Outcome::Kind::Done) {
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

ExitCode connectAndRun(const Arguments &arguments, const std::vector<Request> &requests)
{
    Session session(arguments);
    return session.isOpen() ? runAll(session, requests) : session.exitCode();
}

ExitCode misused(const QString &sentence)
{
    Terminal::complain(sentence);
    return ExitCode::Usage;
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
    const QString button = arguments.values.value(0, u"left"_s);
    if (button == "left"_L1) {
        return connectAndRun(arguments, {Request::click(Button::Left)});
    }
    if (button == "right"_L1) {
        return connectAndRun(arguments, {Request::click(Button::Right)});
    }
    if (button == "center"_L1) {
        return connectAndRun(arguments, {Request::click(Button::Center)});
    }
    return misused(u"There is no button \"%1\"; it is left, right or center."_s.arg(button));
}
