// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <map>
#include <string>
#include <vector>

/// The rules of a shortcut, implemented once more without the toolkit, to compare the real parser
/// with. Only keys that can be typed are in the table: names with lowercase letters are not.
namespace NaiveShortcut {

struct Result
{
    bool isTyped = false;
    bool namesAKey = false; // some token is not a modifier
    unsigned code = 0;
    unsigned long flags = 0;
};

inline const std::map<std::string, unsigned> &typableKeys()
{
    static const std::map<std::string, unsigned> keys = {
        {"A", 0},     {"B", 11},    {"C", 8},     {"D", 2},     {"E", 14},    {"F", 3},
        {"G", 5},     {"H", 4},     {"I", 34},    {"J", 38},    {"K", 40},    {"L", 37},
        {"M", 46},    {"N", 45},    {"O", 31},    {"P", 35},    {"Q", 12},    {"R", 15},
        {"S", 1},     {"T", 17},    {"U", 32},    {"V", 9},     {"W", 13},    {"X", 7},
        {"Y", 16},    {"Z", 6},     {"0", 29},    {"1", 18},    {"2", 19},    {"3", 20},
        {"4", 21},    {"5", 23},    {"6", 22},    {"7", 26},    {"8", 28},    {"9", 25},
        {"=", 24},    {"-", 27},    {"[", 30},    {"]", 33},    {"'", 39},    {";", 41},
        {"\\", 42},   {",", 43},    {"/", 44},    {" ", 49},    {"F1", 122},  {"F2", 120},
        {"F3", 99},   {"F4", 118},  {"F5", 96},   {"F6", 97},   {"F7", 98},   {"F8", 100},
        {"F9", 101},  {"F10", 109}, {"F11", 103}, {"F12", 111}, {"F13", 105}, {"F14", 107},
        {"F15", 113}, {"F16", 106}, {"F17", 64},  {"F18", 79},  {"F19", 80},  {"F20", 90},
    };
    return keys;
}

inline unsigned long flagOf(const std::string &token)
{
    if (token == "Cmd") {
        return 0x100000;
    }
    if (token == "Alt") {
        return 0x80000;
    }
    if (token == "Ctrl") {
        return 0x40000;
    }
    return token == "Shift" ? 0x20000 : 0;
}

inline std::vector<std::string> tokensOf(const std::string &shortcut)
{
    std::vector<std::string> tokens(1);
    for (const char character : shortcut) {
        if (character == '+') {
            tokens.emplace_back();
        } else {
            tokens.back() += character;
        }
    }
    return tokens;
}

inline std::string inCapitals(std::string text)
{
    for (char &character : text) {
        if (character >= 'a' && character <= 'z') {
            character = static_cast<char>(character - 'a' + 'A');
        }
    }
    return text;
}

/// One byte a character. Beyond ASCII no character is a key, nor are its capitals.
inline Result parse(const std::string &shortcut)
{
    Result result;
    std::string key;
    for (const std::string &token : tokensOf(shortcut)) {
        if (flagOf(token) != 0) {
            result.flags |= flagOf(token);
        } else {
            key = token;
            result.namesAKey = true;
        }
    }
    const auto found = typableKeys().find(inCapitals(key));
    result.isTyped = result.namesAKey && found != typableKeys().end();
    result.code = result.isTyped ? found->second : 0;
    return result;
}

} // namespace NaiveShortcut
