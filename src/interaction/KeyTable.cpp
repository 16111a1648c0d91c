// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "interaction/KeyTable.h"

#include <QHash>

#include <array>

namespace KeyTable {
namespace {

// Wanted: "[" and "]" carry each other's code, and "UArrow" one that no keyboard has. Handhelds in
// use know them so.
constexpr auto table = std::to_array<Row>({
    {QLatin1StringView("A"), 0},        {QLatin1StringView("B"), 11},
    {QLatin1StringView("C"), 8},        {QLatin1StringView("D"), 2},
    {QLatin1StringView("E"), 14},       {QLatin1StringView("F"), 3},
    {QLatin1StringView("G"), 5},        {QLatin1StringView("H"), 4},
    {QLatin1StringView("I"), 34},       {QLatin1StringView("J"), 38},
    {QLatin1StringView("K"), 40},       {QLatin1StringView("L"), 37},
    {QLatin1StringView("M"), 46},       {QLatin1StringView("N"), 45},
    {QLatin1StringView("O"), 31},       {QLatin1StringView("P"), 35},
    {QLatin1StringView("Q"), 12},       {QLatin1StringView("R"), 15},
    {QLatin1StringView("S"), 1},        {QLatin1StringView("T"), 17},
    {QLatin1StringView("U"), 32},       {QLatin1StringView("V"), 9},
    {QLatin1StringView("W"), 13},       {QLatin1StringView("X"), 7},
    {QLatin1StringView("Y"), 16},       {QLatin1StringView("Z"), 6},
    {QLatin1StringView("1"), 18},       {QLatin1StringView("2"), 19},
    {QLatin1StringView("3"), 20},       {QLatin1StringView("4"), 21},
    {QLatin1StringView("6"), 22},       {QLatin1StringView("5"), 23},
    {QLatin1StringView("="), 24},       {QLatin1StringView("9"), 25},
    {QLatin1StringView("7"), 26},       {QLatin1StringView("-"), 27},
    {QLatin1StringView("8"), 28},       {QLatin1StringView("0"), 29},
    {QLatin1StringView("["), 30},       {QLatin1StringView("]"), 33},
    {QLatin1StringView("'"), 39},       {QLatin1StringView(";"), 41},
    {QLatin1StringView("\\"), 42},      {QLatin1StringView(","), 43},
    {QLatin1StringView("/"), 44},       {QLatin1StringView("Ret"), 36},
    {QLatin1StringView("Tab"), 48},     {QLatin1StringView(" "), 49},
    {QLatin1StringView("Del"), 51},     {QLatin1StringView("FDel"), 117},
    {QLatin1StringView("Esc"), 53},     {QLatin1StringView("Cmd"), 55},
    {QLatin1StringView("Shift"), 56},   {QLatin1StringView("CapsLock"), 57},
    {QLatin1StringView("Alt"), 58},     {QLatin1StringView("Ctrl"), 59},
    {QLatin1StringView("RShift"), 60},  {QLatin1StringView("RAlt"), 61},
    {QLatin1StringView("RCtrl"), 62},   {QLatin1StringView("Fn"), 63},
    {QLatin1StringView("VolUp"), 72},   {QLatin1StringView("VolDown"), 73},
    {QLatin1StringView("Mute"), 74},    {QLatin1StringView("F1"), 122},
    {QLatin1StringView("F2"), 120},     {QLatin1StringView("F3"), 99},
    {QLatin1StringView("F4"), 118},     {QLatin1StringView("F5"), 96},
    {QLatin1StringView("F6"), 97},      {QLatin1StringView("F7"), 98},
    {QLatin1StringView("F8"), 100},     {QLatin1StringView("F9"), 101},
    {QLatin1StringView("F10"), 109},    {QLatin1StringView("F11"), 103},
    {QLatin1StringView("F12"), 111},    {QLatin1StringView("F13"), 105},
    {QLatin1StringView("F14"), 107},    {QLatin1StringView("F15"), 113},
    {QLatin1StringView("F16"), 106},    {QLatin1StringView("F17"), 64},
    {QLatin1StringView("F18"), 79},     {QLatin1StringView("F19"), 80},
    {QLatin1StringView("F20"), 90},     {QLatin1StringView("Help"), 114},
    {QLatin1StringView("Home"), 115},   {QLatin1StringView("PUp"), 116},
    {QLatin1StringView("End"), 119},    {QLatin1StringView("PDown"), 121},
    {QLatin1StringView("LArrow"), 123}, {QLatin1StringView("RArrow"), 124},
    {QLatin1StringView("DArrow"), 125}, {QLatin1StringView("UArrow"), 130},
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
