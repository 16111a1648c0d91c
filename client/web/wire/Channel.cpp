// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/wire/Channel.h"

namespace quillmote {

Channel::Channel(CipherState sendingState, CipherState receivingState)
    : keys(Keys{std::move(sendingState), std::move(receivingState)})
{
}

QByteArray Channel::seal(QByteArrayView plain)
{
    if (!keys || plain.size() > longestPlain) {
        return {};
    }
    const auto sealed = keys->sending.seal(plain);
    if (!sealed) {
        keys.reset();
    }
    return sealed.value_or(QByteArray());
}

std::optional<QByteArray> Channel::open(QByteArrayView sealed)
{
    std::optional<QByteArray> plain;
    if (keys && sealed.size() <= longestSealed) {
        plain = keys->receiving.open(sealed);
    }
    if (!plain) {
        keys.reset();
    }
    return plain;
}

} // namespace quillmote
