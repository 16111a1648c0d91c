# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# Completion of quillmote for bash.

_quillmote() {
    local commands='discover info pair key move click open copy paste send remote'
    local options='--server --host --port --timeout --json --help --version'
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case " $commands " in *" $word "*) command=$word && break ;; esac
    done
    case $command in
    discover) options+=' --watch' ;;
    pair) options+=' --name' ;;
    key) options+=' --repeat' ;;
    esac
    case $previous in
    --server)
        local IFS=$'\n'
        mapfile -t COMPREPLY < <(compgen -W "$(quillmote discover --timeout 1 2>/dev/null | cut -f1)" -- "$current")
        return
        ;;
    --host | --port | --timeout | --name | --repeat) return ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif [ -z "$command" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$current")
    elif [ "$command" = click ]; then
        mapfile -t COMPREPLY < <(compgen -W 'left right center' -- "$current")
    elif [ "$command" = send ]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -o filenames -F _quillmote quillmote
