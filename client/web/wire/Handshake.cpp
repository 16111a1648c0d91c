// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/wire/Handshake.h"

namespace quillmote {
namespace {

constexpr QByteArrayView protocolName = "Noise_NNpsk0_25519_XSalsa20Poly1305_SHA512";
constexpr char version = 1;
/// Version, credential and id, in the clear. They are the prologue.
constexpr qsizetype headSize = 2 + Introduction::idSize;
constexpr qsizetype shortestFirst = headSize + KeyPair::publicSize + CipherState::tagSize;
constexpr qsizetype shortestSecond = KeyPair::publicSize + CipherState::tagSize;

bool isSizeBetween(const QByteArray &message, qsizetype shortest)
{
    return message.size() >= shortest && message.size() <= longestHandshakeMessage;
}

QByteArray headFor(Credential credential, const QByteArray &phoneId)
{
    const QByteArray id = phoneId.leftJustified(Introduction::idSize, '\0', true);
    return QByteArray(1, version) + char(credential) + id;
}

/// The state of both sides after the token "psk".
SymmetricState stateAfterSecret(QByteArrayView head, const QByteArray &secret)
{
    SymmetricState state(protocolName);
    state.mixHash(head);
    state.mixKeyAndHash(secret);
    return state;
}

/// The token "e". With a shared secret the public key goes into the keys, too.
void mixEphemeral(SymmetricState &state, QByteArrayView publicKey)
{
    state.mixHash(publicKey);
    state.mixKey(publicKey);
}

/// The token "ee"; false if the shared key is worth nothing.
bool mixShared(SymmetricState &state, const KeyPair &own, QByteArrayView other)
{
    const auto shared = own.sharedWith(other);
    if (shared) {
        state.mixKey(shared->view());
    }
    return shared.has_value();
}

} // namespace

std::optional<Introduction> readIntroduction(const QByteArray &first)
{
    if (!isSizeBetween(first, shortestFirst) || first[0] != version ||
        quint8(first[1]) > quint8(Credential::Desk)) {
        return std::nullopt;
    }
    const Introduction introduction{Credential(first[1]), first.mid(2, Introduction::idSize)};
    const bool isNameless = introduction.id.count('\0') == Introduction::idSize;
    if (introduction.credential != Credential::Phone && !isNameless) {
        return std::nullopt;
    }
    return introduction;
}

std::optional<Accepted> acceptHandshake(const QByteArray &first, const QByteArray &secret,
                                        const QByteArray &payload, const KeyPair &ephemeral)
{
    if (!readIntroduction(first) || secret.size() != secretSize) {
        return std::nullopt;
    }
    const QByteArrayView message(first);
    const QByteArrayView other = message.sliced(headSize, KeyPair::publicSize);
    SymmetricState state = stateAfterSecret(message.first(headSize), secret);
    mixEphemeral(state, other);
    const auto said = state.openAndHash(message.sliced(headSize + KeyPair::publicSize));
    if (!said) {
        return std::nullopt;
    }
    mixEphemeral(state, ephemeral.publicKey());
    if (!mixShared(state, ephemeral, other)) {
        return std::nullopt;
    }
    const QByteArray answer = ephemeral.publicKey() + state.sealAndHash(payload);
    auto [ofInitiator, ofResponder] = state.split();
    return Accepted{*said, answer, Channel(std::move(ofResponder), std::move(ofInitiator))};
}

Initiator::Initiator(Credential credential, const QByteArray &phoneId, const QByteArray &secret,
                     KeyPair ephemeral)
    : head(headFor(credential, phoneId))
    , ownKeys(std::move(ephemeral))
    , state(stateAfterSecret(head, secret))
{
}

QByteArray Initiator::first(const QByteArray &payload)
{
    mixEphemeral(state, ownKeys.publicKey());
    return head + ownKeys.publicKey() + state.sealAndHash(payload);
}

std::optional<Opened> Initiator::finish(const QByteArray &answer)
{
    if (!isSizeBetween(answer, shortestSecond)) {
        return std::nullopt;
    }
    const QByteArrayView message(answer);
    const QByteArrayView other = message.first(KeyPair::publicSize);
    mixEphemeral(state, other);
    if (!mixShared(state, ownKeys, other)) {
        return std::nullopt;
    }
    const auto said = state.openAndHash(message.sliced(KeyPair::publicSize));
    if (!said) {
        return std::nullopt;
    }
    auto [ofInitiator, ofResponder] = state.split();
    return Opened{*said, Channel(std::move(ofInitiator), std::move(ofResponder))};
}

} // namespace quillmote
