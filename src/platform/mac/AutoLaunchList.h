// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/LoginItems.h"
#include "platform/mac/CFOwner.h"

namespace platform {

/// The list that the login window keeps in its preferences: dictionaries with a "Path", a "Hide"
/// and whatever else other programs wrote.
///
/// A missing list is an empty one. A value that is not a list is read as an empty list and not
/// changed.
class AutoLaunchList final : public LoginItems
{
public:
    /// Reads the path of this program's bundle, then the list.
    AutoLaunchList();

    QString applicationPath() const override;
    int count() const override;
    QString pathAt(int index) const override;
    bool pathContains(int index, const QString &name) const override;
    void append(const QString &path, bool hide) override;
    void removeAt(int index) override;
    void save() override;

private:
    /// Null when the entry is not a dictionary, or its path not a string.
    CFStringRef pathStringAt(int index) const;

    CFOwner<CFStringRef> bundlePath;
    /// The value in the preferences; may be null or of any type.
    CFOwner<CFPropertyListRef> stored;
    CFOwner<CFMutableArrayRef> entries;
};

} // namespace platform
