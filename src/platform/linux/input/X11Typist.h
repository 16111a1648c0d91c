// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "platform/linux/input/FocusedProgram.h"
#include "platform/linux/input/InputLink.h"
#include "platform/linux/input/ServerGrab.h"
#include "platform/linux/input/SpareKeyRecord.h"
#include "platform/linux/input/SpareKeys.h"
#include "platform/linux/input/X11Keyboard.h"

#include <QPointer>
#include <QTimer>

#include <chrono>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// How long a typist waits. Tests wait for less.
struct TypingTimes
{
    /// A program that never has answered may be busy for so long before it is treated like others,
    /// and so may one that has lost the focus.
    std::chrono::milliseconds silence{5'000};
    /// Borrowed keys that have not been used for so long are given back.
    std::chrono::milliseconds idle{10'000};
};

/// Types texts of any characters, and presses keys that the layout does not have.
///
/// It works in turns. In each it has the X server for itself for some milliseconds: it learns the
/// state of the keyboard, posts some characters and waits until the server has taken them. So
/// layout, modifiers and key map are certain, and no more is on its way to the server than it takes
/// in. Between the turns the event loop runs, and keys of others are posted.
///
/// Characters of the layout are typed by their keys. For others it borrows spare keys of the key
/// map (SpareKeys) and gives them back when they have not been used for a while, and at the end.
///
/// A program that answers pings is never further behind than two turns. One that has answered is
/// awaited: a spare key is not bound anew before it has read the last character of that key, and
/// not typed before it has read the change. If it stays silent for long, the text has failed.
class X11Typist
{
public:
    /// Connection and keyboard must outlive the typist; nothing is called after its end.
    X11Typist(const X11Connection &openConnection, X11Keyboard &keyboardOfDisplay,
              InputLink linkToWhole, const TypingTimes &waitingTimes);
    ~X11Typist() = default;
    X11Typist(const X11Typist &) = delete;
    X11Typist &operator=(const X11Typist &) = delete;

    /// Takes in an event of the connection; false when it is not about typing.
    bool handleEvent(const xcb_generic_event_t *event);

    /// Presses a key that the layout does not have.
    void press(const Key &key, const KeyModifiers &modifiers, QObject *context,
               DesktopInput::Done done);
    /// Releases what press() pressed or will press.
    void release(const Key &key);
    void type(const QString &text, QObject *context, DesktopInput::Done done);

    /// The connection is broken: all that waits has failed.
    void fail();
    /// What waits has failed, too. Sends what gives the user's key map back, once the focused
    /// program has read what was typed, or after some seconds.
    void end();

private:
    using Clock = SpareKeys::Clock;

    /// Who waits for something.
    struct Waiter
    {
        QPointer<QObject> context;
        bool hasContext = false;
        DesktopInput::Done done;

        bool isGone() const { return hasContext && !context; }
    };

    struct WaitingKey
    {
        Key key;
        KeyModifiers modifiers;
        Waiter waiter;
        bool isReleased = false; ///< Already, before it could be pressed.
    };

    struct WaitingText
    {
        std::u32string characters;
        std::size_t position = 0;
        Waiter waiter;
        bool isComplete = true; ///< No character had to be left out.
    };

    struct BorrowedKey
    {
        Key key;
        std::uint8_t keycode = 0;
    };

    struct Question
    {
        FocusedProgram::Answer expected;
        Clock::time_point asked;
    };

    /// What a turn has come to.
    enum class Progress { None, NeedsKeys, NeedsSpareKey, Typed, Failed };

    struct Outcome
    {
        Waiter waiter;
        bool isDone = false;
    };

    void schedule();
    void look();
    void takeTurn();
    bool takeServer();
    bool hasWork() const { return !keys.empty() || !texts.empty(); }
    void dropUnwanted();
    void takeInAnswer(const FocusedProgram::Answer &answer);
    bool isProgramBehind() const;
    void restorePatience();

    // While the server belongs to this program.
    void work();
    bool synchronise();
    void followFocus(xcb_window_t focus);
    bool losePatience();
    void askAgain();
    void bindMissing();
    std::vector<std::uint32_t> missingKeysyms();
    void pressKeys();
    bool pressKey(const WaitingKey &waiting);
    void typeSome();
    std::optional<FoundKey> keyFor(char32_t character);
    void endTurn();

    // Between the turns.
    void learnKeys();
    void verifyBindings();
    void askProgram();
    void report(std::vector<Outcome> outcomes);
    void waitForSpareKey();
    void giveBack();
    void waitUntilRead();
    void noteUse(std::uint8_t keycode);
    void announce(std::uint8_t keycode);

    const X11Connection &connection;
    X11Keyboard &keyboard;
    InputLink link;
    TypingTimes times;
    ServerGrab grab;
    FocusedProgram program;
    SpareKeyRecord record;
    SpareKeys spareKeys;

    std::deque<WaitingKey> keys;
    std::deque<WaitingText> texts;
    std::vector<BorrowedKey> borrowed;  ///< Those that are down.
    std::vector<Question> questions;    ///< Without an answer so far.
    int unanswered = 0;                 ///< In a row, while the program has never answered.
    bool isProgramSlow = false;         ///< Its last answer was late.
    std::vector<Outcome> outcomes;      ///< Of this turn.
    Progress progress = Progress::None; ///< In this turn.
    bool isMapAnnounced = false;        ///< In this turn, so the program is to be asked.
    int knownEdition = 0;               ///< Of the key map, when the spare keys were found.
    bool isInTurn = false;
    QTimer wake;
    QTimer idle;
};

} // namespace platform
