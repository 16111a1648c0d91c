// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/wire/Channel.h"
#include "web/wire/KeyPair.h"
#include "web/wire/SymmetricState.h"

#include <QByteArray>

#include <optional>

namespace quillmote {

/// By which kind of secret somebody wants to be let in.
enum class Credential : quint8 {
    Code = 0,  ///< the secret of a code that is shown
    Phone = 1, ///< the secret that a phone was given
    Desk = 2,  ///< the secret of the desktop's own page
};

/// What the first message says in the clear.
struct Introduction
{
    Credential credential = Credential::Code;
    QByteArray id; ///< 16 bytes; zeros unless the credential is a phone's

    static constexpr qsizetype idSize = 16;

    friend bool operator==(const Introduction &, const Introduction &) = default;
};

/// The first message can be repeated by whoever has listened, so nothing is done for it but to
/// answer. That the other side has the secret is known when the first message of the channel opens.
struct Accepted
{
    QByteArray payload; ///< of the first message
    QByteArray answer;  ///< the second message
    Channel channel;
};

/// The initiator's end of a handshake.
struct Opened
{
    QByteArray payload; ///< of the second message
    Channel channel;
};

/// The size of every secret, in bytes.
constexpr qsizetype secretSize = 32;
/// The longest message of a handshake, in bytes.
constexpr qsizetype longestHandshakeMessage = 4096;

/// Nothing if these bytes cannot be a first message.
std::optional<Introduction> readIntroduction(const QByteArray &first);

/// Reads the first message with the secret that belongs to its introduction, and answers it with
/// the payload. Nothing if it was written with another secret, or changed on its way.
std::optional<Accepted> acceptHandshake(const QByteArray &first, const QByteArray &secret,
                                        const QByteArray &payload,
                                        const KeyPair &ephemeral = KeyPair::random());

/// The phone's side of a handshake; each object serves for one.
class Initiator
{
public:
    /// `phoneId` has 16 bytes or is empty; the secret has 32.
    Initiator(Credential credential, const QByteArray &phoneId, const QByteArray &secret,
              KeyPair ephemeral = KeyPair::random());

    /// The first message.
    QByteArray first(const QByteArray &payload);
    /// Reads the second message. Nothing if it does not come from one who has the secret and has
    /// read this first message.
    std::optional<Opened> finish(const QByteArray &answer);

private:
    QByteArray head;
    KeyPair ownKeys;
    SymmetricState state;
};

} // namespace quillmote
