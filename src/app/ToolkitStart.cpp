// SPDX-FileCopyrightText: 2026 The VornaServer developers
// SPDX-License-Identifier: MIT

#include "app/ToolkitStart.h"

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

ToolkitStart *current = nullptr;

} // namespace

ToolkitStart::ToolkitStart(const platform::DisplayChoice &choice) : display(choice)
{
    current = this;
    previousHandler = qInstallMessageHandler(take);
}

ToolkitStart::~ToolkitStart()
{
    qInstallMessageHandler(previousHandler);
    current = nullptr;
    for (const Message &message : messages) {
        const QMessageLogContext context(nullptr, 0, nullptr, message.category.constData());
        previousHandler(message.type, context, message.text);
    }
}

void ToolkitStart::take(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtFatalMsg) {
        current->refuse(text);
    }
    const QMutexLocker locker(&current->mutex);
    current->messages.append({type, context.category, text});
}

void ToolkitStart::refuse(const QString &fatalText)
{
    QString problem = platform::displayProblem(display);
    if (problem.isEmpty()) {
        problem = u"The toolkit cannot start: "_s + complaint(fatalText).simplified();
    }
    std::fputs(qPrintable(u"VornaServer: %1\n"_s.arg(problem)), stderr);
    // Nothing needs to be written yet, and returning to the toolkit would abort.
    std::_Exit(EXIT_FAILURE);
}

/// The first warning names the cause; the fatal message is mostly advice for developers.
QString ToolkitStart::complaint(const QString &fatalText)
{
    const QMutexLocker locker(&mutex);
    for (const Message &message : messages) {
        if (message.type == QtWarningMsg || message.type == QtCriticalMsg) {
            return message.text;
        }
    }
    return fatalText;
}
