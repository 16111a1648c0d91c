// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The input is a session of handhelds with the server, one connection at a time, over a socket in
// memory. The byte 0xff ends a read; the byte after it says what happens before the next one:
//
//   x  the handheld leaves, and another one comes
//   r  if a file is on its way, the next read is repeated until it has some 20 KB, R  some 300 KB
//      (once): too much to be read as a token by a naive reader
//   t  if none is, the next read is repeated until it is too long to be read at once (once)
//   l  during the next read no file grows beyond 16 KiB
//   u  4 MiB of answers wait to be sent, U  one byte more, n  none
//   s  the clipboard becomes slow, a  it answers
//   d  the download directory goes away
//   |  (and all others) nothing
//
// After each read the server has done what the model says: tokens announced, answers sent, messages
// written, files shown; and in the end the files are the same, and nothing else was written.

#include "fuzz/ConnectionScene.h"
#include "fuzz/Finding.h"
#include "fuzz/ScriptedRead.h"

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <sys/resource.h>

namespace {

constexpr rlim_t smallFile = 16 * 1024;
constexpr qsizetype largeRead = 20'000;
constexpr qsizetype hugeRead = 300'000;
constexpr qsizetype longTokenRead = ConnectionModel::heldPiece + 1'000;

World *world = nullptr;

/// While it lives, no file of this process grows beyond the size, in bytes; a write that would make
/// one fails. libFuzzer has a handler of its own for the signal.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t size)
    {
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit lowered{std::min(size, before.rlim_max), before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &lowered);
        handler = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~FileSizeLimit()
    {
        std::signal(SIGXFSZ, handler);
        setrlimit(RLIMIT_FSIZE, &before);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit before{};
    void (*handler)(int) = SIG_DFL;
};

QByteArray repeated(const QByteArray &bytes, qsizetype size)
{
    return bytes.isEmpty() ? bytes : bytes.repeated(size / bytes.size() + 1);
}

/// What happens before a read.
void prepare(ConnectionScene &session, char control)
{
    switch (control) {
    case 'x':
        session.replaceHandheld();
        break;
    case 'u':
        session.setUnsent(ConnectionModel::mostUnsent);
        break;
    case 'U':
        session.setUnsent(ConnectionModel::mostUnsent + 1);
        break;
    case 'n':
        session.setUnsent(0);
        break;
    case 's':
        session.makeClipboardSlow();
        break;
    case 'a':
        session.answerWaiting();
        break;
    case 'd':
        session.removeDirectories();
        break;
    default:
        break;
    }
}

/// The bytes of a read, made many where the control asks for it.
QByteArray enlarged(const QByteArray &bytes, const ConnectionScene &session, char control,
                    bool &wasHuge)
{
    if (session.isReceivingFile() && control == 'r') {
        return repeated(bytes, largeRead);
    }
    if (session.isReceivingFile() && control == 'R' && !std::exchange(wasHuge, true)) {
        return repeated(bytes, hugeRead);
    }
    if (!session.isReceivingFile() && control == 't' && !std::exchange(wasHuge, true)) {
        return repeated(bytes, longTokenRead);
    }
    return bytes;
}

void play(ConnectionScene &session, const QByteArray &input)
{
    bool wasHuge = false;
    for (const ScriptedRead &read : scriptedReads(input, 1)) {
        const char control = read.control[0];
        prepare(session, control);
        const FileSizeLimit limit(control == 'l' ? smallFile : RLIM_INFINITY);
        session.receive(enlarged(read.bytes, session, control, wasHuge));
    }
}

/// True when files may have been written.
bool playedWithFiles(const QByteArray &input)
{
    ConnectionScene session(*world);
    play(session, input);
    return session.hasTouchedFiles();
}

} // namespace

// The files go into the folder for temporary files, which the caller should put into memory and
// empty after a find.
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static World only(*argc, *argv);
    world = &only;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    // Without an announcement, which the server would tell, no file is opened.
    if (playedWithFiles(input)) {
        world->scene.compare();
        world->scene.reset();
    }
    return 0;
}
