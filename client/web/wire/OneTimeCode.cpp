// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/wire/OneTimeCode.h"

#include "web/wire/Hkdf.h"

#include <sodium.h>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr QLatin1StringView alphabet("0123456789ABCDEFGHJKMNPQRSTVWXYZ");
constexpr qsizetype codeBytes = 10;
constexpr qsizetype codeCharacters = 16;
constexpr qsizetype groupSize = 4;
constexpr qsizetype longestTypedCode = 64;
constexpr QByteArrayView secretLabel = "quillmote one-time code";

/// Phones make dashes of hyphens.
bool isPassedOver(QChar character)
{
    return character.isSpace() || character.category() == QChar::Punctuation_Dash;
}

/// 0 to 31, or -1.
qsizetype valueOf(QChar character)
{
    switch (character.unicode()) {
    case u'O':
    case u'o':
        return 0;
    case u'I':
    case u'i':
    case u'L':
    case u'l':
        return 1;
    default:
        return alphabet.indexOf(character, 0, Qt::CaseInsensitive);
    }
}

} // namespace

OneTimeCode OneTimeCode::random()
{
    if (sodium_init() < 0) {
        qFatal("The library for encryption cannot be used.");
    }
    QByteArray bytes(codeBytes, Qt::Uninitialized);
    randombytes_buf(bytes.data(), size_t(bytes.size()));
    return OneTimeCode(bytes);
}

std::optional<OneTimeCode> OneTimeCode::fromText(QStringView text)
{
    if (text.size() > longestTypedCode) {
        return std::nullopt;
    }
    QByteArray bytes;
    qsizetype characters = 0;
    quint32 bits = 0;
    int bitCount = 0;
    for (const QChar character : text) {
        if (isPassedOver(character)) {
            continue;
        }
        const qsizetype value = valueOf(character);
        if (value < 0 || ++characters > codeCharacters) {
            return std::nullopt;
        }
        bits = bits << 5 | quint32(value);
        bitCount += 5;
        if (bitCount >= 8) {
            bitCount -= 8;
            bytes += char(bits >> bitCount & 0xff);
        }
    }
    return characters == codeCharacters ? std::optional(OneTimeCode(bytes)) : std::nullopt;
}

QString OneTimeCode::text() const
{
    QString grouped = compactText();
    for (qsizetype place = codeCharacters - groupSize; place > 0; place -= groupSize) {
        grouped.insert(place, u'-');
    }
    return grouped;
}

QString OneTimeCode::compactText() const
{
    QString compact;
    quint32 bits = 0;
    int bitCount = 0;
    for (const char byte : bytes) {
        bits = bits << 8 | quint8(byte);
        bitCount += 8;
        while (bitCount >= 5) {
            bitCount -= 5;
            compact += alphabet[bits >> bitCount & 31];
        }
    }
    return compact;
}

QByteArray OneTimeCode::secret() const
{
    return hkdfKey(bytes, secretLabel).view().toByteArray();
}

} // namespace quillmote
