// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/TypingDesk.h"

#include "platform/linux/portal/PortalLayout.h"
#include "platform/linux/x11/XcbXkb.h"
#include "support/Folders.h"
#include "support/Waiting.h"
#include "support/session/ServerScene.h"
#include "support/wayland/KwinWindows.h"
#include "support/wayland/ShellScene.h"
#include "support/wayland/SwayScene.h"
#include "support/wayland/UserKeyboard.h"
#include "support/x11/PhysicalKeyboard.h"
#include "support/x11/XcbClient.h"

#include <QDBusMessage>

#include <algorithm>

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
        // So that windows have their own size from the beginning.
        return scene.session().command(u"for_window [app_id=\".*\"] floating enable"_s) &&
               keyboard->isConnected() && scene.start();
    }

    QByteArray problemAtEnd() override { return scene.problemAtEnd(); }
    const UserSession &session() const override { return scene.session(); }

    std::unique_ptr<ControlsProgram> open(ControlsProgram::Kind kind) override
    {
        return std::make_unique<ControlsProgram>(
            kind, scene.session(), [this](qint64 process) { return paintedWindow(process); });
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
    /// sway tells of a window before the pointer finds it, which is when it has been painted.
    std::optional<QRect> paintedWindow(qint64 process) const
    {
        const auto place = scene.session().frontWindow(process);
        const QImage seen = place ? scene.session().picture() : QImage();
        return !seen.isNull() && seen.pixel(place->center()) != seen.pixel(0, 0) ? place
                                                                                 : std::nullopt;
    }

    SwayScene scene;
    std::unique_ptr<UserKeyboard> keyboard;
};

/// The user's keyboard is one that GNOME Shell itself makes.
class GnomeDesk : public TypingDesk
{
public:
    bool start() override
    {
        return scene.problem().isEmpty() && scene.start() && scene.allow() &&
               scene.session().evaluate(Keyboard) == "true";
    }

    QByteArray problemAtEnd() override { return scene.problemAtEnd(); }
    const UserSession &session() const override { return scene.session(); }

    std::unique_ptr<ControlsProgram> open(ControlsProgram::Kind kind) override
    {
        return std::make_unique<ControlsProgram>(kind, scene.session(), [this](qint64 process) {
            return scene.session().frontWindow(process);
        });
    }

    bool useLayout(const QString &layouts) override
    {
        const QString sources =
            u"['xkb','"_s + QString(layouts).replace(u',', u"'],['xkb','"_s) + u"']"_s;
        return scene.session().evaluate(
                   u"(s => s.set_value('sources', new imports.gi.GLib.Variant('a(ss)', [%1])))"
                   "(new Gio.Settings({schema_id: 'org.gnome.desktop.input-sources'}))"_s.arg(
                       sources)) == "true" &&
               isCurrent(layouts.section(u',', 0, 0));
    }

    void switchToLayout(int number) override
    {
        scene.session().evaluate(u"%1.inputSources[%2].activate(true)"_s.arg(Sources).arg(number));
    }

    void hinder(Hindrance hindrance, bool begins) override
    {
        // As the kernel numbers them (linux/input-event-codes.h).
        const int key = hindrance == Hindrance::CapsLock ? 58 : 42;
        if (hindrance == Hindrance::CapsLock || begins) {
            notify(key, true);
        }
        if (hindrance == Hindrance::CapsLock || !begins) {
            notify(key, false);
        }
    }

    bool isPointerAt(const QPoint &place) const override
    {
        return scene.session().evaluate(u"global.get_pointer().slice(0, 2)"_s) ==
               u"[%1,%2]"_s.arg(place.x()).arg(place.y()).toUtf8();
    }

private:
    static inline const QString Keyboard =
        u"(global.keyboardOfTest = imports.gi.Clutter.get_default_backend().get_default_seat()."
        "create_virtual_device(imports.gi.Clutter.InputDeviceType.KEYBOARD_DEVICE)) != null"_s;
    static inline const QString Sources = u"imports.ui.status.keyboard.getInputSourceManager()"_s;

