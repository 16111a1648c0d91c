// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include "app/PairingQuestion.h"
#include "doubles/RecordingHost.h"
#include "server/Server.h"
#include "support/MessageRecorder.h"
#include "support/protocol/ServedPeer.h"
#include "support/session/DialogVisitor.h"
#include "support/session/PrivateHome.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QSettings>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

/// A server in this process that asks its user about each new device, afresh for each function.
class PairingFixture : public QObject
{
    Q_OBJECT

protected:
    using BoxVisitor = DialogVisitor<QMessageBox>;

    static QByteArray pairRequest(const QByteArray &identifier)
    {
        return "{ cmdType = SERVER_PAIR; cmdParameters = (" + identifier + ", My device); }";
    }

    static QAbstractButton *button(const QMessageBox &box, const QString &text)
    {
        for (QAbstractButton *candidate : box.buttons()) {
            if (candidate->text() == text) {
                return candidate;
            }
        }
        return nullptr;
    }

    static void press(const QMessageBox &box, const QString &text)
    {
        QTest::mouseClick(button(box, text), Qt::LeftButton);
    }

    bool isRemembered(const QString &device) { return server->deviceIsPresent(device); }

    RecordingHost host;
    std::unique_ptr<PrivateHome> home;
    std::unique_ptr<MessageRecorder> messages;
    std::unique_ptr<Server> server;

private slots:
    void init()
    {
        home = std::make_unique<PrivateHome>();
        messages = std::make_unique<MessageRecorder>();
        host.reset();
        server = std::make_unique<Server>(nullptr, host.serverAdapters(askAboutPairing));
        server->setNeedsPairingApproval(true);
        QVERIFY(server->startServer());
    }

    void cleanup()
    {
        server.reset();
        messages.reset();
        QSettings().clear();
        home.reset();
    }
};
