// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/Connection.h"
#include "program/TypingPlan.h"

#include <QElapsedTimer>
#include <QTimer>

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <vector>

namespace quillmote {

/// Types texts and sends other input requests, one after the other in the given order.
///
/// The shortcut that pastes is confirmed when the server has pressed it. After that the focused
/// program asks for the clipboard's text, and nothing on the wire shows when it has received it. If
/// the clipboard were replaced or the next key pressed too early, the text would come out wrong. So
/// nothing follows a paste for a while, and for longer if the desktop is busy. The only sign of a
/// busy desktop is the time that the server itself has taken.
class TextTyper : public QObject
{
public:
    using Done = std::function<void(const Outcome &)>;

    TextTyper(Connection &connection, std::chrono::milliseconds pasteWait);

    /// Done when the server has confirmed the whole step; after a paste, when the wait is over too.
    void add(const TypingStep &step, Done done);
    void add(const Request &request, Done done);

private:
    struct Item
    {
        std::vector<Request> requests; // sent one after the other
        bool isPaste = false;
        Done done;
    };

    void add(Item item);
    void startNext();
    void sendNext();
    void finish(const Outcome &outcome);

    Connection &link;
    std::chrono::milliseconds wait;
    QTimer pause;
    QElapsedTimer sinceStart; // of the current item
    std::deque<Item> waiting;
    std::optional<Item> current;
    size_t sent = 0; // requests of the current item
    Outcome last;
};

} // namespace quillmote
