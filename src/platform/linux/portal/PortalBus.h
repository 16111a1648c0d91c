// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QVariantList>

#include <chrono>
#include <functional>
#include <memory>

namespace platform {

/// The desktop portal on the session bus.
///
/// Calls go to the unique name of its owner: the toolkit does not have to ask the bus who that is,
/// which it would wait for, and a successor never gets what was meant for its predecessor.
struct PortalBus
{
    QDBusConnection bus;
    QString owner; ///< Its unique name, such as ":1.7".

    /// So long a call may take whose answer waits for no decision of the user.
    static constexpr std::chrono::milliseconds callLimit{10'000};

    static QString service();
    static QString path();
    /// The interface of the clipboard, which not every portal has.
    static QString clipboard();
    /// The part of the paths of requests and sessions that names this connection.
    QString sender() const;

    QDBusMessage call(const QString &path, const QString &interface, const QString &method,
                      const QVariantList &arguments) const;
    /// A question whose error is the answer of a portal without a clipboard. See isLack().
    QDBusMessage clipboardVersionCall() const;
    /// Whether that is the answer of a portal that lacks the interface which it was asked for.
    static bool isLack(const QDBusMessage &reply);
};

/// Destroys it from the event loop, or with its new parent: it may be what calls just now.
template <typename Object> void destroyLater(std::unique_ptr<Object> &object, QObject *parent)
{
    object->setParent(parent);
    object.release()->deleteLater();
}

/// Sends it and calls `answered` from the event loop with the reply or the error, which no reply
/// within the limit is too. Not at all if `context` is destroyed first.
void callLater(const QDBusConnection &bus, const QDBusMessage &call,
               std::chrono::milliseconds limit, QObject *context,
               std::function<void(const QDBusMessage &)> answered);

} // namespace platform
