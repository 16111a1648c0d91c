// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/portal/PortalBus.h"

#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantList>

namespace platform {

/// One session of the portal (org.freedesktop.portal.Session), which ends with this object.
class PortalSession : public QObject
{
    Q_OBJECT

public:
    /// Whether that can be its object path. A call for what is no path would not be sent, and never
    /// be answered.
    static bool isPath(const QString &path);

    PortalSession(const PortalBus &portalOnBus, QString objectPath);
    ~PortalSession() override;

    const PortalBus &portal() const { return bus; }
    const QString &path() const { return objectPath; }
    /// A call to the portal whose first argument is this session.
    QDBusMessage call(const QString &interface, const QString &method,
                      const QVariantList &furtherArguments) const;
    /// Closes it, if the desktop has not.
    void end();

signals:
    /// By the desktop.
    void closed();

private slots:
    void endByDesktop();

private:
    bool watch(bool isWatched);

    PortalBus bus;
    QString objectPath;
    bool isOver = false;
};

} // namespace platform
