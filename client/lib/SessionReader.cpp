// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "lib/SessionReader.h"

#include "lib/SessionMessage.h"

#include <QJsonDocument>

#include <utility>

using namespace Qt::StringLiterals;

namespace quillmote {
namespace {

/// The announced size of the body, 0 if there is none; nothing if it cannot be one.
std::optional<qsizetype> announcedBody(const QJsonObject &object)
{
    const QJsonValue value = object.value("body"_L1);
    if (value.isUndefined()) {
        return 0;
    }
    const qint64 size = value.toInteger(-1);
    return size >= 0 && size <= longestSessionPart ? std::optional<qsizetype>(size) : std::nullopt;
}

} // namespace

void SessionReader::append(const QByteArray &bytes)
{
    if (!garbage) {
        unread += bytes;
    }
}

std::optional<SessionLine> SessionReader::take()
{
    if (!begun && !garbage) {
        takeLine();
    }
    if (!begun || unread.size() < bodySize) {
        return std::nullopt;
    }
    begun->body = unread.first(bodySize);
    unread.remove(0, bodySize);
    return std::exchange(begun, std::nullopt);
}

void SessionReader::takeLine()
{
    const qsizetype end = unread.indexOf('\n', searched);
    const qsizetype length = end < 0 ? unread.size() : end;
    if (length > longestSessionPart) {
        garbage = true;
        unread.clear();
    } else if (end < 0) {
        searched = unread.size();
    } else {
        const QByteArray text = unread.first(end);
        unread.remove(0, end + 1);
        searched = 0;
        read(text);
    }
}

void SessionReader::read(const QByteArray &text)
{
    const QJsonDocument document = QJsonDocument::fromJson(text);
    const auto size = announcedBody(document.object());
    if (!document.isObject() || !size) {
        garbage = true;
        unread.clear();
        return;
    }
    begun = SessionLine{document.object(), {}};
    bodySize = *size;
}

} // namespace quillmote
