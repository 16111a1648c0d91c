// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What Darwin has here and glibc has not.

#pragma once

#include_next <stdio.h>

#define RENAME_EXCL 0x00000004

#ifdef __cplusplus
extern "C"
#endif
    int
    renameatx_np(int fromDirectory, const char *from, int toDirectory, const char *to,
                 unsigned int flags);
