# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# Completion of quillmote for bash.

# Keys, with the modifiers that are already typed in front. No blank follows a modifier.
_quillmote_keys() {
    local before='' key
    [[ $1 == *+* ]] && before=${1%+*}+
    local keys=("${before}Space")
    for key in {1..20}; do keys+=("${before}F$key"); done
    for key in Cmd+ Alt+ Ctrl+ Shift+; do
        [[ +$before == *"+$key"* ]] || keys+=("$before$key")
    done
    mapfile -t COMPREPLY < <(compgen -W "${keys[*]}" -- "$1")
    if [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *+ ]]; then compopt -o nospace; fi
}

# The servers whose names begin with $1. Any computer of the network can choose such a name, and
# compgen -W would execute a command in it.
_quillmote_servers() {
    local names=() name
    mapfile -t names < <(quillmote discover --timeout 1 2>/dev/null | cut -f1)
    for name in "${names[@]}"; do
        [[ $name == "$1"* ]] && COMPREPLY+=("$name")
    done
}

_quillmote() {
    local commands='discover info pair key move click open copy paste send type remote'
    local options='--server --host --port --timeout --json --help --version'
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case " $commands " in *" $word "*) command=$word && break ;; esac
    done
    case $command in
    discover) options+=' --watch' ;;
    pair) options+=' --name' ;;
    key | click) options+=' --repeat' ;;
    send) options+=' --as --force' ;;
    type) options+=' --paste --us-keyboard --paste-wait --restore' ;;
    remote) options+=' --paste --us-keyboard --paste-wait' ;;
    copy) options+=' --lossy' ;;
    esac
    case $previous in
    --server)
        COMPREPLY=()
        _quillmote_servers "$current"
        return
        ;;
    --host | --port | --timeout | --name | --repeat | --as | --paste-wait) return ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif [ -z "$command" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$current")
    elif [ "$command" = click ]; then
        mapfile -t COMPREPLY < <(compgen -W 'left right center double' -- "$current")
    elif [ "$command" = key ]; then
        _quillmote_keys "$current"
    elif [ "$command" = send ]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -o filenames -F _quillmote quillmote
