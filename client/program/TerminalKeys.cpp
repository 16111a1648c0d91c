// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/TerminalKeys.h"

#include <QHash>
#include <QList>
#include <QRegularExpression>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillmote::TerminalKeys {
namespace {

constexpr char escape = '\x1b';
constexpr qsizetype longestSequence = 64;
const QByteArray pasteBegin = QByteArrayLiteral("\x1b[200~");
const QByteArray pasteEnd = QByteArrayLiteral("\x1b[201~");

/// What stands at the start of the bytes. The length is 0 if it is not complete.
struct Taken
{
    qsizetype length = 0;
    std::optional<Event> event;
};

Event strokeOf(const QString &key, const QStringList &modifiers)
{
    if (modifiers == QStringList{u"Control"_s} && (key == "]"_L1 || key == "\\"_L1)) {
        return key == "]"_L1 ? Event(Leave{}) : Event(SwitchMode{});
    }
    const bool isCharacter = key.toUcs4().size() == 1;
    const bool isPlain = modifiers.isEmpty() || modifiers == QStringList{u"Shift"_s};
    if (isCharacter && isPlain) {
        return Text{key};
    }
    return KeyStroke{isCharacter ? key.toLower() : key, modifiers};
}

/// The modifiers of a parameter as xterm counts them: one more than the sum of the bits.
QStringList modifiersIn(int parameter)
{
    static const QList<std::pair<int, QString>> bits = {
        {1, u"Shift"_s}, {2, u"Alt"_s}, {4, u"Control"_s}, {8, u"Meta"_s}};
    QStringList modifiers;
    for (const auto &[bit, name] : bits) {
        if (parameter > 0 && ((parameter - 1) & bit) != 0) {
            modifiers += name;
        }
    }
    return modifiers;
}

/// The key of "CSI 1 ; modifiers letter" and of "SS3 letter"; empty if there is none.
QString keyOfLetter(QChar letter)
{
    static const QHash<QChar, QString> keys = {
        {u'A', u"ArrowUp"_s},   {u'B', u"ArrowDown"_s}, {u'C', u"ArrowRight"_s},
        {u'D', u"ArrowLeft"_s}, {u'F', u"End"_s},       {u'H', u"Home"_s},
        {u'M', u"Enter"_s},     {u'P', u"F1"_s},        {u'Q', u"F2"_s},
        {u'R', u"F3"_s},        {u'S', u"F4"_s}};
    return keys.value(letter);
}

/// The key of "CSI number ; modifiers ~"; empty if there is none.
QString keyOfNumber(int number)
{
    static const QHash<int, QString> keys = {
        {1, u"Home"_s},        {2, u"Insert"_s}, {3, u"Delete"_s}, {4, u"End"_s},  {5, u"PageUp"_s},
        {6, u"PageDown"_s},    {7, u"Home"_s},   {8, u"End"_s},    {11, u"F1"_s},  {12, u"F2"_s},
        {13, u"F3"_s},         {14, u"F4"_s},    {15, u"F5"_s},    {17, u"F6"_s},  {18, u"F7"_s},
        {19, u"F8"_s},         {20, u"F9"_s},    {21, u"F10"_s},   {23, u"F11"_s}, {24, u"F12"_s},
        {29, u"ContextMenu"_s}};
    return keys.value(number);
}

/// The key of "CSI code ; modifiers u": a character, or one of kitty's numbers of other keys.
QString keyOfCode(int code)
{
    static const QHash<int, QString> keys = {{9, u"Tab"_s},
                                             {13, u"Enter"_s},
                                             {27, u"Escape"_s},
                                             {127, u"Backspace"_s},
                                             {57361, u"PrintScreen"_s},
                                             {57362, u"Pause"_s},
                                             {57363, u"ContextMenu"_s},
                                             {57409, u"."_s},
                                             {57410, u"/"_s},
                                             {57411, u"*"_s},
                                             {57412, u"-"_s},
                                             {57413, u"+"_s},
                                             {57414, u"Enter"_s},
                                             {57415, u"="_s},
                                             {57417, u"ArrowLeft"_s},
                                             {57418, u"ArrowRight"_s},
                                             {57419, u"ArrowUp"_s},
                                             {57420, u"ArrowDown"_s},
                                             {57421, u"PageUp"_s},
                                             {57422, u"PageDown"_s},
                                             {57423, u"Home"_s},
                                             {57424, u"End"_s},
                                             {57425, u"Insert"_s},
                                             {57426, u"Delete"_s}};
    constexpr int firstKeypadDigit = 57399;
    if (keys.contains(code)) {
        return keys.value(code);
    }
    if (code >= firstKeypadDigit && code < firstKeypadDigit + 10) {
        return QString::number(code - firstKeypadDigit);
    }
    const auto character = static_cast<char32_t>(code);
    const bool isOwnUse = code >= 0xe000 && code <= 0xf8ff;
    const bool isCharacter = code >= 0x20 && code <= 0x10ffff && !QChar::isSurrogate(character) &&
                             QChar::category(character) != QChar::Other_Control && !isOwnUse;
    return isCharacter ? QString::fromUcs4(&character, 1) : QString();
}

std::optional<Event> mouseEvent(int code, int column, int row, bool isDown)
{
    constexpr int motionBit = 32;
    constexpr int wheelBit = 64;
    constexpr int extraBit = 128;
    static const QList<Wheel> wheels = {{0, -1}, {0, 1}, {-1, 0}, {1, 0}};
    static const QStringList buttons = {u"left"_s, u"middle"_s, u"right"_s};
    static const QStringList extraButtons = {u"back"_s, u"forward"_s};
    const int number = code & 3;
    if ((code & motionBit) != 0) {
        return Motion{column, row};
    }
    if ((code & wheelBit) != 0) {
        return isDown ? std::optional<Event>(wheels[number]) : std::nullopt;
    }
    const QString button =
        (code & extraBit) != 0 ? extraButtons.value(number) : buttons.value(number);
    return button.isEmpty() ? std::nullopt : std::optional<Event>(MouseButton{button, isDown});
}

std::optional<Event> strokeIfAny(const QString &key, int modifiers)
{
    return key.isEmpty() ? std::nullopt : std::optional(strokeOf(key, modifiersIn(modifiers)));
}

/// The numbers between the semicolons; what follows a colon is left out. A missing one is 0.
QList<int> numbersIn(const QString &parameters)
{
    QList<int> numbers;
    for (const QString &part : parameters.split(u';')) {
        numbers += part.section(u':', 0, 0).toInt();
    }
    return numbers;
}

std::optional<Event> eventOf(QChar prefix, const QString &parameters, QChar letter)
{
    const QList<int> numbers = numbersIn(parameters);
    const int modifiers = numbers.value(1);
    if (prefix == u'<') {
        return letter == u'M' || letter == u'm' ? mouseEvent(numbers.value(0), numbers.value(1),
                                                             numbers.value(2), letter == u'M')
                                                : std::nullopt;
    }
    if (!prefix.isNull()) {
        return std::nullopt; // an answer of the terminal
    }
    if (letter == u'u') {
        return strokeIfAny(keyOfCode(numbers[0]), modifiers);
    }
    if (letter == u'~') {
        return numbers[0] == 27 ? strokeIfAny(keyOfCode(numbers.value(2)), modifiers)
                                : strokeIfAny(keyOfNumber(numbers[0]), modifiers);
    }
    if (letter == u'Z') {
        return KeyStroke{u"Tab"_s, {u"Shift"_s}};
    }
    return strokeIfAny(keyOfLetter(letter), modifiers);
}

QString typable(const QString &text)
{
    QString kept;
    for (const QChar character : text) {
        const bool isKept = character.category() != QChar::Other_Control || character == u'\n' ||
                            character == u'\r' || character == u'\t';
        if (isKept) {
            kept += character;
        }
    }
    return kept;
}

Taken pasteAtStart(const QByteArray &bytes)
{
    const qsizetype end = bytes.indexOf(pasteEnd);
    if (end < 0) {
        return {};
    }
    const QByteArray text = bytes.mid(pasteBegin.size(), end - pasteBegin.size());
    return {end + pasteEnd.size(), Text{typable(QString::fromUtf8(text))}};
}

Taken controlSequenceAtStart(const QByteArray &bytes)
{
    static const QRegularExpression form(uR"(^\x1b\[([<=>?]?)([0-9;:]*)[ -/]*([@-~]))"_s);
    const QString text = QString::fromLatin1(bytes.first(std::min(bytes.size(), longestSequence)));
    if (text.startsWith("\x1b[["_L1)) { // the Linux console's F1 to F5
        const int number = text.size() > 3 ? text[3].unicode() - u'A' + 1 : 0;
        const bool isKey = number >= 1 && number <= 5;
        return {text.size() > 3 ? 4 : 0,
                isKey ? std::optional<Event>(strokeOf(u'F' + QString::number(number), {}))
                      : std::nullopt};
    }
    const auto match = form.match(text);
    if (match.hasMatch()) {
        const QString prefix = match.captured(1);
        return {match.capturedLength(), eventOf(prefix.isEmpty() ? QChar() : prefix[0],
                                                match.captured(2), match.captured(3)[0])};
    }
    // Nothing that a terminal says; its first character is left out.
    static const QRegularExpression beginning(uR"(^\x1b\[[<=>?]?[0-9;:]*[ -/]*$)"_s);
    const bool mayFollow = text.size() < longestSequence && beginning.match(text).hasMatch();
    return {mayFollow ? 0 : 1, std::nullopt};
}

Event controlKey(char byte)
{
    switch (byte) {
    case '\r':
        return strokeOf(u"Enter"_s, {});
    case '\t':
        return strokeOf(u"Tab"_s, {});
    case '\x7f':
    case '\b':
        return strokeOf(u"Backspace"_s, {});
    case '\0':
        return strokeOf(u" "_s, {u"Control"_s});
    default:
        break;
    }
    // Letters, and behind them [ \ ] ^ _.
    const QChar character(static_cast<char16_t>(byte + 0x40));
    return strokeOf(QString(character).toLower(), {u"Control"_s});
}

bool isControl(char byte)
{
    return static_cast<unsigned char>(byte) < 0x20 || byte == '\x7f';
}

qsizetype lengthOfCharacter(char lead)
{
    const auto byte = static_cast<unsigned char>(lead);
    return byte < 0xc0 ? 1 : byte < 0xe0 ? 2 : byte < 0xf0 ? 3 : 4;
}

Taken characterAtStart(const QByteArray &bytes)
{
    const qsizetype length = lengthOfCharacter(bytes[0]);
    if (bytes.size() < length) {
        return {};
    }
    const QString text = typable(QString::fromUtf8(bytes.first(length)));
    const bool isBroken = text.isEmpty() || text.contains(QChar::ReplacementCharacter);
    return {isBroken ? 1 : length, isBroken ? std::nullopt : std::optional<Event>(Text{text})};
}

std::optional<Event> withAlt(const std::optional<Event> &event)
{
    if (event && std::holds_alternative<Text>(*event)) {
        return strokeOf(std::get<Text>(*event).text, {u"Alt"_s});
    }
    if (event && std::holds_alternative<KeyStroke>(*event)) {
        const KeyStroke &stroke = std::get<KeyStroke>(*event);
        return KeyStroke{stroke.key, QStringList{u"Alt"_s} + stroke.modifiers};
    }
    return event;
}

Taken keyAtStart(const QByteArray &bytes)
{
    return isControl(bytes[0]) ? Taken{1, controlKey(bytes[0])} : characterAtStart(bytes);
}

Taken escapeAtStart(const QByteArray &bytes)
{
    if (bytes.startsWith(pasteBegin)) {
        return pasteAtStart(bytes);
    }
    if (bytes.size() == 1) {
        return {};
    }
    if (bytes[1] == escape) {
        return {1, strokeOf(u"Escape"_s, {})};
    }
    if (bytes[1] == '[') {
        return controlSequenceAtStart(bytes);
    }
    if (bytes[1] == 'O') {
        return bytes.size() == 2 ? Taken{}
                                 : Taken{3, strokeIfAny(keyOfLetter(QLatin1Char(bytes[2])), 0)};
    }
    const Taken key = keyAtStart(bytes.mid(1, 4));
    return {key.length == 0 ? 0 : key.length + 1, withAlt(key.event)};
}

/// Characters that arrive together are one text.
void append(std::vector<Event> &events, const Event &event)
{
    const bool continues = !events.empty() && std::holds_alternative<Text>(event) &&
                           std::holds_alternative<Text>(events.back());
    if (continues) {
        std::get<Text>(events.back()).text += std::get<Text>(event).text;
    } else {
        events.push_back(event);
    }
}

} // namespace

std::vector<Event> take(QByteArray &bytes)
{
    std::vector<Event> events;
    qsizetype taken = 0;
    while (taken < bytes.size()) {
        // A paste may be long; all else is short.
        const QByteArray rest =
            QByteArray::fromRawData(bytes.constData() + taken, bytes.size() - taken);
        const Taken next = rest[0] == escape ? escapeAtStart(rest) : keyAtStart(rest);
        if (next.length == 0) {
            break;
        }
        if (next.event) {
            append(events, *next.event);
        }
        taken += next.length;
    }
    bytes.remove(0, taken);
    return events;
}

std::vector<Event> takeUnfinished(QByteArray &bytes)
{
    const bool isPaste = bytes.startsWith(pasteBegin);
    if (bytes.isEmpty() || bytes[0] != escape || isPaste) {
        return {};
    }
    const QByteArray ended = std::exchange(bytes, {});
    if (ended.size() == 2) {
        return {strokeOf(QString(QLatin1Char(ended[1])), {u"Alt"_s})};
    }
    return {strokeOf(u"Escape"_s, {})};
}

} // namespace quillmote::TerminalKeys
