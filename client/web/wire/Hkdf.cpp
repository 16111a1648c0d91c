// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/wire/Hkdf.h"

#include <sodium.h>

namespace quillmote {

Digest sha512(QByteArrayView first, QByteArrayView second)
{
    Digest digest;
    crypto_hash_sha512_state state;
    crypto_hash_sha512_init(&state);
    crypto_hash_sha512_update(&state, unsignedBytes(first), size_t(first.size()));
    crypto_hash_sha512_update(&state, unsignedBytes(second), size_t(second.size()));
    crypto_hash_sha512_final(&state, digest.data());
    wipe(&state, sizeof state);
    return digest;
}

Digest hmacSha512(QByteArrayView key, QByteArrayView first, QByteArrayView second)
{
    Digest digest;
    crypto_auth_hmacsha512_state state;
    crypto_auth_hmacsha512_init(&state, unsignedBytes(key), size_t(key.size()));
    crypto_auth_hmacsha512_update(&state, unsignedBytes(first), size_t(first.size()));
    crypto_auth_hmacsha512_update(&state, unsignedBytes(second), size_t(second.size()));
    crypto_auth_hmacsha512_final(&state, digest.data());
    wipe(&state, sizeof state);
    return digest;
}

Derived hkdf(QByteArrayView salt, QByteArrayView input)
{
    const Digest extracted = hmacSha512(salt, input);
    Derived derived;
    derived.first = hmacSha512(extracted.view(), "\x01");
    derived.second = hmacSha512(extracted.view(), derived.first.view(), "\x02");
    derived.third = hmacSha512(extracted.view(), derived.second.view(), "\x03");
    return derived;
}

Key hkdfKey(QByteArrayView input, QByteArrayView info)
{
    const Digest extracted = hmacSha512({}, input);
    return Key(hmacSha512(extracted.view(), info, "\x01").view());
}

} // namespace quillmote
