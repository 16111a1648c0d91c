// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/wire/SymmetricState.h"

#include "web/wire/Hkdf.h"

namespace quillmote {
namespace {

/// Noise truncates what HKDF yields to the size of the cipher's key.
CipherState cipherOf(const Digest &derived)
{
    return CipherState(Key(derived.view()));
}

/// A name that is shorter than a digest is filled up with zeros, a longer one is hashed.
Digest digestOfName(QByteArrayView name)
{
    if (name.size() > Digest::size) {
        return sha512(name);
    }
    return Digest(name.toByteArray().leftJustified(Digest::size, '\0'));
}

} // namespace

SymmetricState::SymmetricState(QByteArrayView protocolName)
    : chainingKey(digestOfName(protocolName))
    , transcript(chainingKey.view())
    , cipher(Key())
{
}

void SymmetricState::mixHash(QByteArrayView data)
{
    transcript = sha512(transcript.view(), data);
}

void SymmetricState::mixKey(QByteArrayView input)
{
    Derived derived = hkdf(chainingKey.view(), input);
    chainingKey = std::move(derived.first);
    cipher = cipherOf(derived.second);
}

void SymmetricState::mixKeyAndHash(QByteArrayView input)
{
    Derived derived = hkdf(chainingKey.view(), input);
    chainingKey = std::move(derived.first);
    mixHash(derived.second.view());
    cipher = cipherOf(derived.third);
}

QByteArray SymmetricState::sealAndHash(QByteArrayView plain)
{
    const QByteArray sealed = *cipher.seal(plain, transcript.view());
    mixHash(sealed);
    return sealed;
}

std::optional<QByteArray> SymmetricState::openAndHash(QByteArrayView sealed)
{
    auto plain = cipher.open(sealed, transcript.view());
    mixHash(sealed);
    return plain;
}

std::pair<CipherState, CipherState> SymmetricState::split() const
{
    const Derived derived = hkdf(chainingKey.view(), {});
    return {cipherOf(derived.first), cipherOf(derived.second)};
}

} // namespace quillmote
