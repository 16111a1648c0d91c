// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QApplication>
#include <QTest>
#include <QTimer>

#include <functional>
#include <utility>

/// Looks at a modal dialog from inside its own event loop: calls the visit once for every modal
/// dialog of the type that comes up while the visitor lives. The visit must close the dialog, or
/// see to it that something will.
template <typename Dialog> class DialogVisitor
{
public:
    explicit DialogVisitor(std::function<void(Dialog &)> visitDialog)
        : visit(std::move(visitDialog))
    {
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] { look(); });
        timer.start(0);
    }

    int visited() const { return count; }

private:
    void look()
    {
        auto *dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
        if (dialog == nullptr || !dialog->isVisible() || dialog->property("visited").toBool()) {
            return;
        }
        dialog->setProperty("visited", true);
        ++count;
        visit(*dialog);
        // A failed check leaves the visit early, and nothing else would end the dialog's loop.
        if (QTest::currentTestFailed()) {
            dialog->reject();
        }
    }

    std::function<void(Dialog &)> visit;
    QTimer timer;
    int count = 0;
};
