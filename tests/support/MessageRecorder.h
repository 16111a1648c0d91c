// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringList>

using namespace Qt::StringLiterals;

/// Takes over the toolkit's message channel while it lives and writes down what comes, byte for
/// byte. Complaints of the toolkit about connections go on to the channel's earlier owner, since a
/// test run fails on them.
class MessageRecorder
{
public:
    MessageRecorder()
    {
        messages.clear();
        earlier = qInstallMessageHandler(record);
    }
    ~MessageRecorder() { qInstallMessageHandler(earlier); }
    MessageRecorder(const MessageRecorder &) = delete;
    MessageRecorder &operator=(const MessageRecorder &) = delete;

    /// Everything in its order, such as "warning: Device Connected ".
    QStringList all() const { return messages; }
    QStringList warnings() const { return withPrefix(u"warning: "_s); }
    QStringList debugs() const { return withPrefix(u"debug: "_s); }
    void clear() { messages.clear(); }

private:
    static QString kind(QtMsgType type)
    {
        switch (type) {
        case QtDebugMsg:
            return u"debug: "_s;
        case QtWarningMsg:
            return u"warning: "_s;
        default:
            return u"other: "_s;
        }
    }

    static void record(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        if (text.startsWith(u"QObject::"_s)) {
            earlier(type, context, text);
        }
        // The platform without a screen complains of what it cannot do.
        if (!text.startsWith(u"This plugin does not support "_s)) {
            messages.append(kind(type) + text);
        }
    }

    static QStringList withPrefix(const QString &prefix)
    {
        QStringList found;
        for (const QString &message : messages) {
            if (message.startsWith(prefix)) {
                found.append(message.mid(prefix.size()));
            }
        }
        return found;
    }

    inline static QtMessageHandler earlier = nullptr;
    inline static QStringList messages;
};
