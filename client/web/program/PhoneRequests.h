// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "lib/SessionMessage.h"
#include "web/wire/WireText.h"

#include <QString>

#include <optional>

namespace quillmote {

/// What a phone may ask of the server, as opposed to what programs of the same user may.
namespace PhoneRequests {

/// Whether phones may ask for that.
bool isAllowed(const QString &request);

/// The request as the server gets it. The body and the fields are the phone's; the number is not.
SessionMessage forServer(const WireText &asked);

} // namespace PhoneRequests
} // namespace quillmote
