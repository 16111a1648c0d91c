// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "interaction/InteractionManagerImp.h"
#include "platform/EventServices.h"

#include <memory>

/// Input in the Mac's model: virtual key codes, event flags, taps and source states. Portable; the
/// events go to the host through its event services.
class InteractionManagerMac : public InteractionManagerImp
{
public:
    explicit InteractionManagerMac(
        std::unique_ptr<platform::EventServices> services = platform::makeEventServices());
    ~InteractionManagerMac() override;

    /// Splits the shortcut at every "+". Names of modifiers add their flag; the last other name is
    /// the key. By design: the key is looked up by the upper-case form of its name only, so "a"
    /// types the key "A", and names with lower-case letters ("Tab") can never be typed.
    void extractKeyCodeAndModifiers(QString shortcut) override;
    /// If the last parse found no key, writes a warning and posts nothing.
    void generateKeyEvent(bool keyDown) override;
    void keyboardTapKeyEvent(QString shortcut) override;
    void moveMouseWithOffset(int dx, int dy) override;
    void leftMouseButtonTapped() override;
    void rightMouseButtonTapped() override;
    void centerMouseButtonTapped() override;
    quint64 getModifier(QString token) override;

private:
    struct ParseState;

    void resolveKey(const QString &keyToken);
    void click(platform::MouseEventType press, platform::MouseEventType release,
               platform::MouseButton button);

    std::unique_ptr<ParseState> parsed;
    std::unique_ptr<platform::EventServices> events;
};
