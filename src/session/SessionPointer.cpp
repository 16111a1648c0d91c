// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionPointer.h"

#include "session/SessionFields.h"
#include "session/SessionReadiness.h"
#include "session/SessionScreens.h"

#include <optional>

using namespace Qt::StringLiterals;

using platform::PointerButton;

namespace {

/// The furthest move in pixels, and the furthest scrolling: a hundred notches.
constexpr double furthestMove = 100'000;
constexpr qint64 furthestScroll = 12'000;
constexpr qint64 mostScreens = 1'000'000;

enum class ButtonAction { Click, Double, Press, Release };

} // namespace

SessionPointer::SessionPointer(platform::DesktopInput &desktopInput,
                               SharedHolds<PointerButton> &heldByAll,
                               const SessionScreens &sessionScreens)
    : input(desktopInput)
    , allHeld(heldByAll)
    , screens(sessionScreens)
{
}

SessionPointer::~SessionPointer()
{
    releaseHeld();
}

SessionReply SessionPointer::move(const SessionRequest &request)
{
    SessionFields fields(request.fields);
    const double dx = fields.number("dx"_L1, -furthestMove, furthestMove);
    const double dy = fields.number("dy"_L1, -furthestMove, furthestMove);
    if (!fields.isGood()) {
        return fields.reply();
    }
    if (!input.abilities().pointer) {
        return unsupportedByDesktop();
    }
    if (const auto refusal = refusalOf(input)) {
        return *refusal;
    }
    input.moveBy(dx, dy);
    return SessionReply::done();
}

SessionReply SessionPointer::moveTo(const SessionRequest &request)
{
    SessionFields fields(request.fields);
    const qint64 screen = fields.whole("screen"_L1, 0, mostScreens, 0);
    const double x = fields.number("x"_L1, 0, 1);
    const double y = fields.number("y"_L1, 0, 1);
    if (!fields.isGood()) {
        return fields.reply();
    }
    if (!input.abilities().pointer) {
        return unsupportedByDesktop();
    }
    const std::optional<platform::Location> place = screens.placeOn(screen, x, y);
    if (!place) {
        return SessionReply::refused(u"not-found"_s, u"There is no such screen."_s);
    }
    if (const auto refusal = refusalOf(input)) {
        return *refusal;
    }
    input.moveTo(*place);
    return SessionReply::done();
}

SessionReply SessionPointer::button(const SessionRequest &request)
{
    SessionFields fields(request.fields);
    const auto button = static_cast<PointerButton>(
        fields.choice("button"_L1, {"left"_L1, "middle"_L1, "right"_L1, "back"_L1, "forward"_L1}));
    const auto action = static_cast<ButtonAction>(
        fields.choice("action"_L1, {"click"_L1, "double"_L1, "press"_L1, "release"_L1}));
    if (!fields.isGood()) {
        return fields.reply();
    }
    const bool isHolding = action == ButtonAction::Press || action == ButtonAction::Release;
    if (isHolding ? !input.abilities().drag : !input.abilities().pointer) {
        return unsupportedByDesktop();
    }
    if (action == ButtonAction::Release) {
        release(button);
        return SessionReply::done();
    }
    if (const auto refusal = refusalOf(input)) {
        return *refusal;
    }
    switch (action) {
    case ButtonAction::Double:
        click(button);
        [[fallthrough]];
    case ButtonAction::Click:
        click(button);
        break;
    case ButtonAction::Press:
        press(button);
        break;
    case ButtonAction::Release:
        break;
    }
    return SessionReply::done();
}

SessionReply SessionPointer::scroll(const SessionRequest &request)
{
    SessionFields fields(request.fields);
    const qint64 dx = fields.whole("dx"_L1, -furthestScroll, furthestScroll);
    const qint64 dy = fields.whole("dy"_L1, -furthestScroll, furthestScroll);
    if (!fields.isGood()) {
        return fields.reply();
    }
    if (!input.abilities().scroll) {
        return unsupportedByDesktop();
    }
    if (const auto refusal = refusalOf(input)) {
        return *refusal;
    }
    input.scroll(static_cast<int>(dx), static_cast<int>(dy));
    return SessionReply::done();
}

void SessionPointer::click(PointerButton button)
{
    press(button);
    release(button);
}

void SessionPointer::press(PointerButton button)
{
    if (!held.contains(button)) {
        held.append(button);
        allHeld.add(button);
        input.press(button);
    }
}

void SessionPointer::release(PointerButton button)
{
    if (!held.removeOne(button)) {
        return;
    }
    allHeld.remove(button);
    if (!allHeld.contains(button)) {
        input.release(button);
    }
}

void SessionPointer::releaseHeld()
{
    while (!held.isEmpty()) {
        release(held.constLast());
    }
}
