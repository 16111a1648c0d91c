// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/session/TouchGesture.h"

#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// As often as the screen of a phone asks its fingers.
constexpr auto BetweenMoves = 16ms;
constexpr auto TapDuration = 60ms;
constexpr int BetweenFingers = 60;

} // namespace

TouchGesture &TouchGesture::down(int finger, const QPointF &place)
{
    fingers.insert(finger, place);
    write("touchStart", fingers);
    return *this;
}

TouchGesture &TouchGesture::wait(std::chrono::milliseconds duration)
{
    time += duration;
    return *this;
}

TouchGesture &TouchGesture::moveAll(const QPointF &offset, std::chrono::milliseconds duration)
{
    QMap<int, QPointF> offsets;
    for (const int finger : fingers.keys()) {
        offsets.insert(finger, offset);
    }
    return moveEach(offsets, duration);
}

TouchGesture &TouchGesture::move(int finger, const QPointF &offset,
                                 std::chrono::milliseconds duration)
{
    return moveEach({{finger, offset}}, duration);
}

TouchGesture &TouchGesture::moveEach(const QMap<int, QPointF> &offsets,
                                     std::chrono::milliseconds duration)
{
    const QMap<int, QPointF> before = fingers;
    const auto count = std::max<qint64>(duration / BetweenMoves, 1);
    for (qint64 step = 1; step <= count; ++step) {
        time += BetweenMoves;
        for (const auto &[finger, offset] : offsets.asKeyValueRange()) {
            fingers[finger] =
                before[finger] + offset * static_cast<double>(step) / static_cast<double>(count);
        }
        write("touchMove", fingers);
    }
    return *this;
}

TouchGesture &TouchGesture::up(int finger)
{
    if (fingers.size() == 1) {
        return upAll();
    }
    write("touchEnd", {{finger, fingers.take(finger)}});
    return *this;
}

TouchGesture &TouchGesture::upAll()
{
    fingers.clear();
    write("touchEnd", {});
    return *this;
}

TouchGesture &TouchGesture::cancel()
{
    fingers.clear();
    write("touchCancel", {});
    return *this;
}

TouchGesture TouchGesture::tap(const QPointF &place, int fingers)
{
    TouchGesture gesture;
    for (int finger = 0; finger < fingers; ++finger) {
        gesture.down(finger, place + QPointF(BetweenFingers * finger, 0));
    }
    gesture.wait(TapDuration).upAll();
    return gesture;
}

void TouchGesture::write(const char *type, const QMap<int, QPointF> &points)
{
    QJsonArray list;
    for (const auto &[finger, place] : points.asKeyValueRange()) {
        list.append(QJsonObject{{u"id"_s, finger}, {u"x"_s, place.x()}, {u"y"_s, place.y()}});
    }
    written.append(QJsonObject{{u"at"_s, static_cast<qint64>(time.count())},
                               {u"type"_s, QLatin1StringView(type)},
                               {u"points"_s, list}});
}
