// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArrayView>
#include <QHash>
#include <QString>
#include <QVariant>

#include <functional>

/// The entries of one connection: the request, the answer, and what earlier messages left there.
/// A value is a string list or else a single string.
using TokenMap = QHash<QString, QVariant>;

/// The text form of tokens. The two directions differ on purpose: the compact form that write()
/// makes is not accepted by read(), which wants a blank inside each outer brace. Nothing is
/// escaped in either direction.
namespace TokenText {

enum class ReadResult {
    NotAToken,       ///< no "{ " or no " }": silence
    Reversed,        ///< "{ " stands only behind the last " }"
    Token,           ///< read from the first character on
    TokenWithPrefix, ///< something before the token was cut off
};

struct Reading
{
    ReadResult result = ReadResult::NotAToken;
    /// The text with its white space collapsed, as it was searched for a token.
    QString text;
};

/// Called once an entry, in the order of the text; a key may come twice.
using EntryVisitor = std::function<void(const QString &key, const QVariant &value)>;

/// Reads one chunk of bytes (Latin-1, up to the first NUL) and visits its entries. Any bytes are
/// allowed; there is no limit on their number.
Reading read(QByteArrayView chunk, const EntryVisitor &visit);

/// The whole map in the server's form, in the map's own order.
QString write(const TokenMap &token);

} // namespace TokenText
