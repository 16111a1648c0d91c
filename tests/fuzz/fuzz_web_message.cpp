// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The first byte chooses what the rest is: the text of a message, a first message, edits of a
// genuine handshake, what is delivered over an open channel, or a typed code. Of a handshake
// nothing is accepted but what the other side sent; of a channel nothing opens but its next
// message; and a code is what sixteen characters say.

#include "fuzz/Finding.h"
#include "fuzz/NaiveWireText.h"
#include "web/wire/Handshake.h"
#include "web/wire/OneTimeCode.h"
#include "web/wire/WireText.h"

#include <QList>

#include <cstddef>
#include <cstdint>

using namespace Qt::StringLiterals;
using namespace quillmote;

namespace {

const QByteArray secret(secretSize, 's');
const QByteArray phoneId(Introduction::idSize, 'p');

KeyPair keyPair(char seed)
{
    return KeyPair::fromSecret(Key(QByteArray(32, seed)));
}

Initiator phone()
{
    return {Credential::Phone, phoneId, secret, keyPair('a')};
}

const QByteArray &genuineFirst()
{
    static const QByteArray first = phone().first("{}");
    return first;
}

/// The input, byte by byte; zeros behind its end.
class Tape
{
public:
    explicit Tape(const QByteArray &bytes) : rest(bytes) {}

    bool isOver() const { return rest.isEmpty(); }
    quint8 byte()
    {
        const quint8 first = rest.isEmpty() ? 0 : quint8(rest[0]);
        rest.remove(0, 1);
        return first;
    }
    QByteArray bytes(qsizetype size)
    {
        const QByteArray some = rest.left(size);
        rest.remove(0, some.size());
        return some;
    }
    /// Perhaps with another byte, cut, or with more behind it.
    QByteArray edited(QByteArray message)
    {
        const quint8 kind = byte();
        if (kind % 4 == 1 && !message.isEmpty()) {
            const qsizetype place = (byte() << 8 | byte()) % message.size();
            message[place] = char(message[place] ^ byte());
        } else if (kind % 4 == 2) {
            message.chop(byte());
        } else if (kind % 4 == 3) {
            message += bytes(byte());
        }
        return message;
    }

private:
    QByteArray rest;
};

void readText(const QByteArray &bytes)
{
    const auto text = WireText::fromBytes(bytes);
    Finding::require(text || !NaiveWireText::mustBeTaken(bytes), "a text is refused");
    Finding::require(!text || !NaiveWireText::mustBeRefused(bytes), "what is no text is taken");
    if (!text) {
        return;
    }
    Finding::require(bytes.endsWith('\n' + text->body), "another body");
    const auto again = WireText::fromBytes(text->toBytes());
    Finding::require(again.has_value(), "what was written is refused");
    // The toolkit drops a mark of the byte order at the beginning of any text.
    constexpr QByteArrayView mark("\xef\xbb\xbf");
    if (!bytes.contains(mark) && !text->toBytes().contains(mark)) {
        Finding::requireEqual(again->object, text->object, "another object after writing");
    }
    Finding::requireEqual(again->body, text->body, "another body after writing");
}

bool isIntroduction(const QByteArray &first)
{
    const bool isLongEnough = first.size() >= 66 && first.size() <= 4096;
    const bool isPhone = isLongEnough && first[1] == 1;
    const bool isNameless = first.mid(2, 16) == QByteArray(16, '\0');
    return isLongEnough && first[0] == 1 && first[1] >= 0 && first[1] <= 2 &&
           (isPhone || isNameless);
}

void readFirst(const QByteArray &first)
{
    const auto introduction = readIntroduction(first);
    Finding::requireEqual(introduction.has_value(), isIntroduction(first), "another introduction");
    const auto accepted = acceptHandshake(first, secret, "{}", keyPair('b'));
    Finding::requireEqual(accepted.has_value(), first == genuineFirst(), "a forged first message");
}

void shakeHands(Tape &tape)
{
    Initiator initiator = phone();
    const QByteArray first = initiator.first("{}");
    readFirst(tape.edited(first));
    const auto accepted = acceptHandshake(first, secret, tape.bytes(8), keyPair('b'));
    Finding::require(accepted.has_value(), "a genuine first message is refused");
    const QByteArray answer = tape.edited(accepted->answer);
    const auto opened = initiator.finish(answer);
    Finding::requireEqual(opened.has_value(), answer == accepted->answer, "a forged answer");
}

/// The phone sends, whoever is in between delivers.
void talk(Tape &tape)
{
    Initiator initiator = phone();
    auto accepted = acceptHandshake(initiator.first("{}"), secret, "{}", keyPair('b'));
    auto opened = initiator.finish(accepted->answer);
    QList<QByteArray> plain;
    QList<QByteArray> sealed;
    qsizetype next = 0;
    bool isBroken = false;
    while (!tape.isOver()) {
        if (const quint8 step = tape.byte(); step % 2 == 0 && plain.size() < 64) {
            plain += tape.bytes(step / 2);
            sealed += opened->channel.seal(plain.last());
        } else {
            const qsizetype which = sealed.isEmpty() ? 0 : tape.byte() % sealed.size();
            const QByteArray delivered = tape.edited(sealed.value(which));
            const bool isNext = !isBroken && next < sealed.size() && delivered == sealed[next];
            const auto taken = accepted->channel.open(delivered);
            Finding::requireEqual(taken.has_value(), isNext, "what opens is not the next message");
            if (taken) {
                Finding::requireEqual(*taken, plain[next], "another text");
            }
            isBroken = !isNext;
            next += isNext ? 1 : 0;
            Finding::requireEqual(accepted->channel.hasFailed(), isBroken, "another state");
        }
    }
}

/// The characters that count, in their usual form; empty if this is no code.
QString naiveCode(const QString &typed)
{
    QString characters;
    for (const QChar character : typed) {
        if (!character.isSpace() && character.category() != QChar::Punctuation_Dash) {
            characters += character;
        }
    }
    bool isCode = typed.size() <= 64 && characters.size() == 16;
    for (QChar &character : characters) {
        const bool isAscii = character < QChar(u'\x80');
        character = isAscii ? character.toUpper() : character;
        character = character == u'O' ? QChar(u'0') : character;
        character = character == u'I' || character == u'L' ? QChar(u'1') : character;
        isCode = isCode && u"0123456789ABCDEFGHJKMNPQRSTVWXYZ"_s.contains(character);
    }
    return isCode ? characters : QString();
}

void readCode(const QString &typed)
{
    const auto code = OneTimeCode::fromText(typed);
    Finding::requireEqual(code ? code->compactText() : QString(), naiveCode(typed), "another code");
    if (code) {
        Finding::require(OneTimeCode::fromText(code->text())->secret() == code->secret(),
                         "another secret for the same code");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const QByteArray rest = input.mid(1);
    Tape tape(rest);
    switch (input.isEmpty() ? 0 : quint8(input[0]) % 5) {
    case 0:
        readText(rest);
        break;
    case 1:
        readFirst(rest);
        break;
    case 2:
        shakeHands(tape);
        break;
    case 3:
        talk(tape);
        break;
    default:
        readCode(QString::fromUtf8(rest));
    }
    return 0;
}
