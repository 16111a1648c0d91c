// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <optional>

namespace quillmote {

/// What a phone shows to be let in for the first time: 80 random bits, as 16 characters of
/// Crockford's base32.
class OneTimeCode
{
public:
    static OneTimeCode random();
    /// Forgives lowercase, hyphens and blanks, and O, I and L in the place of 0, 1 and 1.
    static std::optional<OneTimeCode> fromText(QStringView text);

    /// ABCD-EFGH-JKMN-PQRS
    QString text() const;
    /// The same without hyphens.
    QString compactText() const;
    /// The secret of its handshake, 32 bytes.
    QByteArray secret() const;

private:
    explicit OneTimeCode(const QByteArray &randomBytes) : bytes(randomBytes) {}

    QByteArray bytes;
};

} // namespace quillmote
