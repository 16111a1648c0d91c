// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <ApplicationServices/ApplicationServices.h>

namespace standin {

/// A reference to a new event, as AppKit gets one from the window server; null if that makes none.
CGEventRef makeEventOfAppKit(CGEventFlags flags, const QString &description);

} // namespace standin
