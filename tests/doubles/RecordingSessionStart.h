// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/SessionStart.h"

#include <QList>

/// What a RecordingSessionStart was asked; the test keeps it, so it outlives the adapter that the
/// code under test owns.
struct SessionStartRecord
{
    struct Call
    {
        bool enable = false;
        QString applicationPath;

        bool operator==(const Call &) const = default;
    };

    QList<Call> calls;
};

/// A means of starting at logon that starts nothing and writes down what it was asked.
class RecordingSessionStart final : public platform::SessionStart
{
public:
    /// `startRecord` must outlive the object.
    explicit RecordingSessionStart(SessionStartRecord &startRecord) : record(startRecord) {}

    void setEnabled(bool enable, const QString &applicationPath) override
    {
        record.calls.append({enable, applicationPath});
    }

private:
    SessionStartRecord &record;
};
