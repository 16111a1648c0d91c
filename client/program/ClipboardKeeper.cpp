// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/ClipboardKeeper.h"

#include "lib/RequestWriter.h"
#include "program/Session.h"

using namespace Qt::StringLiterals;

namespace quillmote {

using Terminal::ExitCode;

namespace {

/// Why the clipboard's text could not be put back exactly; empty if it can be.
QString reasonAgainstRestoring(const QStringList &answered)
{
    const QString text = answered.value(0);
    if (text.contains(u'?')) {
        return u"it holds a question mark, as which the server also sends what Latin-1 lacks"_s;
    }
    if (text.size() > safeTextLength) {
        return u"it is too long"_s;
    }
    const bool isRefused = answered.size() != 1 || writeRequest(Request::copy(text), 1).isRefused();
    return isRefused ? u"it holds what the wire cannot carry, such as a line break"_s : QString();
}

} // namespace

ExitCode ClipboardKeeper::keep()
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

ExitCode ClipboardKeeper::putBack()
{
    return session.run(Request::copy(text));
}

} // namespace quillmote
