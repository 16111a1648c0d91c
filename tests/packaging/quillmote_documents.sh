#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# quillmote_documents.sh man|bash|zsh|fish: the man page and the completions of quillmote are well
# formed and know every command and option that --help shows. Needs VORNA_QUILLMOTE.
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

# options COMMAND: the long names of those in its help.
options() {
    "$VORNA_QUILLMOTE" "$1" --help |
        sed -nE '/^Options:/,/^Examples:/s/^  (-[a-z], )?(--[a-z-]+) .*/\2/p' | sort
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
    check "every command has its options" [ "$count" -ge 150 ]
}

# usage COMMAND: its name and its values.
usage() {
    "$VORNA_QUILLMOTE" "$1" --help | sed -n '1s/^Usage: quillmote \(.*[^ ]\) *\[OPTIONS\]$/\1/p'
}

# has_entry TEXT ENTRY: the page's text has an entry whose title begins with that. A short title
# shares the line with its text.
has_entry() {
    local line
    while IFS= read -r line; do
        [[ $line == "       $2" || $line == "       $2 "* ]] && return
    done <<<"$1"
    echo "no entry \"$2\"" && false
}

check_man() {
    local page=$packaging/man/quillmote.1 text command
    check "mandoc has no complaint" mandoc -T lint -W warning "$page"
    check "groff has no warning" is_silent man --warnings -E UTF-8 -Tutf8 -Z -l "$page"
    text=$(MANWIDTH=80 man -E UTF-8 -l "$page" | col -bx)
    for command in $(commands); do
        check "the page's entry of $command" has_entry "$text" "$(usage "$command")"
    done
    for word in QUILLMOTE_SERVER WAYLAND_DISPLAY vornaserver/ quillmote/identity quillmote/last-server.json quillmote-keeper; do
        check "the page knows $word" contains "$text" "$word"
    done
    text=$(MANWIDTH=100 man -E UTF-8 -l "$page" | col -bx)
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

# The shell's own compopt fails outside of a completion.
compopt() { echo "compopt $*"; }

# check_keys COMPLETES...: the keys that this command offers.
check_keys() {
    local word
    for word in Space Enter ArrowLeft F1 F20 F24 Cmd+ Alt+ Ctrl+ Shift+ Control+ Meta+; do
        check "key $word" contains "$("$@" key '')" "^${word/+/\\+}\$"
    done
    for word in Space F20 Shift+; do
        check "key Cmd+Alt+$word" contains "$("$@" key Cmd+Alt+)" "^Cmd\\+Alt\\+${word/+/\\+}\$"
    done
}

# A server may have any name. The program prints one server a line, with its address behind a tab.
# shellcheck disable=SC2016  # nothing in them is to be expanded
hostile_names='$(touch EVIL)
`touch EVIL`
Den & Küche
${HOME}'
quillmote() { sed $'s/$/\t192.0.2.1\t4711/' <<<"$hostile_names"; }

# servers_are_offered_as_they_are COMMAND...: it prints exactly these names, and executes none.
servers_are_offered_as_they_are() {
    local folder offered
    folder=$(mktemp -d)
    offered=$(cd "$folder" && "$@")
    check "the servers' names as they are" diff <(sort <<<"$hostile_names") <(sort <<<"$offered")
    check "no command in a name is executed" rmdir "$folder"
}

check_bash() {
    # shellcheck source=packaging/completions/quillmote.bash
    . "$packaging/completions/quillmote.bash"
    check "all commands" [ "$(bash_completes '' | sort)" = "$(commands | sort)" ]
    check "a command's beginning" [ "$(bash_completes cl)" = click ]
    check "buttons" [ "$(bash_completes click '' | xargs)" = "left right middle center back forward double" ]
    check_keys bash_completes
    check "a modifier gets no blank" contains "$(bash_completes key Cm)" '^compopt -o nospace$'
    check "a key gets its blank" [ "$(bash_completes key Spa)" = Space ]
    check "buttons to drag with" [ "$(bash_completes drag --button f)" = forward ]
    check "addresses" [ "$(bash_completes listen '' | xargs)" = "all 127.0.0.1" ]
    check "directions" [ "$(bash_completes scroll '' | xargs)" = "up down left right" ]
    check "files" contains "$(cd "$packaging" && bash_completes send man)" '^man$'
    check "a command behind an option" [ "$(bash_completes --json pas)" = paste ]
    servers_are_offered_as_they_are bash_completes info --server ''
    check "a server's beginning" [ "$(bash_completes info --server De)" = 'Den & Küche' ]
    is_offered_by_bash() { contains "$(bash_completes "$1" "$2")" "^$2\$"; }
    each_option_is is_offered_by_bash
    check "no option that a command does not have" diff <(for command in $(commands); do
        options "$command"
    done) <(for command in $(commands); do bash_completes "$command" -- | sort; done)
}

check_zsh() {
    local file=$packaging/completions/_quillmote text command
    check "zsh can read it" zsh -n "$file"
    text=$(<"$file")
    for command in $(commands); do
        check "zsh knows $command" contains "$text" "^ *[\"']$command:"
    done
    zsh_completes_key() { zsh_keys "$2" | sed 's/^-S||//'; }
    check_keys zsh_completes_key
    check "a modifier gets no blank" [ "$(zsh_keys Cm)" = '-S||Cmd+' ]
    check "a key gets its blank" [ "$(zsh_keys Spa)" = Space ]
    zsh_servers() {
        PATH=$1:$PATH zsh -fc 'compadd() { print -rl -- ${(P)2}; }
            _describe() { : }
            CURRENT=2
            . "$1"
            _quillmote_servers' zsh "$file"
    }
    servers_are_offered_as_they_are zsh_servers "$(folder_with_quillmote)"
    # The options of one command are in its line, the common ones in a list.
    is_known_to_zsh() {
        contains "$text" "^    $1\\).*'$2\\[" || contains "$text" "^        [\"']$2\\["
    }
    each_option_is is_known_to_zsh
}

# zsh_keys WORD: the keys that zsh offers for that word, each behind the options of compadd.
zsh_keys() {
    zsh -fc 'compadd() { local -a words; local option=
            while [[ $1 != -- ]]; do option+="$1|"; shift; done
            shift
            for word in "$@"; do [[ $word == "$PREFIX"* ]] && print -r -- "$option$word"; done
        }
        _describe() { : }
        CURRENT=2
        . "$1"
        PREFIX=$2
        _quillmote_keys' zsh "$packaging/completions/_quillmote" "$1"
}

# A folder with a program quillmote that prints these servers.
folder_with_quillmote() {
    local folder
    folder=$(mktemp -d)
    { echo '#!/usr/bin/env bash' && declare -p hostile_names && declare -f quillmote && echo quillmote; } \
        >"$folder/quillmote"
    chmod +x "$folder/quillmote"
    echo "$folder"
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
    check "buttons" [ "$(fish_completes 'click ' | sort | xargs)" = "back center double forward left middle right" ]
    check_keys fish_completes
    check "a modifier gets no blank" [ "$(fish_completes key Cm | wc -l)" -gt 1 ]
    fish_servers() { PATH=$1:$PATH fish_completes "info --server ''"; }
    servers_are_offered_as_they_are fish_servers "$(folder_with_quillmote)"
    is_offered_by_fish() { contains "$(fish_completes "$1 $2")" "^$2\$"; }
    each_option_is is_offered_by_fish
    rm -rf "$HOME"
}

case ${1:-} in
man | bash | zsh | fish) "check_$1" ;;
*) echo "man, bash, zsh or fish?" && exit 2 ;;
esac
exit "$((failures > 0))"
