// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <memory>

namespace platform {

/// The list of programs that the user's session starts at logon.
///
/// Entries belong to many programs: an adapter changes nothing of an entry that it neither appended
/// nor removed. Changes are kept in memory until save().
class LoginItems
{
public:
    virtual ~LoginItems() = default;

    /// Path of this program as the list names it: the bundle on a Mac, the executable elsewhere.
    virtual QString applicationPath() const = 0;

    virtual int count() const = 0;
    /// Path that entry `index` (0 to count() - 1) starts; empty when the entry names none.
    virtual QString pathAt(int index) const = 0;
    /// Whether that path contains `name`, which is not empty, anywhere and in any letter case. The
    /// host decides which letters differ in case only.
    virtual bool pathContains(int index, const QString &name) const
    {
        return pathAt(index).contains(name, Qt::CaseInsensitive);
    }
    virtual void append(const QString &path, bool hide) = 0;
    virtual void removeAt(int index) = 0;
    /// Writes the changes since the list was read; silent when that fails.
    virtual void save() = 0;
};

/// The list as it stands now.
std::unique_ptr<LoginItems> makeLoginItems();

} // namespace platform
