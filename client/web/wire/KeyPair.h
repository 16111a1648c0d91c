// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/wire/SecretBytes.h"

#include <QByteArray>

#include <optional>

namespace quillmote {

/// A pair of keys for X25519 (RFC 7748), for one connection.
class KeyPair
{
public:
    static constexpr qsizetype publicSize = 32;

    static KeyPair random();
    /// For what must be repeatable, such as tests.
    static KeyPair fromSecret(Key secret);

    const QByteArray &publicKey() const { return shown; }
    /// The key that both sides reach. Nothing if it is all zeros, as it is with every public key of
    /// a small order: everybody would know it.
    std::optional<Key> sharedWith(QByteArrayView otherPublicKey) const;

private:
    explicit KeyPair(Key secret);

    Key hidden;
    QByteArray shown;
};

} // namespace quillmote
