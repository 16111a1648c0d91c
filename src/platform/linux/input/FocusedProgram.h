// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/x11/X11Connection.h"

#include <cstdint>
#include <deque>
#include <optional>

namespace platform {

/// Asks the program that has the focus how far it has come, by the ping of the Extended Window
/// Manager Hints. A program reads its events in their order, so one that answers has read all that
/// came before. Window managers ignore answers to questions that they have not asked.
class FocusedProgram
{
public:
    /// Who has answered which question.
    struct Answer
    {
        xcb_window_t window = XCB_NONE;
        std::uint32_t question = 0;

        bool operator==(const Answer &) const = default;
    };

    /// A few round trips. The connection must outlive this.
    explicit FocusedProgram(const X11Connection &openConnection);

    /// From now on, or no longer, answers arrive as events of the connection.
    void listen(bool isWanted);

    /// Keys go to that window now. Finds out whether its program answers, with a few round
    /// trips.
    void setFocus(xcb_window_t focus);
    /// The window that answers; none if the focused program gives no answers.
    xcb_window_t window() const { return answering; }
    /// Whether its program has ever answered. Others say that they do, and do not.
    bool hasAnswered() const;
    /// The program has not answered in time, again and again: count on it only if it does.
    void giveUp();
    /// Whether the window still exists. One round trip.
    bool isThere(xcb_window_t window) const;

    /// The number that the next question will have. Numbers rise.
    std::uint32_t nextQuestion() const { return lastQuestion + 1; }
    /// Sends the question, without waiting.
    Answer ask();

    std::optional<Answer> answerIn(const xcb_generic_event_t *event) const;
    void noteAnswer(const Answer &answer);

private:
    xcb_window_t findAnswering(xcb_window_t window) const;
    bool isListed(xcb_window_t window) const;
    xcb_window_t parentOf(xcb_window_t window) const;

    const X11Connection &connection;
    xcb_atom_t protocols;
    xcb_atom_t ping;
    bool isListening = false;
    xcb_window_t focused = XCB_NONE;
    xcb_window_t answering = XCB_NONE;
    xcb_window_t givenUp = XCB_NONE;
    std::deque<xcb_window_t> answered; ///< The windows that have, the latest ones.
    std::uint32_t lastQuestion = 0;
};

} // namespace platform
