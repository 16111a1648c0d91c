// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <utility>
#include <vector>

/// The rules of reading a token, written step by step with no regard for speed or elegance and
/// without the toolkit: the real reader is compared with this.
///
/// One byte a character, Latin-1. White space is the blank, the control characters 9 to 13, the
/// next line (0x85) and the no-break space (0xa0).
namespace NaiveTokenReader {

using Position = long;

struct Value
{
    bool isList = false;
    std::vector<std::string> texts; // a single one unless it is a list
};

enum class Outcome { Silent, Bad, Read, Fixed };

struct Result
{
    Outcome outcome = Outcome::Silent;
    std::vector<std::pair<std::string, Value>> entries;
    /// The chunk with its white space collapsed; a message shows it when the outcome is Bad.
    std::string collapsedText;
};

inline Position size(const std::string &text)
{
    return static_cast<Position>(text.size());
}

inline bool isBlank(char character)
{
    return character == ' ' || (character >= 9 && character <= 13) || character == '\x85' ||
           character == '\xa0';
}

inline Position firstFrom(const std::string &text, const std::string &part, Position from)
{
    for (Position at = from; at + size(part) <= size(text); ++at) {
        if (text.compare(static_cast<size_t>(at), part.size(), part) == 0) {
            return at;
        }
    }
    return -1;
}

inline Position last(const std::string &text, const std::string &part)
{
    Position found = -1;
    for (Position at = firstFrom(text, part, 0); at != -1; at = firstFrom(text, part, at + 1)) {
        found = at;
    }
    return found;
}

/// From begin up to, not including, end; both are cut to what there is.
inline std::string stretch(const std::string &text, Position begin, Position end)
{
    std::string found;
    for (Position at = begin; at < end; ++at) {
        if (at >= 0 && at < size(text)) {
            found += text[static_cast<size_t>(at)];
        }
    }
    return found;
}

inline std::string trimmed(std::string text)
{
    while (!text.empty() && isBlank(text.front())) {
        text.erase(0, 1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.pop_back();
    }
    return text;
}

inline std::string withoutLast(const std::string &text)
{
    return stretch(text, 0, size(text) - 1);
}

inline std::string withoutFirst(const std::string &text)
{
    return stretch(text, 1, size(text));
}

inline std::string without(const std::string &text, const std::string &part)
{
    std::string rest;
    Position from = 0;
    for (Position at = firstFrom(text, part, 0); at != -1; at = firstFrom(text, part, from)) {
        rest += stretch(text, from, at);
        from = at + size(part);
    }
    return rest + stretch(text, from, size(text));
}

inline std::string collapsed(const std::string &bytes)
{
    std::string text;
    for (const char byte : bytes) {
        if (byte == '\0') {
            break;
        }
        if (!isBlank(byte)) {
            text += byte;
        } else if (!text.empty() && text.back() != ' ') {
            text += ' ';
        }
    }
    return trimmed(text);
}

inline std::vector<std::string> splitAtCommas(const std::string &text)
{
    std::vector<std::string> items;
    Position from = 0;
    for (Position at = firstFrom(text, ", ", 0); at != -1; at = firstFrom(text, ", ", from)) {
        items.push_back(stretch(text, from, at));
        from = at + 2;
    }
    items.push_back(stretch(text, from, size(text)));
    return items;
}

inline Value valueOf(const std::string &text)
{
    if (text.empty() || text.front() != '(') {
        return {false, {text}};
    }
    return {true, splitAtCommas(trimmed(withoutFirst(withoutLast(text))))};
}

inline std::vector<Position> splitPoints(const std::string &text)
{
    const Position ignoreStart = firstFrom(text, "[[[IGNORE]]]", 0);
    const Position ignoreEnd = firstFrom(text, "[[[ENDIGNORE]]]", 0);
    std::vector<Position> points;
    for (Position at = 1; at < size(text); ++at) {
        if (text[static_cast<size_t>(at)] != ';') {
            continue;
        }
        const bool isSkipped = ignoreStart != -1 && ignoreStart <= at && at <= ignoreEnd;
        if (!isSkipped) {
            points.push_back(at);
        }
    }
    points.push_back(size(text));
    return points;
}

inline std::vector<std::pair<std::string, Value>> entriesOf(const std::string &text)
{
    std::vector<std::pair<std::string, Value>> entries;
    Position begin = 0;
    for (const Position end : splitPoints(text)) {
        std::string segment = stretch(text, begin, end);
        begin = end + 1;
        segment = without(segment, "[[[IGNORE]]]");
        segment = without(segment, "[[[ENDIGNORE]]]");
        const Position equals = firstFrom(segment, " = ", 0);
        const std::string key = equals == -1 ? segment : stretch(segment, 0, equals);
        const std::string value = stretch(segment, equals == -1 ? 2 : equals + 3, size(segment));
        entries.emplace_back(trimmed(key), valueOf(trimmed(value)));
    }
    return entries;
}

inline Result read(const std::string &bytes)
{
    const std::string whole = collapsed(bytes);
    std::string text = whole;
    const Position open = firstFrom(text, "{ ", 0);
    const Position close = last(text, " }");
    if (open == -1 || close == -1) {
        return {Outcome::Silent, {}, whole};
    }
    if (open > close) {
        return {Outcome::Bad, {}, whole};
    }
    Outcome outcome = Outcome::Read;
    if (open != 0) {
        const Position brace = firstFrom(text, "{", 2);
        if (close > brace) {
            outcome = Outcome::Fixed;
            text = stretch(text, brace == -1 ? 0 : brace, close + 2);
        }
    }
    text = without(text, "\"");
    text = withoutFirst(withoutLast(text));
    text = withoutLast(trimmed(text));
    return {outcome, entriesOf(text), whole};
}

} // namespace NaiveTokenReader
