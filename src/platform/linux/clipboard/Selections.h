// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/linux/clipboard/Contents.h"
#include "platform/linux/clipboard/PipeBytes.h"
#include "platform/linux/clipboard/Selection.h"

#include <QByteArrayList>
#include <QObject>

#include <functional>
#include <optional>

namespace platform {

/// The selections of the session, as they are reached without the focus, and what we have put
/// there.
class Selections : public QObject
{
    Q_OBJECT

public:
    /// Whether anything can be put there now.
    virtual bool isThere() const = 0;
    /// Whether types() are those of what is there. Before that there may be anything.
    virtual bool isKnown() const = 0;
    /// Whether afterEverything() can come to an end.
    virtual bool isConnected() const = 0;
    /// Whether there is that selection now.
    virtual bool has(Selection selection) const = 0;
    /// Calls the handler from the event loop when everything that was put there is there, and
    /// everything that has happened before this is known. Never if they are lost first.
    virtual void afterEverything(std::function<void()> handler) = 0;

    /// The types of the contents, whoever has put them there.
    virtual QByteArrayList types(Selection selection) const = 0;
    /// Has the owner write contents of one of these types into a pipe, and gives its end, at once
    /// or later from the event loop; one that is not open if that cannot be had.
    virtual void receive(Selection selection, const QByteArray &type,
                         const PipeReceiver &receiver) = 0;

    /// Ours, while they are the contents, or will be.
    virtual const std::optional<Contents> &own(Selection selection) const = 0;
    /// Replaces the contents; none: there are no contents any more.
    virtual void put(Selection selection, std::optional<Contents> contents) = 0;

signals:
    // From the event loop.
    /// The contents are others than before, whoever has set them.
    void changed(platform::Selection selection);
    /// Ours are not the contents any more.
    void replaced(platform::Selection selection);
    /// Somebody has got all of ours under that type.
    void wasRead(const QByteArray &type);
    /// Nothing is known of the contents any more.
    void lost();
};

} // namespace platform
