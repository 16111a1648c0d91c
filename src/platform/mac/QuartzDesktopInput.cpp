// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/mac/QuartzDesktopInput.h"

#include "platform/mac/CFOwner.h"
#include "platform/mac/MediaKeyEvent.h"
#include "platform/mac/VirtualKeys.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

using namespace std::chrono_literals;

namespace platform {
namespace {

/// How many characters are typed at once, and the time until the next: a program that gets more
/// than it handles loses some.
constexpr int charactersInStep = 16;
constexpr auto stepTime = 2ms;

/// As the system has them by default.
constexpr auto doubleClickTime = 500ms;
constexpr double doubleClickDistance = 4;

/// How far a notch of the wheel scrolls, in points, and its size in the contract.
constexpr int pointsOfNotch = 40;
constexpr int notch = 120;

/// The events of a button, and its number.
struct ButtonEvents
{
    CGEventType down;
    CGEventType up;
    CGEventType dragged;
    CGMouseButton number;
};

ButtonEvents eventsOf(PointerButton button)
{
    switch (button) {
    case PointerButton::Left:
        return {kCGEventLeftMouseDown, kCGEventLeftMouseUp, kCGEventLeftMouseDragged,
                kCGMouseButtonLeft};
    case PointerButton::Right:
        return {kCGEventRightMouseDown, kCGEventRightMouseUp, kCGEventRightMouseDragged,
                kCGMouseButtonRight};
    default:
        break;
    }
    // The numbers after that of the middle one have no names.
    const int more = static_cast<int>(button) - static_cast<int>(PointerButton::Right);
    const int number = button == PointerButton::Middle ? int{kCGMouseButtonCenter}
                                                       : int{kCGMouseButtonCenter} + more;
    return {kCGEventOtherMouseDown, kCGEventOtherMouseUp, kCGEventOtherMouseDragged,
            static_cast<CGMouseButton>(number)};
}

Location pointerLocation()
{
    const CFOwner<CGEventRef> event(CGEventCreate(nullptr));
    const CGPoint point = event ? CGEventGetLocation(event.get()) : CGPoint{0, 0};
    return {point.x, point.y};
}

void post(const CFOwner<CGEventRef> &event, CGEventTapLocation tap)
{
    if (event) {
        CGEventPost(tap, event.get());
    }
}

void setText(const CFOwner<CGEventRef> &event, const QString &text)
{
    if (event && !text.isEmpty()) {
        CGEventKeyboardSetUnicodeString(event.get(), static_cast<unsigned long>(text.size()),
                                        reinterpret_cast<const UniChar *>(text.utf16()));
    }
}

bool areNear(const Location &one, const Location &other)
{
    return std::abs(one.x - other.x) <= doubleClickDistance &&
           std::abs(one.y - other.y) <= doubleClickDistance;
}

/// Adds to the rest and returns the whole points of it.
double wholeOf(double &rest, double added)
{
    double whole = 0;
    rest = std::modf(rest + added, &whole);
    return whole;
}

int pointsOf(int &rest, int added)
{
    const int sum = rest + added * pointsOfNotch;
    rest = sum % notch;
    return sum / notch;
}

} // namespace

QuartzDesktopInput::QuartzDesktopInput(std::function<void()> beforePosting)
    : prepare(std::move(beforePosting))
{
    nextStep.setSingleShot(true);
    nextStep.setInterval(stepTime);
    QObject::connect(&nextStep, &QTimer::timeout, &nextStep, [this] { typeOn(); });
}

QuartzDesktopInput::~QuartzDesktopInput()
{
    while (!heldKeys.empty()) {
        release(Key(heldKeys.back().key));
    }
    while (!heldButtons.empty()) {
        release(heldButtons.begin()->first);
    }
}

std::optional<QuartzDesktopInput::Stroke>
QuartzDesktopInput::strokeOf(const Key &key, const KeyModifiers &modifiers)
{
    const EventFlags flags = flagsOf(modifiers);
    if (key.name == NamedKey::None) {
        return Stroke{
            virtualKeyCode(key.character), flags, QString::fromUcs4(&key.character, 1), {}};
    }
    if (const auto number = mediaKeyNumber(key.name)) {
        return Stroke{0, flags, {}, number};
    }
    const auto code = virtualKeyCode(key.name);
    return code ? std::optional(Stroke{*code, flags | flagOf(key.name), {}, {}}) : std::nullopt;
}

void QuartzDesktopInput::press(const Key &key, const KeyModifiers &modifiers, QObject * /*context*/,
                               Done done)
{
    const auto stroke = strokeOf(key, modifiers);
    if (stroke) {
        prepare();
        postKey(*stroke, true);
        std::erase_if(heldKeys, [&](const HeldKey &held) { return held.key == key; });
        heldKeys.push_back({key, *stroke});
    }
    done(stroke.has_value());
}

/// The modifier that goes up is not in effect any more.
void QuartzDesktopInput::release(const Key &key)
{
    const auto found = std::ranges::find(heldKeys, key, &HeldKey::key);
    if (found == heldKeys.end()) {
        return;
    }
    Stroke stroke = found->stroke;
    stroke.flags &= ~flagOf(key.name);
    heldKeys.erase(found);
    postKey(stroke, false);
}

void QuartzDesktopInput::postKey(const Stroke &stroke, bool isDown)
{
    if (stroke.mediaNumber) {
        post(makeMediaKeyEvent(*stroke.mediaNumber, stroke.flags, isDown), kCGHIDEventTap);
        return;
    }
    const CFOwner<CGEventRef> event(CGEventCreateKeyboardEvent(nullptr, stroke.code, isDown));
    setText(event, stroke.text);
    if (event) {
        CGEventSetFlags(event.get(), stroke.flags);
    }
    post(event, kCGSessionEventTap);
}

void QuartzDesktopInput::tap(const Stroke &stroke)
{
    postKey(stroke, true);
    postKey(stroke, false);
}

void QuartzDesktopInput::type(const QString &text, QObject *context, Done done)
{
    prepare();
    texts.push_back({text, 0, context, std::move(done)});
    if (texts.size() == 1) {
        typeOn();
    }
}

void QuartzDesktopInput::typeOn()
{
    Typing &typing = texts.front();
    for (int count = 0; count < charactersInStep && typing.typed < typing.text.size(); ++count) {
        if (typing.context.isNull()) {
            break;
        }
        typeNextCharacter(typing);
    }
    if (!typing.context.isNull() && typing.typed < typing.text.size()) {
        nextStep.start();
        return;
    }
    const Done done = typing.context.isNull() ? Done() : std::move(typing.done);
    texts.pop_front();
    if (!texts.empty()) {
        nextStep.start();
    }
    if (done) {
        done(true);
    }
}

void QuartzDesktopInput::typeNextCharacter(Typing &typing)
{
    const QChar first = typing.text.at(typing.typed);
    const bool isPair = first.isHighSurrogate() && typing.typed + 1 < typing.text.size();
    const QString character = typing.text.sliced(typing.typed, isPair ? 2 : 1);
    typing.typed += character.size();
    if (first == u'\n') {
        tap(*strokeOf({NamedKey::Enter, 0}, {}));
    } else if (first == u'\t') {
        tap(*strokeOf({NamedKey::Tab, 0}, {}));
    } else {
        tap({0, 0, character, {}});
    }
}

void QuartzDesktopInput::moveBy(double dx, double dy)
{
    const double wholeX = wholeOf(restX, dx);
    const double wholeY = wholeOf(restY, dy);
    const Location from = pointerLocation();
    postMove({from.x + wholeX, from.y + wholeY});
}

void QuartzDesktopInput::moveTo(const Location &position)
{
    postMove(position);
}

/// While a button is down, every move drags by it.
void QuartzDesktopInput::postMove(const Location &position)
{
    prepare();
    CGEventType type = kCGEventMouseMoved;
    CGMouseButton number = kCGMouseButtonLeft;
    if (!heldButtons.empty()) {
        const ButtonEvents events = eventsOf(heldButtons.begin()->first);
        type = events.dragged;
        number = events.number;
    }
    post(CFOwner<CGEventRef>(
             CGEventCreateMouseEvent(nullptr, type, {position.x, position.y}, number)),
         kCGHIDEventTap);
}

void QuartzDesktopInput::press(PointerButton button)
{
    prepare();
    countClick(button, pointerLocation());
    heldButtons[button] = clicks;
    postButton(button, true);
}

void QuartzDesktopInput::release(PointerButton button)
{
    if (heldButtons.contains(button)) {
        postButton(button, false);
        heldButtons.erase(button);
    }
}

/// Programs do not count clicks themselves.
void QuartzDesktopInput::countClick(PointerButton button, const Location &position)
{
    const bool isSoon = sinceClick.isValid() && sinceClick.elapsed() < doubleClickTime.count() &&
                        button == clicked && areNear(position, clickPlace);
    clicks = isSoon ? clicks + 1 : 1;
    sinceClick.start();
    clicked = button;
    clickPlace = position;
}

void QuartzDesktopInput::postButton(PointerButton button, bool isDown)
{
    const ButtonEvents events = eventsOf(button);
    const Location place = pointerLocation();
    const CFOwner<CGEventSourceRef> source(CGEventSourceCreate(kCGEventSourceStateHIDSystemState));
    const CFOwner<CGEventRef> event(CGEventCreateMouseEvent(
        source.get(), isDown ? events.down : events.up, {place.x, place.y}, events.number));
    if (event) {
        CGEventSetIntegerValueField(event.get(), kCGMouseEventClickState, heldButtons.at(button));
    }
    post(event, kCGHIDEventTap);
}

/// The window server counts up and left.
void QuartzDesktopInput::scroll(int dx, int dy)
{
    const int right = pointsOf(restOfWheelX, dx);
    const int down = pointsOf(restOfWheelY, dy);
    if (right != 0 || down != 0) {
        prepare();
        post(CFOwner<CGEventRef>(CGEventCreateScrollWheelEvent2(nullptr, kCGScrollEventUnitPixel, 2,
                                                                -down, -right, 0)),
             kCGHIDEventTap);
    }
}

} // namespace platform
