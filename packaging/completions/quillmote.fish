# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# Completion of quillmote for fish.

set -l commands discover info pair key move click open copy paste send remote

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
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a remote -d 'make this terminal the handheld'
complete -c quillmote -n '__fish_seen_subcommand_from click' -a 'left right center'
complete -c quillmote -n '__fish_seen_subcommand_from send' -F
complete -c quillmote -n '__fish_seen_subcommand_from discover' -l watch -d 'tell what comes and goes'
complete -c quillmote -n '__fish_seen_subcommand_from pair' -l name -x -d 'what this device is called'
complete -c quillmote -n '__fish_seen_subcommand_from key' -l repeat -x -d 'type them so many times'
complete -c quillmote -l server -x -a '(quillmote discover --timeout 1 2>/dev/null | cut -f1)' -d 'use the server of that name'
complete -c quillmote -l host -x -d 'use the server at that address'
complete -c quillmote -l port -x -d 'the server\'s port'
complete -c quillmote -l timeout -x -d 'how long to wait, in seconds'
complete -c quillmote -l json -d 'print results as JSON'
complete -c quillmote -l help -d 'show help'
complete -c quillmote -l version -d 'show the version'
