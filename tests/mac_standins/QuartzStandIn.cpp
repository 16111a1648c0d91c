// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "QuartzStandIn.h"

#include "CoreFoundationStandIn.h"
#include "StandIn.h"

using namespace Qt::StringLiterals;

using namespace standin;

namespace {

class Source final : public Object
{
public:
    explicit Source(CGEventSourceStateID sourceState) : Object("source"), state(sourceState) {}
    const CGEventSourceStateID state;
};

/// Begins with flags that the user's keyboard would have left in it.
class Event final : public Object
{
public:
    explicit Event(const QString &eventDescription) : Object("event"), description(eventDescription)
    {
    }
    QString description;
    CGEventFlags flags = 0xdead;
};

QString nameOf(CGEventSourceRef source)
{
    return source == nullptr ? u"no source"_s : u"source %1"_s.arg(checked<Source>(source).state);
}

CGEventRef makeEvent(const char *call, CGEventSourceRef source, const QString &description)
{
    calls().append(QLatin1String(call) + u' ' + nameOf(source) + u' ' + description);
    return referenceTo<CGEventRef>(world().makesEvents ? new Event(description) : nullptr);
}

} // namespace

CGEventRef standin::makeEventOfAppKit(CGEventFlags flags, const QString &description)
{
    if (!world().makesEvents) {
        return nullptr;
    }
    auto *event = new Event(description);
    event->flags = flags;
    return referenceTo<CGEventRef>(event);
}

const CFStringRef kAXTrustedCheckOptionPrompt = constantString(u"AXTrustedCheckOptionPrompt"_s);

CGEventRef CGEventCreate(CGEventSourceRef source)
{
    return makeEvent("CGEventCreate", source, u"empty"_s);
}

CGPoint CGEventGetLocation(CGEventRef event)
{
    checked<Event>(event);
    calls().append(u"CGEventGetLocation"_s);
    return {world().pointerX, world().pointerY};
}

CGEventRef CGEventCreateKeyboardEvent(CGEventSourceRef source, CGKeyCode key, bool isDown)
{
    return makeEvent("CGEventCreateKeyboardEvent", source,
                     u"key %1 %2"_s.arg(key).arg(isDown ? "down"_L1 : "up"_L1));
}

CGEventRef CGEventCreateMouseEvent(CGEventSourceRef source, CGEventType type, CGPoint position,
                                   CGMouseButton button)
{
    return makeEvent(
        "CGEventCreateMouseEvent", source,
        u"type %1 at %2,%3 button %4"_s.arg(type).arg(position.x).arg(position.y).arg(button));
}

CGEventRef CGEventCreateScrollWheelEvent2(CGEventSourceRef source, CGScrollEventUnit units,
                                          uint32_t wheelCount, int32_t wheel1, int32_t wheel2,
                                          int32_t wheel3)
{
    return makeEvent("CGEventCreateScrollWheelEvent2", source,
                     u"unit %1 wheels %2 by %3,%4,%5"_s.arg(units)
                         .arg(wheelCount)
                         .arg(wheel1)
                         .arg(wheel2)
                         .arg(wheel3));
}

void CGEventKeyboardSetUnicodeString(CGEventRef event, unsigned long length, const UniChar *text)
{
    const QString given(reinterpret_cast<const QChar *>(text), static_cast<qsizetype>(length));
    checked<Event>(event).description += u" text "_s + given;
}

void CGEventSetIntegerValueField(CGEventRef event, CGEventField field, int64_t value)
{
    checked<Event>(event).description += u" field %1 = %2"_s.arg(field).arg(value);
}

void CGEventSetFlags(CGEventRef event, CGEventFlags flags)
{
    checked<Event>(event).flags = flags;
    calls().append(u"CGEventSetFlags 0x%1"_s.arg(flags, 0, 16));
}

void CGEventPost(CGEventTapLocation tap, CGEventRef event)
{
    const Event &posted = checked<Event>(event);
    calls().append(u"CGEventPost tap %1 flags 0x%2 %3"_s.arg(tap)
                       .arg(posted.flags, 0, 16)
                       .arg(posted.description));
}

CGEventSourceRef CGEventSourceCreate(CGEventSourceStateID state)
{
    calls().append(u"CGEventSourceCreate %1"_s.arg(state));
    return referenceTo<CGEventSourceRef>(new Source(state));
}

Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef options)
{
    const bool asks = CFDictionaryGetValue(options, kAXTrustedCheckOptionPrompt) == kCFBooleanTrue;
    calls().append(asks ? u"AXIsProcessTrustedWithOptions prompt"_s
                        : u"AXIsProcessTrustedWithOptions"_s);
    return world().isTrusted;
}

Boolean AXIsProcessTrusted()
{
    calls().append(u"AXIsProcessTrusted"_s);
    return world().isTrusted;
}
