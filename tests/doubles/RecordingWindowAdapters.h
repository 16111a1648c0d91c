// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "app/WindowAdapters.h"

struct RecordingHost;

/// What a window and its server need of that host, which must outlive them; the pairing question is
/// the real box.
WindowAdapters recordingWindowAdapters(RecordingHost &host);
