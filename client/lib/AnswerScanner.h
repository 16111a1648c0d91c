// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QVariant>

namespace quillmote {

/// Reads the one answer at the start of bytes that grow.
///
/// What is decided once is not looked at again, so the time it takes is proportional to the number
/// of bytes, whatever they are and in whatever pieces they arrive.
class AnswerScanner
{
public:
    using Entries = QHash<QString, QVariant>;

    /// A server remembers half as many of a client, and an answer holds what it remembers.
    static constexpr qsizetype maximumEntries = 131'072;
    /// Of all lists together. A string in memory takes far more than the five bytes of an item.
    static constexpr qsizetype maximumItems = 1'048'576;

    /// How many bytes the answer takes; 0 when it is not whole. Each call's bytes begin with those
    /// of the call before.
    qsizetype scan(QByteArrayView allBytes);

    /// The entries of a whole answer. It is the last call: the next answer needs a new scanner.
    Entries takeEntries() { return std::move(entries); }

    /// True once the answer has more entries or items than the maximum; it is never whole then.
    bool isOverfull() const { return state == State::Overfull; }

private:
    enum class State { Begin, Key, Value, Text, List, End, Broken, Overfull };
    /// About a place behind a value; unknown until more bytes have come.
    enum class Border { Yes, No, Unknown };

    bool step();
    bool readBrace();
    bool readKey();
    bool beginValue();
    bool readValue();
    void enter(State next, qsizetype at);
    void store(const QVariant &value);
    void storeList(QByteArrayView items);
    bool isEnd(qsizetype at) const;
    Border borderAt(qsizetype at);

    QByteArrayView bytes; // valid during scan()
    Entries entries;
    qsizetype items = 0; // of all lists so far
    QString key;         // of the value that is read
    State state = State::Begin;
    qsizetype position = 0; // where what is read begins
    qsizetype searched = 0; // no end of it begins in front of here
    qsizetype inspected =
        0; // nor does anything in front of here tell whether it ends at `searched`
};

} // namespace quillmote
