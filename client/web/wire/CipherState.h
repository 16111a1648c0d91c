// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/wire/SecretBytes.h"

#include <QByteArray>

#include <optional>

namespace quillmote {

/// A key and the number of the next text under it. Each number is used once, in order.
class CipherState
{
public:
    static constexpr qsizetype tagSize = 16;
    /// Noise keeps this number for itself.
    static constexpr quint64 lastNumber = ~quint64(0);

    explicit CipherState(Key cipherKey, quint64 firstNumber = 0);

    /// XSalsa20-Poly1305 of the text; nothing when the numbers are used up.
    std::optional<QByteArray> seal(QByteArrayView plain, QByteArrayView associated = {});
    /// Nothing if these are not the bytes that were sealed under this number with the same
    /// associated data. The number then stays.
    std::optional<QByteArray> open(QByteArrayView sealed, QByteArrayView associated = {});

private:
    Key keyFor(QByteArrayView associated) const;

    Key key;
    quint64 number = 0;
};

} // namespace quillmote
