// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The input is names of files that are received, one a line, in a download directory with links,
// pipes and what may not be written to. If its first byte is "|", they are opened by walking from
// folder to folder, as on systems that cannot open below a folder, else by the system's best means.
//
// Each is opened or refused as the naive reading says; in the end the files are the same, and
// nothing else was written to.

#include "fuzz/DownloadScene.h"
#include "fuzz/Finding.h"
#include "fuzz/NaiveDownload.h"
#include "net/DownloadFile.h"
#include "platform/posix/ComponentWalk.h"
#include "platform/posix/Descriptor.h"

#include <QFile>

#include <cstddef>
#include <cstdint>

#include <fcntl.h>

namespace {

DownloadScene &scene()
{
    static DownloadScene only;
    return only;
}

bool isFile(const Descriptor &opened)
{
    struct stat status
    {
    };
    return fstat(opened.get(), &status) == 0 && S_ISREG(status.st_mode);
}

/// The program's own way.
bool storeByName(const QString &name)
{
    QFile file;
    return openDownload(file, scene().serverDirectory(), name) && file.write("x") == 1;
}

bool storeByWalking(const QString &name)
{
    const Descriptor directory(
        open(qPrintable(scene().serverDirectory()), O_PATH | O_DIRECTORY | O_CLOEXEC));
    QByteArray path = name.toUtf8();
    while (path.startsWith('/')) {
        path.remove(0, 1);
    }
    const Descriptor file(platform::openByWalking(directory.get(), path));
    return file.isOpen() && isFile(file) && write(file.get(), "x", 1) == 1;
}

bool storeNaively(const QString &name)
{
    const Descriptor file(
        NaiveDownload::open(scene().modelDirectory().toStdString(), name.toStdString()));
    return file.isOpen() && write(file.get(), "x", 1) == 1;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const bool isWalk = input.startsWith('|');
    input.remove(0, isWalk ? 1 : 0);
    // On the wire there is no NUL, and each byte is one character.
    bool isAnyStored = false;
    for (const QByteArray &line : input.replace('\0', "").split('\n')) {
        const QString name = QString::fromLatin1(line);
        const bool isStored = isWalk ? storeByWalking(name) : storeByName(name);
        isAnyStored = isAnyStored || isStored;
        Finding::requireEqual(isStored, storeNaively(name), qPrintable(name));
    }
    scene().compare();
    if (isAnyStored) {
        scene().reset();
    }
    return 0;
}
