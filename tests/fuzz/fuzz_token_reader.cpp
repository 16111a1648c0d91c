// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Any bytes: the reader ends, and what it stored can be written.

#include "net/TokenText.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    TokenMap token;
    TokenText::read(
        QByteArrayView(data, static_cast<qsizetype>(size)),
        [&token](const QString &key, const QVariant &value) { token.insert(key, value); });
    TokenText::write(token);
    return 0;
}
