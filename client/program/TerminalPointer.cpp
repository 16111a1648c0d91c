// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/TerminalPointer.h"

#include <utility>

namespace quillmote {

namespace {

constexpr int normalStep = 10;
constexpr int fastStep = 50;
/// The pixels that stand for one column and one row of the mouse's way.
constexpr int cellWidth = 8;
constexpr int cellHeight = 16;

} // namespace

void TerminalPointer::step(int dx, int dy, bool isFast)
{
    pending += QPoint(dx, dy) * (isFast ? fastStep : normalStep);
}

void TerminalPointer::mouseAt(int column, int row)
{
    const QPoint place(column, row);
    if (cell) {
        const QPoint cells = place - *cell;
        pending += QPoint(cells.x() * cellWidth, cells.y() * cellHeight);
    }
    cell = place;
}

std::optional<QPoint> TerminalPointer::take()
{
    const QPoint taken = std::exchange(pending, QPoint());
    return taken.isNull() ? std::nullopt : std::optional(taken);
}

} // namespace quillmote
