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

constexpr std::array table = {
    CommandEntry{"discover"_L1, noValues, "list the servers on the local network"_L1,
                 "Lists the servers that answer within two seconds (or --timeout): name, address\n"
                 "and port, separated by tabs. \"last used\" marks the server that commands go to\n"
                 "by default. With --watch it keeps running until Ctrl+C or --timeout and reports\n"
                 "servers as they appear and disappear."_L1,
                 "  quillmote discover\n"
                 "  quillmote discover --json --timeout 5\n"
                 "  quillmote discover --watch"_L1,
                 0, 0, Commands::discover},
    CommandEntry{"info"_L1, noValues, "show the size of the desktop"_L1,
                 "Shows the size of the server's desktop, in pixels."_L1,
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
        "Types the keys in the given order. A key is a letter, a digit, one of\n"
        "= - [ ] ' ; \\ , /, Space, or F1 to F20. It may have any of Cmd+, Alt+, Ctrl+ and\n"
        "Shift+ in front. Letters are typed in lowercase unless Shift+ is given. Servers\n"
        "cannot type Return, Tab, the arrow keys and the like."_L1,
        "  quillmote key h e l l o\n"
        "  quillmote key Cmd+S Shift+A F5"_L1,
        1, unlimited, Commands::key},
    CommandEntry{"move"_L1, "DX DY"_L1, "move the pointer"_L1,
                 "Moves the pointer by DX and DY pixels. Positive numbers move it right and\n"
                 "down."_L1,
                 "  quillmote move 100 0\n"
                 "  quillmote move -10 25"_L1,
                 2, 2, Commands::move},
    CommandEntry{
        "click"_L1, "[left|right|center|double]"_L1, "click a mouse button"_L1,
        "Clicks the button at the pointer's position; the default is the left button.\n"
        "\"double\" double-clicks the left button. Over a slow network the desktop may take\n"
        "that for two single clicks; a note is shown then."_L1,
        "  quillmote click\n"
        "  quillmote click right\n"
        "  quillmote click double\n"
        "  quillmote click --repeat 3"_L1,
        0, 1, Commands::click},
    CommandEntry{
        "open"_L1, "URL"_L1, "open a web address"_L1,
        "Opens the address with the program that the server's desktop has for it. If the\n"
        "address has no scheme, https:// is put in front, or http:// for localhost, names\n"
        "that end in .local and numeric addresses. To open a file, use quillmote send."_L1,
        "  quillmote open http://www.example.org/\n"
        "  quillmote open www.example.org"_L1,
        1, 1, Commands::open},
    CommandEntry{"copy"_L1, "[TEXT]"_L1, "put text on the clipboard"_L1,
                 "Puts the text on the server's clipboard. Without TEXT, standard input is read;\n"
                 "one line break at its end is left out. The text must be one line of Latin-1\n"
                 "characters without double quotes. With --lossy other characters are replaced,\n"
                 "and each kind of change is shown: line breaks become blanks, double quotes\n"
                 "become ', and characters without a similar one become ?."_L1,
                 "  quillmote copy \"see you at eight\"\n"
                 "  quillmote copy --lossy < letter.txt\n"
                 "  echo hi | quillmote copy"_L1,
                 0, 1, Commands::copy},
    CommandEntry{
        "paste"_L1, noValues, "print the clipboard's text"_L1,
        "Prints the text on the server's clipboard. The server sends a question mark for\n"
        "each character outside Latin-1. On a terminal control characters are shown as\n"
        "escapes, and a line break is added if the text does not end in one. In a pipe or\n"
        "a file each byte stays as it is."_L1,
        "  quillmote paste\n"
        "  quillmote paste > notes.txt"_L1,
        0, 0, Commands::paste},
    CommandEntry{
        "send"_L1, "FILE..."_L1, "send files"_L1,
        "Sends the files one after the other; the server saves and opens each. All files\n"
        "are checked before the first one is sent.\n\n"
        "The server stores the request that announces a file as the file's first bytes:\n"
        "- In JPEG, PDF, HTML, XML, Markdown, scripts and source text the request is\n"
        "  written as a comment, so the received file opens like the original.\n"
        "- In plain text (.txt, .log, .rst and the like, or no suffix) it is the first\n"
        "  line, and the text begins on the second.\n"
        "- Other formats, such as PNG, ZIP and CSV, would be damaged, so nothing is sent.\n"
        "  --force sends them anyway and prints the command that restores each file.\n\n"
        "If the name exists in the server's download directory, the new bytes are\n"
        "appended to that file. --as saves the file under another name, which may lead\n"
        "into a folder there."_L1,
        "  quillmote send photo.jpg report.pdf\n"
        "  quillmote send notes.txt --as notes-2.txt\n"
        "  quillmote send --force archive.zip"_L1,
        1, unlimited, Commands::send},
    CommandEntry{
        "type"_L1, "[TEXT...]"_L1, "type a text"_L1,
        "Types the text. Several words are typed with blanks between them. Without TEXT,\n"
        "standard input is read; one line break at its end is left out.\n\n"
        "Letters, digits, blanks and the characters = - [ ] ' ; \\ , / have keys. Other\n"
        "characters, such as the full stop, are put on the server's clipboard and pasted\n"
        "with Cmd+V, which overwrites the clipboard. --restore puts its previous text\n"
        "back; if that text cannot be put back exactly, nothing is typed.\n\n"
        "Double quotes, Return, Tab and characters outside Latin-1 cannot be typed.\n\n"
        "Use --paste if the server's keyboard layout has other letters, such as a Russian\n"
        "or Greek one. --us-keyboard types ! \" # and the like with Shift, where a US\n"
        "keyboard has them. With a longer --paste-wait slow programs have more time to\n"
        "paste before the typing goes on."_L1,
        "  quillmote type \"See you at eight.\"\n"
        "  echo \"Dear all,\" | quillmote type\n"
        "  quillmote type --restore me@example.org"_L1,
        0, unlimited, Commands::type},
    CommandEntry{
        "remote"_L1, noValues, "use this terminal as the handheld"_L1,
        "Keys typed in this terminal are typed on the server. The arrow keys or the mouse\n"
        "move the pointer, and the mouse buttons click. Ctrl+] leaves. Return, Tab,\n"
        "Backspace and Escape cannot be sent. Characters without a key, such as the full\n"
        "stop, are pasted from the server's clipboard, as with quillmote type."_L1,
        "  quillmote remote --server den\n"
        "  quillmote remote --us-keyboard"_L1,
        0, 0, Commands::remote},
};

} // namespace

const CommandEntry *findCommand(const QString &name)
{
    const auto *found = std::find_if(table.begin(), table.end(),
                                     [&](const CommandEntry &entry) { return name == entry.name; });
    return found == table.end() ? nullptr : found;
}

QStringList commandNames()
{
    QStringList names;
    for (const CommandEntry &entry : table) {
        names += entry.name;
    }
    return names;
}

} // namespace quillmote
