// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/wire/CipherState.h"

#include <QByteArray>

#include <optional>
#include <utility>

namespace quillmote {

/// Both directions of a connection after its handshake. Each message is one sealed text; they are
/// opened in the order in which they were sealed, and each of them once.
class Channel
{
public:
    /// The largest message, sealed, in bytes.
    static constexpr qsizetype longestSealed = 256 * 1024;
    static constexpr qsizetype longestPlain = longestSealed - CipherState::tagSize;

    Channel(CipherState sendingState, CipherState receivingState);

    /// Empty if the text is longer than longestPlain, or if the channel has failed.
    QByteArray seal(QByteArrayView plain);
    /// Nothing if it is not the next message of the other side. The channel has failed then: its
    /// keys are wiped, and nothing more is sealed or opened.
    std::optional<QByteArray> open(QByteArrayView sealed);
    bool hasFailed() const { return !keys; }

private:
    struct Keys
    {
        CipherState sending;
        CipherState receiving;
    };
    std::optional<Keys> keys;
};

} // namespace quillmote
