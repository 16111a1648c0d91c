// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The name of the server that was used last, kept from run to run.
///
/// Only the name is kept: a server has another port after each start, and another computer may get
/// its address. So address and port are looked up on the network each time, and nothing is sent to
/// a server with another name.
namespace quillmote::LastServer {

/// Empty if there is none, or if the file holds something else.
QString name();

/// A failure is not reported: the next search only takes longer.
void remember(const QString &name);

} // namespace quillmote::LastServer
