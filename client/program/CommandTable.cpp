// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/CommandTable.h"

#include "program/Commands.h"

#include <array>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype any = std::numeric_limits<qsizetype>::max();

template <size_t Size> constexpr QLatin1StringView text(const char (&characters)[Size])
{
    return QLatin1StringView(characters);
}

constexpr std::array table = {
    CommandEntry{
        text("discover"), text("[--watch] [OPTIONS]"),
        text("list the servers on the local network"),
        text("Lists the servers that are seen within two seconds (or --timeout): name,\n"
             "address and port, separated by tabs. With --watch it goes on, until Ctrl+C or\n"
             "--timeout, and tells each server that is found and each that is gone."),
        text("  quillmote discover\n"
             "  quillmote discover --json --timeout 5\n"
             "  quillmote discover --watch"),
        0, 0, Commands::discover},
    CommandEntry{text("info"), text("[OPTIONS]"), text("tell the size of the desktop"),
                 text("Asks for the size of the server's desktop, in pixels."),
                 text("  quillmote info\n"
                      "  quillmote info --server den --json"),
                 0, 0, Commands::info},
    CommandEntry{text("pair"), text("[--name NAME] [OPTIONS]"), text("ask to be paired"),
                 text("Asks the server to remember this device. A person there may have to agree;\n"
                      "then the answer takes as long as that person. Pairing protects nothing:\n"
                      "the other commands work without it."),
                 text("  quillmote pair\n"
                      "  quillmote pair --name \"Ada's phone\""),
                 0, 0, Commands::pair},
    CommandEntry{
        text("key"), text("KEY... [--repeat COUNT] [OPTIONS]"), text("type keys and shortcuts"),
        text("Types each key once. A key is a letter, a digit, one of = - [ ] ' ; \\ , /,\n"
             "Space, or F1 to F20; before it any of Cmd+, Alt+, Ctrl+ and Shift+. Letters\n"
             "are typed small. Servers cannot type Return, Tab, arrows and the like."),
        text("  quillmote key h e l l o\n"
             "  quillmote key Cmd+S Shift+A F5"),
        1, any, Commands::key},
    CommandEntry{text("move"), text("DX DY [OPTIONS]"), text("move the pointer"),
                 text("Moves the pointer by pixels: right and down are positive."),
                 text("  quillmote move 100 0\n"
                      "  quillmote move -10 25"),
                 2, 2, Commands::move},
    CommandEntry{text("click"), text("[left|right|center] [OPTIONS]"), text("click a button"),
                 text("Clicks the button, the left one if none is named, where the pointer is."),
                 text("  quillmote click\n"
                      "  quillmote click right"),
                 0, 1, Commands::click},
    CommandEntry{text("open"), text("URL [OPTIONS]"), text("open an address"),
                 text("Opens the address with the program that the server's desktop has for it."),
                 text("  quillmote open http://www.example.org/"), 1, 1, Commands::open},
    CommandEntry{text("copy"), text("[TEXT] [OPTIONS]"), text("put text on the clipboard"),
                 text("Puts the text, or else what comes on standard input, on the server's\n"
                      "clipboard. One line break at the end of the input is left out. The text\n"
                      "must be one line of Latin-1 characters without double quotes."),
                 text("  quillmote copy \"see you at eight\"\n"
                      "  echo hi | quillmote copy"),
                 0, 1, Commands::copy},
    CommandEntry{text("paste"), text("[OPTIONS]"), text("print the clipboard's text"),
                 text("Prints the text on the server's clipboard; characters outside Latin-1 come\n"
                      "as question marks."),
                 text("  quillmote paste\n"
                      "  quillmote paste > notes.txt"),
                 0, 0, Commands::paste},
    CommandEntry{text("send"), text("FILE... [OPTIONS]"), text("send files"),
                 text("Sends the files, one after the other; the server saves and opens each.\n"
                      "The server stores the announcement of a file as the file's first bytes. In\n"
                      "JPEG, PDF, HTML, XML, scripts and source text it is made a comment, so the\n"
                      "received file opens as the original does; for other formats you are told\n"
                      "before the sending."),
                 text("  quillmote send photo.jpg report.pdf"), 1, any, Commands::send},
    CommandEntry{text("remote"), text("[OPTIONS]"), text("make this terminal the handheld"),
                 text("Keys typed here are typed there; arrows or the mouse move the pointer, the\n"
                      "mouse's buttons click. Ctrl+] leaves."),
                 text("  quillmote remote --server den"), 0, 0, Commands::remote},
};

} // namespace

const CommandEntry *findCommand(const QString &name)
{
    for (const CommandEntry &entry : table) {
        if (name == entry.name) {
            return &entry;
        }
    }
    return nullptr;
}

QString commandOverview()
{
    QString overview = u"Usage: quillmote COMMAND [OPTIONS]\n\n"
                       "Controls a desktop that runs VornaServer.\n\nCommands:\n"_s;
    for (const CommandEntry &entry : table) {
        overview += "  "_L1 + QString(entry.name).leftJustified(10) + entry.summary + u'\n';
    }
    return overview + "\nOptions:\n"
                      "  --server NAME      use the server of that name\n"
                      "  --host HOST        use the server at that address, with --port\n"
                      "  --port PORT        the server's port, with --host\n"
                      "  --timeout SECONDS  how long to wait, 10 if not given\n"
                      "  --json             print results as JSON\n"
                      "  --help             show this help, or a command's\n"
                      "  --version          show the version\n\n"
                      "The only server on the network is used if none is named.\n"
                      "Exit status: 0 done, 1 the server said ERROR, 2 usage, 3 no server or\n"
                      "connection lost.\n"_L1;
}
