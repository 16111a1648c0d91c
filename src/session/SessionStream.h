// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>

#include <deque>
#include <memory>
#include <optional>
#include <span>

namespace platform {
class LocalStream;
}

/// The bytes of one session, in both directions, without ever waiting.
class SessionStream : public QObject
{
    Q_OBJECT

public:
    explicit SessionStream(std::unique_ptr<platform::LocalStream> stream);
    ~SessionStream() override;

    /// Sends the bytes, now or as the peer reads them. What cannot be sent any more is dropped.
    void write(const QByteArray &bytes);
    qsizetype unsent() const { return unsentSize; }

    struct Received
    {
        qsizetype placed = 0;         ///< Bytes in the place that was given.
        std::span<const char> others; ///< Those after them; valid until anything else is read.

        bool isNothing() const { return placed == 0 && others.empty(); }
    };

    /// Whether arrived() is emitted for what arrives, and for the end.
    void setReading(bool isOn);
    /// Reads some of what has arrived, first into that place; none if nothing more can arrive.
    std::optional<Received> read(std::span<char> place);
    bool isReading() const { return reading.isEnabled(); }
    /// Whether nothing more can arrive.
    bool hasEnded() const { return isAtEnd; }
    bool isPeerGone() const;
    QString peerProgram() const;

    /// Drops what is unsent.
    void close();

signals:
    /// There is something to read.
    void arrived();
    /// Some of what was unsent has been sent, or dropped.
    void sent();

private:
    void sendWaiting();
    bool sendFirst();
    void dropUnsent();

    std::unique_ptr<platform::LocalStream> stream;
    QSocketNotifier reading;
    QSocketNotifier writing;
    std::deque<QByteArray> waiting;
    qsizetype firstSent = 0; // bytes of the first one that have been sent
    qsizetype unsentSize = 0;
    bool isAtEnd = false;
    bool isBroken = false; // the peer reads nothing more
};
