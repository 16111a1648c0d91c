// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The input is one chunk of a connection. The reader visits the entries that the naive reader
// finds, in their order; the connection stores them, announces the token or not, and says the same.

#include "doubles/MemorySocket.h"
#include "fuzz/Finding.h"
#include "net/ClientHandler.h"
#include "support/MessageRecorder.h"
#include "unit/net/NaiveTokenReader.h"

#include <cstddef>
#include <cstdint>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

using NaiveTokenReader::Outcome;

struct Entry
{
    QString key;
    QVariant value;

    bool operator==(const Entry &) const = default;
};

QDebug operator<<(QDebug stream, const Entry &entry)
{
    return stream << entry.key << '=' << entry.value;
}

QString text(const std::string &latin1)
{
    return QString::fromLatin1(latin1.data(), static_cast<qsizetype>(latin1.size()));
}

QVariant variant(const NaiveTokenReader::Value &value)
{
    if (!value.isList) {
        return text(value.texts.front());
    }
    QStringList items;
    for (const std::string &item : value.texts) {
        items.append(text(item));
    }
    return items;
}

QList<Entry> entries(const NaiveTokenReader::Result &naive)
{
    QList<Entry> list;
    for (const auto &[key, value] : naive.entries) {
        list.append({text(key), variant(value)});
    }
    return list;
}

TokenMap mapOf(const QList<Entry> &list)
{
    TokenMap map;
    for (const Entry &entry : list) {
        map.insert(entry.key, entry.value);
    }
    return map;
}

QStringList messagesFor(const NaiveTokenReader::Result &naive)
{
    switch (naive.outcome) {
    case Outcome::Bad:
        return {u"debug: Bad token :  \""_s + text(naive.collapsedText) + u"\" "_s};
    case Outcome::Fixed:
        return {u"debug: Fix token... "_s};
    default:
        return {};
    }
}

bool isToken(const NaiveTokenReader::Result &naive)
{
    return naive.outcome == Outcome::Read || naive.outcome == Outcome::Fixed;
}

void compareReader(const QByteArray &chunk, const QList<Entry> &expected)
{
    QList<Entry> visited;
    TokenText::read(chunk, [&visited](const QString &key, const QVariant &value) {
        visited.append({key, value});
    });
    Finding::requireEqual(visited, expected, "the reader visits other entries");
}

void compareConnection(const QByteArray &chunk, const NaiveTokenReader::Result &naive,
                       const TokenMap &expected)
{
    const MessageRecorder messages;
    MemorySocket socket;
    const auto handler = std::make_unique<ClientHandler>(&socket);
    int announced = 0;
    QObject::connect(handler.get(), &ClientHandler::tokenAvailable, &socket,
                     [&announced] { ++announced; });
    socket.receive(chunk);
    QMetaObject::invokeMethod(handler.get(), "readyRead", Qt::DirectConnection);
    Finding::requireEqual(handler->token, expected, "the map holds other entries");
    Finding::requireEqual(announced, isToken(naive) ? 1 : 0, "the token is announced otherwise");
    Finding::requireEqual(messages.all(), messagesFor(naive), "other messages");
    Finding::require(!handler->parseToken(), "something is left in the receive buffer");
    Finding::require(socket.takeWritten().isEmpty(), "an answer that nobody gave");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string bytes(reinterpret_cast<const char *>(data), size);
    const QByteArray chunk = QByteArray::fromStdString(bytes);
    const NaiveTokenReader::Result naive = NaiveTokenReader::read(bytes);
    const QList<Entry> expected = entries(naive);
    compareReader(chunk, expected);
    compareConnection(chunk, naive, mapOf(expected));
    return 0;
}
