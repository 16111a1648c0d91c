// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "doubles/RecordedBalloons.h"

using namespace Qt::StringLiterals;

std::vector<RecordedBalloon> &recordedBalloons()
{
    static std::vector<RecordedBalloon> balloons;
    return balloons;
}

QStringList balloonTexts()
{
    QStringList texts;
    for (const RecordedBalloon &balloon : recordedBalloons()) {
        texts.append(balloon.text);
    }
    return texts;
}

QRect &recordedIconPlace()
{
    static QRect place;
    return place;
}

QRect QSystemTrayIcon::geometry() const
{
    return recordedIconPlace();
}

void QSystemTrayIcon::showMessage(const QString &title, const QString &msg, MessageIcon icon,
                                  int msecs)
{
    // The toolkit's own complaint of a platform that has no trays.
    if (msg.contains("QPlatformNativeInterface::systemTrayWindowChanged"_L1)) {
        return;
    }
    recordedBalloons().push_back({this, title, msg, icon, msecs});
}