    bool isCurrent(const QString &layout) const
    {
        return waitUntil([&] {
            return scene.session().evaluate(Sources + u".currentSource.id"_s) ==
                   u"\"%1\""_s.arg(layout).toUtf8();
        });
    }

    void notify(int key, bool isDown) const
    {
        scene.session().evaluate(
            u"global.keyboardOfTest.notify_key(global.get_current_time() * 1000, %1, %2)"_s.arg(key)
                .arg(isDown ? 1 : 0));
    }

    ShellScene scene{ShellScene::Shell::Gnome};
};

class PlasmaDesk : public TypingDesk
{
public:
    bool start() override
    {
        if (!scene.problem().isEmpty() || !scene.start() || !scene.allow()) {
            return false;
        }
        windows = std::make_unique<KwinWindows>(scene.session());
        return windows->isReady();
    }

    QByteArray problemAtEnd() override { return scene.problemAtEnd(); }
    const UserSession &session() const override { return scene.session(); }

    std::unique_ptr<ControlsProgram> open(ControlsProgram::Kind kind) override
    {
        return std::make_unique<ControlsProgram>(kind, scene.session(), [this](qint64 process) {
            return windows->frontWindow(process);
        });
    }

    bool useLayout(const QString &layouts) override
    {
        const QByteArray settings = "[Layout]\nUse=true\nLayoutList=" + layouts.toUtf8() + '\n';
        return Folders::write(scene.session().path(u"config/kxkbrc"_s), settings) &&
               tellKwin(QDBusMessage::createSignal(u"/Layouts"_s, u"org.kde.keyboard"_s,
                                                   u"reloadConfig"_s)) &&
               isCurrent(layouts.section(u',', 0, 0));
    }

    void switchToLayout(int number) override
    {
        auto call = QDBusMessage::createMethodCall(u"org.kde.keyboard"_s, u"/Layouts"_s,
                                                   u"org.kde.KeyboardLayouts"_s, u"setLayout"_s);
        call << static_cast<uint>(number);
        tellKwin(call);
    }

    void hinder(Hindrance /*hindrance*/, bool /*begins*/) override {}

    bool isPointerAt(const QPoint &place) const override { return windows->pointer() == place; }

private:
    bool tellKwin(const QDBusMessage &message) const
    {
        const QString name = u"plasma-desk"_s;
        const auto bus = QDBusConnection::connectToBus(scene.session().busAddress(), name);
        const bool isSent = message.type() == QDBusMessage::SignalMessage
                                ? bus.send(message)
                                : bus.call(message).type() == QDBusMessage::ReplyMessage;
        QDBusConnection::disconnectFromBus(name);
        return isSent;
    }

    /// As programs learn it from the compositor.
    bool isCurrent(const QString &layout) const
    {
        qputenv("WAYLAND_DISPLAY", scene.session().displayPath().toUtf8());
        platform::PortalLayout known;
        qunsetenv("WAYLAND_DISPLAY");
        const auto has = [&](char32_t mark) { return known.keysymOf(mark).has_value(); };
        return waitUntil([&] {
            return known.isKnown() && has(U'ù') == (layout == "fr"_L1) &&
                   has(U'ж') == (layout == "ru"_L1) &&
                   (has(U'ß') == (layout == "de"_L1) || layout == "fr"_L1);
        });
    }

    ShellScene scene{ShellScene::Shell::Plasma};
    std::unique_ptr<KwinWindows> windows;
};

} // namespace

std::unique_ptr<TypingDesk> TypingDesk::make()
{
    if (isPlasma()) {
        return std::make_unique<PlasmaDesk>();
    }
    if (isGnome()) {
        return std::make_unique<GnomeDesk>();
    }
    if (isWayland()) {
        return std::make_unique<SwayDesk>();
    }
    return std::make_unique<X11Desk>();
}
