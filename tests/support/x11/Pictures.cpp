// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/x11/Pictures.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace Pictures {

namespace {

constexpr int ShortestTextLine = 5; ///< A separator is a line or two of pixels.
constexpr int NarrowestButton = 40;
constexpr int Frame = 3; ///< Menus and dialogs have a border of at most so many pixels.

bool isDark(QRgb pixel)
{
    return qGray(pixel) < 128;
}

bool hasTextAt(const QImage &menu, int y)
{
    for (int x = Frame; x < menu.width() - Frame; ++x) {
        if (isDark(menu.pixel(x, y))) {
            return true;
        }
    }
    return false;
}

/// The stretches of row `y` that differ from the dialog's ground, each at least a button wide.
QList<QRect> stretches(const QImage &dialog, int y)
{
    const QRgb ground = dialog.pixel(Frame, dialog.height() - 1 - Frame);
    QList<QRect> found;
    int start = -1;
    for (int x = Frame; x <= dialog.width() - Frame; ++x) {
        const bool isGround = x == dialog.width() - Frame || dialog.pixel(x, y) == ground;
        if (!isGround && start < 0) {
            start = x;
        }
        if (isGround && start >= 0 && x - start >= NarrowestButton) {
            found.append(QRect(start, y, x - start, 1));
        }
        if (isGround) {
            start = -1;
        }
    }
    return found;
}

/// The row on which the stretch `bottom`, a button's lower edge, ends above.
int topOf(const QImage &dialog, const QRect &bottom)
{
    const QRgb ground = dialog.pixel(Frame, dialog.height() - 1 - Frame);
    int y = bottom.y();
    while (y > 0 && dialog.pixel(bottom.center().x(), y - 1) != ground) {
        --y;
    }
    return y;
}

} // namespace

QList<int> textLines(const QImage &menu)
{
    QList<int> middles;
    int start = -1;
    for (int y = Frame; y <= menu.height() - Frame; ++y) {
        const bool isText = y < menu.height() - Frame && hasTextAt(menu, y);
        if (isText && start < 0) {
            start = y;
        }
        if (!isText && start >= 0 && y - start >= ShortestTextLine) {
            middles.append((start + y) / 2);
        }
        if (!isText) {
            start = -1;
        }
    }
    return middles;
}

QList<QRect> lowestButtons(const QImage &dialog)
{
    for (int y = dialog.height() - 1 - Frame; y > 0; --y) {
        QList<QRect> buttons = stretches(dialog, y);
        if (buttons.isEmpty()) {
            continue;
        }
        for (QRect &button : buttons) {
            button.setTop(topOf(dialog, button));
        }
        return buttons;
    }
    return {};
}

QColor middleColour(const QImage &picture)
{
    std::array<qint64, 3> sums{};
    qint64 count = 0;
    for (int y = picture.height() / 3; y < picture.height() * 2 / 3; ++y) {
        for (int x = picture.width() / 3; x < picture.width() * 2 / 3; ++x) {
            const QColor colour = picture.pixelColor(x, y);
            if (colour.alpha() < 250) {
                continue;
            }
            sums[0] += colour.red();
            sums[1] += colour.green();
            sums[2] += colour.blue();
            ++count;
        }
    }
    if (count == 0) {
        return {};
    }
    return QColor(int(sums[0] / count), int(sums[1] / count), int(sums[2] / count));
}

int distance(const QColor &one, const QColor &other)
{
    return std::max({std::abs(one.red() - other.red()), std::abs(one.green() - other.green()),
                     std::abs(one.blue() - other.blue())});
}

} // namespace Pictures
