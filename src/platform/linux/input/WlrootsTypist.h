// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "platform/linux/input/TypingBrake.h"
#include "platform/linux/input/TypingKeymap.h"
#include "platform/linux/input/TypingPace.h"
#include "platform/linux/input/WlrootsKeyboard.h"
#include "platform/linux/wayland/WaylandOutbox.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>

namespace platform {

/// Types texts on the virtual keyboard, one after the other, a few characters in each turn of the
/// event loop: no faster than the program with the focus is certain to take, and never more than
/// the compositor has read.
///
/// What the layout has is typed with the layout's keys. From the first character that it lacks on,
/// a key map is made of the next characters, as many as fit, and no other until they are typed.
class WlrootsTypist : public QObject
{
    Q_OBJECT

public:
    /// All must outlive the typist.
    WlrootsTypist(WaylandConnection &openConnection, WaylandOutbox &outboxOfConnection,
                  WlrootsKeyboard &keyboardOfSeat, TypingBrake::Look lookAtPrograms);

    /// See DesktopInput::type(). It is done once the compositor has passed everything on.
    void type(const QString &text, QObject *context, DesktopInput::Done done);
    /// Nothing can be typed any more: all texts have failed.
    void fail();

private:
    struct Text
    {
        std::u32string characters;
        std::size_t position = 0;
        std::uint64_t number = 0; ///< Later texts have higher ones.
        QPointer<QObject> context;
        bool hasContext = false;
        DesktopInput::Done done;

        bool isUnwanted() const { return hasContext && !context; }
        bool isTyped() const { return position == characters.size(); }
    };

    void takeTurn();
    void dropUnwanted();
    void typeSome();
    void typeNext(Text &text);
    bool isMoreMissing(const Text &text) const;
    void makeKeymap(const Text &text);
    void spend(int bytes);
    void finish();
    void confirm(std::uint64_t upTo);

    WaylandConnection &connection;
    WaylandOutbox &outbox;
    WlrootsKeyboard &keyboard;
    TypingPace pace;
    TypingBrake brake;
    std::deque<Text> texts;
    std::deque<Text> unconfirmed;       ///< Typed, but the compositor may not have read them.
    std::optional<TypingKeymap> keymap; ///< Made for the last character that the layout lacked.
    std::uint64_t lastNumber = 0;
    QTimer turn;
};

} // namespace platform
