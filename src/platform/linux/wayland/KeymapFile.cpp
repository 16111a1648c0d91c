// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/wayland/KeymapFile.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace platform {

namespace {

constexpr std::uint32_t longestKeymap = 1U << 20U;

bool writeAll(int file, const char *bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t written = write(file, bytes, count);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

} // namespace

KeymapFile::KeymapFile(const QByteArray &text)
    : file(memfd_create("keymap", MFD_CLOEXEC | MFD_ALLOW_SEALING))
    , length(static_cast<std::uint32_t>(text.size()) + 1)
{
    if (file >= 0 && !writeAll(file, text.constData(), length)) {
        close(file);
        file = -1;
    }
    if (file >= 0) {
        fcntl(file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
    }
}

KeymapFile::~KeymapFile()
{
    if (file >= 0) {
        close(file);
    }
}

/// Reads it instead of mapping it: a file that its sender makes shorter would end the program.
std::optional<QByteArray> KeymapFile::read(int descriptor, std::uint32_t size)
{
    if (size > longestKeymap) {
        close(descriptor);
        return std::nullopt;
    }
    QByteArray text(static_cast<int>(size), '\0');
    ssize_t had = 0;
    while (had < text.size()) {
        const ssize_t got =
            pread(descriptor, text.data() + had, static_cast<std::size_t>(text.size() - had), had);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        had += got;
    }
    close(descriptor);
    text.truncate(static_cast<int>(qstrnlen(text.constData(), static_cast<size_t>(had))));
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

} // namespace platform
