// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/PairingQuestion.h"

#include "app/HiddenDialogNotice.h"

#include <QCoreApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

/// Cuts a name so that the buttons stay on the screen.
QString shortName(const QString &name)
{
    constexpr int maximumShown = 80;
    return name.size() <= maximumShown ? name : name.left(maximumShown - 1) + u'…';
}

/// Shows the device's name as plain text. The box has no setting for the format of this label.
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
        translated("Do you want to pair with device named '%1''?").arg(shortName(name)));
    showAsWritten(box);
    const QPushButton *accept = box.addButton(translated("Accept"), QMessageBox::AcceptRole);
    QPushButton *reject = box.addButton(translated("Reject"), QMessageBox::RejectRole);
    box.setDefaultButton(reject);
    box.setIcon(QMessageBox::Question);
    // Modal for the parent window. There is none, so no window is blocked.
    box.setWindowModality(Qt::WindowModal);

    bool isAnswered = false;
    const auto answerOnce = [&] {
        if (!isAnswered) {
            isAnswered = true;
            // Ask the button: if the program is ended while the box is open, exec() returns the
            // same result as for Accept.
            answered(box.clickedButton() == accept);
        }
    };
    QObject::connect(&box, &QDialog::finished, &box, answerOnce);
    new HiddenDialogNotice(
        &box, QCoreApplication::translate(
                  "Server", "A device asks to be paired. The question is behind other windows."));
    box.exec();
    // A box that was hidden, or whose event loop was ended with the program, emits no signal.
    answerOnce();
}
