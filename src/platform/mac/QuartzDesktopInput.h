// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>

#include <deque>
#include <map>
#include <optional>
#include <vector>

#include <ApplicationServices/ApplicationServices.h>

namespace platform {

/// Posts to the window server. Characters are posted as themselves, so the layout does not matter.
/// The flags of each key are set, so modifiers that the user holds are ignored, also in texts.
class QuartzDesktopInput final : public DesktopInput
{
public:
    /// \param beforePosting is called before anything is posted
    explicit QuartzDesktopInput(std::function<void()> beforePosting);
    /// Releases what is still down.
    ~QuartzDesktopInput() override;

    Abilities abilities() const override { return {true, true, true, true, true, true, true}; }

    void press(const Key &key, const KeyModifiers &modifiers, QObject *context, Done done) override;
    void release(const Key &key) override;
    void type(const QString &text, QObject *context, Done done) override;
    void moveBy(double dx, double dy) override;
    void moveTo(const Location &position) override;
    void press(PointerButton button) override;
    void release(PointerButton button) override;
    void scroll(int dx, int dy) override;

private:
    /// A key as it is posted.
    struct Stroke
    {
        CGKeyCode code = 0;
        EventFlags flags = 0;
        QString text; ///< Instead of what the layout gives; the layout's if empty.
        std::optional<int> mediaNumber; ///< Instead of the code.
    };
    struct HeldKey
    {
        Key key;
        Stroke stroke;
    };
    struct Typing
    {
        QString text;
        qsizetype typed = 0;
        QPointer<QObject> context;
        Done done;
    };

    static std::optional<Stroke> strokeOf(const Key &key, const KeyModifiers &modifiers);
    void postKey(const Stroke &stroke, bool isDown);
    void tap(const Stroke &stroke);
    void typeOn();
    void typeNextCharacter(Typing &typing);
    void postMove(const Location &position);
    void postButton(PointerButton button, bool isDown);
    void countClick(PointerButton button, const Location &position);

    std::function<void()> prepare;
    std::vector<HeldKey> heldKeys;
    std::deque<Typing> texts;
    QTimer nextStep;
    std::map<PointerButton, int> heldButtons; ///< With the number of their click.
    // The latest click: another one soon and nearby makes it a double one.
    QElapsedTimer sinceClick;
    PointerButton clicked = PointerButton::Left;
    Location clickPlace;
    int clicks = 0;
    // What is less than a point.
    double restX = 0;
    double restY = 0;
    int restOfWheelX = 0;
    int restOfWheelY = 0;
};

} // namespace platform
