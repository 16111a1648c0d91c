#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# installation.sh BUILD: what `cmake --install` puts below a folder is whole and works from there.
set -uo pipefail

build=$1
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
DESTDIR=$(mktemp -d)
export DESTDIR
trap 'rm -rf "$DESTDIR"' EXIT
# shellcheck source=tests/support/check.sh
. "$(dirname "${BASH_SOURCE[0]}")/../support/check.sh"

expected='bin/VornaServer
bin/quillmote
bin/quillmote-web
libexec/VornaServer-guard
share/applications/quillmote-web.desktop
share/applications/vornaserver.desktop
share/bash-completion/completions/quillmote
share/fish/vendor_completions.d/quillmote.fish
share/icons/hicolor/scalable/apps/quillmote-web.svg
share/icons/hicolor/scalable/apps/vornaserver.svg
share/man/man1/VornaServer.1
share/man/man1/quillmote-web.1
share/man/man1/quillmote.1
share/zsh/site-functions/_quillmote'

check "it installs" cmake --install "$build" --prefix /usr
installed=$(cd "$DESTDIR/usr" && find . -type f | sed 's|^\./||' | LC_ALL=C sort)
check "exactly these files are installed" diff <(echo "$expected") <(echo "$installed")

cd "$DESTDIR/usr" || exit 1
check "the installed quillmote runs" [ "$(bin/quillmote --version)" = "quillmote 1.0" ]
check "the server can be run" test -x bin/VornaServer
for program in vornaserver quillmote-web; do
    entry=share/applications/$program.desktop
    value() { sed -n "s/^$1=//p" "$entry"; }
    check "the desktop entry $program is valid" desktop-file-validate "$entry"
    check "its program is there" test -x "bin/$(value Exec)"
    check "its icon is there" test -f "share/icons/hicolor/scalable/apps/$(value Icon).svg"
done
check "the installed quillmote-web runs" [ "$(bin/quillmote-web --version)" = "quillmote-web 1.0" ]
for page in VornaServer.1 quillmote.1 quillmote-web.1; do
    check "the man page $page is the project's" \
        cmp "share/man/man1/$page" "$root/packaging/man/$page"
done
exit "$((failures > 0))"
