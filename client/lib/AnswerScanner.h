// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QVariant>

namespace quillmote {

/// Reads one answer at the start of a growing buffer.
///
/// No decision is made twice. So the time is proportional to the number of bytes,
/// whatever they are and in whatever pieces they arrive.
class AnswerScanner
{
public:
    using Entries = QHash<QString, QVariant>;

    /// An answer holds what the server remembers of a client, and it remembers half as many.
    static constexpr qsizetype maximumEntries = 131'072;
    /// In all lists together. An item of five bytes takes far more memory as a string.
    static constexpr qsizetype maximumItems = 1'048'576;

    /// The size of the answer in bytes; 0 if it is not complete. The bytes of each call must begin
    /// with those of the call before.
    qsizetype scan(QByteArrayView allBytes);

    /// The entries of a complete answer. This is the last call: the next answer needs a new
    /// scanner.
    Entries takeEntries() { return std::move(entries); }

    /// True once the answer has too many entries or items; it never becomes complete then.
    bool isOverfull() const { return state == State::Overfull; }

private:
    enum class State { Begin, Key, Value, Text, List, End, Broken, Overfull };
    /// Whether a value ends at some position; unknown until more bytes have arrived.
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
    QString key;         // of the value that is being read
    State state = State::Begin;
    qsizetype position = 0; // the start of the part that is being read
    qsizetype searched = 0; // its end is not before this position
    /// The bytes before this position do not decide whether it ends at `searched`.
    qsizetype inspected = 0;
};

} // namespace quillmote
