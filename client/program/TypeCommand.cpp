// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The command that types a text.

#include "lib/SignalWatch.h"
#include "program/ClipboardKeeper.h"
#include "program/Commands.h"
#include "program/JsonOutput.h"
#include "program/LocalCommands.h"
#include "program/Session.h"
#include "program/StandardInput.h"
#include "program/Target.h"
#include "program/TextTyper.h"
#include "program/TypingPlan.h"

#include <QEventLoop>

#include <algorithm>
#include <functional>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

QString typedFromInput(const Arguments &arguments)
{
    if (isatty(STDIN_FILENO) == 1) {
        Terminal::note(u"Reading the text from the terminal; Ctrl+D ends it."_s);
    }
    QString text = standardInput();
    if (!arguments.keepsLineBreak && text.endsWith(u'\n')) {
        text.chop(text.endsWith("\r\n"_L1) ? 2 : 1);
    }
    return text;
}

/// Types the steps. Stops early after a failure or a signal.
ExitCode typeAll(Session &session, const Arguments &arguments, const TypingPlan &plan,
                 const SignalWatch *signalWatch)
{
    TextTyper typer(session.connection(), arguments.pasteWait);
    QEventLoop loop;
    Outcome outcome;
    size_t next = 0;
    bool isOver = false;
    const std::function<void()> typeNext = [&] {
        const bool isStopped = signalWatch != nullptr && signalWatch->caught() != 0;
        if (next == plan.steps.size() || outcome.kind != Outcome::Kind::Done || isStopped) {
            isOver = true;
            loop.quit();
            return;
        }
        typer.add(plan.steps[next++], [&](const Outcome &end) {
            outcome = end;
            typeNext();
        });
    };
    typeNext();
    if (!isOver) {
        loop.exec();
    }
    return Session::report(outcome);
}

ExitCode typeAndRestore(Session &session, const Arguments &arguments, const TypingPlan &plan)
{
    ClipboardKeeper keeper(session);
    const SignalWatch signalWatch;
    ExitCode code = keeper.keep();
    if (code == ExitCode::Done && signalWatch.caught() == 0) {
        code = typeAll(session, arguments, plan, &signalWatch);
        const ExitCode restored = keeper.putBack();
        code = code == ExitCode::Done ? restored : code;
    }
    if (signalWatch.caught() != 0) {
        SignalWatch::dieOf(signalWatch.caught());
    }
    return code;
}

QJsonObject details(const TypingPlan &plan)
{
    const auto pastes =
        std::count_if(plan.steps.begin(), plan.steps.end(),
                      [](const TypingStep &step) { return step.kind == TypingStep::Kind::Paste; });
    return {{u"keys"_s, static_cast<qint64>(plan.steps.size()) - pastes},
            {u"pastes"_s, static_cast<qint64>(pastes)}};
}

ExitCode typeOnNetwork(const Target &target, const Arguments &arguments, const TypingPlan &plan)
{
    Session session(target, arguments);
    if (!session.isOpen()) {
        return session.exitCode();
    }
    ExitCode code = ExitCode::Done;
    if (plan.usesClipboard() && arguments.restoresClipboard) {
        code = typeAndRestore(session, arguments, plan);
    } else {
        if (plan.usesClipboard()) {
            Terminal::note(u"Some characters have no key; they are pasted, which overwrites the "
                           "clipboard there. --restore puts its text back."_s);
        }
        code = typeAll(session, arguments, plan, nullptr);
    }
    JsonOutput::printDone(arguments, code, details(plan));
    return code;
}

} // namespace

ExitCode Commands::type(const Arguments &arguments)
{
    const QString text =
        arguments.values.isEmpty() ? typedFromInput(arguments) : arguments.values.join(u' ');
    TypingPlan plan;
    const Target target = Target::find(arguments, [&] {
        plan = TypingPlan::of(text, {arguments.pastesAll, arguments.isUsKeyboard});
        if (!plan.refusal.isEmpty()) {
            Terminal::complain(plan.refusal);
        }
        return plan.refusal.isEmpty() ? ExitCode::Done : ExitCode::Usage;
    });
    if (!target.isFound()) {
        return target.code;
    }
    return target.local ? LocalCommands::type(*target.local, arguments, text)
                        : typeOnNetwork(target, arguments, plan);
}

} // namespace quillmote
