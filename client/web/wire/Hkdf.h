// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/wire/SecretBytes.h"

namespace quillmote {

/// SHA-512 of the two, one behind the other.
Digest sha512(QByteArrayView first, QByteArrayView second = {});
/// HMAC-SHA-512 (RFC 2104) of the two, one behind the other; keys of any length.
Digest hmacSha512(QByteArrayView key, QByteArrayView first, QByteArrayView second = {});

/// The outputs of a Noise handshake's HKDF.
struct Derived
{
    Digest first;
    Digest second;
    Digest third;
};
/// HKDF (RFC 5869) over HMAC-SHA-512, without info: 192 bytes, in three parts.
Derived hkdf(QByteArrayView salt, QByteArrayView input);
/// HKDF without salt: the first 32 bytes.
Key hkdfKey(QByteArrayView input, QByteArrayView info);

} // namespace quillmote
