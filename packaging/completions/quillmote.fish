# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# Completion of quillmote for fish.

# Keys behind the modifiers that are there already. Fish puts a blank behind what is the only
# candidate; "Cmd+" never is, as the keys behind it are candidates too.
function __quillmote_keys
    set -l before (string match -r '^(?:Cmd\+|Alt\+|Ctrl\+|Shift\+)*' -- (commandline -ct))
    set -l modifiers
    for modifier in Cmd+ Alt+ Ctrl+ Shift+
        string match -q -- "*$modifier*" "$before"; or set -a modifiers $modifier
    end
    set -l keys Space F(seq 20)
    printf '%s\n' $before$keys $before$modifiers $before$modifiers$keys
end

set -l commands discover info pair key move click open copy paste send type remote

complete -c quillmote -f
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a discover -d 'list the servers on the local network'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a info -d 'tell the size of the desktop'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a pair -d 'ask to be paired'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a key -d 'type keys and shortcuts'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a move -d 'move the pointer'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a click -d 'click a button'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a open -d 'open an address'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a copy -d 'put text on the clipboard'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a paste -d 'print the clipboard\'s text'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a send -d 'send files'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a type -d 'type a text'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a remote -d 'make this terminal the handheld'
complete -c quillmote -n '__fish_seen_subcommand_from click' -a 'left right center double'
complete -c quillmote -n '__fish_seen_subcommand_from send' -F
complete -c quillmote -n '__fish_seen_subcommand_from key' -a '(__quillmote_keys)'
complete -c quillmote -n '__fish_seen_subcommand_from copy' -l lossy -d 'replace what cannot be sent'
complete -c quillmote -n '__fish_seen_subcommand_from discover' -l watch -d 'tell what comes and goes'
complete -c quillmote -n '__fish_seen_subcommand_from pair' -l name -x -d 'what this device is called'
complete -c quillmote -n '__fish_seen_subcommand_from key' -l repeat -x -d 'type them so many times'
complete -c quillmote -n '__fish_seen_subcommand_from click' -l repeat -x -d 'click so many times'
complete -c quillmote -n '__fish_seen_subcommand_from send' -l as -x -d 'save it there under that name'
complete -c quillmote -n '__fish_seen_subcommand_from send' -l force -d 'send what arrives damaged, too'
complete -c quillmote -n '__fish_seen_subcommand_from type remote' -l paste -d 'type by the clipboard only'
complete -c quillmote -n '__fish_seen_subcommand_from type remote' -l us-keyboard -d 'type signs as on a US keyboard'
complete -c quillmote -n '__fish_seen_subcommand_from type remote' -l paste-wait -x -d 'how long a program there may take to paste, in milliseconds'
complete -c quillmote -n '__fish_seen_subcommand_from type' -l restore -d 'put the clipboard\'s old text back'
complete -c quillmote -l server -x -a '(quillmote discover --timeout 1 2>/dev/null | cut -f1)' -d 'use the server of that name'
complete -c quillmote -l host -x -d 'use the server at that address'
complete -c quillmote -l port -x -d 'the server\'s port'
complete -c quillmote -l timeout -x -d 'how long to wait, in seconds'
complete -c quillmote -l json -d 'print results as JSON'
complete -c quillmote -l help -d 'show help'
complete -c quillmote -l version -d 'show the version'
