// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "program/LocalClipboard.h"

#include "program/LocalSession.h"

using namespace Qt::StringLiterals;

namespace quillmote::LocalClipboard {

using Terminal::ExitCode;

ExitCode set(LocalSession &session, const QByteArray &text)
{
    qsizetype sent = 0;
    bool isOver = false;
    return session.runAll([&]() -> std::optional<SessionMessage> {
        if (isOver) {
            return std::nullopt;
        }
        const QByteArray piece = text.mid(sent, longestSessionPart);
        sent += piece.size();
        isOver = sent == text.size();
        return SessionMessage::setClipboard(piece, !isOver);
    });
}

ExitCode get(LocalSession &session, QByteArray &text)
{
    qint64 size = 0;
    text.clear();
    do {
        SessionOutcome outcome;
        const ExitCode code = session.run(SessionMessage::getClipboard(text.size()), &outcome);
        if (code != ExitCode::Done) {
            return code;
        }
        size = outcome.fields.value("size"_L1).toInteger();
        if (size > longestClipboardText || (outcome.body.isEmpty() && text.size() < size)) {
            Terminal::complain(u"What the server sent is not all of the text."_s, "lost"_L1);
            return ExitCode::NoConnection;
        }
        text += outcome.body;
    } while (text.size() < size);
    return ExitCode::Done;
}

} // namespace quillmote::LocalClipboard
