// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/linux/input/InputGuard.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <csignal>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace platform {

namespace {

/// The guard is beside this program in the build folder, and in a folder of its own where it is
/// installed.
QString guardProgram()
{
    const QString folder = QCoreApplication::applicationDirPath() + u'/';
    for (const char *place : {"", VORNA_GUARD_FOLDER "/"}) {
        const QString path =
            folder + QLatin1StringView(place) + QLatin1StringView(VORNA_GUARD_NAME);
        if (QFileInfo(path).isExecutable()) {
            return path;
        }
    }
    return {};
}

/// The files that the guard starts with: the memory, its end of the pipe, and none of those that
/// this process reads or writes.
class OpenFiles
{
public:
    OpenFiles(int memory, int pipe)
    {
        posix_spawn_file_actions_init(&actions);
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            posix_spawn_file_actions_addopen(&actions, standard, "/dev/null", O_RDWR, 0);
        }
        // Duplicated onto itself, so it is no longer closed on exec.
        posix_spawn_file_actions_adddup2(&actions, memory, memory);
        posix_spawn_file_actions_adddup2(&actions, pipe, pipe);
    }
    ~OpenFiles() { posix_spawn_file_actions_destroy(&actions); }
    OpenFiles(const OpenFiles &) = delete;
    OpenFiles &operator=(const OpenFiles &) = delete;

    const posix_spawn_file_actions_t *get() const { return &actions; }

private:
    posix_spawn_file_actions_t actions{};
};

/// The process; -1 when it cannot be started.
pid_t spawn(const QString &program, const OpenFiles &files, std::array<std::string, 4> arguments)
{
    QByteArray path = QFile::encodeName(program);
    std::array<char *, 6> line{path.data()};
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        line[index + 1] = arguments[index].data();
    }
    pid_t process = -1;
    const int error =
        posix_spawn(&process, path.constData(), files.get(), nullptr, line.data(), environ);
    if (error != 0) {
        qWarning("The guard of the keys cannot be started: %s", std::strerror(error));
    }
    return error == 0 ? process : -1;
}

} // namespace

InputGuard::InputGuard(int memory, std::uint32_t marker)
{
    const QString program = guardProgram();
    std::array<int, 2> pipe{};
    if (memory < 0 || program.isEmpty() || pipe2(pipe.data(), O_CLOEXEC) != 0) {
        qWarning(
            "The guard of the keys is missing; if this program is killed, a key may stay down.");
        return;
    }
    const int watched = fcntl(pipe[0], F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(pipe[0]);
    lifeline = pipe[1];
    process = spawn(program, OpenFiles(memory, watched),
                    {std::to_string(memory), std::to_string(watched), std::to_string(marker),
                     std::to_string(getpid())});
    close(watched);
}

InputGuard::~InputGuard()
{
    if (process > 0) {
        // It ignores all other signals that end a process.
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    if (lifeline >= 0) {
        close(lifeline);
    }
}

} // namespace platform
