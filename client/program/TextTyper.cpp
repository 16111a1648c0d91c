// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/TextTyper.h"

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// The focused program may have to wait several times as long as the server.
constexpr int busyFactor = 5;

} // namespace

TextTyper::TextTyper(Connection &connection, std::chrono::milliseconds pasteWait)
    : link(connection)
    , wait(pasteWait)
{
    pause.setSingleShot(true);
    pause.setTimerType(Qt::PreciseTimer);
    connect(&pause, &QTimer::timeout, this, [this] { finish(last); });
}

void TextTyper::add(const TypingStep &step, Done done)
{
    if (step.kind == TypingStep::Kind::Key) {
        add({{Request::key(step.text)}, false, std::move(done)});
    } else {
        add({{Request::copy(step.text), Request::key(u"Cmd+V"_s)}, true, std::move(done)});
    }
}

void TextTyper::add(const Request &request, Done done)
{
    add({{request}, false, std::move(done)});
}

void TextTyper::add(Item item)
{
    waiting.push_back(std::move(item));
    startNext();
}

void TextTyper::startNext()
{
    if (!current && !waiting.empty()) {
        current = std::move(waiting.front());
        waiting.pop_front();
        sent = 0;
        sinceStart.start();
        sendNext();
    }
}

void TextTyper::sendNext()
{
    link.send(current->requests[sent], [this](const Outcome &outcome) {
        last = outcome;
        ++sent;
        const bool isDone = outcome.kind == Outcome::Kind::Done;
        if (isDone && sent < current->requests.size()) {
            sendNext();
        } else if (isDone && current->isPaste) {
            pause.start(wait + busyFactor * std::chrono::milliseconds(sinceStart.elapsed()));
        } else {
            finish(outcome);
        }
    });
}

void TextTyper::finish(const Outcome &outcome)
{
    const Item ended = std::move(*current);
    current.reset();
    ended.done(outcome);
    startNext();
}

} // namespace quillmote
