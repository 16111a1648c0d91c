// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"
#include "platform/Key.h"

#include <QString>

#include <functional>

class QObject;

namespace platform {

enum class PointerButton { Left, Middle, Right, Back, Forward };

/// The whole keyboard and pointer of the desktop: any key, any text, the wheel and five buttons. It
/// is the same keyboard and pointer that EventServices posts to, which owns it.
///
/// Used on the thread of the event loop only, and never waits long for the desktop. Whoever presses
/// a key or a button must release it; what is still down at the end of the services is released.
class DesktopInput
{
public:
    /// What this desktop can do. The rest does nothing. What it allows may turn out only when the
    /// first input is posted.
    struct Abilities
    {
        bool keys = false;
        bool text = false;    ///< Of the user's layouts at least.
        bool anyText = false; ///< Beyond them, too.
        bool pointer = false;
        bool scroll = false;
        bool fineScroll = false; ///< Steps of less than one notch.
        bool drag = false;

        bool operator==(const Abilities &) const = default;
    };

    /// Whether the desktop lets this program use the keyboard and the pointer.
    enum class Readiness {
        Ready,
        ConsentPending, ///< It asks the user, or is about to.
        Refused,        ///< By the user; this run asks no more.
        Unavailable,    ///< At the moment; asking again later may help.
    };

    /// Called once, perhaps before the call returns, with whether it was done; never after the
    /// context has been destroyed.
    using Done = std::function<void(bool)>;

    virtual ~DesktopInput() = default;

    virtual Abilities abilities() const = 0;

    /// Whether input is posted now. Begins to ask the desktop for it if that is needed; until then
    /// input is dropped, and never made up for.
    virtual Readiness makeReady() { return Readiness::Ready; }

    /// Presses a key. While it is down exactly these modifiers are in effect, and those that the
    /// layout needs for the character. False if this desktop has no such key. Nothing is pressed if
    /// `context` has been destroyed by the time at which the key is ready.
    virtual void press(const Key &key, const KeyModifiers &modifiers, QObject *context,
                       Done done) = 0;
    /// Releases the key that press() pressed, with what was pressed for it. Does nothing if it is
    /// not down. It never fails and is never late.
    virtual void release(const Key &key) = 0;

    /// Types the text: any Unicode characters but controls; a line feed is Enter, a tab is Tab.
    /// Modifiers that are held and would change the text are released. False if the desktop has
    /// ended meanwhile, or lacks some of the characters, which are skipped. Stops between two
    /// characters if `context` is destroyed, and is not done then. Several texts are typed one
    /// after the other; keys and the pointer are not held up.
    virtual void type(const QString &text, QObject *context, Done done) = 0;

    /// Moves the pointer by pixels of the desktop, right and down. Fractions are carried over to
    /// the next move.
    virtual void moveBy(double dx, double dy) = 0;
    /// Moves the pointer to a place in pixels of the desktop, as Screens counts them.
    virtual void moveTo(const Location &position) = 0;
    /// A button by its meaning, also on a left-handed mouse.
    virtual void press(PointerButton button) = 0;
    virtual void release(PointerButton button) = 0;
    /// Turns the wheel, right and down; 120 is one notch. What is less than a step of this desktop
    /// is carried over.
    virtual void scroll(int dx, int dy) = 0;
};

} // namespace platform
