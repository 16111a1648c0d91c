// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "session/SessionScreens.h"

#include "platform/EventServices.h"
#include "platform/Screens.h"
#include "session/SessionFields.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QJsonObject describe(const platform::Screen &screen)
{
    return {{u"name"_s, screen.name},
            {u"x"_s, screen.place.x()},
            {u"y"_s, screen.place.y()},
            {u"width"_s, screen.place.width()},
            {u"height"_s, screen.place.height()},
            {u"scale"_s, screen.scale}};
}

} // namespace

SessionScreens::SessionScreens(platform::Screens &hostScreens, SharedWatch &watch, Event event)
    : screens(hostScreens)
    , changes(watch)
    , sendEvent(std::move(event))
{
}

SessionScreens::~SessionScreens() = default;

void SessionScreens::list(const SessionRequest & /*request*/, const SessionAnswer &answer)
{
    answer(SessionReply::done({{u"screens"_s, described()}}));
}

void SessionScreens::watch(const SessionRequest &request, const SessionAnswer &answer)
{
    SessionFields fields(request.fields);
    const bool isOn = fields.yesOrNo("on"_L1, true);
    if (!fields.isGood()) {
        answer(fields.reply());
        return;
    }
    listener.reset();
    if (isOn) {
        listener = std::make_unique<SharedWatch::Listener>(changes, [this] {
            sendEvent({{u"event"_s, u"screens"_s}, {u"screens"_s, described()}});
        });
    }
    answer(SessionReply::done());
}

std::optional<platform::Location> SessionScreens::placeOn(qint64 index, double x, double y) const
{
    const QList<platform::Screen> all = screens.all();
    if (index < 0 || index >= all.size()) {
        return std::nullopt;
    }
    const QRect place = all.at(index).place;
    return platform::Location{place.x() + x * (place.width() - 1),
                              place.y() + y * (place.height() - 1)};
}

QJsonArray SessionScreens::described() const
{
    QJsonArray list;
    for (const platform::Screen &screen : screens.all()) {
        list.append(describe(screen));
    }
    return list;
}
