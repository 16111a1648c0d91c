// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringList>

#include <memory>

class TKApplicationManagerImp;

/// The applications that can be controlled, as the server sees them. Forwards every call to the
/// host system's implementation, which it owns.
class TKApplicationManager
{
public:
    explicit TKApplicationManager(TKApplicationManagerImp *implementation);
    ~TKApplicationManager();
    TKApplicationManager(const TKApplicationManager &) = delete;
    TKApplicationManager &operator=(const TKApplicationManager &) = delete;

    /// The display names, case-sensitive, in their fixed order.
    QStringList applicationList() const;
    void openApplication(QString name);
    void quitApplication(QString name);

private:
    std::unique_ptr<TKApplicationManagerImp> imp;
};
