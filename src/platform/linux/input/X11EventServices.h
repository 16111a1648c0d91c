// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"
#include "platform/linux/input/InputGuard.h"
#include "platform/linux/input/ReleaseLedger.h"
#include "platform/linux/input/SharedHeldInput.h"
#include "platform/linux/input/X11DesktopInput.h"
#include "platform/linux/input/X11Keyboard.h"
#include "platform/linux/input/X11Pointer.h"
#include "platform/linux/input/X11Typist.h"
#include "platform/linux/x11/X11Connection.h"

#include <QObject>

#include <memory>
#include <optional>

namespace platform {

/// The input of an X11 session, posted through the server's XTEST extension.
///
/// A key or a click does not wait for the server: it costs one write, which contains press and
/// release, so a process that is killed in between leaves nothing down. When many keys are posted
/// that is not enough, see startGuard(). Only pointerLocation(), and the first press after a change
/// of the key map or the button mapping, wait for an answer. When the connection breaks, nothing
/// more is posted.
///
/// Needs a running event loop on its thread. Taps and source states have no counterpart here.
class X11EventServices final : public EventServices
{
public:
    /// The X server must be one that canFakeInput().
    explicit X11EventServices(X11Connection openConnection, const TypingTimes &typingTimes = {});
    /// Releases the keys and buttons that are still down, and waits until the server has done so.
    ~X11EventServices() override;

    /// From now on a separate process releases what a killed server has left down. The display must
    /// be the one that DISPLAY names. One round trip.
    void startGuard();

    Location pointerLocation() override;
    void postKeyboard(const KeyboardEvent &event) override;
    /// A click happens where the pointer is; the positions of presses and releases are ignored.
    void postMouse(std::optional<SourceState> source, std::span<const MouseEvent> events,
                   EventTap tap) override;
    DesktopInput &input() override { return desktopInput; }

private:
    void postMouse(const MouseEvent &event);
    InputLink link();
    void actBeforeSleep();
    void takeInAll();
    bool takeInEvents();
    bool hasRoom() const;
    void askForProgress();
    void takeInProgress();
    void flush();
    void flushLater();

    X11Connection connection;
    SharedHeldInput held;
    ReleaseLedger ledger;
    X11Keyboard keyboard;
    X11Pointer pointer;
    QObject context;         ///< Of what the event loop calls; that ends with it.
    bool isFlushDue = false; ///< At the end of this turn of the event loop.
    /// The request whose answer will show how far the server has come; one at a time.
    std::optional<std::uint32_t> question;
    int unansweredFlushes = 0; ///< Since the last question.
    std::unique_ptr<InputGuard> guard;
    X11Typist typist;
    X11DesktopInput desktopInput;
};

} // namespace platform
