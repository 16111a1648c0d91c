// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/KeySigns.h"

#include <algorithm>
#include <array>

#include <xkbcommon/xkbcommon-keysyms.h>

namespace platform {

namespace {

// The Mac's codes are positions of its ANSI keyboard: 30 is the right bracket there, 33 the left.
// Positions here are those of linux/input-event-codes.h plus 8, as X counts them.
constexpr std::array rows = {
    KeySign{0, XKB_KEY_a, 38},
    KeySign{1, XKB_KEY_s, 39},
    KeySign{2, XKB_KEY_d, 40},
    KeySign{3, XKB_KEY_f, 41},
    KeySign{4, XKB_KEY_h, 43},
    KeySign{5, XKB_KEY_g, 42},
    KeySign{6, XKB_KEY_z, 52},
    KeySign{7, XKB_KEY_x, 53},
    KeySign{8, XKB_KEY_c, 54},
    KeySign{9, XKB_KEY_v, 55},
    KeySign{11, XKB_KEY_b, 56},
    KeySign{12, XKB_KEY_q, 24},
    KeySign{13, XKB_KEY_w, 25},
    KeySign{14, XKB_KEY_e, 26},
    KeySign{15, XKB_KEY_r, 27},
    KeySign{16, XKB_KEY_y, 29},
    KeySign{17, XKB_KEY_t, 28},
    KeySign{18, XKB_KEY_1, 10},
    KeySign{19, XKB_KEY_2, 11},
    KeySign{20, XKB_KEY_3, 12},
    KeySign{21, XKB_KEY_4, 13},
    KeySign{22, XKB_KEY_6, 15},
    KeySign{23, XKB_KEY_5, 14},
    KeySign{24, XKB_KEY_equal, 21},
    KeySign{25, XKB_KEY_9, 18},
    KeySign{26, XKB_KEY_7, 16},
    KeySign{27, XKB_KEY_minus, 20},
    KeySign{28, XKB_KEY_8, 17},
    KeySign{29, XKB_KEY_0, 19},
    KeySign{30, XKB_KEY_bracketright, 35},
    KeySign{31, XKB_KEY_o, 32},
    KeySign{32, XKB_KEY_u, 30},
    KeySign{33, XKB_KEY_bracketleft, 34},
    KeySign{34, XKB_KEY_i, 31},
    KeySign{35, XKB_KEY_p, 33},
    KeySign{36, XKB_KEY_Return, 36},
    KeySign{37, XKB_KEY_l, 46},
    KeySign{38, XKB_KEY_j, 44},
    KeySign{39, XKB_KEY_apostrophe, 48},
    KeySign{40, XKB_KEY_k, 45},
    KeySign{41, XKB_KEY_semicolon, 47},
    KeySign{42, XKB_KEY_backslash, 51},
    KeySign{43, XKB_KEY_comma, 59},
    KeySign{44, XKB_KEY_slash, 61},
    KeySign{45, XKB_KEY_n, 57},
    KeySign{46, XKB_KEY_m, 58},
    KeySign{48, XKB_KEY_Tab, 23},
    KeySign{49, XKB_KEY_space, 65},
    KeySign{51, XKB_KEY_BackSpace, 22},
    KeySign{53, XKB_KEY_Escape, 9},
    KeySign{55, XKB_KEY_Control_L, 37},
    KeySign{56, XKB_KEY_Shift_L, 50},
    KeySign{57, XKB_KEY_Caps_Lock, 66},
    KeySign{58, XKB_KEY_Alt_L, 64},
    KeySign{59, XKB_KEY_Control_L, 37},
    KeySign{60, XKB_KEY_Shift_R, 62},
    KeySign{61, XKB_KEY_Alt_R, 108},
    KeySign{62, XKB_KEY_Control_R, 105},
    KeySign{64, XKB_KEY_F17, 195},
    KeySign{72, XKB_KEY_XF86AudioRaiseVolume, 123},
    KeySign{73, XKB_KEY_XF86AudioLowerVolume, 122},
    KeySign{74, XKB_KEY_XF86AudioMute, 121},
    KeySign{79, XKB_KEY_F18, 196},
    KeySign{80, XKB_KEY_F19, 197},
    KeySign{90, XKB_KEY_F20, 198},
    KeySign{96, XKB_KEY_F5, 71},
    KeySign{97, XKB_KEY_F6, 72},
    KeySign{98, XKB_KEY_F7, 73},
    KeySign{99, XKB_KEY_F3, 69},
    KeySign{100, XKB_KEY_F8, 74},
    KeySign{101, XKB_KEY_F9, 75},
    KeySign{103, XKB_KEY_F11, 95},
    KeySign{105, XKB_KEY_F13, 191},
    KeySign{106, XKB_KEY_F16, 194},
    KeySign{107, XKB_KEY_F14, 192},
    KeySign{109, XKB_KEY_F10, 76},
    KeySign{111, XKB_KEY_F12, 96},
    KeySign{113, XKB_KEY_F15, 193},
    KeySign{114, XKB_KEY_Help, 146},
    KeySign{115, XKB_KEY_Home, 110},
    KeySign{116, XKB_KEY_Prior, 112},
    KeySign{117, XKB_KEY_Delete, 119},
    KeySign{118, XKB_KEY_F4, 70},
    KeySign{119, XKB_KEY_End, 115},
    KeySign{120, XKB_KEY_F2, 68},
    KeySign{121, XKB_KEY_Next, 117},
    KeySign{122, XKB_KEY_F1, 67},
    KeySign{123, XKB_KEY_Left, 113},
    KeySign{124, XKB_KEY_Right, 114},
    KeySign{125, XKB_KEY_Down, 116},
};

} // namespace

std::span<const KeySign> keySigns()
{
    return rows;
}

const KeySign *findKeySign(KeyCode code)
{
    const auto row = std::ranges::lower_bound(rows, code, {}, &KeySign::code);
    return row != rows.end() && row->code == code ? &*row : nullptr;
}

} // namespace platform
