// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>

class QWebSocket;

namespace quillmote {

/// Lets a socket go that has been closed. It may be emitting a signal. A peer that does not answer
/// the farewell is waited for a second.
void farewell(std::unique_ptr<QWebSocket> socket);

} // namespace quillmote
