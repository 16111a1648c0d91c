// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QPoint>

#include <optional>

namespace quillmote {

/// How far a person in a terminal wants the pointer to move. Moves that come faster than they can
/// be sent are added up.
class TerminalPointer
{
public:
    /// An arrow key in that direction, -1, 0 or 1 for each axis: 10 pixels, or 50 where it is fast.
    void step(int dx, int dy, bool isFast);
    /// The mouse is over that cell of the terminal. The first report only says where it begins.
    void mouseAt(int column, int row);

    /// The pixels to the right and down that have not been taken yet; nothing if there are none.
    std::optional<QPoint> take();

private:
    std::optional<QPoint> cell;
    QPoint pending;
};

} // namespace quillmote
