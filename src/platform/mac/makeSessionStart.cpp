// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "platform/SessionStart.h"
#include "platform/mac/AppService.h"
#include "platform/mac/LaunchAgent.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace platform {
namespace {

LaunchAgent userAgent()
{
    return LaunchAgent(QDir::homePath() + "/Library/LaunchAgents"_L1,
                       QStringLiteral(VORNA_BUNDLE_IDENTIFIER));
}

/// If the system was upgraded, an agent from before would start the program a second time.
class AppServiceInPlaceOfAgent final : public SessionStart
{
public:
    void setEnabled(bool enable, const QString &applicationPath) override
    {
        userAgent().setEnabled(false, applicationPath);
        AppService().setEnabled(enable, applicationPath);
    }
};

} // namespace

std::unique_ptr<SessionStart> makeSessionStart()
{
    if (AppService::isAvailable()) {
        return std::make_unique<AppServiceInPlaceOfAgent>();
    }
    return std::make_unique<LaunchAgent>(userAgent());
}

} // namespace platform
