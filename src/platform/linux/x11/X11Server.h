// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace platform {

class X11Connection;

/// Whether this X server shows its windows in a Wayland session; input faked there reaches only the
/// X11 programs of the session. Asks the server.
bool isXwayland(const X11Connection &connection);

/// Whether input can be faked on this X server: it has XTEST and XKEYBOARD. Asks the server.
bool canFakeInput(const X11Connection &connection);

/// Lets requests on this connection be answered even while another program grabs the server. Does
/// nothing on a server without XTEST.
void ignoreServerGrabs(const X11Connection &connection);

} // namespace platform
