#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# quillmote_documents.sh man|bash|zsh|fish: the man page and the completions of quillmote are well
# formed and know every command and option that --help tells. Needs VORNA_QUILLMOTE.
#
# shellcheck disable=SC2317  # much is called by way of check
set -euo pipefail

packaging=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../packaging" && pwd)
: "${VORNA_QUILLMOTE:?names the program}"
# shellcheck source=tests/support/check.sh
. "$(dirname "${BASH_SOURCE[0]}")/../support/check.sh"

commands() {
    "$VORNA_QUILLMOTE" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p'
}

# options COMMAND: the long ones of its help.
options() {
    "$VORNA_QUILLMOTE" "$1" --help | sed -n '/^Options:/,/^Examples:/p' |
        grep -oE '(^|[ ,])--[a-z-]+' | tr -d ' ,' | sort -u
}

is_silent() {
    local output
    output=$("$@" 2>&1 >/dev/null)
    [ -z "$output" ] || { echo "$output" && false; }
}

contains() { grep -qE -- "$2" <<<"$1"; }

# each_option_is COMMAND...: calls it with each command and option; there must be some.
each_option_is() {
    local command option count=0
    for command in $(commands); do
        for option in $(options "$command"); do
            check "$command $option" "$@" "$command" "$option"
            count=$((count + 1))
        done
    done
    check "every command has its options" [ "$count" -ge 70 ]
}

check_man() {
    local page=$packaging/man/quillmote.1 text command
    check "mandoc has no complaint" mandoc -T lint -W warning "$page"
    check "groff has no warning" is_silent man --warnings -E UTF-8 -Tutf8 -Z -l "$page"
    text=$(MANWIDTH=100 man -E UTF-8 -l "$page" | col -bx)
    for command in $(commands); do
        check "the page describes $command" contains "$text" "^ +$command( |\$)"
    done
    is_in_page() { contains "$text" "(^|[^-])$2\\b"; }
    each_option_is is_in_page
}

# bash_completes WORD...: what bash offers for the last word.
bash_completes() {
    COMP_WORDS=(quillmote "$@")
    COMP_CWORD=$#
    COMPREPLY=()
    _quillmote
    printf '%s\n' "${COMPREPLY[@]}"
}

check_bash() {
    # shellcheck source=packaging/completions/quillmote.bash
    . "$packaging/completions/quillmote.bash"
    check "all commands" [ "$(bash_completes '' | sort)" = "$(commands | sort)" ]
    check "a command's beginning" [ "$(bash_completes cl)" = click ]
    check "buttons" [ "$(bash_completes click '' | xargs)" = "left right center" ]
    check "files" contains "$(cd "$packaging" && bash_completes send man)" '^man$'
    check "a command behind an option" [ "$(bash_completes --json pas)" = paste ]
    is_offered_by_bash() { contains "$(bash_completes "$1" "$2")" "^$2\$"; }
    each_option_is is_offered_by_bash
}

check_zsh() {
    local file=$packaging/completions/_quillmote text command
    check "zsh can read it" zsh -n "$file"
    text=$(<"$file")
    for command in $(commands); do
        check "zsh knows $command" contains "$text" "^ *[\"']$command:"
    done
    # Those of one command stand in its line, those of all in a list.
    is_known_to_zsh() {
        contains "$text" "^    $1\\).*'$2\\[" || contains "$text" "^        [\"']$2\\["
    }
    each_option_is is_known_to_zsh
}

fish_completes() {
    fish --private -c "source $packaging/completions/quillmote.fish; complete -C 'quillmote $*'" |
        cut -f1
}

check_fish() {
    HOME=$(mktemp -d)
    export HOME
    check "fish can read it" fish -n "$packaging/completions/quillmote.fish"
    check "all commands" [ "$(fish_completes '' | sort)" = "$(commands | sort)" ]
    check "buttons" [ "$(fish_completes 'click ' | sort | xargs)" = "center left right" ]
    is_offered_by_fish() { contains "$(fish_completes "$1 $2")" "^$2\$"; }
    each_option_is is_offered_by_fish
    rm -rf "$HOME"
}

case ${1:-} in
man | bash | zsh | fish) "check_$1" ;;
*) echo "man, bash, zsh or fish?" && exit 2 ;;
esac
exit "$((failures > 0))"
