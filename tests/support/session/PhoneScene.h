// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/session/NetworkNamespaces.h"
#include "support/session/PhoneBrowser.h"
#include "support/session/WebProcess.h"

#include <memory>

/// A desktop's host with quillmote-web, a phone's host, and the cable that stands for the air
/// between them. Each host has a browser of its own, started when it is first asked for. The server
/// is the session's.
class PhoneScene
{
public:
    static constexpr quint16 Port = 8642;

    explicit PhoneScene(const UserSession &session);

    /// Why the scene cannot be used; empty when it can.
    QByteArray problem() const;

    /// Starts quillmote-web, which opens no page; replaces one that has ended.
    void startWeb(const QStringList &furtherArguments = {});
    WebProcess &web() { return *process; }

    PhoneBrowser &phoneBrowser();
    /// The browser of the desktop itself.
    PhoneBrowser &deskBrowser();

    /// Where phones find the page.
    QString address() const;
    const NetworkHost &desk() const { return hosts.server(); }
    const NetworkHost &pocket() const { return hosts.handheld(); }
    /// Cuts the phone off from the desktop, or ends that.
    bool setCable(bool isPlugged) const;
    /// Limits both directions of the cable.
    bool shapeCable(int megabitsPerSecond) const;
    /// Drops all in both directions, which nobody is told; shapeCable() ends it.
    bool losePackets() const;

private:
    bool limitCable(const QStringList &rate) const;

    const UserSession &surroundings;
    NetworkNamespaces hosts;
    QByteArray failure;
    std::unique_ptr<WebProcess> process;
    std::unique_ptr<PhoneBrowser> ofPhone;
    std::unique_ptr<PhoneBrowser> ofDesk;
};
