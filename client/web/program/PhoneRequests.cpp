// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "web/program/PhoneRequests.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillmote {

bool PhoneRequests::isAllowed(const QString &request)
{
    static const QSet<QString> allowed{u"key"_s,
                                       u"text"_s,
                                       u"move"_s,
                                       u"moveTo"_s,
                                       u"button"_s,
                                       u"scroll"_s,
                                       u"clipboard.set"_s,
                                       u"clipboard.get"_s,
                                       u"open"_s,
                                       u"applications"_s,
                                       u"clipboard.watch"_s,
                                       u"file.put"_s,
                                       u"file.cancel"_s,
                                       u"file.list"_s,
                                       u"file.get"_s,
                                       u"screens"_s,
                                       u"watch"_s,
                                       u"ping"_s};
    return allowed.contains(request);
}

SessionMessage PhoneRequests::forServer(const WireText &asked)
{
    SessionMessage message{asked.object.value("request"_L1).toString(), asked.object, {}};
    const bool hasBody = !asked.body.isEmpty() || message.fields.contains("body"_L1);
    for (const QLatin1StringView ours : {"id"_L1, "request"_L1, "body"_L1}) {
        message.fields.remove(ours);
    }
    if (hasBody) {
        message.body = asked.body;
    }
    if (message.request == "file.get"_L1) {
        const qint64 wanted = message.fields.value("length"_L1).toInteger(WireText::longestPiece);
        message.fields.insert(u"length"_s, std::min<qint64>(wanted, WireText::longestPiece));
    }
    return message;
}

} // namespace quillmote
