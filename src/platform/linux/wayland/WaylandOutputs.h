// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/Screens.h"
#include "platform/linux/wayland/WaylandConnection.h"
#include "platform/linux/wayland/WaylandHandles.h"

#include <QList>
#include <QObject>
#include <QRect>

#include <memory>
#include <vector>

#include <wayland-client.h>
#include <xdg-output-unstable-v1-client.h>

namespace platform {

/// The outputs of a Wayland compositor, learned from its events. The places are in the compositor's
/// logical unit, and a screen's scale is the number of its pixels for one of that unit.
class WaylandOutputs : public QObject
{
    Q_OBJECT

public:
    /// The outputs that the connection knows are described once it answers() again. It must outlive
    /// this object.
    explicit WaylandOutputs(WaylandConnection &connection, QObject *parent = nullptr);
    ~WaylandOutputs() override;

    /// The main one first: the one at the origin, or else the one that was announced first. Empty
    /// while the compositor is away.
    const QList<Screen> &all() const { return described; }
    /// The smallest rectangle around all of them; empty without any.
    QRect bounds() const;

signals:
    /// all() is another list than before.
    void changed();

private:
    struct Output;
    struct Listeners;

    void add(const WaylandConnection::Global &global);
    void remove(std::uint32_t name);
    void forgetAll();
    void ask(Output &output);
    void describe();

    WaylandConnection &connection;
    WaylandMember<zxdg_output_manager_v1> manager;
    std::vector<std::unique_ptr<Output>> outputs; // As they were announced.
    QList<Screen> described;
};

} // namespace platform
