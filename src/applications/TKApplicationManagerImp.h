// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

class InteractionManager;

/// What a host system must offer to start and quit the applications that can be controlled.
class TKApplicationManagerImp
{
public:
    /// Does not own the interaction manager, which must outlive this object.
    explicit TKApplicationManagerImp(InteractionManager *interactionManager);
    virtual ~TKApplicationManagerImp();

    /// Starts the application of that display name, unless it is already running.
    virtual void openApplication(QString name) = 0;
    /// Brings the application to the front, if it runs, and types its quit shortcut.
    virtual void quitApplication(QString name) = 0;
    /// Fills the list of available applications.
    virtual void checkAvailableApplications() = 0;

    const QStringList &supported() const { return supportedApplications; }
    const QStringList &available() const { return availableApplications; }

protected:
    InteractionManager *interaction;
    QStringList supportedApplications;
    QStringList availableApplications;
};
