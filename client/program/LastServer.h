// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The name of the server that was used last, kept from run to run.
///
/// Only the name: a server has another port at each start, and another computer may have its
/// address tomorrow. So the address and port are looked up on the network each time, and nothing is
/// sent to a server of another name.
namespace quillmote::LastServer {

/// Empty when there is none, or the file holds something else.
QString name();

/// Nobody is told when that fails: the next search only takes longer.
void remember(const QString &name);

} // namespace quillmote::LastServer
