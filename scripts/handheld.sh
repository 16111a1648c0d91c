# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
#
# A handheld in a few lines of shell, speaking the real protocol; sourced.

handheld_question=0 # number of the latest question

# handheld_session PORT TEXT: pairs, asks for the screen, then types the text key by key. Prints what
# it sent and got. The connection stays open, as file descriptor 7, until handheld_leaves.
handheld_session() {
    local port=$1 text=$2 index key
    exec 7<>"/dev/tcp/127.0.0.1/$port" || return 1
    handheld_asks '{ cmdType = SERVER_PAIR; cmdParameters = ( "demo-handheld", "Demo" ); }' &&
        handheld_asks '{ cmdType = SERVER_INFO; }' || return 1
    echo "  handheld: KEYBOARD_CMD for each key of \"$text\""
    for ((index = 0; index < ${#text}; index++)); do
        key=${text:index:1}
        key=${key^^}
        # Blanks at the ends of a value are dropped, so the space bar needs something around it.
        [ "$key" != " " ] || key="Shift+ +Shift"
        handheld_sends "{ cmdType = KEYBOARD_CMD; fncCommand = \"$key\"; }" || return 1
    done
}

handheld_leaves() { exec 7>&-; }

# handheld_sends TOKEN: sends it and waits until the server has carried it out.
#
# One arrival of bytes is one token to the server: of two that arrive together the second is lost. A
# key has no answer to wait for, and on a busy machine no pause is surely long enough. So a question
# follows: if that is lost, it is asked again. Answers repeat every entry of the connection, our
# number too; the answer to the latest question tells that nothing of ours is on its way any more.
handheld_sends() {
    local tries answer
    printf '%s' "$1" >&7
    for ((tries = 0; tries < 20; tries++)); do
        sleep 0.02
        ((++handheld_question))
        printf '{ cmdType = SERVER_INFO; question = %d; }' "$handheld_question" >&7
        while IFS= read -r -t 1 -d '}' -u 7 answer; do
            [[ $answer != *"question = \"$handheld_question\""* ]] || return 0
        done
    done
    return 1
}

# handheld_asks TOKEN: sends it and waits for an answer that says OK.
handheld_asks() {
    local answer
    printf '%s' "$1" >&7
    IFS= read -r -t 10 -d '}' -u 7 answer || return 1
    echo "  handheld: $1"
    echo "  server:   $answer}"
    [[ $answer == *'serverResponse = "OK"'* ]]
}
