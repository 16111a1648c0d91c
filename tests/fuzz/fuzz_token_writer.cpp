// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// Each line of the input puts an entry into a connection's map: its kind (t text, l list, n number,
// b boolean), then key, value or items in UTF-8, each behind a tab. The writer gives what the naive
// writer gives, the connection sends it so, and where it has one meaning only the handheld reads
// the map that was written.

#include "doubles/MemorySocket.h"
#include "fuzz/Finding.h"
#include "fuzz/NaiveTokenWriter.h"
#include "lib/AnswerReader.h"
#include "net/ClientHandler.h"

#include <QStringList>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

QVariant valueOf(char kind, const QStringList &texts)
{
    const QString first = texts.value(0);
    switch (kind) {
    case 'l':
        return texts;
    case 'n':
        return first.toInt();
    case 'b':
        return first == "true"_L1;
    default:
        return first;
    }
}

TokenMap mapOf(const QByteArray &input)
{
    TokenMap map;
    for (const QByteArray &line : input.split('\n')) {
        QStringList texts = QString::fromUtf8(line.mid(1)).split(u'\t');
        texts.removeFirst();
        if (!texts.isEmpty()) {
            const QString key = texts.takeFirst();
            map.insert(key, valueOf(line[0], texts));
        }
    }
    return map;
}

/// As text, a number is plain digits and a boolean is a word.
QString plainText(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
        return QString::fromStdString(std::to_string(value.toInt()));
    case QMetaType::Bool:
        return value.toBool() ? u"true"_s : u"false"_s;
    default:
        return value.toString();
    }
}

bool isList(const QVariant &value)
{
    return value.typeId() == QMetaType::QStringList;
}

QStringList textsOf(const QVariant &value)
{
    return isList(value) ? value.toStringList() : QStringList(plainText(value));
}

std::u16string naivelyWritten(const TokenMap &map)
{
    std::vector<NaiveTokenWriter::Entry> entries;
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        entries.push_back({entry.key().toStdU16String(), isList(*entry), {}});
        for (const QString &text : textsOf(*entry)) {
            entries.back().texts.push_back(text.toStdU16String());
        }
    }
    return NaiveTokenWriter::write(entries);
}

bool isLatin(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() <= 0xff; });
}

bool isPlainText(const QString &text)
{
    return isLatin(text) && !text.contains(u'"');
}

bool isPlainKey(const QString &key)
{
    const bool looksLikeAnEnd = key.startsWith(u"}{"_s) && key.size() > 2 && key[2] != u' ';
    return isPlainText(key) && !key.contains(u" ="_s) && !looksLikeAnEnd;
}

/// An item after another one follows a quote, so its beginning may look like the end of the list.
bool looksLikeEnds(const QStringList &items)
{
    return std::any_of(items.begin() + std::min<qsizetype>(items.size(), 1), items.end(),
                       [](const QString &item) { return item.startsWith(u" );"_s); });
}

/// True when the written form can be read in one way only.
bool isUnambiguous(const TokenMap &map)
{
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        const QStringList texts = textsOf(*entry);
        if (!isPlainKey(entry.key()) || looksLikeEnds(texts) ||
            !std::all_of(texts.begin(), texts.end(), isPlainText)) {
            return false;
        }
    }
    return true;
}

/// What the handheld makes of the map: numbers and booleans arrive as texts.
TokenMap asRead(TokenMap map)
{
    for (QVariant &value : map) {
        if (!isList(value)) {
            value = plainText(value);
        }
    }
    return map;
}

void compareHandheld(const TokenMap &map, const QByteArray &sent)
{
    quillmote::AnswerReader reader;
    reader.append(sent);
    const std::optional<quillmote::Answer> answer = reader.take();
    Finding::require(answer.has_value(), "the handheld finds no answer");
    Finding::requireEqual(answer->entries, asRead(map), "the handheld reads another map");
    Finding::requireEqual(reader.size(), qsizetype(0), "the handheld leaves some of the answer");
}

QByteArray sentBy(const TokenMap &map)
{
    MemorySocket socket;
    const auto handler = std::make_unique<ClientHandler>(&socket);
    handler->token = map;
    Finding::requireEqual(handler->packageToken(), TokenText::write(map), "another package");
    handler->sendToken();
    Finding::requireEqual(handler->token, map, "sending changes the map");
    return socket.takeWritten();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const TokenMap map =
        mapOf(QByteArray(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)));
    const std::u16string expected = naivelyWritten(map);
    Finding::requireEqual(TokenText::write(map), QString::fromStdU16String(expected),
                          "the writer writes another text");
    const QByteArray sent = sentBy(map);
    Finding::requireEqual(sent, QByteArray::fromStdString(NaiveTokenWriter::onTheWire(expected)),
                          "other bytes are sent");
    if (isUnambiguous(map)) {
        compareHandheld(map, sent);
    }
    return 0;
}
