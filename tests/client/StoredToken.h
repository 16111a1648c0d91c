// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "net/TokenText.h"

#include <algorithm>
#include <initializer_list>

/// The entries that the server stores when one read brings these bytes. `begins` lists the
/// accepted results of the reader; with another result there are no entries.
inline TokenMap storedToken(const QByteArray &bytes,
                            std::initializer_list<TokenText::ReadResult> begins = {
                                TokenText::ReadResult::Token})
{
    TokenMap stored;
    const auto reading = TokenText::read(
        bytes, [&](const QString &key, const QVariant &value) { stored.insert(key, value); });
    const bool isExpected = std::find(begins.begin(), begins.end(), reading.result) != begins.end();
    return isExpected ? stored : TokenMap();
}

/// The same for a token that bytes of a file's format may precede.
inline TokenMap storedTokenInFile(const QByteArray &bytes)
{
    return storedToken(bytes,
                       {TokenText::ReadResult::Token, TokenText::ReadResult::TokenWithPrefix});
}
