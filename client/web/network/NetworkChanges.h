// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/network/NetworkAddresses.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <memory>

namespace quillmote {

/// Reports when other addresses are offered than before. A change comes in many steps, which are
/// reported as one.
class NetworkChanges : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds settlingTime{200};

    explicit NetworkChanges(QObject *parent = nullptr);
    ~NetworkChanges() override;

    /// What offeredAddresses() said when it was last asked here.
    const QList<OfferedAddress> &addresses() const { return known; }

signals:
    void changed();

private:
    void hear();
    void compare();

    int news = -1;
    std::unique_ptr<QSocketNotifier> notifier;
    QTimer settling;
    QList<OfferedAddress> known;
};

} // namespace quillmote
