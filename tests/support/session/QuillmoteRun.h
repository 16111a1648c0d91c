// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/process/ChildProcess.h"
#include "support/session/ServerScene.h"

using namespace Qt::StringLiterals;

/// How a run of the handheld for the command line ended.
struct QuillmoteRun
{
    int status = -1; ///< -1: crashed, or not ended in time.
    QByteArray output;
    QByteArray errors;
};

/// The program of VORNA_QUILLMOTE, which talks to the server of a scene.
class Quillmote
{
public:
    explicit Quillmote(const ServerScene &scene) : surroundings(scene) {}

    void start(ChildProcess &program, const QStringList &arguments) const
    {
        program.setProcessEnvironment(surroundings.session().environment());
        program.start(qEnvironmentVariable("VORNA_QUILLMOTE"),
                      QStringList{u"--host=127.0.0.1"_s, u"--port=%1"_s.arg(surroundings.port())} +
                          arguments);
    }

    QuillmoteRun run(
        const QStringList &arguments, const QByteArray &input = {},
        std::function<void()> lastPreparation = [] {}) const
    {
        ChildProcess program;
        program.setLastPreparation(std::move(lastPreparation));
        start(program, arguments);
        program.write(input);
        program.closeWriteChannel();
        QuillmoteRun run;
        if (program.waitForFinished(120'000) && program.exitStatus() == QProcess::NormalExit) {
            run.status = program.exitCode();
        }
        run.output = program.readAllStandardOutput();
        run.errors = program.readAllStandardError();
        return run;
    }

private:
    const ServerScene &surroundings;
};
