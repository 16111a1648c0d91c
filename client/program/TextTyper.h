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

/// Types texts and carries out other requests of input, one after the other in the given order.
///
/// The shortcut that pastes is confirmed when the server has pressed it. The program that has the
/// focus asks for the clipboard's text after that, and nothing on the wire tells when it has got
/// it. Were the clipboard replaced or the next key pressed before, the text would come out wrong.
/// So nothing follows a paste for a while, and for longer where the desktop is busy: how long the
/// server itself has taken is the only sign of that.
class TextTyper : public QObject
{
public:
    using Done = std::function<void(const Outcome &)>;

    TextTyper(Connection &connection, std::chrono::milliseconds pasteWait);

    /// Done when the server has confirmed all of the step, and for a paste also the wait is over.
    void add(const TypingStep &step, Done done);
    void add(const Request &request, Done done);

private:
    struct Item
    {
        std::vector<Request> requests; // all of them in turn
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
