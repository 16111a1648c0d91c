// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/wire/CipherState.h"

#include "web/wire/Hkdf.h"

#include <QtEndian>

#include <array>
#include <utility>

#include <sodium.h>

namespace quillmote {
namespace {

using Nonce = std::array<unsigned char, crypto_secretbox_NONCEBYTES>;

/// Sixteen zeros and the number, little-endian.
Nonce nonceOf(quint64 number)
{
    Nonce nonce{};
    qToLittleEndian(number, nonce.data() + 16);
    return nonce;
}

unsigned char *writableBytes(QByteArray &array)
{
    return reinterpret_cast<unsigned char *>(array.data());
}

} // namespace

static_assert(CipherState::tagSize == crypto_secretbox_MACBYTES);
static_assert(Key::size == crypto_secretbox_KEYBYTES);

CipherState::CipherState(Key cipherKey, quint64 firstNumber)
    : key(std::move(cipherKey))
    , number(firstNumber)
{
}

std::optional<QByteArray> CipherState::seal(QByteArrayView plain, QByteArrayView associated)
{
    if (number == lastNumber) {
        return std::nullopt;
    }
    QByteArray sealed(plain.size() + tagSize, Qt::Uninitialized);
    crypto_secretbox_easy(writableBytes(sealed), unsignedBytes(plain), quint64(plain.size()),
                          nonceOf(number).data(), keyFor(associated).data());
    ++number;
    return sealed;
}

std::optional<QByteArray> CipherState::open(QByteArrayView sealed, QByteArrayView associated)
{
    if (number == lastNumber || sealed.size() < tagSize) {
        return std::nullopt;
    }
    QByteArray plain(sealed.size() - tagSize, Qt::Uninitialized);
    const int fault = crypto_secretbox_open_easy(writableBytes(plain), unsignedBytes(sealed),
                                                 quint64(sealed.size()), nonceOf(number).data(),
                                                 keyFor(associated).data());
    if (fault != 0) {
        return std::nullopt;
    }
    ++number;
    return plain;
}

/// secretbox takes no associated data, so these make the key.
Key CipherState::keyFor(QByteArrayView associated) const
{
    return associated.isEmpty() ? Key(key.view()) : Key(hmacSha512(key.view(), associated).view());
}

} // namespace quillmote
