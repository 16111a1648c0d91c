// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/TerminalInput.h"

#include <QHash>
#include <QRegularExpression>

#include <optional>

using namespace Qt::StringLiterals;

namespace quillmote::TerminalInput {
namespace {

constexpr char escape = '\x1b';
constexpr char leaveKey = '\x1d'; // Ctrl+]
constexpr int mouseMotionBit = 32;
constexpr int mouseWheelBit = 64;

/// A complete escape sequence and its meaning, if it has one.
struct Sequence
{
    qsizetype length = 0;
    std::optional<Event> event;
};

std::optional<Event> mouseEvent(const QRegularExpressionMatch &match)
{
    const int code = match.captured(1).toInt();
    if ((code & mouseWheelBit) != 0) {
        return std::nullopt;
    }
    if ((code & mouseMotionBit) != 0) {
        return MouseMotion{match.captured(2).toInt(), match.captured(3).toInt()};
    }
    const bool isPress = match.captured(4) == "M"_L1;
    return isPress ? std::optional<Event>(MousePress{code & 3}) : std::nullopt;
}

std::optional<Event> arrowEvent(QChar direction, bool isFast)
{
    switch (direction.unicode()) {
    case u'A':
        return Arrow{0, -1, isFast};
    case u'B':
        return Arrow{0, 1, isFast};
    case u'C':
        return Arrow{1, 0, isFast};
    case u'D':
        return Arrow{-1, 0, isFast};
    default:
        return std::nullopt;
    }
}

std::optional<Event> numberedKey(int number)
{
    static const QHash<int, int> functionKeys = {{11, 1}, {12, 2},  {13, 3},  {14, 4},
                                                 {15, 5}, {17, 6},  {18, 7},  {19, 8},
                                                 {20, 9}, {21, 10}, {23, 11}, {24, 12}};
    const int function = functionKeys.value(number);
    return function != 0 ? Event(FunctionKey{function}) : Event(Other{u"that key"_s});
}

Sequence sequenceAtStart(const QByteArray &bytes)
{
    static const QRegularExpression mouse(uR"(^\x1b\[<(\d{1,5});(\d{1,5});(\d{1,5})([Mm]))"_s);
    static const QRegularExpression arrow(uR"(^\x1b(?:\[|O)(?:1;(\d))?([ABCD]))"_s);
    static const QRegularExpression first(uR"(^\x1bO([PQRS]))"_s);
    static const QRegularExpression numbered(uR"(^\x1b\[(\d{1,3})(?:;\d)?~)"_s);
    static const QRegularExpression any(uR"(^\x1b(?:\[[0-9;<=>?]*[@-~]|O.|[^\[O]))"_s);
    const QString text = QString::fromLatin1(bytes.first(std::min<qsizetype>(bytes.size(), 32)));
    if (const auto match = mouse.match(text); match.hasMatch()) {
        return {match.capturedLength(), mouseEvent(match)};
    }
    if (const auto match = arrow.match(text); match.hasMatch()) {
        return {match.capturedLength(), arrowEvent(match.captured(2)[0], match.hasCaptured(1))};
    }
    if (const auto match = first.match(text); match.hasMatch()) {
        return {match.capturedLength(), FunctionKey{match.captured(1)[0].unicode() - u'P' + 1}};
    }
    if (const auto match = numbered.match(text); match.hasMatch()) {
        return {match.capturedLength(), numberedKey(match.captured(1).toInt())};
    }
    const auto match = any.match(text);
    return {match.capturedLength(), Other{u"that key"_s}};
}

std::optional<Event> controlEvent(char byte)
{
    switch (byte) {
    case leaveKey:
        return Leave{};
    case '\r':
        return Other{u"Return"_s};
    case '\t':
        return Other{u"Tab"_s};
    case '\x7f':
    case '\b':
        return Other{u"Backspace"_s};
    default:
        break;
    }
    if (byte >= 1 && byte <= 26) {
        return ControlLetter{QChar(u'A' + byte - 1)};
    }
    return Other{u"that key"_s};
}

/// The UTF-8 character at the start; the length is 0 if it is not complete.
Sequence characterAtStart(const QByteArray &bytes)
{
    const auto lead = static_cast<unsigned char>(bytes[0]);
    const qsizetype length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    if (bytes.size() < length) {
        return {};
    }
    const QString text = QString::fromUtf8(bytes.first(length));
    return {length, text.size() == 1 ? Event(Character{text[0]}) : Event(Other{text})};
}

Sequence eventAtStart(const QByteArray &bytes)
{
    if (bytes[0] == escape) {
        // A single escape character is the key itself.
        return bytes.size() == 1 ? Sequence{1, Other{u"Escape"_s}} : sequenceAtStart(bytes);
    }
    const auto byte = static_cast<unsigned char>(bytes[0]);
    return byte < 0x20 || byte == 0x7f ? Sequence{1, controlEvent(bytes[0])}
                                       : characterAtStart(bytes);
}

} // namespace

std::vector<Event> take(QByteArray &bytes)
{
    std::vector<Event> events;
    while (!bytes.isEmpty()) {
        const Sequence sequence = eventAtStart(bytes);
        if (sequence.length == 0) {
            break;
        }
        if (sequence.event) {
            events.push_back(*sequence.event);
        }
        bytes.remove(0, sequence.length);
    }
    return events;
}

} // namespace quillmote::TerminalInput
