// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionReadiness.h"

using namespace Qt::StringLiterals;

SessionReply unsupportedByDesktop()
{
    return SessionReply::refused(u"unsupported"_s, u"This desktop cannot do that."_s);
}

std::optional<SessionReply> refusalOf(platform::DesktopInput &input)
{
    using Readiness = platform::DesktopInput::Readiness;
    switch (input.makeReady()) {
    case Readiness::Ready:
        break;
    case Readiness::ConsentPending:
        return SessionReply::refused(
            u"consent-pending"_s,
            u"The desktop asks its user whether VornaServer may do that. Try again then."_s);
    case Readiness::Refused:
        return SessionReply::refused(u"consent-refused"_s,
                                     u"The desktop's user has refused that."_s);
    case Readiness::Unavailable:
        return SessionReply::refused(u"failed"_s, u"The desktop does not allow that now."_s);
    }
    return std::nullopt;
}
