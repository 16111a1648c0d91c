// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QColor>
#include <QImage>
#include <QList>
#include <QRect>

/// What a person recognizes in a picture of the screen.
namespace Pictures {

/// The middle heights of the lines of text in a picture of a menu, from the top; separators are
/// no lines of text.
QList<int> textLines(const QImage &menu);

/// The push buttons in the lowest row of a picture of a dialog, from the left.
QList<QRect> lowestButtons(const QImage &dialog);

/// The colour that stands out in the picture's middle: the mean of its opaque pixels there.
QColor middleColour(const QImage &picture);

/// How far two colours are apart: the largest difference of their red, green and blue, 0 to 255.
int distance(const QColor &one, const QColor &other);

} // namespace Pictures
