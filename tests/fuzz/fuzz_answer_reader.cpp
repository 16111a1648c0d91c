// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The input is what a server sends. Whatever it is, no byte is lost or taken twice, and an answer
// that is taken can be written again with the same bytes. Where the ends of the answers are clear,
// the pieces in which they arrive make no difference.

#include "fuzz/Finding.h"
#include "lib/AnswerReader.h"
#include "net/TokenText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

using quillmote::Answer;
using quillmote::AnswerReader;

namespace {

struct Outcome
{
    QList<TokenMap> answers;
    qsizetype unread = 0;
    bool isGarbage = false;

    bool operator==(const Outcome &) const = default;
};

QDebug operator<<(QDebug stream, const Outcome &outcome)
{
    return stream << outcome.answers << outcome.unread << outcome.isGarbage;
}

QByteArray sorted(QByteArray bytes)
{
    std::sort(bytes.begin(), bytes.end());
    return bytes;
}

/// The entries may have had another order. A key that came twice has lost its first value.
void requireAllBytes(const TokenMap &entries, const QByteArray &taken)
{
    const QByteArray written = TokenText::write(entries).toLatin1();
    Finding::require(written.size() <= taken.size(), "an answer holds more than was sent");
    if (written.size() == taken.size()) {
        Finding::requireEqual(sorted(written), sorted(taken), "an answer holds other bytes");
        return;
    }
    const bool mayHaveTwice = taken.count(" =") > entries.size();
    Finding::require(mayHaveTwice, "an answer holds less than was sent");
}

/// Takes all answers that are whole; `position` counts the bytes taken from the stream so far.
void drain(AnswerReader &reader, const QByteArray &stream, qsizetype &position, Outcome &outcome)
{
    for (qsizetype before = reader.size(); auto answer = reader.take(); before = reader.size()) {
        const qsizetype size = before - reader.size();
        requireAllBytes(answer->entries, stream.mid(position, size));
        position += size;
        outcome.answers.append(answer->entries);
    }
}

void requireBounds(const AnswerReader &reader, const QByteArray &stream, qsizetype arrived,
                   qsizetype position)
{
    Finding::requireEqual(reader.size(), arrived - position, "bytes are lost or kept");
    const bool startsWell = arrived == position || stream[position] == '{';
    const bool isBounded = reader.size() <= AnswerReader::maximumSize;
    Finding::requireEqual(reader.isGarbage(), !(startsWell && isBounded), "other garbage");
}

Outcome outcomeOf(const QByteArray &stream, qsizetype pieceSize)
{
    AnswerReader reader;
    Outcome outcome;
    qsizetype position = 0;
    for (qsizetype at = 0; at < stream.size(); at += pieceSize) {
        reader.append(stream.mid(at, pieceSize));
        drain(reader, stream, position, outcome);
        requireBounds(reader, stream, std::min(at + pieceSize, stream.size()), position);
    }
    outcome.unread = reader.size();
    outcome.isGarbage = reader.isGarbage();
    return outcome;
}

/// True if each closing brace ends the stream or precedes the opening brace of another answer. At
/// any other, what has arrived may look like a whole answer and turn out to be a part of one.
bool hasClearEnds(const QByteArray &stream)
{
    for (qsizetype at = stream.indexOf('}'); at != -1; at = stream.indexOf('}', at + 1)) {
        const QByteArray behind = stream.mid(at + 1);
        if (!behind.isEmpty() && (!behind.startsWith('{') || behind.startsWith("{ "))) {
            return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray stream(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const Outcome atOnce = outcomeOf(stream, std::max<qsizetype>(stream.size(), 1));
    const Outcome singly = outcomeOf(stream, 1);
    const Outcome inPieces = outcomeOf(stream, 2 + stream.size() % 13);
    if (hasClearEnds(stream)) {
        Finding::requireEqual(singly, atOnce, "single bytes give other answers");
        Finding::requireEqual(inPieces, atOnce, "pieces give other answers");
    }
    return 0;
}
