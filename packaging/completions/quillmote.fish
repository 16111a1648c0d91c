# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# Completion of quillmote for fish.

# Keys, with the modifiers that are already typed in front. Fish puts a blank behind the only
# candidate. "Cmd+" is never the only one, since the keys behind it are candidates too.
function __quillmote_keys
    set -l before (string match -r '^(?:(?:Cmd|Alt|Ctrl|Shift|Control|Meta|AltGraph)\+)*' -- (commandline -ct))
    set -l modifiers
    for modifier in Cmd+ Alt+ Ctrl+ Shift+ Control+ Meta+ AltGraph+
        string match -q -- "*$modifier*" "$before"; or set -a modifiers $modifier
    end
    set -l keys Space Enter Tab Backspace Delete Insert Escape ArrowLeft ArrowRight ArrowUp \
        ArrowDown Home End PageUp PageDown CapsLock ContextMenu PrintScreen Pause AudioVolumeUp \
        AudioVolumeDown AudioVolumeMute MediaPlayPause MediaTrackNext MediaTrackPrevious \
        BrightnessUp BrightnessDown BrowserBack BrowserForward F(seq 24)
    printf '%s\n' $before$keys $before$modifiers $before$modifiers$keys
end

# What the server of this desktop has.
function __quillmote_lines
    type -q quillmote; and quillmote $argv --local 2>/dev/null | cut -f1
end

set -l commands discover info pair key hold move click drag scroll open copy paste send get type listen watch remote

complete -c quillmote -f
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a discover -d 'list the servers on the local network'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a info -d 'show the size of the desktop'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a pair -d 'pair this device with the server'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a key -d 'type keys and shortcuts'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a hold -d 'hold keys or mouse buttons'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a move -d 'move the pointer'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a click -d 'click a mouse button'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a drag -d 'move the pointer with a button down'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a scroll -d 'turn the wheel'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a open -d 'open a web address or an application'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a copy -d 'put text on the clipboard'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a paste -d 'print the clipboard\'s text'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a send -d 'send files'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a get -d 'fetch files from the download directory'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a type -d 'type a text'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a listen -d 'close the server to the network, or open it'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a watch -d 'report changes of the clipboard and the screens'
complete -c quillmote -n "not __fish_seen_subcommand_from $commands" -a remote -d 'use this terminal as the handheld'
complete -c quillmote -n '__fish_seen_subcommand_from click' -a 'left right middle center back forward double'
complete -c quillmote -n '__fish_seen_subcommand_from scroll' -a 'up down left right'
complete -c quillmote -n '__fish_seen_subcommand_from listen' -a 'all 127.0.0.1'
complete -c quillmote -n '__fish_seen_subcommand_from get' -a '(__quillmote_lines get)'
complete -c quillmote -n '__fish_seen_subcommand_from open' -a '(__quillmote_lines open --list)'
complete -c quillmote -n '__fish_seen_subcommand_from send' -F
complete -c quillmote -n '__fish_seen_subcommand_from key hold' -a '(__quillmote_keys)'
complete -c quillmote -n '__fish_seen_subcommand_from copy' -l lossy -d 'replace characters that cannot be sent'
complete -c quillmote -n '__fish_seen_subcommand_from discover' -l watch -d 'keep running and report servers as they appear and disappear'
complete -c quillmote -n '__fish_seen_subcommand_from pair' -l name -x -d 'the name of this device'
complete -c quillmote -n '__fish_seen_subcommand_from key' -l repeat -x -d 'repeat the whole sequence COUNT times'
complete -c quillmote -n '__fish_seen_subcommand_from click' -l repeat -x -d 'repeat the whole sequence COUNT times'
complete -c quillmote -n '__fish_seen_subcommand_from send' -l as -x -d 'save the file under this name'
complete -c quillmote -n '__fish_seen_subcommand_from send' -l force -d 'send files even if they arrive damaged'
complete -c quillmote -n '__fish_seen_subcommand_from send' -l open -d 'open each file there when it has arrived'
complete -c quillmote -n '__fish_seen_subcommand_from send' -l no-open -d 'only store the files there'
complete -c quillmote -n '__fish_seen_subcommand_from get' -l output -s o -r -F -d 'the folder or file to write to'
complete -c quillmote -n '__fish_seen_subcommand_from get' -l force -d 'replace files that exist here'
complete -c quillmote -n '__fish_seen_subcommand_from copy type' -l keep-newline -d 'keep the line break at the end of standard input'
complete -c quillmote -n '__fish_seen_subcommand_from open' -l application -d 'start the application of that name'
complete -c quillmote -n '__fish_seen_subcommand_from open' -l list -d 'list the applications that can be opened'
complete -c quillmote -n '__fish_seen_subcommand_from drag' -l button -x -a 'left middle right back forward' -d 'the button'
complete -c quillmote -n '__fish_seen_subcommand_from hold' -l for -x -d 'how long to hold, in seconds'
complete -c quillmote -n '__fish_seen_subcommand_from type' -l delay -x -d 'wait between the characters, in milliseconds'
complete -c quillmote -n '__fish_seen_subcommand_from type remote' -l paste -d 'paste all of the text instead of typing it'
complete -c quillmote -n '__fish_seen_subcommand_from type remote' -l us-keyboard -d 'type characters where a US keyboard has them'
complete -c quillmote -n '__fish_seen_subcommand_from type remote' -l paste-wait -x -d 'how long to wait after each paste, in milliseconds'
complete -c quillmote -n '__fish_seen_subcommand_from type' -l restore -d 'put the clipboard\'s previous text back at the end'
complete -c quillmote -l local -d 'use the server of this desktop'
complete -c quillmote -l server -x -a '(quillmote discover --timeout 1 2>/dev/null | cut -f1)' -d 'use the server with this name'
complete -c quillmote -l host -x -d 'use the server at this address'
complete -c quillmote -l port -x -d 'the server\'s port'
complete -c quillmote -l timeout -x -d 'how long to wait, in seconds'
complete -c quillmote -l json -d 'print results and errors as JSON'
complete -c quillmote -l help -d 'show help'
complete -c quillmote -l version -d 'show the version'
