// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/wire/KeyPair.h"

#include <utility>

#include <sodium.h>

namespace quillmote {

static_assert(Key::size == crypto_scalarmult_SCALARBYTES);
static_assert(KeyPair::publicSize == crypto_scalarmult_BYTES);

KeyPair KeyPair::random()
{
    if (sodium_init() < 0) {
        qFatal("The library for encryption cannot be used.");
    }
    Key secret;
    randombytes_buf(secret.data(), Key::size);
    return KeyPair(std::move(secret));
}

KeyPair KeyPair::fromSecret(Key secret)
{
    return KeyPair(std::move(secret));
}

KeyPair::KeyPair(Key secret) : hidden(std::move(secret)), shown(publicSize, Qt::Uninitialized)
{
    crypto_scalarmult_base(reinterpret_cast<unsigned char *>(shown.data()), hidden.data());
}

std::optional<Key> KeyPair::sharedWith(QByteArrayView otherPublicKey) const
{
    if (otherPublicKey.size() != publicSize) {
        return std::nullopt;
    }
    Key shared;
    const auto *other = reinterpret_cast<const unsigned char *>(otherPublicKey.data());
    const int fault = crypto_scalarmult(shared.data(), hidden.data(), other);
    if (fault != 0 || sodium_is_zero(shared.data(), Key::size) != 0) {
        return std::nullopt;
    }
    return shared;
}

} // namespace quillmote
