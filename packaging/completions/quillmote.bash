# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# Completion of quillmote for bash.

# The names of keys, in the order of the manual page.
_quillmote_key_names='Space Enter Tab Backspace Delete Insert Escape ArrowLeft ArrowRight ArrowUp
    ArrowDown Home End PageUp PageDown CapsLock ContextMenu PrintScreen Pause AudioVolumeUp
    AudioVolumeDown AudioVolumeMute MediaPlayPause MediaTrackNext MediaTrackPrevious BrightnessUp
    BrightnessDown BrowserBack BrowserForward'

# Keys, with the modifiers that are already typed in front. No blank follows a modifier.
_quillmote_keys() {
    local before='' key
    [[ $1 == *+* ]] && before=${1%+*}+
    local keys=()
    for key in $_quillmote_key_names; do keys+=("$before$key"); done
    for key in {1..24}; do keys+=("${before}F$key"); done
    for key in Cmd+ Alt+ Ctrl+ Shift+ Control+ Meta+ AltGraph+; do
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

# The lines that quillmote prints with these arguments, if they begin with $1. No part of them is
# executed.
_quillmote_lines() {
    local lines=() line start=$1
    shift
    mapfile -t lines < <(quillmote "$@" 2>/dev/null | cut -f1)
    for line in "${lines[@]}"; do
        [[ $line == "$start"* ]] && COMPREPLY+=("$line")
    done
}
_quillmote_files() { _quillmote_lines "$1" get --local; }
_quillmote_applications() { _quillmote_lines "$1" open --list --local; }

_quillmote() {
    local commands='discover info pair key hold move click drag scroll open copy paste send get type listen watch remote'
    local options='--local --server --host --port --timeout --json --help --version'
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case " $commands " in *" $word "*) command=$word && break ;; esac
    done
    case $command in
    discover) options+=' --watch' ;;
    pair) options+=' --name' ;;
    key | click) options+=' --repeat' ;;
    hold) options+=' --for' ;;
    drag) options+=' --button' ;;
    open) options+=' --application --list' ;;
    send) options+=' --as --force --open --no-open' ;;
    get) options+=' --output --force' ;;
    type) options+=' --paste --us-keyboard --paste-wait --restore --delay --keep-newline' ;;
    remote) options+=' --paste --us-keyboard --paste-wait' ;;
    copy) options+=' --lossy --keep-newline' ;;
    esac
    case $previous in
    --server)
        COMPREPLY=()
        _quillmote_servers "$current"
        return
        ;;
    --button)
        mapfile -t COMPREPLY < <(compgen -W 'left middle right back forward' -- "$current")
        return
        ;;
    --output | -o)
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    --host | --port | --timeout | --name | --repeat | --as | --paste-wait | --delay | --for) return ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    elif [ -z "$command" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$current")
    elif [ "$command" = click ]; then
        mapfile -t COMPREPLY < <(compgen -W 'left right middle center back forward double' -- "$current")
    elif [ "$command" = scroll ]; then
        mapfile -t COMPREPLY < <(compgen -W 'up down left right' -- "$current")
    elif [ "$command" = listen ]; then
        mapfile -t COMPREPLY < <(compgen -W 'all 127.0.0.1' -- "$current")
    elif [ "$command" = key ] || [ "$command" = hold ]; then
        _quillmote_keys "$current"
    elif [ "$command" = get ]; then
        _quillmote_files "$current"
    elif [ "$command" = open ]; then
        _quillmote_applications "$current"
    elif [ "$command" = send ]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -o filenames -F _quillmote quillmote
