// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QJsonArray>
#include <QMap>
#include <QPointF>

#include <chrono>

/// What fingers do on a screen, one thing after another. Fingers have numbers; places are in pixels
/// of the page, from its upper left corner.
class TouchGesture
{
public:
    TouchGesture &down(int finger, const QPointF &place);
    /// Lets time pass.
    TouchGesture &wait(std::chrono::milliseconds duration);
    /// Moves all fingers that are down by so much, with an event every 16 ms.
    TouchGesture &moveAll(const QPointF &offset, std::chrono::milliseconds duration);
    TouchGesture &move(int finger, const QPointF &offset, std::chrono::milliseconds duration);
    /// Moves each finger by its own offset at the same time.
    TouchGesture &moveEach(const QMap<int, QPointF> &offsets, std::chrono::milliseconds duration);
    TouchGesture &up(int finger);
    TouchGesture &upAll();
    /// The system takes all touches from the page.
    TouchGesture &cancel();

    /// Puts so many fingers side by side there and lifts them shortly afterwards.
    static TouchGesture tap(const QPointF &place, int fingers = 1);

    /// As the browser's driver reads it.
    QJsonArray steps() const { return written; }

private:
    void write(const char *type, const QMap<int, QPointF> &points);

    QJsonArray written;
    QMap<int, QPointF> fingers; ///< Those that are down.
    std::chrono::milliseconds time{0};
};
