// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/http/AttemptGuard.h"
#include "web/http/Computers.h"
#include "web/program/PairingCodes.h"
#include "web/program/SecureSocket.h"
#include "web/program/WebStore.h"
#include "web/wire/Handshake.h"

#include <QObject>
#include <QPointer>
#include <QWebSocket>

#include <deque>
#include <functional>
#include <memory>
#include <optional>

namespace quillmote {

/// A browser that has shown that it knows a secret.
struct Guest
{
    std::unique_ptr<SecureSocket> socket;
    Credential credential = Credential::Code;
    QByteArray phone;                ///< the id of a known phone
    std::optional<OneTimeCode> code; ///< the code that was used
};

/// Lets browsers in: whoever connects has five seconds to show that it knows a secret. Wrong
/// secrets are answered late, and then not at all for a while.
class Reception : public QObject
{
    Q_OBJECT

public:
    /// Browsers that have not shown anything yet. Beyond it, the oldest one of the computer
    /// that has most gives way.
    static constexpr size_t mostStrangers = 64;
    static constexpr std::chrono::seconds timeToShow{5};

    /// \param deskSecret of the desktop's own page in this run of the program
    Reception(const WebStore &store, const PairingCodes &codes, QByteArray deskSecret);
    ~Reception() override;

    /// \param isLocal whether the browser runs on this computer
    void receive(std::unique_ptr<QWebSocket> socket, bool isLocal);

    std::function<void(Guest)> onGuest;
    /// What the answer to a right secret says.
    QByteArray greeting;

private:
    struct Stranger;

    void hear(const std::shared_ptr<Stranger> &stranger, const QByteArray &first);
    bool letInPhone(const Introduction &introduction, const std::shared_ptr<Stranger> &stranger,
                    const QByteArray &first);
    bool letIn(const std::shared_ptr<Stranger> &stranger, const QByteArray &first,
               const QByteArray &secret, Guest guest);
    void fail(const std::shared_ptr<Stranger> &stranger, CloseCode code);
    void dismiss(const std::shared_ptr<Stranger> &stranger, CloseCode code,
                 const QString &reason = {});
    void forget(const std::shared_ptr<Stranger> &stranger);

    const WebStore &store;
    const PairingCodes &codes;
    QByteArray deskSecret;
    AttemptGuard guard;
    Computers computers;
    std::deque<std::shared_ptr<Stranger>> strangers;
};

} // namespace quillmote
