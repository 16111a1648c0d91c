// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/SharedHeldInput.h"

#include <new>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace platform {

namespace {

int makeFile()
{
    const int made = memfd_create("held-input", MFD_CLOEXEC);
    const int file = made < 0 ? -1 : fcntl(made, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(made);
    return file;
}

} // namespace

SharedHeldInput::SharedHeldInput() : file(makeFile())
{
    if (file < 0) {
        return;
    }
    void *const place =
        ftruncate(file, sizeof(HeldInput)) == 0
            ? mmap(nullptr, sizeof(HeldInput), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)
            : MAP_FAILED;
    if (place == MAP_FAILED) {
        close(file);
        file = -1;
    } else {
        held = new (place) HeldInput{};
    }
}

SharedHeldInput::~SharedHeldInput()
{
    if (file >= 0) {
        munmap(held, sizeof(HeldInput));
        close(file);
    }
}

} // namespace platform
