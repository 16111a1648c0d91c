// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/CommandTable.h"

#include "program/Commands.h"

#include <algorithm>
#include <array>
#include <limits>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

constexpr qsizetype unlimited = std::numeric_limits<qsizetype>::max();
constexpr QLatin1StringView noValues;

constexpr std::array commandTable = {
    CommandEntry{"discover"_L1, noValues, "list the servers on the local network"_L1,
                 "Lists the servers that answer within two seconds (or --timeout): name, address\n"
                 "and port, separated by tabs. \"last used\" marks the server that commands go to\n"
                 "by default, \"this desktop\" the one that is reached without the network. With\n"
                 "--watch it keeps running until Ctrl+C or --timeout and reports servers as they\n"
                 "appear and disappear."_L1,
                 "  quillmote discover\n"
                 "  quillmote discover --json --timeout 5\n"
                 "  quillmote discover --watch"_L1,
                 0, 0, Commands::discover},
    CommandEntry{"info"_L1, noValues, "show the size of the desktop"_L1,
                 "Shows the size of the server's desktop in pixels, and of this desktop each\n"
                 "screen."_L1,
                 "  quillmote info\n"
                 "  quillmote info --server den --json"_L1,
                 0, 0, Commands::info},
    CommandEntry{
        "pair"_L1, noValues, "pair this device with the server"_L1,
        "Asks the server to remember this device. The server's user may have to agree;\n"
        "the command waits for the decision. The server recognises the device by a random\n"
        "identity, which is made once and kept. Pairing protects nothing: the other\n"
        "commands work without it."_L1,
        "  quillmote pair\n"
        "  quillmote pair --name \"Ada's phone\""_L1,
        0, 0, Commands::pair},
    CommandEntry{
        "key"_L1, "KEY..."_L1, "type keys and shortcuts"_L1,
        "Types the keys in the given order. A key is a character, or has a name: Enter,\n"
        "Tab, Backspace, Delete, Escape, Space, ArrowLeft, Home, PageUp, F1 to F24,\n"
        "PrintScreen, AudioVolumeUp, MediaPlayPause and so on, as the W3C names them.\n"
        "Other usual names such as Return, Left, Prior, period or XF86AudioMute are\n"
        "understood too. A key may have any of Control+ (or Ctrl+, Cmd+), Shift+, Alt+,\n"
        "Meta+ (or Super+) and AltGraph+ in front; a modifier alone is a key too.\n\n"
        "Over the network there are only letters, digits, = - [ ] ' ; \\ , /, Space and F1\n"
        "to F20, with Cmd+, Alt+, Ctrl+ and Shift+, and letters are typed in lowercase\n"
        "unless Shift+ is given."_L1,
        "  quillmote key h e l l o Enter\n"
        "  quillmote key Control+Shift+t F5\n"
        "  quillmote key Tab --repeat 3"_L1,
        1, unlimited, Commands::key},
    CommandEntry{
        "hold"_L1, "KEY|BUTTON..."_L1, "hold keys or mouse buttons"_L1,
        "Presses the keys or buttons and holds them until Ctrl+C, or for SECONDS. The words\n"
        "left, middle, right, back and forward in small letters are mouse buttons; the\n"
        "arrow keys are ArrowLeft and so on. However the command ends, nothing stays down.\n"
        "Only the server of this desktop can do this."_L1,
        "  quillmote hold w --for 2\n"
        "  quillmote hold Shift left"_L1,
        1, unlimited, Commands::hold},
    CommandEntry{"move"_L1, "DX DY"_L1, "move the pointer"_L1,
                 "Moves the pointer by DX and DY pixels. Positive numbers move it right and\n"
                 "down. Fractions are added up, on this desktop only."_L1,
                 "  quillmote move 100 0\n"
                 "  quillmote move -10 25"_L1,
                 2, 2, Commands::move},
    CommandEntry{
        "click"_L1, "[left|right|middle|center|back|forward|double]"_L1, "click a mouse button"_L1,
        "Clicks the button at the pointer's position; the default is the left button.\n"
        "\"double\" double-clicks the left button, and center is the middle one. Over a slow\n"
        "network the desktop may take a double click for two single ones; a note is shown\n"
        "then. Over the network the buttons are left, right and center."_L1,
        "  quillmote click\n"
        "  quillmote click right\n"
        "  quillmote click double\n"
        "  quillmote click --repeat 3"_L1,
        0, 1, Commands::click},
    CommandEntry{"drag"_L1, "DX DY"_L1, "move the pointer with a button down"_L1,
                 "Presses the button, moves the pointer by DX and DY pixels in small steps, and\n"
                 "releases the button. Only the server of this desktop can do this."_L1,
                 "  quillmote drag 200 0\n"
                 "  quillmote drag -50 30 --button right"_L1,
                 2, 2, Commands::drag},
    CommandEntry{"scroll"_L1, "up|down|left|right|DX [N|DY]"_L1, "turn the wheel"_L1,
                 "Turns the wheel by N notches, one if none are given, or by DX notches to the\n"
                 "right and DY down. Fractions are possible. Only the server of this desktop can\n"
                 "do this."_L1,
                 "  quillmote scroll down 3\n"
                 "  quillmote scroll 0 -0.5"_L1,
                 1, 2, Commands::scroll},
    CommandEntry{
        "open"_L1, "[URL|APPLICATION]"_L1, "open a web address or an application"_L1,
        "Opens the address with the program that the server's desktop has for it. If the\n"
        "address has no scheme, https:// is put in front, or http:// for localhost, names\n"
        "that end in .local and numeric addresses. To open a file, use quillmote send.\n\n"
        "On this desktop a word that is no address is the name of an application, and any\n"
        "word is with --application. --list shows the names."_L1,
        "  quillmote open http://www.example.org/\n"
        "  quillmote open www.example.org\n"
        "  quillmote open --application \"Text Editor\""_L1,
        0, 1, Commands::open},
    CommandEntry{
        "copy"_L1, "[TEXT]"_L1, "put text on the clipboard"_L1,
        "Puts the text on the server's clipboard. Without TEXT, standard input is read;\n"
        "one line break at its end is left out, unless --keep-newline is given.\n\n"
        "On this desktop the text may hold any characters, up to 16 MiB. Over the network\n"
        "it must be one line of Latin-1 characters without double quotes. With --lossy\n"
        "other characters are replaced there, and each kind of change is shown: line\n"
        "breaks become blanks, double quotes become ', and characters without a similar\n"
        "one become ?."_L1,
        "  quillmote copy \"see you at eight\"\n"
        "  quillmote copy --lossy < letter.txt\n"
        "  echo hi | quillmote copy"_L1,
        0, 1, Commands::copy},
    CommandEntry{"paste"_L1, noValues, "print the clipboard's text"_L1,
                 "Prints the text on the server's clipboard. Over the network the server sends a\n"
                 "question mark for each character outside Latin-1. On a terminal control\n"
                 "characters are shown as escapes, and a line break is added if the text does not\n"
                 "end in one. In a pipe or a file each byte stays as it is."_L1,
                 "  quillmote paste\n"
                 "  quillmote paste > notes.txt"_L1,
                 0, 0, Commands::paste},
    CommandEntry{
        "send"_L1, "FILE..."_L1, "send files"_L1,
        "Sends the files one after the other; the server saves and opens each. All files\n"
        "are checked before the first one is sent.\n\n"
        "On this desktop the files arrive as they are. If a name exists, the file gets a\n"
        "number behind it. With --no-open they are only stored.\n\n"
        "Over the network the server stores the request that announces a file as the\n"
        "file's first bytes:\n"
        "- In JPEG, PDF, HTML, XML, Markdown, scripts and source text the request is\n"
        "  written as a comment, so the received file opens like the original.\n"
        "- In plain text (.txt, .log, .rst and the like, or no suffix) it is the first\n"
        "  line, and the text begins on the second.\n"
        "- Other formats, such as PNG, ZIP and CSV, would be damaged, so nothing is sent.\n"
        "  --force sends them anyway and prints the command that restores each file.\n\n"
        "There, if the name exists in the download directory, the new bytes are appended\n"
        "to that file. --as saves the file under another name, which over the network may\n"
        "lead into a folder there."_L1,
        "  quillmote send photo.jpg report.pdf\n"
        "  quillmote send notes.txt --as notes-2.txt\n"
        "  quillmote send --force archive.zip"_L1,
        1, unlimited, Commands::send},
    CommandEntry{
        "get"_L1, "[NAME...]"_L1, "fetch files from the download directory"_L1,
        "Fetches the files of these names from the server's download directory into this\n"
        "folder, or to --output. An existing file is left alone unless --force is given. A\n"
        "file has its name only when it is complete. Without NAME the files are listed:\n"
        "name, bytes and time of the last change, separated by tabs. Only the server of\n"
        "this desktop can do this."_L1,
        "  quillmote get\n"
        "  quillmote get report.pdf --output ~/Documents\n"
        "  quillmote get notes.txt -o -"_L1,
        0, unlimited, Commands::get},
    CommandEntry{
        "type"_L1, "[TEXT...]"_L1, "type a text"_L1,
        "Types the text. Several words are typed with blanks between them. Without TEXT,\n"
        "standard input is read; one line break at its end is left out, unless\n"
        "--keep-newline is given.\n\n"
        "On this desktop any characters are typed, line breaks as Enter and tabs as Tab;\n"
        "--delay makes that slower. --paste puts the text on the clipboard and types\n"
        "Control+V.\n\n"
        "Over the network letters, digits, blanks and the characters = - [ ] ' ; \\ , /\n"
        "have keys. Other characters, such as the full stop, are put on the server's\n"
        "clipboard and pasted with Cmd+V, which overwrites the clipboard. --restore puts\n"
        "its previous text back; if that text cannot be put back exactly, nothing is\n"
        "typed. Double quotes, Return, Tab and characters outside Latin-1 cannot be typed.\n"
        "Use --paste there if the server's keyboard layout has other letters, such as a\n"
        "Russian or Greek one. --us-keyboard types ! \" # and the like with Shift, where a\n"
        "US keyboard has them. With a longer --paste-wait slow programs have more time to\n"
        "paste before the typing goes on."_L1,
        "  quillmote type \"See you at eight.\"\n"
        "  echo \"Dear all,\" | quillmote type\n"
        "  quillmote type --restore me@example.org"_L1,
        0, unlimited, Commands::type},
    CommandEntry{
        "listen"_L1, "[all|ADDRESS]"_L1, "close the server to the network, or open it"_L1,
        "Makes the server of this desktop listen at this address of the computer only, now\n"
        "and after each start. With 127.0.0.1 no other computer reaches it or finds it;\n"
        "programs of this desktop do. \"all\" opens it to the network again. Connections to\n"
        "other addresses end. Without ADDRESS it is shown where the server listens."_L1,
        "  quillmote listen\n"
        "  quillmote listen 127.0.0.1\n"
        "  quillmote listen all"_L1,
        0, 1, Commands::listen},
    CommandEntry{
        "watch"_L1, noValues, "report changes of the clipboard and the screens"_L1,
        "Prints a line whenever the contents of the clipboard or the screens change, until\n"
        "Ctrl+C or --timeout. Only the server of this desktop can do this."_L1,
        "  quillmote watch\n"
        "  quillmote watch --json --timeout 60"_L1,
        0, 0, Commands::watch},
    CommandEntry{
        "remote"_L1, noValues, "use this terminal as the handheld"_L1,
        "Keys typed in this terminal are typed on the server. Ctrl+] leaves.\n\n"
        "On this desktop every key is sent that the terminal reports, and texts that are\n"
        "pasted into it. The mouse moves the pointer, its buttons press and release, and\n"
        "its wheel scrolls. Without a mouse, Ctrl+\\ lets the arrow keys move the pointer.\n\n"
        "Over the network the arrow keys or the mouse move the pointer, and the mouse\n"
        "buttons click. Return, Tab, Backspace and Escape cannot be sent. Characters\n"
        "without a key, such as the full stop, are pasted from the server's clipboard, as\n"
        "with quillmote type."_L1,
        "  quillmote remote --server den\n"
        "  quillmote remote --us-keyboard"_L1,
        0, 0, Commands::remote},
};

} // namespace

const CommandEntry *findCommand(const QString &name)
{
    const auto *found = std::find_if(commandTable.begin(), commandTable.end(),
                                     [&](const CommandEntry &entry) { return name == entry.name; });
    return found == commandTable.end() ? nullptr : found;
}

QStringList commandNames()
{
    QStringList names;
    for (const CommandEntry &entry : commandTable) {
        names += entry.name;
    }
    return names;
}

} // namespace quillmote
