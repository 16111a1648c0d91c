# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT

# Read by the project when it is configured for a Mac without one.

# What Debian's Qt packages look for and a Mac's do not need.
add_library(WrapOpenGL::WrapOpenGL INTERFACE IMPORTED)
