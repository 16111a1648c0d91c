// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/LoginItems.h"

#include <QList>

#include <functional>

using namespace Qt::StringLiterals;

/// What a RecordingLoginItems reads and writes; the test keeps it, so it outlives the adapter that
/// the code under test owns.
struct LoginItemRecord
{
    struct Entry
    {
        QString path;
        bool hide = false;

        bool operator==(const Entry &) const = default;
    };

    QString applicationPath = u"/opt/vorna/VornaServer"_s;
    /// The saved list: what another program would see.
    QList<Entry> entries;
    int saves = 0;
    /// Called after each save; may be empty.
    std::function<void()> onSave;
};

/// A login item list in memory that counts how often it was saved.
class RecordingLoginItems final : public platform::LoginItems
{
public:
    /// `listRecord` must outlive the list.
    explicit RecordingLoginItems(LoginItemRecord &listRecord)
        : record(listRecord)
        , entries(listRecord.entries)
    {
    }

    QString applicationPath() const override { return record.applicationPath; }
    int count() const override { return static_cast<int>(entries.size()); }
    QString pathAt(int index) const override { return entries.value(index).path; }
    void append(const QString &path, bool hide) override { entries.append({path, hide}); }

    void removeAt(int index) override
    {
        if (index >= 0 && index < entries.size()) {
            entries.removeAt(index);
        }
    }

    void save() override
    {
        record.entries = entries;
        ++record.saves;
        if (record.onSave) {
            record.onSave();
        }
    }

private:
    LoginItemRecord &record;
    QList<LoginItemRecord::Entry> entries;
};
