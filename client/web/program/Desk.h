// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "web/program/Invitation.h"
#include "web/program/PhoneRoom.h"
#include "web/program/SecureSocket.h"
#include "web/program/ServerWatch.h"
#include "web/program/WebStore.h"

#include <QObject>

#include <functional>
#include <memory>
#include <vector>

namespace quillmote {

/// What the desktop's own page shows and does, in however many windows it is open.
class Desk : public QObject
{
    Q_OBJECT

public:
    static constexpr size_t mostWindows = 16;

    Desk(const WebStore &store, PairingCodes &codes, const PageAddress &page, PhoneRoom &phones,
         ServerWatch &server);
    ~Desk() override;

    void admit(std::unique_ptr<SecureSocket> window);
    /// Sends the state to all windows, soon and once for many changes.
    void update();

    /// The user wants the program to end.
    std::function<void()> onQuit = [] {};

private:
    /// Gets an empty text, or the reason why it was not done.
    using Done = std::function<void(const QString &problem)>;

    void serve(SecureSocket *window, const WireText &text);
    void carryOut(const QString &request, const QJsonObject &fields, const Done &done);
    void renewCode(const QJsonObject &fields, const Done &done);
    void drop(SecureSocket *window);
    QJsonObject state() const;
    QJsonObject serverState() const;
    QJsonArray phoneList() const;
    QJsonArray addressList() const;
    QJsonValue codeShown() const;

    const WebStore &store;
    const PageAddress &page;
    PhoneRoom &phones;
    ServerWatch &server;
    Invitation invitation;
    QString startProblem; // of the server
    bool isUpdateDue = false;
    std::vector<std::unique_ptr<SecureSocket>> windows;
};

} // namespace quillmote
