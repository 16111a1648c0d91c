// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// What a Mac has here and glibc has not.

#pragma once

#include_next <unistd.h>

#define _CS_DARWIN_USER_TEMP_DIR 65537

#ifdef __cplusplus
extern "C"
#endif
    int
    getpeereid(int socket, uid_t *user, gid_t *group);
