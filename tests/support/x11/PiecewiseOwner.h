// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

/// An owner of the clipboard that gives a long text in pieces, each when the test says so, by the
/// INCR mechanism of the Inter-Client Communication Conventions Manual, section 2.7.2.
///
/// Every step waits for the request that it answers; false when none comes in time.
class PiecewiseOwner
{
public:
    explicit PiecewiseOwner(const QString &display);
    ~PiecewiseOwner();
    PiecewiseOwner(const PiecewiseOwner &) = delete;
    PiecewiseOwner &operator=(const PiecewiseOwner &) = delete;

    /// Answers the question for the targets: text in UTF-8.
    bool offerText();
    /// Answers the request for the text: it will come in pieces.
    bool announcePieces();
    /// Gives the next piece once the one before is taken; an empty one ends the text.
    bool sendPiece(const QByteArray &piece);
    /// Disconnects from the display in the middle of whatever is going on.
    void vanish();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
