// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/EventServices.h"
#include "platform/mac/CFOwner.h"

#include <ApplicationServices/ApplicationServices.h>

namespace platform {

/// A press or release of a key for media, which macOS reports apart from the other keys. Null if
/// the system makes none.
/// \param number the key's, see mediaKeyNumber()
CFOwner<CGEventRef> makeMediaKeyEvent(int number, EventFlags flags, bool isDown);

} // namespace platform
