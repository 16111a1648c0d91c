// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Screens.h"
#include "platform/linux/x11/X11Connection.h"

#include <QTimer>

namespace platform {

/// The screens of an X11 session: one root window spans them, and the pointer moves by its pixels.
class X11Screens final : public Screens
{
public:
    explicit X11Screens(X11Connection openConnection);

    QSize desktopSize() override;
    QList<Screen> all() override;
    void watch(std::function<void()> changed) override;

private:
    QList<Screen> monitors() const;
    Screen wholeDesktop() const;
    QString nameOf(xcb_atom_t atom) const;
    void select() const;
    void readEvents();
    void compare();
    void readEventsLater();

    X11Connection connection;
    bool hasMonitors;
    bool isConnectionWatched = false;
    std::function<void()> report;
    QList<Screen> latest;
    QTimer unread; // Events that arrived together with a reply are not announced.
};

} // namespace platform
