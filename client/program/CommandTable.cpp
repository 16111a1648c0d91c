// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/CommandTable.h"

#include "program/Commands.h"

#include <array>
#include <limits>

using namespace Qt::StringLiterals;

namespace quillmote {
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
             "address and port, separated by tabs, and \"last used\" at the one that commands\n"
             "go to when none is named. With --watch it goes on, until Ctrl+C or --timeout,\n"
             "and tells each server that is found and each that is gone."),
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
                      "then the answer takes as long as that person. The server knows the device\n"
                      "by a random identity that is made once and kept. Pairing protects nothing:\n"
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
    CommandEntry{
        text("click"), text("[left|right|center|double] [--repeat COUNT] [OPTIONS]"),
        text("click a button"),
        text("Clicks the button, the left one if none is named, where the pointer is.\n"
             "\"double\" is a double click of the left one. Over a slow network the desktop\n"
             "may take it for two single clicks; then you are told."),
        text("  quillmote click\n"
             "  quillmote click right\n"
             "  quillmote click double\n"
             "  quillmote click --repeat 3"),
        0, 1, Commands::click},
    CommandEntry{text("open"), text("URL [OPTIONS]"), text("open an address"),
                 text("Opens the address with the program that the server's desktop has for it.\n"
                      "A host's name gets https:// in front; localhost, names that end in .local\n"
                      "and numeric addresses get http://. For a file use quillmote send."),
                 text("  quillmote open http://www.example.org/\n"
                      "  quillmote open www.example.org"),
                 1, 1, Commands::open},
    CommandEntry{
        text("copy"), text("[TEXT] [--lossy] [OPTIONS]"), text("put text on the clipboard"),
        text("Puts the text, or else what comes on standard input, on the server's\n"
             "clipboard. One line break at the end of the input is left out. The text\n"
             "must be one line of Latin-1 characters without double quotes. With --lossy\n"
             "the rest is replaced: line breaks by blanks, double quotes by ', what has no\n"
             "likeness by ?; you are told what was changed."),
        text("  quillmote copy \"see you at eight\"\n"
             "  quillmote copy --lossy < letter.txt\n"
             "  echo hi | quillmote copy"),
        0, 1, Commands::copy},
    CommandEntry{text("paste"), text("[OPTIONS]"), text("print the clipboard's text"),
                 text("Prints the text on the server's clipboard; characters outside Latin-1 come\n"
                      "as question marks. On a terminal control characters are shown as escapes\n"
                      "and the text's last line is ended; elsewhere each byte stays as it is."),
                 text("  quillmote paste\n"
                      "  quillmote paste > notes.txt"),
                 0, 0, Commands::paste},
    CommandEntry{
        text("send"), text("FILE... [--as NAME] [--force] [OPTIONS]"), text("send files"),
        text("Sends the files, one after the other; the server saves and opens each. All are\n"
             "checked before the first is sent.\n\n"
             "The server stores the request that announces a file as the file's first bytes:\n"
             "- In JPEG, PDF, HTML, XML, Markdown, scripts and source text it is made a\n"
             "  comment, so the received file opens as the original does.\n"
             "- In plain text (.txt, .log, .rst and the like, or no suffix) it is the first\n"
             "  line, and the text begins on the second.\n"
             "- Other formats, such as PNG, ZIP and CSV, would be damaged: nothing is sent.\n"
             "  With --force they are sent, and the command that restores them there is\n"
             "  printed.\n\n"
             "A file of the same name there is not replaced: what is sent is appended to it.\n"
             "--as saves the file under another name, which may lead into a folder there."),
        text("  quillmote send photo.jpg report.pdf\n"
             "  quillmote send notes.txt --as notes-2.txt\n"
             "  quillmote send --force archive.zip"),
        1, any, Commands::send},
    CommandEntry{
        text("type"), text("[TEXT...] [--paste] [--restore] [OPTIONS]"), text("type a text"),
        text("Types the text, or else what comes on standard input without the line break at\n"
             "its end. Several words are typed with blanks between them.\n\n"
             "Letters, digits, blanks and the characters = - [ ] ' ; \\ , / have keys. The\n"
             "others, such as the full stop, are put on the clipboard there and pasted with\n"
             "Cmd+V, which overwrites what was on it; --restore puts its text back. It refuses\n"
             "to begin where that cannot be done exactly.\n\n"
             "Double quotes, Return, Tab and characters beyond Latin-1 cannot be typed.\n\n"
             "--paste types everything by the clipboard. Use it where the keys give other\n"
             "letters, as with a Russian or Greek keyboard there. --us-keyboard types ! \" #\n"
             "and the like with Shift, in their places on a US keyboard. --paste-wait gives a\n"
             "slow program there more time before the typing goes on."),
        text("  quillmote type \"See you at eight.\"\n"
             "  echo \"Dear all,\" | quillmote type\n"
             "  quillmote type --restore me@example.org"),
        0, any, Commands::type},
    CommandEntry{
        text("remote"), text("[--paste] [--us-keyboard] [OPTIONS]"),
        text("make this terminal the handheld"),
        text("Keys typed here are typed there; arrows or the mouse move the pointer, the\n"
             "mouse's buttons click. Ctrl+] leaves. Return, Tab, Backspace and Escape cannot\n"
             "be sent. Characters without a key, such as the full stop, go by the clipboard\n"
             "there, as with quillmote type."),
        text("  quillmote remote --server den\n"
             "  quillmote remote --us-keyboard"),
        0, 0, Commands::remote},
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

QStringList commandNames()
{
    QStringList names;
    for (const CommandEntry &entry : table) {
        names += entry.name;
    }
    return names;
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
                      "  --json             print results and errors as JSON\n"
                      "  --help             show this help, or a command's\n"
                      "  --version          show the version\n\n"
                      "If no server is named, QUILLMOTE_SERVER in the environment names one, else\n"
                      "the server used last is used, or the only one on the network.\n"
                      "Exit status: 0 done, 1 the server said ERROR, 2 usage, 3 no server or\n"
                      "connection lost.\n"_L1;
}

} // namespace quillmote
