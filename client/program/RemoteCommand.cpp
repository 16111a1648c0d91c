// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The command that uses the terminal as the handheld.

#include "program/Commands.h"
#include "program/DeviceIdentity.h"
#include "program/LocalRemote.h"
#include "program/RawTerminal.h"
#include "program/Remote.h"
#include "program/Session.h"
#include "program/Target.h"

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

ExitCode remoteHere(LocalSession &session)
{
    ExitCode code = ExitCode::Done;
    {
        const RawTerminal terminal(RawTerminal::Reports::MouseAndAllKeys);
        code = LocalRemote(session).run();
    }
    if (code == ExitCode::NoConnection) {
        Terminal::complain(u"The session has ended; is VornaServer still running?"_s, "lost"_L1);
    }
    return code;
}

} // namespace

ExitCode Commands::remote(const Arguments &arguments)
{
    if (!Terminal::errorsAreTerminal() || isatty(STDIN_FILENO) != 1) {
        Terminal::complain(u"remote needs a terminal; in scripts use key, move and click."_s);
        return ExitCode::Usage;
    }
    const Target target = Target::find(arguments);
    if (!target.isFound()) {
        return target.code;
    }
    if (target.local) {
        return remoteHere(*target.local);
    }
    Session session(target, arguments);
    if (!session.isOpen()) {
        return session.exitCode();
    }
    const ExitCode paired = session.run(DeviceIdentity::get().pairRequest());
    if (paired != ExitCode::Done && paired != ExitCode::ServerError) {
        return paired;
    }
    ExitCode code = ExitCode::Done;
    {
        const RawTerminal terminal;
        code = Remote(session, arguments, paired == ExitCode::Done).run();
    }
    if (code == ExitCode::NoConnection) {
        Terminal::complain(
            u"The connection to %1 is lost; is VornaServer still running there?"_s.arg(
                session.serverName()));
    }
    return code;
}

} // namespace quillmote
