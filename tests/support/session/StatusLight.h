// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QColor>
#include <QImage>

#include <optional>

/// The lights that the tray icon shows.
enum class StatusLight { Black, Orange, Green, Red };

/// The colour that the light's image, read from the program's resources, has in its middle.
QColor colourOf(StatusLight light);

/// The light whose colour the middle of the picture has; nothing when it has none of theirs.
std::optional<StatusLight> lightIn(const QImage &picture);
