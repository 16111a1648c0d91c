// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/http/HttpReader.h"

#include <QList>

#include <algorithm>
#include <array>

namespace quillmote {
namespace {

constexpr int badRequest = 400;
constexpr int methodNotAllowed = 405;
constexpr int upgradeRequired = 426;
constexpr int headTooLarge = 431;
constexpr int versionNotSupported = 505;

constexpr int mostFields = 64;

/// The fields that are read. None of them may come twice.
struct Fields
{
    std::optional<QByteArray> host;
    std::optional<QByteArray> origin;
    std::optional<QByteArray> acceptEncoding;
    std::optional<QByteArray> connection;
    std::optional<QByteArray> upgrade;
    std::optional<QByteArray> webSocketKey;
    std::optional<QByteArray> webSocketVersion;
    std::optional<QByteArray> contentLength;
    std::optional<QByteArray> transferEncoding;

    std::optional<QByteArray> *named(const QByteArray &lowerName)
    {
        struct Named
        {
            const char *name;
            std::optional<QByteArray> Fields::*field;
        };
        static constexpr std::array<Named, 9> all{
            {{"host", &Fields::host},
             {"origin", &Fields::origin},
             {"accept-encoding", &Fields::acceptEncoding},
             {"connection", &Fields::connection},
             {"upgrade", &Fields::upgrade},
             {"sec-websocket-key", &Fields::webSocketKey},
             {"sec-websocket-version", &Fields::webSocketVersion},
             {"content-length", &Fields::contentLength},
             {"transfer-encoding", &Fields::transferEncoding}}};
        const auto *found = std::find_if(all.begin(), all.end(), [&](const Named &candidate) {
            return lowerName == candidate.name;
        });
        return found == all.end() ? nullptr : &(this->*(found->field));
    }
};

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// A character of a field's name (RFC 9110, "token").
bool isTokenCharacter(char c)
{
    return isLetter(c) || isDigit(c) || QByteArrayView("!#$%&'*+-.^_`|~").contains(c);
}

/// Letters of other alphabets are allowed: another program of the same computer may have left a
/// cookie with some.
bool isAllowed(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 0x20 && byte != 0x7f) || c == '\t' || c == '\r' || c == '\n';
}

/// The text before the character, or all of it.
QByteArray before(char end, const QByteArray &text)
{
    const qsizetype place = text.indexOf(end);
    return place < 0 ? text : text.first(place);
}

QList<QByteArray> listed(const std::optional<QByteArray> &field)
{
    QList<QByteArray> parts = field.value_or(QByteArray()).toLower().split(',');
    for (QByteArray &part : parts) {
        part = part.trimmed();
    }
    return parts;
}

/// Whether a coding of Accept-Encoding is "deflate", and not one that is never to be used.
bool allowsDeflate(const QByteArray &coding)
{
    const qsizetype semicolon = coding.indexOf(';');
    if (before(';', coding).trimmed() != "deflate") {
        return false;
    }
    const QByteArray weight = semicolon < 0 ? "q=1" : coding.mid(semicolon + 1).trimmed();
    const QByteArrayView number =
        QByteArrayView(weight).sliced(std::min<qsizetype>(2, weight.size()));
    const bool isNumber =
        std::all_of(number.begin(), number.end(), [](char c) { return isDigit(c) || c == '.'; });
    return weight.startsWith("q=") && isNumber &&
           std::any_of(number.begin(), number.end(), [](char c) { return c > '0'; });
}

/// One connection's head, line by line.
class Head
{
public:
    /// Takes a line without its end. 0, or the status of the refusal.
    int take(QByteArrayView line) { return isStarted ? takeField(line) : takeRequestLine(line); }
    /// At the empty line. 0, or the status of the refusal.
    int finish();

    HttpRequest request;

private:
    int takeRequestLine(QByteArrayView line);
    int takeField(QByteArrayView line);
    int finishUpgrade();

