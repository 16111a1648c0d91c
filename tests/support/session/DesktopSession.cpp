// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/DesktopSession.h"

#include "support/Waiting.h"

DesktopSession::DesktopSession(Parts parts)
{
    require(displayServer.isRunning(), "Xvfb");
    if (!problem().isEmpty()) {
        return;
    }
    screenView = std::make_unique<DesktopView>(display());
    person = std::make_unique<DesktopUser>(display());
    if (parts.testFlag(SessionBus)) {
        startBus();
    }
    startWindowManager();
    if (parts.testFlag(Tray)) {
        require(startTray(), "trayer");
    }
}

void DesktopSession::startWindowManager()
{
    windowManager.setProcessEnvironment(environment());
    windowManager.setStandardErrorFile(path(u"openbox.log"_s));
    windowManager.start(u"openbox"_s, {u"--sm-disable"_s});
    require(waitUntil([this] { return screenView->hasWindowManager(); }), "openbox");
    // It announces itself before it listens, and overlooks what happens in between.
    require(waitUntil([this] { return windowManagerAnswers(); }), "answers of openbox");
}

bool DesktopSession::windowManagerAnswers() const
{
    ChildProcess request;
    request.setProcessEnvironment(environment());
    request.start(u"xdotool"_s, {u"set_num_desktops"_s, u"1"_s, u"get_num_desktops"_s});
    return request.waitForFinished() && request.readAllStandardOutput().trimmed() == "1";
}

bool DesktopSession::startTray()
{
    tray.setProcessEnvironment(environment());
    tray.setStandardErrorFile(path(u"trayer.log"_s));
    tray.start(u"trayer"_s, {u"--edge"_s, u"bottom"_s, u"--align"_s, u"right"_s, u"--widthtype"_s,
                             u"request"_s, u"--height"_s, u"24"_s});
    return waitUntil([this] { return screenView->hasTray(); });
}

void DesktopSession::endTray()
{
    tray.kill();
    tray.waitForFinished();
}

void DesktopSession::endDisplay()
{
    displayServer.end();
}

void DesktopSession::describeDisplay(QProcessEnvironment &environment) const
{
    environment.insert(u"DISPLAY"_s, display());
    environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    environment.insert(u"GDK_BACKEND"_s, u"x11"_s);
}
