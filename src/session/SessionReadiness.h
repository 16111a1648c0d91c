// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/DesktopInput.h"
#include "session/SessionRequest.h"

#include <optional>

/// The answer to a request for which the desktop has no means.
SessionReply unsupportedByDesktop();

/// Why a request for the keyboard or the pointer cannot be carried out now; none if it can. Begins
/// to ask the desktop for its consent if that is needed.
std::optional<SessionReply> refusalOf(platform::DesktopInput &input);
