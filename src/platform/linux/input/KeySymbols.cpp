// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/KeySymbols.h"

#include <array>

#include <xkbcommon/xkbcommon-keysyms.h>

namespace platform {

namespace {

// The Mac's codes are positions of its ANSI keyboard: 30 is the right bracket there, 33 the left.
// Positions here are those of linux/input-event-codes.h plus 8, as X counts them.
constexpr std::array rows = {
    KeySymbol{0, XKB_KEY_a, 38},
    KeySymbol{1, XKB_KEY_s, 39},
    KeySymbol{2, XKB_KEY_d, 40},
    KeySymbol{3, XKB_KEY_f, 41},
    KeySymbol{4, XKB_KEY_h, 43},
    KeySymbol{5, XKB_KEY_g, 42},
    KeySymbol{6, XKB_KEY_z, 52},
    KeySymbol{7, XKB_KEY_x, 53},
    KeySymbol{8, XKB_KEY_c, 54},
    KeySymbol{9, XKB_KEY_v, 55},
    KeySymbol{11, XKB_KEY_b, 56},
    KeySymbol{12, XKB_KEY_q, 24},
    KeySymbol{13, XKB_KEY_w, 25},
    KeySymbol{14, XKB_KEY_e, 26},
    KeySymbol{15, XKB_KEY_r, 27},
    KeySymbol{16, XKB_KEY_y, 29},
    KeySymbol{17, XKB_KEY_t, 28},
    KeySymbol{18, XKB_KEY_1, 10},
    KeySymbol{19, XKB_KEY_2, 11},
    KeySymbol{20, XKB_KEY_3, 12},
    KeySymbol{21, XKB_KEY_4, 13},
    KeySymbol{22, XKB_KEY_6, 15},
    KeySymbol{23, XKB_KEY_5, 14},
    KeySymbol{24, XKB_KEY_equal, 21},
    KeySymbol{25, XKB_KEY_9, 18},
    KeySymbol{26, XKB_KEY_7, 16},
    KeySymbol{27, XKB_KEY_minus, 20},
    KeySymbol{28, XKB_KEY_8, 17},
    KeySymbol{29, XKB_KEY_0, 19},
    KeySymbol{30, XKB_KEY_bracketright, 35},
    KeySymbol{31, XKB_KEY_o, 32},
    KeySymbol{32, XKB_KEY_u, 30},
    KeySymbol{33, XKB_KEY_bracketleft, 34},
    KeySymbol{34, XKB_KEY_i, 31},
    KeySymbol{35, XKB_KEY_p, 33},
    KeySymbol{36, XKB_KEY_Return, 36},
    KeySymbol{37, XKB_KEY_l, 46},
    KeySymbol{38, XKB_KEY_j, 44},
    KeySymbol{39, XKB_KEY_apostrophe, 48},
    KeySymbol{40, XKB_KEY_k, 45},
    KeySymbol{41, XKB_KEY_semicolon, 47},
    KeySymbol{42, XKB_KEY_backslash, 51},
    KeySymbol{43, XKB_KEY_comma, 59},
    KeySymbol{44, XKB_KEY_slash, 61},
    KeySymbol{45, XKB_KEY_n, 57},
    KeySymbol{46, XKB_KEY_m, 58},
    KeySymbol{48, XKB_KEY_Tab, 23},
    KeySymbol{49, XKB_KEY_space, 65},
    KeySymbol{51, XKB_KEY_BackSpace, 22},
    KeySymbol{53, XKB_KEY_Escape, 9},
    KeySymbol{55, XKB_KEY_Control_L, 37},
    KeySymbol{56, XKB_KEY_Shift_L, 50},
    KeySymbol{57, XKB_KEY_Caps_Lock, 66},
    KeySymbol{58, XKB_KEY_Alt_L, 64},
    KeySymbol{59, XKB_KEY_Control_L, 37},
    KeySymbol{60, XKB_KEY_Shift_R, 62},
    KeySymbol{61, XKB_KEY_Alt_R, 108},
    KeySymbol{62, XKB_KEY_Control_R, 105},
    KeySymbol{64, XKB_KEY_F17, 195},
    KeySymbol{72, XKB_KEY_XF86AudioRaiseVolume, 123},
    KeySymbol{73, XKB_KEY_XF86AudioLowerVolume, 122},
    KeySymbol{74, XKB_KEY_XF86AudioMute, 121},
    KeySymbol{79, XKB_KEY_F18, 196},
    KeySymbol{80, XKB_KEY_F19, 197},
    KeySymbol{90, XKB_KEY_F20, 198},
    KeySymbol{96, XKB_KEY_F5, 71},
    KeySymbol{97, XKB_KEY_F6, 72},
    KeySymbol{98, XKB_KEY_F7, 73},
    KeySymbol{99, XKB_KEY_F3, 69},
    KeySymbol{100, XKB_KEY_F8, 74},
    KeySymbol{101, XKB_KEY_F9, 75},
    KeySymbol{103, XKB_KEY_F11, 95},
    KeySymbol{105, XKB_KEY_F13, 191},
    KeySymbol{106, XKB_KEY_F16, 194},
    KeySymbol{107, XKB_KEY_F14, 192},
    KeySymbol{109, XKB_KEY_F10, 76},
    KeySymbol{111, XKB_KEY_F12, 96},
    KeySymbol{113, XKB_KEY_F15, 193},
    KeySymbol{114, XKB_KEY_Help, 146},
    KeySymbol{115, XKB_KEY_Home, 110},
    KeySymbol{116, XKB_KEY_Prior, 112},
    KeySymbol{117, XKB_KEY_Delete, 119},
    KeySymbol{118, XKB_KEY_F4, 70},
    KeySymbol{119, XKB_KEY_End, 115},
    KeySymbol{120, XKB_KEY_F2, 68},
    KeySymbol{121, XKB_KEY_Next, 117},
    KeySymbol{122, XKB_KEY_F1, 67},
    KeySymbol{123, XKB_KEY_Left, 113},
    KeySymbol{124, XKB_KEY_Right, 114},
    KeySymbol{125, XKB_KEY_Down, 116},
};

} // namespace

std::span<const KeySymbol> keySymbols()
{
    return rows;
}

} // namespace platform
