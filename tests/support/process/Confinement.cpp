// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "support/process/Confinement.h"

#include <QByteArray>

#include <linux/capability.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>

using namespace Qt::StringLiterals;

namespace Confinement {

namespace {

// From here on only system calls: other threads of the test may have held locks at the fork.

[[noreturn]] void giveUp(const char *what)
{
    constexpr int CannotPrepare = 125;
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, what, std::strlen(what));
    ::_exit(CannotPrepare);
}

/// A program that root starts may have at most the capabilities of this set (capabilities(7)).
void forbid(unsigned long capability)
{
    if (::prctl(PR_CAPBSET_DROP, capability, 0, 0, 0) != 0 && ::geteuid() == 0) {
        giveUp("cannot give up the rights of root\n");
    }
}

// A namespace of one's own needs root, or a user namespace in which one is root.
void enterNamespace()
{
    if (::unshare(CLONE_NEWNS) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        giveUp("no mount namespace\n");
    }
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        giveUp("the mounts stay shared\n");
    }
}

} // namespace

std::function<void()> heedsPermissions()
{
    return [] {
        forbid(CAP_DAC_OVERRIDE);
        forbid(CAP_DAC_READ_SEARCH);
    };
}

std::function<void()> withoutCall(long number, int error)
{
    return [number, error] {
        std::array filter = {
            sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(number), 0, 1),
            sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)),
            sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        };
        const sock_fprog program{filter.size(), filter.data()};
        if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
            ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) != 0) {
            giveUp("the system call cannot be taken away\n");
        }
    };
}

std::function<void()> smallDisk(const QString &folder, qint64 bytes)
{
    return [path = folder.toUtf8(), options = "size=" + QByteArray::number(bytes)] {
        enterNamespace();
        if (::mount("none", path.constData(), "tmpfs", 0, options.constData()) != 0) {
            giveUp("no small disk\n");
        }
    };
}

QString insideOf(qint64 processId, const QString &path)
{
    return u"/proc/%1/root"_s.arg(processId) + path;
}

} // namespace Confinement
