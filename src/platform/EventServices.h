// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <memory>
#include <optional>
#include <span>

namespace platform {

class DesktopInput;

/// A virtual key code of the Mac keyboard (0 is the key A, 12 the key Q, ...).
using KeyCode = quint16;

/// Modifier bits of an event; several may be set at once.
using EventFlags = quint64;

namespace Flag {
inline constexpr EventFlags Shift = 0x20000;
inline constexpr EventFlags Control = 0x40000;
inline constexpr EventFlags Alternate = 0x80000;
inline constexpr EventFlags Command = 0x100000;
} // namespace Flag

/// Where in the host's event stream an event is inserted.
enum class EventTap : quint32 { Hid = 0, Session = 1 };

/// The input state that an event claims to come from.
enum class SourceState : qint32 { HidSystem = 1 };

enum class MouseEventType : quint32 {
    LeftDown = 1,
    LeftUp = 2,
    RightDown = 3,
    RightUp = 4,
    Moved = 5,
    OtherDown = 25,
    OtherUp = 26,
};

enum class MouseButton : quint32 { Left = 0, Right = 1, Center = 2 };

/// A point of the desktop in pixels; the origin is its top left corner, y grows downwards.
struct Location
{
    double x = 0;
    double y = 0;

    bool operator==(const Location &) const = default;
};

struct KeyboardEvent
{
    KeyCode code = 0;
    bool isDown = false;
    EventFlags flags = 0;
    EventTap tap = EventTap::Session;

    bool operator==(const KeyboardEvent &) const = default;
};

struct MouseEvent
{
    MouseEventType type = MouseEventType::Moved;
    Location position;
    MouseButton button = MouseButton::Left;

    bool operator==(const MouseEvent &) const = default;
};

/// The desktop's input: reads the pointer, posts keyboard and mouse events.
///
/// Used on the thread of the event loop only. No operation reports failure: a host that cannot do
/// what is asked warns the user once, by a message, and then does nothing.
class EventServices
{
public:
    virtual ~EventServices() = default;

    /// Where the pointer is now; (0, 0) if the host does not report it.
    virtual Location pointerLocation() = 0;

    /// Posts one press or release. During the key exactly those modifiers are in effect that the
    /// flags name, and those that the host's layout needs for the key's character. A release undoes
    /// whatever its press did for that; a key that is still down at the end of the services is
    /// released. A code without a meaning on the host posts nothing.
    virtual void postKeyboard(const KeyboardEvent &event) = 0;

    /// Posts the events in their order, all from one source (none: no source). Positions outside
    /// the desktop are allowed; the host's display server clamps them.
    virtual void postMouse(std::optional<SourceState> source, std::span<const MouseEvent> events,
                           EventTap tap) = 0;

    /// The same keyboard and pointer, with all that they can do.
    virtual DesktopInput &input() = 0;
};

/// The adapter for the running session. It has no clipboard from which it could paste what no key
/// has; see makeDesktopAdapters().
std::unique_ptr<EventServices> makeEventServices();

} // namespace platform
