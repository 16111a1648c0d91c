// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/http/HttpRequest.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QRegularExpression>
#include <QString>

#include <optional>

/// Reads the head of a request once more: slowly, with patterns, and all at once.
namespace NaiveHttpReader {

using namespace Qt::StringLiterals;
using quillmote::HttpReading;
using quillmote::HttpRequest;

inline constexpr qsizetype longest = 8192;

/// Characters are bytes here.
inline QRegularExpressionMatch matched(const QString &pattern, const QByteArray &bytes)
{
    static QHash<QString, QRegularExpression> known; // it takes long to make one
    QRegularExpression &whole = known[pattern];
    if (whole.pattern().isEmpty()) {
        whole = QRegularExpression(u"\\A(?:"_s + pattern + u")\\z"_s,
                                   QRegularExpression::DotMatchesEverythingOption);
    }
    return whole.match(QString::fromLatin1(bytes));
}

inline bool isMatched(const QString &pattern, const QByteArray &bytes)
{
    return matched(pattern, bytes).hasMatch();
}

inline HttpReading refused(int status)
{
    return {std::nullopt, 0, status};
}

/// What is wrong with the method, if what is there is not the beginning of one.
inline int methodFault(const QByteArray &bytes)
{
    for (qsizetype size = 1; size <= bytes.size(); ++size) {
        const QByteArray start = bytes.first(size);
        if (start == "GET " || start == "HEAD ") {
            return 0;
        }
        if (!QByteArray("GET ").startsWith(start) && !QByteArray("HEAD ").startsWith(start)) {
            return isMatched(u"[A-Za-z]"_s, start.last(1)) ? 405 : 400;
        }
    }
    return 0;
}

/// Where the first byte is that cannot be there; the size if there is none.
inline qsizetype faultyByte(const QByteArray &bytes)
{
    static const QRegularExpression fault(
        u"[\\x00-\\x08\\x0b\\x0c\\x0e-\\x1f\\x7f]|(?<=\\r)[^\\n]|(?<!\\r)\\n"_s);
    const auto match = fault.match(QString::fromLatin1(bytes));
    return match.hasMatch() ? match.capturedStart() : bytes.size();
}

inline int requestLineFault(const QByteArray &line)
{
    const QString start = u"(?:GET|HEAD) /[\\x21\\x22\\x24-\\x7e]* "_s;
    if (isMatched(start + u"HTTP/1\\.1"_s, line)) {
        return 0;
    }
    return isMatched(start + u"HTTP/[0-9]\\.[0-9]"_s, line) ? 505 : 400;
}

using Fields = QMap<QByteArray, QByteArray>;

inline int fieldFault(const QByteArray &line, int number, Fields &fields)
{
    static const QList<QByteArray> read{"host",
                                        "origin",
                                        "accept-encoding",
                                        "connection",
                                        "upgrade",
                                        "sec-websocket-key",
                                        "sec-websocket-version",
                                        "content-length",
                                        "transfer-encoding"};
    if (number > 64) {
        return 431;
    }
    const auto match = matched(u"([!#$%&'*+.^_`|~0-9A-Za-z-]+):[ \\t]*(|.*[^ \\t])[ \\t]*"_s, line);
    if (!match.hasMatch()) {
        return 400;
    }
    const QByteArray name = match.captured(1).toLatin1().toLower();
    if (!read.contains(name)) {
        return 0;
    }
    if (fields.contains(name)) {
        return 400;
    }
    fields[name] = match.captured(2).toLatin1();
    return 0;
}

/// Whether one of the parts between the commas has the pattern, whatever its case.
inline bool hasPart(const QByteArray &list, const QString &pattern)
{
    for (const QByteArray &part : list.split(',')) {
        if (isMatched(u"(?i)[ \\t]*"_s + pattern + u"[ \\t]*"_s, part)) {
            return true;
        }
    }
    return false;
}

inline int upgradeFault(const HttpRequest &request, const Fields &fields)
{
    if (request.isHead || !hasPart(fields.value("connection"), u"upgrade"_s) ||
        !isMatched(u"[A-Za-z0-9+/]{22}=="_s, fields.value("sec-websocket-key"))) {
        return 400;
    }
    return fields.value("sec-websocket-version") == "13" ? 0 : 426;
}

inline HttpReading finished(const QByteArray &requestLine, const Fields &fields, qsizetype size)
{
    if (fields.value("host").isEmpty() || fields.contains("transfer-encoding") ||
        fields.value("content-length", "0") != "0") {
        return refused(400);
    }
    HttpRequest request;
    request.isHead = requestLine.startsWith("HEAD");
    request.path = requestLine.split(' ')[1].split('?')[0];
    request.host = fields.value("host");
    request.origin = fields.value("origin");
    request.takesDeflate = hasPart(fields.value("accept-encoding"),
                                   u"deflate[ \\t]*(?:;[ \\t]*q=[0-9.]*[1-9][0-9.]*)?"_s);
    request.wantsSocket = hasPart(fields.value("upgrade"), u"websocket"_s);
    const int fault = request.wantsSocket ? upgradeFault(request, fields) : 0;
    return fault != 0 ? refused(fault) : HttpReading{request, size, 0};
}

inline HttpReading read(const QByteArray &all)
{
    if (const int fault = methodFault(all); fault != 0) {
        return refused(fault);
    }
    const QByteArray bytes = all.first(std::min(all.size(), longest));
    const qsizetype fault = faultyByte(bytes);
    QList<QByteArray> lines = bytes.first(fault).replace("\r\n", "\n").split('\n');
    lines.removeLast(); // not at its end
    Fields fields;
    qsizetype size = 0;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QByteArray &line = lines[i];
        size += line.size() + 2;
        if (i > 0 && line.isEmpty()) {
            return finished(lines[0], fields, size);
        }
        const int problem =
            i == 0 ? requestLineFault(line) : fieldFault(line, static_cast<int>(i), fields);
        if (problem != 0) {
            return refused(problem);
        }
    }
    if (fault < bytes.size()) {
        return refused(400);
    }
    return bytes.size() == longest ? refused(431) : HttpReading{};
}

} // namespace NaiveHttpReader
