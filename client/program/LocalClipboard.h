// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "program/Terminal.h"

#include <QByteArray>

/// The text on the clipboard of this desktop, as UTF-8. Failures are reported to the user.
namespace quillmote {

class LocalSession;

namespace LocalClipboard {

Terminal::ExitCode set(LocalSession &session, const QByteArray &text);

/// ServerError if there is no text.
Terminal::ExitCode get(LocalSession &session, QByteArray &text);

} // namespace LocalClipboard

} // namespace quillmote