    bool isStarted = false;
    int count = 0;
    Fields fields;
};

int Head::takeRequestLine(QByteArrayView line)
{
    const QList<QByteArray> parts = line.toByteArray().split(' ');
    if (parts.size() != 3) {
        return badRequest;
    }
    const QByteArray &target = parts[1];
    const bool isPrintable =
        std::all_of(target.begin(), target.end(), [](char c) { return c > ' ' && c < '\x7f'; });
    if (!target.startsWith('/') || !isPrintable || target.contains('#')) {
        return badRequest;
    }
    if (parts[2] != "HTTP/1.1") {
        const QByteArray &version = parts[2];
        const bool isOther = version.size() == 8 && version.startsWith("HTTP/") &&
                             isDigit(version[5]) && version[6] == '.' && isDigit(version[7]);
        return isOther ? versionNotSupported : badRequest;
    }
    isStarted = true;
    request.isHead = parts[0] == "HEAD";
    request.path = before('?', target);
    return 0;
}

int Head::takeField(QByteArrayView line)
{
    if (++count > mostFields) {
        return headTooLarge;
    }
    const qsizetype colon = line.indexOf(':');
    // A name of no characters, and one that begins with a blank: a line that continues the last
    // one.
    if (colon < 1 || !std::all_of(line.begin(), line.begin() + colon, isTokenCharacter)) {
        return badRequest;
    }
    auto *field = fields.named(line.first(colon).toByteArray().toLower());
    if (field == nullptr) {
        return 0;
    }
    if (field->has_value()) {
        return badRequest;
    }
    *field = line.sliced(colon + 1).toByteArray().trimmed();
    return 0;
}

int Head::finish()
{
    const bool hasBody = fields.contentLength.value_or("0") != "0" || fields.transferEncoding;
    if (!isStarted || hasBody || fields.host.value_or(QByteArray()).isEmpty()) {
        return badRequest;
    }
    request.host = *fields.host;
    request.origin = fields.origin.value_or(QByteArray());
    const QList<QByteArray> codings = listed(fields.acceptEncoding);
    request.takesDeflate = std::any_of(codings.begin(), codings.end(), allowsDeflate);
    // Offers of other protocols may be ignored.
    request.wantsSocket = listed(fields.upgrade).contains("websocket");
    return request.wantsSocket ? finishUpgrade() : 0;
}

int Head::finishUpgrade()
{
    const QByteArray text = fields.webSocketKey.value_or(QByteArray());
    const auto key = QByteArray::fromBase64Encoding(text, QByteArray::AbortOnBase64DecodingErrors);
    if (request.isHead || !listed(fields.connection).contains("upgrade") || !key ||
        text.size() != 24 || key.decoded.size() != 16) {
        return badRequest;
    }
    return fields.webSocketVersion == QByteArray("13") ? 0 : upgradeRequired;
}

/// Where the method is none of ours, at the first byte that shows it: nobody has to send more to
/// learn it. 0, or the status of the refusal.
int methodRefusal(QByteArrayView bytes)
{
    const QByteArrayView method = bytes.startsWith('H') ? "HEAD " : "GET ";
    const qsizetype size = std::min(bytes.size(), method.size());
    const auto end = bytes.begin() + size;
    const auto other = std::mismatch(bytes.begin(), end, method.begin()).first;
    if (other == end) {
        return 0;
    }
    return isLetter(*other) ? methodNotAllowed : badRequest;
}

} // namespace

HttpReading readHttp(QByteArrayView bytes)
{
    if (const int refusal = methodRefusal(bytes); refusal != 0) {
        return {std::nullopt, 0, refusal};
    }
    Head head;
    qsizetype start = 0;
    const qsizetype size = std::min(bytes.size(), longestHttpHead);
    for (qsizetype i = 0; i < size; ++i) {
        const bool isBehindReturn = i > 0 && bytes[i - 1] == '\r';
        if (!isAllowed(bytes[i]) || isBehindReturn != (bytes[i] == '\n')) {
            return {std::nullopt, 0, badRequest};
        }
        if (bytes[i] != '\n') {
            continue;
        }
        const QByteArrayView line = bytes.sliced(start, i - 1 - start);
        const int refusal = line.isEmpty() ? head.finish() : head.take(line);
        if (refusal != 0) {
            return {std::nullopt, 0, refusal};
        }
        if (line.isEmpty()) {
            return {head.request, i + 1, 0};
        }
        start = i + 1;
    }
    return {std::nullopt, 0, size == longestHttpHead ? headTooLarge : 0};
}

} // namespace quillmote
