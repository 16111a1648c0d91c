// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/mac/QuartzEventServices.h"

#include "messages/Messages.h"
#include "platform/mac/Accessibility.h"
#include "platform/mac/CFOwner.h"

#include <QCoreApplication>

#include <ApplicationServices/ApplicationServices.h>

namespace platform {
namespace {

// The contract's numbers are the window server's own, so a cast translates them.
static_assert(Flag::Shift == kCGEventFlagMaskShift);
static_assert(Flag::Control == kCGEventFlagMaskControl);
static_assert(Flag::Alternate == kCGEventFlagMaskAlternate);
static_assert(Flag::Command == kCGEventFlagMaskCommand);
static_assert(static_cast<CGEventTapLocation>(EventTap::Hid) == kCGHIDEventTap);
static_assert(static_cast<CGEventTapLocation>(EventTap::Session) == kCGSessionEventTap);
static_assert(static_cast<CGEventSourceStateID>(SourceState::HidSystem) ==
              kCGEventSourceStateHIDSystemState);
static_assert(static_cast<CGEventType>(MouseEventType::LeftDown) == kCGEventLeftMouseDown);
static_assert(static_cast<CGEventType>(MouseEventType::LeftUp) == kCGEventLeftMouseUp);
static_assert(static_cast<CGEventType>(MouseEventType::RightDown) == kCGEventRightMouseDown);
static_assert(static_cast<CGEventType>(MouseEventType::RightUp) == kCGEventRightMouseUp);
static_assert(static_cast<CGEventType>(MouseEventType::Moved) == kCGEventMouseMoved);
static_assert(static_cast<CGEventType>(MouseEventType::OtherDown) == kCGEventOtherMouseDown);
static_assert(static_cast<CGEventType>(MouseEventType::OtherUp) == kCGEventOtherMouseUp);
static_assert(static_cast<CGMouseButton>(MouseButton::Left) == kCGMouseButtonLeft);
static_assert(static_cast<CGMouseButton>(MouseButton::Right) == kCGMouseButtonRight);
static_assert(static_cast<CGMouseButton>(MouseButton::Center) == kCGMouseButtonCenter);

void post(CGEventRef event, EventTap tap)
{
    if (event != nullptr) {
        CGEventPost(static_cast<CGEventTapLocation>(tap), event);
    }
}

CFOwner<CGEventSourceRef> sourceOf(std::optional<SourceState> state)
{
    return CFOwner<CGEventSourceRef>(
        state ? CGEventSourceCreate(static_cast<CGEventSourceStateID>(*state)) : nullptr);
}

void postOne(CGEventSourceRef source, const MouseEvent &event, EventTap tap)
{
    const CFOwner<CGEventRef> created(CGEventCreateMouseEvent(
        source, static_cast<CGEventType>(event.type), {event.position.x, event.position.y},
        static_cast<CGMouseButton>(event.button)));
    post(created.get(), tap);
}

} // namespace

QuartzEventServices::QuartzEventServices()
    : isSettled(Accessibility::request())
    , desktopInput([this] { warnOnceWithoutPermission(); })
{
}

Location QuartzEventServices::pointerLocation()
{
    const CFOwner<CGEventRef> event(CGEventCreate(nullptr));
    if (!event) {
        return {};
    }
    const CGPoint point = CGEventGetLocation(event.get());
    return {point.x, point.y};
}

void QuartzEventServices::postKeyboard(const KeyboardEvent &event)
{
    warnOnceWithoutPermission();
    const CFOwner<CGEventRef> created(
        CGEventCreateKeyboardEvent(nullptr, event.code, event.isDown));
    if (created) {
        CGEventSetFlags(created.get(), static_cast<CGEventFlags>(event.flags));
    }
    post(created.get(), event.tap);
}

void QuartzEventServices::postMouse(std::optional<SourceState> state,
                                    std::span<const MouseEvent> events, EventTap tap)
{
    if (events.empty()) {
        return;
    }
    warnOnceWithoutPermission();
    const CFOwner<CGEventSourceRef> source = sourceOf(state);
    for (const MouseEvent &event : events) {
        postOne(source.get(), event, tap);
    }
}

/// The user may have allowed it meanwhile; then there is nothing to report. At the start it could
/// not be reported, because there is no tray icon yet.
void QuartzEventServices::warnOnceWithoutPermission()
{
    if (isSettled) {
        return;
    }
    isSettled = true;
    if (!Accessibility::isAllowed()) {
        Messages::warning({QCoreApplication::translate(
            "EventServices",
            "The keyboard and the pointer cannot be controlled yet. Switch VornaServer on in the "
            "system's settings under Privacy & Security, Accessibility, then try again.")});
    }
}

std::unique_ptr<EventServices> makeEventServices()
{
    return std::make_unique<QuartzEventServices>();
}

} // namespace platform
