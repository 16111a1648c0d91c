// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "interaction/KeyTable.h"

#include <QHash>

#include <array>

using namespace Qt::StringLiterals;

namespace KeyTable {
namespace {

// By design: "[" and "]" have each other's code, and "UArrow" has one that no keyboard has.
// Existing handhelds rely on it.
constexpr auto table = std::to_array<Row>({
    {"A"_L1, 0},        {"B"_L1, 11},        {"C"_L1, 8},        {"D"_L1, 2},
    {"E"_L1, 14},       {"F"_L1, 3},         {"G"_L1, 5},        {"H"_L1, 4},
    {"I"_L1, 34},       {"J"_L1, 38},        {"K"_L1, 40},       {"L"_L1, 37},
    {"M"_L1, 46},       {"N"_L1, 45},        {"O"_L1, 31},       {"P"_L1, 35},
    {"Q"_L1, 12},       {"R"_L1, 15},        {"S"_L1, 1},        {"T"_L1, 17},
    {"U"_L1, 32},       {"V"_L1, 9},         {"W"_L1, 13},       {"X"_L1, 7},
    {"Y"_L1, 16},       {"Z"_L1, 6},         {"1"_L1, 18},       {"2"_L1, 19},
    {"3"_L1, 20},       {"4"_L1, 21},        {"6"_L1, 22},       {"5"_L1, 23},
    {"="_L1, 24},       {"9"_L1, 25},        {"7"_L1, 26},       {"-"_L1, 27},
    {"8"_L1, 28},       {"0"_L1, 29},        {"["_L1, 30},       {"]"_L1, 33},
    {"'"_L1, 39},       {";"_L1, 41},        {"\\"_L1, 42},      {","_L1, 43},
    {"/"_L1, 44},       {"Ret"_L1, 36},      {"Tab"_L1, 48},     {" "_L1, 49},
    {"Del"_L1, 51},     {"FDel"_L1, 117},    {"Esc"_L1, 53},     {"Cmd"_L1, 55},
    {"Shift"_L1, 56},   {"CapsLock"_L1, 57}, {"Alt"_L1, 58},     {"Ctrl"_L1, 59},
    {"RShift"_L1, 60},  {"RAlt"_L1, 61},     {"RCtrl"_L1, 62},   {"Fn"_L1, 63},
    {"VolUp"_L1, 72},   {"VolDown"_L1, 73},  {"Mute"_L1, 74},    {"F1"_L1, 122},
    {"F2"_L1, 120},     {"F3"_L1, 99},       {"F4"_L1, 118},     {"F5"_L1, 96},
    {"F6"_L1, 97},      {"F7"_L1, 98},       {"F8"_L1, 100},     {"F9"_L1, 101},
    {"F10"_L1, 109},    {"F11"_L1, 103},     {"F12"_L1, 111},    {"F13"_L1, 105},
    {"F14"_L1, 107},    {"F15"_L1, 113},     {"F16"_L1, 106},    {"F17"_L1, 64},
    {"F18"_L1, 79},     {"F19"_L1, 80},      {"F20"_L1, 90},     {"Help"_L1, 114},
    {"Home"_L1, 115},   {"PUp"_L1, 116},     {"End"_L1, 119},    {"PDown"_L1, 121},
    {"LArrow"_L1, 123}, {"RArrow"_L1, 124},  {"DArrow"_L1, 125}, {"UArrow"_L1, 130},
});

} // namespace

std::span<const Row> rows()
{
    return table;
}

std::optional<platform::KeyCode> codeOf(const QString &name)
{
    static const QHash<QString, platform::KeyCode> codes = [] {
        QHash<QString, platform::KeyCode> byName;
        for (const Row &row : table) {
            byName.insert(row.name, row.code);
        }
        return byName;
    }();
    const auto found = codes.constFind(name);
    return found == codes.cend() ? std::nullopt : std::optional(*found);
}

} // namespace KeyTable
