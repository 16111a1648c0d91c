// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "applications/TKApplicationManagerMac.h"

#include "interaction/InteractionManager.h"
#include "messages/Messages.h"

#include <QHash>
#include <QObject>

using namespace Qt::StringLiterals;

namespace {

/// Display name to bundle identifier.
const QHash<QString, QString> &bundleIdentifiers()
{
    static const QHash<QString, QString> table = {
        {u"iTunes"_s, u"com.apple.iTunes"_s},
        {u"Finder"_s, u"com.apple.finder"_s},
        {u"Unitron"_s, u"dk.Otee.Unity_Unitron"_s},
    };
    return table;
}

bool isRunning(platform::ScriptableApplication *application)
{
    return application != nullptr && application->isRunning();
}

} // namespace

struct TKApplicationManagerMac::Private
{
    std::unique_ptr<platform::ScriptingBridge> bridge;

    /// Null for a name that is not in the table or not known to the host.
    std::unique_ptr<platform::ScriptableApplication> applicationFromName(const QString &name)
    {
        const auto identifier = bundleIdentifiers().constFind(QString::fromLatin1(name.toLatin1()));
        return identifier == bundleIdentifiers().cend()
                   ? nullptr
                   : bridge->applicationWithBundleIdentifier(*identifier);
    }
};

TKApplicationManagerMac::TKApplicationManagerMac(InteractionManager *interactionManager,
                                                 std::unique_ptr<platform::ScriptingBridge> bridge)
    : TKApplicationManagerImp(interactionManager)
    , d(std::make_unique<Private>())
{
    d->bridge = std::move(bridge);
    supportedApplications << u"iTunes"_s << u"Finder"_s << u"Unitron"_s;
    TKApplicationManagerMac::checkAvailableApplications();
}

TKApplicationManagerMac::~TKApplicationManagerMac() = default;

void TKApplicationManagerMac::openApplication(QString name)
{
    const auto application = d->applicationFromName(name);
    if (isRunning(application.get())) {
        return;
    }
    Messages::debug({Messages::quoted(QObject::tr("Starting %1").arg(name))});
    if (application == nullptr) {
        return;
    }
    // By design: asking Unitron for its name is what starts it.
    if (name == "Unitron"_L1) {
        application->name();
    } else {
        application->run();
    }
}

void TKApplicationManagerMac::quitApplication(QString name)
{
    const auto application = d->applicationFromName(name);
    if (isRunning(application.get())) {
        application->activate();
        interaction->keyboardTapKeyEvent(u"Cmd+Q"_s);
    }
}

void TKApplicationManagerMac::checkAvailableApplications()
{
    availableApplications += bundleIdentifiers().keys();
}
