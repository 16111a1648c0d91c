// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArrayView>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <optional>
#include <utility>

/// The entries of one connection: the request, the answer, and what earlier messages left there.
/// A value is a string list or else a single string.
using TokenMap = QHash<QString, QVariant>;

/// The text form of tokens. By design, the two directions differ: read() does not accept the
/// compact form that write() produces, since it requires a space inside each outer brace. Nothing
/// is escaped in either direction.
namespace TokenText {

enum class ReadResult {
    NotAToken,       ///< no "{ " or no " }": nothing is logged
    Reversed,        ///< the first "{ " is after the last " }"
    Token,           ///< the token begins at the first character
    TokenWithPrefix, ///< something before the token was removed
};

struct Reading
{
    ReadResult result = ReadResult::NotAToken;
    /// The text with its white space collapsed, as it was searched for a token.
    QString text;
};

/// Called once for each entry, in the order of the text; a key may occur twice.
using EntryVisitor = std::function<void(const QString &key, const QVariant &value)>;

/// Reads one chunk of bytes (Latin-1, up to the first NUL) in steps, so that a long one does not
/// block the event loop. Any bytes are allowed, in any number.
class Reader
{
public:
    /// The bytes must outlive the reader.
    explicit Reader(QByteArrayView bytes) : chunk(bytes) {}

    /// Does the next step; returns false after the last one. The first two steps look for the token
    /// and take about 2 ms each per MiB, whatever it contains. Each further step visits entries,
    /// about `effort` characters of text; entries cost more than their characters, so many small
    /// ones end a step sooner.
    bool readSome(qsizetype effort, const EntryVisitor &visit);
    /// The result; valid after the last step.
    const Reading &reading() const { return found; }
    /// An estimate of the memory that the reader itself holds, in bytes.
    qsizetype memory() const;

private:
    /// The range in which ';' does not end an entry; -1 means that a marker is missing.
    struct IgnoreStretch
    {
        qsizetype start;
        qsizetype end;

        bool contains(qsizetype position) const
        {
            return start != -1 && start <= position && position <= end;
        }
        bool hasMarkers() const { return start != -1 || end != -1; }
    };

    void findToken();
    void visitSome(qsizetype effort, const EntryVisitor &visit);
    qsizetype beginSegment(const EntryVisitor &visit);
    qsizetype takeItem(const EntryVisitor &visit);
    QStringView nextSegment(QString &storage);

    QByteArrayView chunk; // as it was given
    enum class Step { Collapse, Find, Visit } step = Step::Collapse;
    Reading found;
    QString body;                         // the entries, without braces and quotes
    std::optional<IgnoreStretch> ignored; // of the body
    qsizetype segmentBegin = -1;          // of the next entry in the body; -1 if none is left
    // A list whose items are being read.
    bool isInList = false;
    QString listKey;
    QString listText;
    qsizetype itemBegin = 0;
    QStringList items;
};

/// Reads a whole chunk in one call.
Reading read(QByteArrayView chunk, const EntryVisitor &visit);

/// Writes a map in the server's form, in the map's own order, in pieces: so a long one is not in
/// memory twice and does not block the event loop.
class Writer
{
public:
    /// Copies the map in its present state.
    explicit Writer(TokenMap map) : token(std::move(map)) {}

    /// Appends about `size` characters; returns false after the last ones.
    bool writeSome(QString &text, qsizetype size);

private:
    enum class Step { Begin, Key, Value, TextEnd, ItemEnd, End };

    bool advance(QString &text);
    void beginValue(QString &text);
    void endItem(QString &text);

    TokenMap token;
    TokenMap::const_iterator entry;
    Step step = Step::Begin;
    QStringList items; // of the list that is being written
    qsizetype item = 0;
    QString pending; // the text that is being written
    qsizetype written = 0;
};

/// Writes the whole map in one call.
QString write(const TokenMap &token);

} // namespace TokenText
