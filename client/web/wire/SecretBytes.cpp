// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/wire/SecretBytes.h"

#include <sodium.h>

namespace quillmote {

void wipe(void *bytes, std::size_t size)
{
    sodium_memzero(bytes, size);
}

} // namespace quillmote
