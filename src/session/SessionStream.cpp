// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionStream.h"

#include "platform/SessionHost.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

/// As much as a socket's buffer has on most systems.
constexpr size_t pieceSize = 256 * 1024;

constexpr size_t sizeBehindBody = 4 * 1024;

/// Up to that size, short messages that wait are kept in one piece. Each in a piece of its own
/// takes several times as much memory, and a system call.
constexpr qsizetype joinedSize = 16 * 1024;

/// One for all sessions: what is read is used up before anything else can happen.
std::array<char, pieceSize> room;

} // namespace

SessionStream::SessionStream(std::unique_ptr<platform::LocalStream> opened)
    : stream(std::move(opened))
    , reading(stream->descriptor(), QSocketNotifier::Read)
    , writing(stream->descriptor(), QSocketNotifier::Write)
{
    writing.setEnabled(false);
    connect(&reading, &QSocketNotifier::activated, this, &SessionStream::arrived);
    connect(&writing, &QSocketNotifier::activated, this, [this] { sendWaiting(); });
}

SessionStream::~SessionStream()
{
    close();
}

void SessionStream::close()
{
    reading.setEnabled(false);
    writing.setEnabled(false);
    dropUnsent();
    if (stream != nullptr && !isAtEnd) {
        // Closing over what has arrived would look like a broken connection to the peer.
        stream->receive(room);
    }
    isAtEnd = true;
    isBroken = true;
    stream.reset();
}

void SessionStream::write(const QByteArray &bytes)
{
    if (isBroken || bytes.isEmpty()) {
        return;
    }
    if (!waiting.empty() && waiting.back().size() + bytes.size() <= joinedSize) {
        waiting.back() += bytes;
    } else {
        waiting.push_back(bytes);
    }
    unsentSize += bytes.size();
    if (!writing.isEnabled()) {
        sendWaiting();
    }
}

void SessionStream::sendWaiting()
{
    const qsizetype before = unsentSize;
    while (!waiting.empty() && sendFirst()) {
    }
    writing.setEnabled(!waiting.empty());
    if (unsentSize < before) {
        emit sent();
    }
}

/// Returns whether all of it has been sent.
bool SessionStream::sendFirst()
{
    const QByteArray &first = waiting.front();
    const auto rest = std::span(first).subspan(static_cast<size_t>(firstSent));
    const std::optional<qsizetype> size = stream->send(rest);
    if (!size) {
        isBroken = true;
        dropUnsent();
        return false;
    }
    firstSent += *size;
    unsentSize -= *size;
    if (firstSent < first.size()) {
        return false;
    }
    waiting.pop_front();
    firstSent = 0;
    return true;
}

void SessionStream::dropUnsent()
{
    waiting.clear();
    firstSent = 0;
    unsentSize = 0;
}

void SessionStream::setReading(bool isOn)
{
    const bool isWanted = isOn && !isAtEnd;
    if (reading.isEnabled() != isWanted) {
        reading.setEnabled(isWanted);
    }
}

bool SessionStream::isPeerGone() const
{
    return stream == nullptr || stream->isPeerGone();
}

QString SessionStream::peerProgram() const
{
    return stream == nullptr ? QString() : stream->peerProgram();
}

std::optional<SessionStream::Received> SessionStream::read(std::span<char> place)
{
    // What follows a body is the next line, and not much of another body that has its own place.
    const auto behind = std::span(room).first(place.empty() ? room.size() : sizeBehindBody);
    const std::optional<qsizetype> size =
        stream == nullptr ? std::nullopt : stream->receive(place, behind);
    if (!size) {
        isAtEnd = true;
        reading.setEnabled(false);
        return std::nullopt;
    }
    const size_t placed = std::min(place.size(), static_cast<size_t>(*size));
    return Received{static_cast<qsizetype>(placed),
                    behind.first(static_cast<size_t>(*size) - placed)};
}
