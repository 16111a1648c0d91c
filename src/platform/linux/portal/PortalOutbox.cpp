// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/portal/PortalOutbox.h"

#include <algorithm>

namespace platform {

namespace {

bool isRelease(const PortalEvent &event)
{
    return (event.kind == PortalEvent::Kind::Button || event.isOfKeyboard()) && !event.isDown;
}

bool isPress(const PortalEvent &event)
{
    return (event.kind == PortalEvent::Kind::Button || event.isOfKeyboard()) && event.isDown;
}

} // namespace

bool PortalOutbox::add(const PortalEvent &event)
{
    if (!waiting.empty() && waiting.back().takesIn(event)) {
        return true;
    }
    if (waiting.size() >= mostWaiting && !isRelease(event)) {
        return false;
    }
    waiting.push_back(event);
    sendNext();
    return true;
}

void PortalOutbox::sendNext()
{
    if (isUnderway || waiting.empty() || portal.state() != RemoteDesktopPortal::State::Open) {
        return;
    }
    const PortalEvent next = waiting.front();
    waiting.pop_front();
    isUnderway = true;
    noteDown(next);
    portal.post(next, &life, [this] {
        isUnderway = false;
        sendNext();
        onProgress();
    });
}

void PortalOutbox::noteDown(const PortalEvent &event)
{
    if (isPress(event)) {
        down.push_back(event);
    } else if (isRelease(event)) {
        PortalEvent press = event;
        press.isDown = true;
        std::erase(down, press);
    }
}

void PortalOutbox::forget()
{
    waiting.clear();
    isUnderway = false;
    down.clear();
}

void PortalOutbox::end()
{
    waiting.clear();
    if (portal.state() == RemoteDesktopPortal::State::Open) {
        portal.waitUntilHandled();
        std::ranges::reverse(down);
        for (PortalEvent event : down) {
            event.isDown = false;
            // The end of the session releases what a silent portal does not.
            if (!portal.postAndWait(event)) {
                break;
            }
        }
    }
    down.clear();
}

} // namespace platform
