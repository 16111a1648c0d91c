// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/InputObserver.h"

#include "support/Waiting.h"
#include "support/wayland/WaylandWindow.h"
#include "support/x11/InputWatcher.h"

#include <array>

#include <linux/input-event-codes.h>
#include <xkbcommon/xkbcommon.h>

namespace {

QByteArray keyName(quint32 keysym, quint32 modifiers)
{
    // By the number of their bits, which is the same on both kinds of desktops.
    constexpr std::array<std::pair<int, const char *>, 4> Names{
        {{0, "Shift+"}, {2, "Control+"}, {3, "Alt+"}, {6, "Super+"}}};
    QByteArray name;
    for (const auto &[bit, text] : Names) {
        name += ((modifiers >> bit) & 1) != 0 ? text : "";
    }
    std::array<char, 64> buffer{};
    xkb_keysym_get_name(keysym, buffer.data(), buffer.size());
    return name + buffer.data();
}

class X11Observer : public InputObserver
{
public:
    explicit X11Observer(const UserSession &session)
        : watcher(session.display(), QRect(QPoint(), QSize(4096, 4096)))
    {
    }

    bool isReady() const { return watcher.isConnected(); }
    void clear() override
    {
        watcher.takeFocus();
        watcher.clear();
    }
    QPointF pointer() override { return watcher.pointerPosition(); }
    bool isButtonDown() override
    {
        constexpr int AnyButton = 0x1f00;
        return (watcher.pointerMask() & AnyButton) != 0;
    }
    bool isNothingDown() override { return watcher.isNothingDown(); }

    QByteArrayList pressedButtons() override
    {
        static const QMap<int, QByteArray> names{{1, "left"}, {2, "middle"}, {3, "right"}};
        QByteArrayList pressed;
        for (const ButtonInput &input : watcher.buttons()) {
            if (input.isDown && names.contains(input.button)) {
                pressed.append(names.value(input.button));
            }
        }
        return pressed;
    }

    QPointF wheel() override
    {
        static const QMap<int, QPointF> notches{
            {4, {0, -1}}, {5, {0, 1}}, {6, {-1, 0}}, {7, {1, 0}}};
        QPointF sum;
        for (const ButtonInput &input : watcher.buttons()) {
            sum += input.isDown ? notches.value(input.button) : QPointF();
        }
        return sum;
    }

    QByteArrayList pressedKeys() override
    {
        QByteArrayList pressed;
        for (const KeyInput &key : watcher.keys()) {
            if (key.isDown) {
                pressed.append(keyName(key.keysym, static_cast<quint32>(key.modifiers)));
            }
        }
        return pressed;
    }

private:
    InputWatcher watcher;
};

class WaylandObserver : public InputObserver
{
public:
    explicit WaylandObserver(const UserSession &session)
        : window(session.runtimeDirectory() + u'/' + session.display(), true)
    {
    }

    bool isReady()
    {
        return waitUntil([this] { return window.isShown() && window.hasFocus(); });
    }

    void clear() override
    {
        window.catchUp();
        window.clear();
    }

    QPointF pointer() override { return window.pointer(); }
    bool isButtonDown() override { return !window.buttonsDown().isEmpty(); }
    bool isNothingDown() override
    {
        return window.buttonsDown().isEmpty() && window.keysDown().isEmpty();
    }

    QByteArrayList pressedButtons() override
    {
        static const QMap<std::uint32_t, QByteArray> names{
            {BTN_LEFT, "left"}, {BTN_MIDDLE, "middle"}, {BTN_RIGHT, "right"}};
        QByteArrayList pressed;
        for (const std::uint32_t button : window.buttons()) {
            pressed.append(names.value(button));
        }
        return pressed;
    }

    QPointF wheel() override
    {
        constexpr double Notch = 15;
        QPointF sum;
        for (const WaylandWindow::Turn &turn : window.turns()) {
            (turn.isVertical ? sum.ry() : sum.rx()) += turn.value / Notch;
        }
        return sum;
    }

    QByteArrayList pressedKeys() override
    {
        QByteArrayList pressed;
        for (const WaylandWindow::KeyEvent &key : window.keys()) {
            if (key.isDown) {
                pressed.append(keyName(key.keysym, key.modifiers));
            }
        }
        return pressed;
    }

private:
    WaylandWindow window;
};

template <typename Observer>
std::unique_ptr<InputObserver> readyObserver(const UserSession &session)
{
    auto observer = std::make_unique<Observer>(session);
    return observer->isReady() ? std::move(observer) : nullptr;
}

} // namespace

std::unique_ptr<InputObserver> InputObserver::of(const UserSession &session)
{
    return session.environment().contains(u"WAYLAND_DISPLAY"_s)
               ? readyObserver<WaylandObserver>(session)
               : readyObserver<X11Observer>(session);
}
