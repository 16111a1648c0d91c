// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/FocusedProgram.h"

#include <algorithm>
#include <utility>

namespace platform {

FocusedProgram::FocusedProgram(const X11Connection &openConnection)
    : connection(openConnection)
    , protocols(openConnection.atom("WM_PROTOCOLS"))
    , ping(openConnection.atom("_NET_WM_PING"))
{
}

void FocusedProgram::listen(bool isWanted)
{
    if (isListening == isWanted) {
        return;
    }
    isListening = isWanted;
    // By the standard programs send the answer to those who watch the root window's children. Those
    // of Qt send it to those who watch the root window itself.
    const std::uint32_t mask =
        isWanted ? XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY : 0;
    xcb_change_window_attributes(connection.get(), connection.root(), XCB_CW_EVENT_MASK, &mask);
    focused = XCB_NONE; // Its number may be another window's by now.
    answering = XCB_NONE;
    givenUp = XCB_NONE;
}

void FocusedProgram::setFocus(xcb_window_t focus)
{
    // The number of the same focus may be that of another program's window by now.
    const xcb_window_t found = findAnswering(focus);
    if (focus != focused || found != givenUp) {
        focused = focus;
        answering = found;
        givenUp = XCB_NONE;
    }
}

bool FocusedProgram::hasAnswered() const
{
    return std::ranges::find(answered, answering) != answered.end();
}

void FocusedProgram::giveUp()
{
    givenUp = std::exchange(answering, XCB_NONE);
}

bool FocusedProgram::isThere(xcb_window_t window) const
{
    const auto cookie = xcb_get_window_attributes(connection.get(), window);
    return xcbOwned(xcb_get_window_attributes_reply(connection.get(), cookie, nullptr)) != nullptr;
}

FocusedProgram::Answer FocusedProgram::ask()
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = answering;
    message.type = protocols;
    message.data.data32[0] = ping;
    message.data.data32[1] = ++lastQuestion;
    message.data.data32[2] = answering;
    xcb_send_event(connection.get(), 0, answering, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char *>(&message));
    return {answering, lastQuestion};
}

std::optional<FocusedProgram::Answer>
FocusedProgram::answerIn(const xcb_generic_event_t *event) const
{
    const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
    const bool isAnswer = (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE &&
                          message->type == protocols && message->data.data32[0] == ping;
    return isAnswer ? std::optional(Answer{message->data.data32[2], message->data.data32[1]})
                    : std::nullopt;
}

void FocusedProgram::noteAnswer(const Answer &answer)
{
    constexpr std::size_t mostWindows = 64;
    if (givenUp && answer.window == givenUp) {
        answering = std::exchange(givenUp, XCB_NONE);
    }
    if (std::ranges::find(answered, answer.window) == answered.end()) {
        answered.push_back(answer.window);
    }
    if (answered.size() > mostWindows) {
        answered.pop_front();
    }
}

/// The window that has the focus is a part of the program's, or the whole.
xcb_window_t FocusedProgram::findAnswering(xcb_window_t window) const
{
    constexpr int mostLevels = 16;
    for (int level = 0; level < mostLevels && window > XCB_INPUT_FOCUS_PARENT; ++level) {
        if (isListed(window)) {
            return window;
        }
        window = parentOf(window);
    }
    return XCB_NONE;
}

bool FocusedProgram::isListed(xcb_window_t window) const
{
    constexpr std::uint32_t mostProtocols = 64;
    const auto cookie =
        xcb_get_property(connection.get(), 0, window, protocols, XCB_ATOM_ATOM, 0, mostProtocols);
    const auto reply = xcbOwned(xcb_get_property_reply(connection.get(), cookie, nullptr));
    if (!reply || reply->format != 32) {
        return false;
    }
    const auto *first = static_cast<const xcb_atom_t *>(xcb_get_property_value(reply.get()));
    return std::find(first, first + reply->value_len, ping) != first + reply->value_len;
}

xcb_window_t FocusedProgram::parentOf(xcb_window_t window) const
{
    const auto cookie = xcb_query_tree(connection.get(), window);
    const auto reply = xcbOwned(xcb_query_tree_reply(connection.get(), cookie, nullptr));
    return reply ? reply->parent : xcb_window_t{XCB_NONE};
}

} // namespace platform
