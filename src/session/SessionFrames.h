// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <optional>
#include <span>

/// Divides the bytes of one session into lines, and into the bodies that follow some of them. What
/// is too long is skipped, so that what comes after it is read.
class SessionFrames
{
public:
    /// The longest line without its line feed, and the longest body, in bytes.
    static constexpr qint64 longest = 1024 * 1024;

    /// A part is never the last of its body: that one is a Body.
    enum class Kind { Line, LongLine, Part, Body, LongBody };
    enum class Delivery { Whole, InParts };

    struct Frame
    {
        Kind kind = Kind::Line;
        QByteArray bytes; ///< Empty if it was too long.

        bool operator==(const Frame &) const = default;
    };

    void add(std::span<const char> bytes);
    /// Where the next bytes belong if they are of a body that is kept, so that nobody copies them;
    /// empty if they must be added. placed() must be the next call.
    std::span<char> place();
    /// The next bytes, so many or none, are at their place.
    void placed(qsizetype size);
    /// The next line, or the body that is expected; none until all of it has come, or some of a
    /// body that is delivered in parts.
    std::optional<Frame> next();
    /// To be called after the line that announced it: the next bytes are a body of that size.
    void expectBody(qint64 size, Delivery delivery);

    /// Bytes that are stored.
    qsizetype stored() const { return waiting.size() - begin + part.size(); }
    /// Whether nothing is there to be taken until more of a body has come.
    bool isWithinBody() const;

private:
    std::optional<Frame> nextLine();
    std::optional<Frame> nextBody();

    QByteArray waiting;
    qsizetype begin = 0; // of what has not been taken
    QByteArray part;     // the first bytes of the line or body that is incomplete
    bool isLineTooLong = false;
    std::optional<qint64> bodyLeft; // bytes of the expected body that have not come
    bool isBodyTooLong = false;
    bool isInParts = false;
    qsizetype placeSize = 0; // bytes at the end of `part` that have not come
};
