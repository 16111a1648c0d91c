// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>

class QWidget;

/// Tells the user by a message that a dialog waits behind other windows. It is the desktop that
/// decides what comes to the front: compositors of Wayland, and some window managers, leave the
/// focus with the program that has it.
class HiddenDialogNotice : public QObject
{
    Q_OBJECT

public:
    /// Watches the dialog, which is its parent, and has just been shown or raised. If the dialog
    /// does not get the focus in time, the text becomes a warning, once. A dialog that has been
    /// closed by then needs none.
    HiddenDialogNotice(QWidget *dialog, QString text,
                       std::chrono::milliseconds patience = std::chrono::milliseconds(1500));

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void finish();

    QString notice;
    QTimer limit;
};
