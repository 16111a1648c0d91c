#!/bin/sh
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# as_ordinary_user.sh COMMAND...: Wayland compositors refuse root. In a user namespace root runs the
# command as user 1000, whose files are still root's outside. Others just run it.
if [ "$(id -u)" -eq 0 ]; then
    exec unshare --user --map-user=1000 --map-group=1000 -- "$@"
fi
exec "$@"
