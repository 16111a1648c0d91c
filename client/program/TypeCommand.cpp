// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

// The command that types a text.

#include "lib/RequestWriter.h"
#include "program/Commands.h"
#include "program/JsonOutput.h"
#include "program/Session.h"
#include "program/SignalWatch.h"
#include "program/TextTyper.h"
#include "program/TypingPlan.h"

#include <QEventLoop>
#include <QFile>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

/// What surely fits into one packet of a network, with the token around it.
constexpr qsizetype longestRestored = 1'200;

QString textFromInput()
{
    if (isatty(STDIN_FILENO) == 1) {
        Terminal::note(u"Reading the text from the terminal; Ctrl+D ends it."_s);
    }
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        return {};
    }
    QString text = QString::fromUtf8(input.readAll());
    if (text.endsWith(u'\n')) {
        text.chop(text.endsWith("\r\n"_L1) ? 2 : 1);
    }
    return text;
}

/// Why the clipboard's text could not be put back exactly; empty when it can be.
QString reasonAgainstRestoring(const QStringList &answered)
{
    const QString text = answered.value(0);
    if (text.contains(u'?')) {
        return u"it holds a question mark, as which the server also sends what Latin-1 lacks"_s;
    }
    if (text.size() > longestRestored) {
        return u"it is too long"_s;
    }
    const bool isRefused = answered.size() != 1 || writeRequest(Request::copy(text), 1).isRefused();
    return isRefused ? u"it holds what the wire cannot carry, such as a line break"_s : QString();
}

/// Keeps the text that was on the clipboard, and puts it back.
class ClipboardKeeper
{
public:
    explicit ClipboardKeeper(Session &server) : session(server) {}

    ExitCode keep()
    {
        const QString advice = u"Nothing was typed. Without --restore it is overwritten."_s;
        Answer answer;
        const ExitCode code = session.run(Request::paste(), &answer);
        if (code == ExitCode::ServerError) {
            Terminal::complain(u"What is on the clipboard there cannot be put back: it is no text, "
                               "or nothing. "_s +
                               advice);
        }
        if (code != ExitCode::Done) {
            return code;
        }
        text = answer.parameters().value(0);
        const QString reason = reasonAgainstRestoring(answer.parameters());
        if (!reason.isEmpty()) {
            Terminal::complain(
                u"The clipboard's text there cannot be put back: %1. %2"_s.arg(reason, advice));
            return ExitCode::Usage;
        }
        return ExitCode::Done;
    }

    ExitCode putBack() { return session.run(Request::copy(text)); }

private:
    Session &session;
    QString text;
};

/// Types the steps; ends early at a failure, or when a signal has come.
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

void printJson(const TypingPlan &plan)
{
    const auto pastes =
        std::count_if(plan.steps.begin(), plan.steps.end(),
                      [](const TypingStep &step) { return step.kind == TypingStep::Kind::Paste; });
    const QJsonObject object = {{u"ok"_s, true},
                                {u"keys"_s, static_cast<qint64>(plan.steps.size()) - pastes},
                                {u"pastes"_s, static_cast<qint64>(pastes)}};
    JsonOutput::print(QJsonDocument(object));
}

} // namespace

ExitCode Commands::type(const Arguments &arguments)
{
    const QString text = arguments.values.isEmpty() ? textFromInput() : arguments.values.join(u' ');
    const TypingPlan plan = TypingPlan::of(text, {arguments.pastesAll, arguments.isUsKeyboard});
    if (!plan.refusal.isEmpty()) {
        Terminal::complain(plan.refusal);
        return ExitCode::Usage;
    }
    Session session(arguments);
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
    if (arguments.wantsJson && code == ExitCode::Done) {
        printJson(plan);
    }
    return code;
}

} // namespace quillmote
