// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/TypingDesk.h"

#include "platform/linux/x11/XcbXkb.h"
#include "support/session/ServerScene.h"
#include "support/wayland/SwayScene.h"
#include "support/wayland/UserKeyboard.h"
#include "support/x11/PhysicalKeyboard.h"
#include "support/x11/XcbClient.h"

namespace {

class X11Desk : public TypingDesk
{
public:
    bool start() override { return scene.session().problem().isEmpty() && scene.start(); }
    QByteArray problemAtEnd() override { return scene.problemAtEnd(); }
    const UserSession &session() const override { return scene.session(); }

    std::unique_ptr<ControlsProgram> open(ControlsProgram::Kind kind) override
    {
        return std::make_unique<ControlsProgram>(kind, scene.session());
    }

    bool useLayout(const QString &layouts) override
    {
        return scene.session().xServer().run(u"setxkbmap"_s, {u"-layout"_s, layouts});
    }

    void switchToLayout(int number) override
    {
        const XcbConnection connection = XcbClient::connectTo(scene.session().display());
        xcb_connection_t *display = connection.get();
        xcbOwned(
            xcb_xkb_use_extension_reply(display, xcb_xkb_use_extension(display, 1, 0), nullptr));
        const auto cookie =
            xcb_xkb_latch_lock_state_checked(display, XCB_XKB_ID_USE_CORE_KBD, 0, 0, true,
                                             static_cast<std::uint8_t>(number), 0, false, 0);
        xcbOwned(xcb_request_check(display, cookie));
    }

    void hinder(Hindrance hindrance, bool begins) override
    {
        // Key codes that are the same on every PC keyboard.
        constexpr int shiftKey = 50;
        constexpr int capsLockKey = 66;
        if (!keyboard) {
            keyboard = std::make_unique<PhysicalKeyboard>(scene.session().display());
        }
        if (hindrance == Hindrance::CapsLock) {
            keyboard->tap(capsLockKey);
        } else if (begins) {
            keyboard->press(shiftKey);
        } else {
            keyboard->release(shiftKey);
        }
    }

    bool isPointerAt(const QPoint &place) const override { return scene.view().pointer() == place; }

private:
    ServerScene scene;
    std::unique_ptr<PhysicalKeyboard> keyboard;
};

class SwayDesk : public TypingDesk
{
public:
    bool start() override
    {
        if (!scene.problem().isEmpty()) {
            return false;
        }
        keyboard = std::make_unique<UserKeyboard>(scene.session());
        return keyboard->isConnected() && scene.start();
    }

    QByteArray problemAtEnd() override { return scene.problemAtEnd(); }
    const UserSession &session() const override { return scene.session(); }

    std::unique_ptr<ControlsProgram> open(ControlsProgram::Kind kind) override
    {
        return std::make_unique<ControlsProgram>(kind, scene.session(), [this](qint64 process) {
            return scene.session().frontWindow(process);
        });
    }

    bool useLayout(const QString &layouts) override { return keyboard->useLayout(layouts); }
    void switchToLayout(int number) override { keyboard->switchToLayout(number); }

    void hinder(Hindrance hindrance, bool begins) override
    {
        if (hindrance == Hindrance::CapsLock) {
            keyboard->tap(UserKeyboard::Key::CapsLock);
        } else if (begins) {
            keyboard->press(UserKeyboard::Key::LeftShift);
        } else {
            keyboard->release(UserKeyboard::Key::LeftShift);
        }
    }

    bool isPointerAt(const QPoint & /*place*/) const override { return true; }

private:
    SwayScene scene;
    std::unique_ptr<UserKeyboard> keyboard;
};

} // namespace

std::unique_ptr<TypingDesk> TypingDesk::make()
{
    if (isSway()) {
        return std::make_unique<SwayDesk>();
    }
    return std::make_unique<X11Desk>();
}
