// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

namespace quillmote {

class WebDoor;

/// Gives the door all files of the pages. Those of the desktop's own page are for this computer
/// only.
void addPageFiles(WebDoor &door);

} // namespace quillmote
