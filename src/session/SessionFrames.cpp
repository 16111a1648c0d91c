// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionFrames.h"

#include <algorithm>
#include <utility>

namespace {

/// As much as a socket's buffer has on most systems.
constexpr qint64 longestPart = 256 * 1024;

} // namespace

void SessionFrames::add(std::span<const char> bytes)
{
    if (begin == waiting.size()) {
        waiting.resize(0); // keeps its memory
        begin = 0;
    } else if (begin > waiting.size() / 2) {
        waiting.remove(0, std::exchange(begin, 0));
    }
    waiting.append(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

std::span<char> SessionFrames::place()
{
    if (!bodyLeft || isBodyTooLong || begin < waiting.size()) {
        return {};
    }
    placeSize = isInParts ? std::min(*bodyLeft, longestPart) : *bodyLeft;
    part.resize(part.size() + placeSize); // nothing is written there
    return std::span(part.data(), static_cast<size_t>(part.size()))
        .last(static_cast<size_t>(placeSize));
}

void SessionFrames::placed(qsizetype size)
{
    if (placeSize > 0) {
        part.chop(std::exchange(placeSize, 0) - size);
        *bodyLeft -= size;
    }
}

std::optional<SessionFrames::Frame> SessionFrames::next()
{
    return bodyLeft ? nextBody() : nextLine();
}

void SessionFrames::expectBody(qint64 size, Delivery delivery)
{
    bodyLeft = size;
    isBodyTooLong = size > longest;
    isInParts = delivery == Delivery::InParts;
    if (!isBodyTooLong && !isInParts) {
        part.reserve(size);
    }
}

bool SessionFrames::isWithinBody() const
{
    const qsizetype rest = waiting.size() - begin;
    const bool hasPart = isInParts && !isBodyTooLong && part.size() + rest > 0;
    return bodyLeft.value_or(0) > rest && !hasPart;
}

/// Each byte is looked at once: what has no line feed goes into `part`.
std::optional<SessionFrames::Frame> SessionFrames::nextLine()
{
    const qsizetype end = waiting.indexOf('\n', begin);
    const qsizetype size = (end < 0 ? waiting.size() : end) - begin;
    isLineTooLong = isLineTooLong || part.size() + size > longest;
    if (isLineTooLong) {
        part.clear();
    } else {
        part.append(waiting.constData() + begin, size);
    }
    begin += size;
    if (end < 0) {
        return std::nullopt;
    }
    ++begin;
    const Kind kind = std::exchange(isLineTooLong, false) ? Kind::LongLine : Kind::Line;
    return Frame{kind, std::exchange(part, {})};
}

std::optional<SessionFrames::Frame> SessionFrames::nextBody()
{
    const qsizetype size = std::min<qint64>(waiting.size() - begin, *bodyLeft);
    if (!isBodyTooLong) {
        part.append(waiting.constData() + begin, size);
    }
    begin += size;
    *bodyLeft -= size;
    if (*bodyLeft > 0) {
        const bool hasPart = isInParts && !part.isEmpty();
        return hasPart ? std::optional(Frame{Kind::Part, std::exchange(part, {})}) : std::nullopt;
    }
    bodyLeft.reset();
    return Frame{isBodyTooLong ? Kind::LongBody : Kind::Body, std::exchange(part, {})};
}
