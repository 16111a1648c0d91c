// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/PairingQuestion.h"

#include <QCoreApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

/// A name that leaves the buttons on the screen.
QString shortened(const QString &name)
{
    constexpr int maximumShown = 80;
    return name.size() <= maximumShown ? name : name.left(maximumShown - 1) + u'…';
}

/// What a device calls itself is not taken for markup. The box has no setting for this label.
void showAsWritten(const QMessageBox &box)
{
    if (auto *label = box.findChild<QLabel *>(u"qt_msgbox_informativelabel"_s)) {
        label->setTextFormat(Qt::PlainText);
    }
}

QString translated(const char *text)
{
    return QCoreApplication::translate("Server", text);
}

} // namespace

void askAboutPairing(const QString &name, const std::function<void(bool)> &answered)
{
    QMessageBox box;
    box.setText(translated("Device pairing request."));
    box.setInformativeText(
        translated("Do you want to pair with device named '%1''?").arg(shortened(name)));
    showAsWritten(box);
    const QPushButton *accept = box.addButton(translated("Accept"), QMessageBox::AcceptRole);
    QPushButton *reject = box.addButton(translated("Reject"), QMessageBox::RejectRole);
    box.setDefaultButton(reject);
    box.setIcon(QMessageBox::Question);
    // Modal for a window that the box does not have, and so for none.
    box.setWindowModality(Qt::WindowModal);

    bool isAnswered = false;
    const auto answerOnce = [&] {
        if (!isAnswered) {
            isAnswered = true;
            // Asked of the button: the result of exec() is also that of Accept when the program is
            // ended while the box is open.
            answered(box.clickedButton() == accept);
        }
    };
    QObject::connect(&box, &QDialog::finished, &box, answerOnce);
    box.exec();
    // No signal comes of a box that was hidden, or whose loop was ended with the program.
    answerOnce();
}
