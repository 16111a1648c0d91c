// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QStringDecoder>

#include <string_view>

/// What must and what must not be taken for the text of a message. The toolkit reads more than JSON
/// allows (unknown escapes, control characters), so between the two everything may be.
namespace NaiveWireText {

constexpr int deepest = 32;

inline bool isUtf8(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder(bytes);
    return !decoder.hasError() && !decoded.isNull();
}

/// Reads one value by the rules of RFC 8259, with plain escapes and short numbers only.
class Reader
{
public:
    explicit Reader(std::string_view text) : rest(text) {}

    bool isOneObject() { return !rest.empty() && rest.front() == '{' && value(1) && rest.empty(); }

private:
    bool take(char character)
    {
        if (rest.empty() || rest.front() != character) {
            return false;
        }
        rest.remove_prefix(1);
        return true;
    }
    void skipBlanks()
    {
        while (take(' ') || take('\t') || take('\r')) {
        }
    }
    bool word(std::string_view expected)
    {
        if (!rest.starts_with(expected)) {
            return false;
        }
        rest.remove_prefix(expected.size());
        return true;
    }
    bool number()
    {
        take('-');
        if (take('0')) {
            return true;
        }
        int digits = 0;
        while (!rest.empty() && rest.front() >= '0' && rest.front() <= '9') {
            rest.remove_prefix(1);
            ++digits;
        }
        return digits > 0 && digits <= 15;
    }
    bool string()
    {
        if (!take('"')) {
            return false;
        }
        while (!take('"')) {
            if (take('\\')) {
                if (!take('"') && !take('\\') && !take('n')) {
                    return false;
                }
            } else if (rest.empty() || (rest.front() >= 0 && rest.front() < ' ')) {
                return false;
            } else {
                rest.remove_prefix(1);
            }
        }
        return true;
    }
    bool members(int depth)
    {
        skipBlanks();
        if (take('}')) {
            return true;
        }
        do {
            skipBlanks();
            if (!string()) {
                return false;
            }
            skipBlanks();
            if (!take(':') || !value(depth)) {
                return false;
            }
        } while (take(','));
        return take('}');
    }
    bool elements(int depth)
    {
        skipBlanks();
        if (take(']')) {
            return true;
        }
        do {
            if (!value(depth)) {
                return false;
            }
        } while (take(','));
        return take(']');
    }
    /// `depth` is that of an object or a list that begins here.
    bool value(int depth)
    {
        skipBlanks();
        bool isRead = false;
        if (take('{')) {
            isRead = depth <= deepest && members(depth + 1);
        } else if (take('[')) {
            isRead = depth <= deepest && elements(depth + 1);
        } else {
            isRead = word("true") || word("false") || word("null") ||
                     (rest.starts_with('"') ? string() : number());
        }
        if (depth > 1) {
            skipBlanks();
        }
        return isRead;
    }

    std::string_view rest;
};

/// Brackets outside of texts, at their deepest.
inline int depthOf(const QByteArray &line)
{
    int depth = 0;
    int reached = 0;
    bool isInside = false;
    bool isEscaped = false;
    for (const char character : line) {
        if (isEscaped) {
            isEscaped = false;
        } else if (isInside) {
            isEscaped = character == '\\';
            isInside = character != '"';
        } else {
            isInside = character == '"';
            depth += character == '{' || character == '[' ? 1 : 0;
            depth -= character == '}' || character == ']' ? 1 : 0;
            reached = std::max(reached, depth);
        }
    }
    return reached;
}

inline bool mustBeTaken(const QByteArray &bytes)
{
    const qsizetype end = bytes.indexOf('\n');
    const QByteArray line = bytes.first(std::max<qsizetype>(end, 0));
    return end > 0 && isUtf8(line) && Reader({line.data(), size_t(line.size())}).isOneObject();
}

inline bool mustBeRefused(const QByteArray &bytes)
{
    const qsizetype end = bytes.indexOf('\n');
    const QByteArray line = bytes.first(std::max<qsizetype>(end, 0));
    return end <= 0 || !line.startsWith('{') || !isUtf8(line) || depthOf(line) > deepest;
}

} // namespace NaiveWireText
